// nsqv:getWaveformConfig - the description of a waveform record: station,
// device, event and trigger from its header and configuration, times,
// sampling rate and channel names (waveform_record.h).

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "platform/comtrade/wave_data.h"
#include "soapH.h"
#include "waveforms/waveform_record.h"

namespace wsgated {

namespace {

// The configuration's fields, which come after the header's.
void describeConfiguration(const ServiceOptions& options,
                           const ComtradeHandle& handle, WaveformConfig& config,
                           std::string& result) {
  toolkit::CWaveConfigData data;
  if (!comtrade_has_config(handle.get()) || data.fillData(handle.get()) != 0) {
    logInfo(kLogErrors, "Failed to parse COMTRADE config at %s",
            handle.path.c_str());
    setBnwsError(kBnwsNoDataAvailable, "Failed to parse COMTRADE configuration",
                 result, &options);
    return;
  }
  config.stationId = data.stationName;
  config.deviceId = data.deviceId;
  config.samplingRate = data.samplingRate;
  config.numberSamples = kReportedNumberSamples;
  config.startTime = waveformDeviceTime(data.startTime);
  config.triggerTime = waveformDeviceTime(data.triggerTime);
  for (const toolkit::CWaveAnalogChannel& channel : data.analogChannels)
    config.analogChannelNames.push_back(channel.name);
  for (const toolkit::CWaveDigitalChannel& channel : data.digitalChannels)
    config.digitalChannelNames.push_back(channel.name);
  result = "OK";
}

}  // namespace

void describeWaveform(ServiceContext* context, const ServiceOptions& options,
                      const std::string* url, WaveformConfig& config,
                      std::string& result) {
  config = WaveformConfig();
  ComtradeHandle handle;
  if (!openWaveformRecord(context, options, url, handle, result)) return;
  // The header comes first: a record whose header is missing is not
  // described at all, although its samples can still be read.
  toolkit::CWaveHeaderData header;
  if (!comtrade_has_header(handle.get()) ||
      header.fillData(handle.get()) != 0) {
    logInfo(kLogErrors, "Failed to parse COMTRADE header at %s",
            handle.path.c_str());
    setBnwsError(kBnwsNoDataAvailable, "Failed to parse COMTRADE header",
                 result, &options);
    return;
  }
  logInfo(kLogDetail, "COMTRADE waveform fetched from %s",
          url != nullptr ? url->c_str() : "");
  config.eventDescr = header.eventDescription;
  config.triggerChannel = header.triggerChannel;
  config.triggerIndex = waveformIndex(header.triggerIndex);
  describeConfiguration(options, handle, config, result);
}

}  // namespace wsgated

int __nsqv__getWaveformConfig(struct soap* soap,
                              struct _nsqv__getWaveformConfig* request,
                              struct _nsqv__getWaveConfigResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  wsgated::WaveformConfig config;
  wsgated::describeWaveform(context, options, request->url, config,
                            response.result);
  response.stationID = config.stationId;
  response.deviceID = config.deviceId;
  response.eventDescr = config.eventDescr;
  response.triggerChannel = config.triggerChannel;
  response.samplingRate = config.samplingRate;
  response.numberSamples = config.numberSamples;
  response.startTime = config.startTime;
  response.triggerTime = config.triggerTime;
  response.triggerIndex = config.triggerIndex;
  nss1__ArrayOfString& analog = response.analogChannelNames;
  nss1__ArrayOfString& digital = response.digitalChannelNames;
  if (!wsgated::stringsToSoap(soap, config.analogChannelNames,
                              analog.__sizestring, analog.string) ||
      !wsgated::stringsToSoap(soap, config.digitalChannelNames,
                              digital.__sizestring, digital.string)) {
    return SOAP_EOM;
  }
  return SOAP_OK;
}
