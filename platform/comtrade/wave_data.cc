// The data classes; see wave_data.h.

#include "platform/comtrade/wave_data.h"

#include <limits>
#include <new>

#include "platform/comtrade/header_parse.h"
#include "platform/comtrade/record.h"
#include "platform/comtrade/timebase.h"

namespace toolkit {

namespace {

using comtrade::Record;

// A time point as a timeval; false when the seconds do not fit (time_t is
// 32 bits on the device's C library).
bool ToTimeval(const comtrade::TimePoint& point, timeval* out) {
  using Seconds = decltype(out->tv_sec);
  if (point.seconds < std::numeric_limits<Seconds>::min() ||
      point.seconds > std::numeric_limits<Seconds>::max()) {
    return false;
  }
  out->tv_sec = static_cast<Seconds>(point.seconds);
  out->tv_usec = point.nanos / 1000;
  return true;
}

CWaveAnalogChannel AnalogChannelOf(const comtrade::AnalogChannel& in) {
  CWaveAnalogChannel out;
  out.index = in.index;
  out.name = in.name;
  out.phase = in.phase;
  out.circuit = in.circuit;
  out.units = in.units;
  out.a = in.a;
  out.b = in.b;
  out.skew_us = in.skew_us;
  out.primary = in.primary;
  out.secondary = in.secondary;
  out.primary_values = in.primary_values;
  return out;
}

CWaveDigitalChannel DigitalChannelOf(const comtrade::DigitalChannel& in) {
  CWaveDigitalChannel out;
  out.index = in.index;
  out.name = in.name;
  out.phase = in.phase;
  out.circuit = in.circuit;
  out.normal_state = in.normal_state;
  return out;
}

int FillConfig(const Record& record, CWaveConfigData* data) {
  const comtrade::Config& config = record.config;
  if (!ToTimeval(config.start, &data->startTime) ||
      !ToTimeval(config.trigger, &data->triggerTime)) {
    return COMTRADE_ERR_RANGE;
  }
  data->stationName = config.station;
  data->deviceId = config.device;
  data->revisionYear = config.revision;
  data->lineFrequency = config.line_frequency;
  data->samplingRate = comtrade::SamplingRate(record);
  data->triggerIndex = comtrade::TriggerIndex(record);
  data->numberOfSamples = config.sample_count;
  data->dataFormat = comtrade::DataFormatName(config.format);
  for (const comtrade::AnalogChannel& channel : config.analog) {
    data->analogChannels.push_back(AnalogChannelOf(channel));
  }
  for (const comtrade::DigitalChannel& channel : config.digital) {
    data->digitalChannels.push_back(DigitalChannelOf(channel));
  }
  return COMTRADE_OK;
}

int FillHeader(const Record& record, CWaveHeaderData* data) {
  comtrade::HeaderInfo info;
  int rc = comtrade::ParseHeader(record.header, &info, nullptr);
  if (rc != COMTRADE_OK) return rc;
  data->eventDescription = info.event;
  data->triggerChannel = info.trigger_channel;
  if (info.has_trigger_index) {
    data->triggerIndex = info.trigger_index;
  } else if (record.has_config) {
    data->triggerIndex = comtrade::TriggerIndex(record);
  }
  data->text = record.header;
  return COMTRADE_OK;
}

int FillSamples(const Record& record, bool engineering,
                CWaveSampleData* data) {
  const comtrade::Config& config = record.config;
  data->numberOfSamples = record.samples.count;
  data->channels.resize(config.analog.size());
  for (size_t c = 0; c < config.analog.size(); ++c) {
    const comtrade::AnalogChannel& channel = config.analog[c];
    CWaveSampleData::Channel& out = data->channels[c];
    out.name = channel.name;
    out.units = channel.units;
    out.samples = record.samples.analog[c];
    if (!engineering) continue;
    for (float& value : out.samples) {
      value = static_cast<float>(channel.a * value + channel.b);
    }
  }
  return COMTRADE_OK;
}

// Runs `fill` with the record of `handle`, leaving `data` empty on failure.
template <typename Data, typename Fill>
int FillFrom(const comtrade_handle_t* handle, bool needs_part, Data* data,
             Fill fill) {
  *data = Data();
  if (handle == nullptr) return COMTRADE_ERR_ARGUMENT;
  if (!needs_part) return COMTRADE_ERR_NO_PART;
  int rc;
  try {
    rc = fill(*comtrade_record(handle), data);
  } catch (const std::bad_alloc&) {
    rc = COMTRADE_ERR_NO_MEMORY;
  }
  if (rc != COMTRADE_OK) *data = Data();
  return rc;
}

}  // namespace

int CWaveConfigData::fillData(const comtrade_handle_t* handle) {
  return FillFrom(handle, comtrade_has_config(handle), this, FillConfig);
}

int CWaveHeaderData::fillData(const comtrade_handle_t* handle) {
  return FillFrom(handle, comtrade_has_header(handle), this, FillHeader);
}

int CWaveSampleData::fillData(const comtrade_handle_t* handle,
                              bool engineering) {
  return FillFrom(
      handle, comtrade_has_config(handle) && comtrade_has_data(handle), this,
      [engineering](const Record& record, CWaveSampleData* data) {
        return FillSamples(record, engineering, data);
      });
}

const std::vector<float>* CWaveSampleData::find(const std::string& name) const {
  for (const Channel& channel : channels) {
    if (channel.name == name) return &channel.samples;
  }
  return nullptr;
}

}  // namespace toolkit
