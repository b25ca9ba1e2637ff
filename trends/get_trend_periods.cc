// nsqv:getTrendPeriods - the logging periods of the trend log, each with
// the number of snapshots it keeps (trend_log.h).

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "soapH.h"
#include "trends/trend_log.h"

namespace wsgated {

void listTrendPeriods(ServiceContext* context, const ServiceOptions& options,
                      std::vector<toolkit::trend::CPeriodProperties>& periods,
                      std::string& result) {
  periods.clear();
  if (!openTrendLog(context, options, result)) return;
  if (context->trendLog->get_periods(periods) != 0) {
    periods.clear();
    logInfo(kLogErrors, "Failed to get Trends periods in %s",
            context->trendLogPath.c_str());
    setBnwsError(kBnwsNoHistory, "No Trend periods data.", result, &options);
    return;
  }
  result = "OK";
}

}  // namespace wsgated

int __nsqv__getTrendPeriods(struct soap* soap,
                            struct _nsqv__getTrendPeriods* request,
                            struct _nsqv__getTrendPeriodsResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  std::vector<toolkit::trend::CPeriodProperties> periods;
  wsgated::listTrendPeriods(context, options, periods, response.result);
  response.__sizeperiodProperties = 0;
  response.periodProperties = nullptr;
  if (periods.empty()) return SOAP_OK;
  const int count = static_cast<int>(periods.size());
  stPeriodProperties* items = soap_new_stPeriodProperties(soap, count);
  if (items == nullptr) return SOAP_EOM;
  for (int i = 0; i < count; ++i) {
    items[i].period = periods[i].period;
    items[i].max_entries = periods[i].max_entries;
  }
  response.__sizeperiodProperties = count;
  response.periodProperties = items;
  return SOAP_OK;
}
