// nsqv:getWaveformData - the samples of one analog channel of a waveform
// record, with its sampling rate, times and trigger (waveform_record.h).

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "platform/comtrade/wave_data.h"
#include "soapH.h"
#include "waveforms/waveform_record.h"

namespace wsgated {

namespace {

// The configuration's analog channel named exactly `channel`; digital
// channels are never searched, since they carry states, not samples.
bool hasAnalogChannel(const toolkit::CWaveConfigData& config,
                      const std::string* channel) {
  if (channel == nullptr) return false;
  for (const toolkit::CWaveAnalogChannel& analog : config.analogChannels)
    if (analog.name == *channel) return true;
  return false;
}

// The channel's samples widened to double, or an error result.
bool readChannel(const ServiceOptions& options, const ComtradeHandle& handle,
                 const std::string& channel, int64_t count,
                 std::vector<double>& data, std::string& result) {
  toolkit::CWaveSampleData samples;
  if (comtrade_data_is_empty(handle.get()) ||
      samples.fillData(handle.get(), true) != 0) {
    logInfo(kLogErrors, "Failed to get COMTRADE sample data at %s",
            handle.path.c_str());
    setBnwsError(kBnwsNoDataAvailable, "Failed to parse COMTRADE data", result,
                 &options);
    return false;
  }
  const std::vector<float>* values = samples.find(channel);
  if (values == nullptr || static_cast<int64_t>(values->size()) < count) {
    logInfo(kLogErrors, "Failed to get COMTRADE sample data for %s",
            channel.c_str());
    setBnwsError(kBnwsNoDataAvailable, "Failed to get COMTRADE channel data",
                 result, &options);
    return false;
  }
  data.assign(values->begin(), values->begin() + count);
  return true;
}

}  // namespace

void readWaveformSamples(ServiceContext* context, const ServiceOptions& options,
                         const std::string* url, const std::string* channel,
                         WaveformSamples& samples, std::string& result) {
  samples = WaveformSamples();
  ComtradeHandle handle;
  if (!openWaveformRecord(context, options, url, handle, result)) return;
  toolkit::CWaveConfigData config;
  if (!comtrade_has_config(handle.get()) ||
      config.fillData(handle.get()) != 0) {
    logInfo(kLogErrors, "Failed to parse COMTRADE configuration at %s",
            handle.path.c_str());
    setBnwsError(kBnwsNoDataAvailable, "Failed to parse COMTRADE config",
                 result, &options);
    return;
  }
  if (!hasAnalogChannel(config, channel)) {
    logInfo(kLogErrors, "No such Analog Channel as %s",
            channel != nullptr ? channel->c_str() : "");
    setBnwsError(kBnwsArgumentInvalid, "No such Analog Channel", result,
                 &options);
    return;
  }
  if (!readChannel(options, handle, *channel, config.numberOfSamples,
                   samples.data, result)) {
    return;
  }
  samples.samplingRate = config.samplingRate;
  samples.startTime = waveformDeviceTime(config.startTime);
  samples.triggerTime = waveformDeviceTime(config.triggerTime);
  samples.triggerIndex = waveformIndex(config.triggerIndex);
  result = "OK";
}

}  // namespace wsgated

int __nsqv__getWaveformData(struct soap* soap,
                            struct _nsqv__getWaveformData* request,
                            struct _nsqv__getWaveDataResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  const nsqv__getWaveDataRequest* fields = request->request;
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(
      context, fields != nullptr ? fields->options : nullptr, options);
  wsgated::WaveformSamples samples;
  wsgated::readWaveformSamples(
      context, options, fields != nullptr ? fields->url : nullptr,
      fields != nullptr ? fields->channel : nullptr, samples, response.result);
  response.samplingRate = samples.samplingRate;
  response.startTime = samples.startTime;
  response.triggerTime = samples.triggerTime;
  response.triggerIndex = samples.triggerIndex;
  response.__sizedata = 0;
  response.data = nullptr;
  if (samples.data.empty()) return SOAP_OK;
  const int count = static_cast<int>(samples.data.size());
  response.data = soap_new_double(soap, count);
  if (response.data == nullptr) return SOAP_EOM;
  for (int i = 0; i < count; ++i) response.data[i] = samples.data[i];
  response.__sizedata = count;
  return SOAP_OK;
}
