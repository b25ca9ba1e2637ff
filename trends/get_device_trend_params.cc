// nsqv:getDeviceTrendParams - the trended parameters of one device with
// their sample type and the values the log keeps (trend_log.h).

#include <string>
#include <vector>

#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/operation.h"
#include "soapH.h"
#include "trends/trend_log.h"

namespace wsgated {

void listDeviceTrendParams(ServiceContext* context,
                           const ServiceOptions& options,
                           const std::string& devicePath,
                           std::vector<toolkit::trend::CParamProperties>& params,
                           std::string& result) {
  params.clear();
  if (!openTrendLog(context, options, result)) return;
  toolkit::trend::CDeviceParams found;
  if (!findTrendDevice(context, options, devicePath, {}, found, result)) {
    return;
  }
  params = std::move(found.params);
  result = "OK";
  logInfo(kLogActivity, "Returning %zd Trend parameters for device %s.",
          params.size(), devicePath.c_str());
}

}  // namespace wsgated

int __nsqv__getDeviceTrendParams(
    struct soap* soap, struct _nsqv__getDeviceTrendParams* request,
    struct _nsqv__getDeviceTrendParamsResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  std::vector<toolkit::trend::CParamProperties> params;
  wsgated::listDeviceTrendParams(context, options,
                                 wsgated::optionalText(request->devicePath),
                                 params, response.result);
  response.__sizedeviceParams = 0;
  response.deviceParams = nullptr;
  if (params.empty()) return SOAP_OK;
  const int count = static_cast<int>(params.size());
  stParamProperties* items = soap_new_stParamProperties(soap, count);
  if (items == nullptr) return SOAP_EOM;
  for (int i = 0; i < count; ++i) {
    items[i].path = std::move(params[i].path);
    // The library's sample type numbers are the enumeration's values.
    items[i].type = static_cast<enumSampleType>(params[i].type);
    items[i].hasMin = params[i].has_min;
    items[i].hasMax = params[i].has_max;
    items[i].hasAvg = params[i].has_avg;
    items[i].hasActual = params[i].has_actual;
  }
  response.__sizedeviceParams = count;
  response.deviceParams = items;
  return SOAP_OK;
}
