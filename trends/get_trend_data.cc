// nsqv:getTrendData - a device's snapshots of chosen parameters and
// periods over a time range (trend_log.h).
//
// The steps, in the order clients observe them: the size check (error 34,
// before the log is touched), the log, the periods asked for that the log
// has (error 21 when none), the device and its parameters, then up to five
// retrievals with a second's pause after each failure.
//
// The outcome of the retrieval is decided by the attempt that succeeded,
// as clients of the device know it: a success at the first, second or
// third attempt answers "OK"; a success at the fourth or fifth answers
// error 22 with the data filled in all the same, and so does failure of
// all five (without data).

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/operation.h"
#include "contract/string_lists.h"
#include "platform/qrxtime.h"
#include "soapH.h"
#include "trends/trend_log.h"

namespace wsgated {

namespace {

using toolkit::trend::CPeriodProperties;

constexpr int kMaxAttempts = 5;
constexpr int kLastAttemptAnsweringOk = 3;

// The snapshots a request may ask for.
uint32_t recordLimit(const ServiceContext* context) {
  return static_cast<uint32_t>(context->maxDeltaRecords) / kTrendRecordDivisor;
}

// The log's periods that `wanted` lists, in the log's order; none when the
// log's cannot be read.
std::vector<CPeriodProperties> keptPeriods(ServiceContext* context,
                                           const std::vector<uint64_t>& wanted) {
  std::vector<CPeriodProperties> periods;
  if (context->trendLog->get_periods(periods) != 0) return {};
  periods.erase(std::remove_if(periods.begin(), periods.end(),
                               [&](const CPeriodProperties& period) {
                                 return std::find(wanted.begin(), wanted.end(),
                                                  period.period) ==
                                        wanted.end();
                               }),
                periods.end());
  return periods;
}

// A device time bound as whole UNIX seconds; -1 (open) for 0 or less.
long unixBound(int64_t deviceTime) {
  if (deviceTime <= 0) return -1;
  timeval time{};
  qrx_QRXtoUNIXtime64(deviceTime, &time);
  return static_cast<long>(time.tv_sec);
}

void fillSample(const toolkit::trend::CSample& in, stSample& out) {
  auto put = [](double value, double& to, bool& valid) {
    valid = !std::isnan(value);
    to = valid ? value : 0;
  };
  put(in.min, out.min, out.minValid);
  put(in.max, out.max, out.maxValid);
  put(in.avg, out.avg, out.avgValid);
  put(in.actual, out.actual, out.actualValid);
}

}  // namespace

void retrieveTrendData(ServiceContext* context, const ServiceOptions& options,
                       const TrendDataQuery& query,
                       toolkit::trend::CDeviceData& data, std::string& result,
                       unsigned retryPauseUs) {
  data = toolkit::trend::CDeviceData();
  const uint32_t limit = recordLimit(context);
  if (static_cast<int64_t>(query.nMaxToReturn) > limit) {
    const std::string detail =
        "Please request less than " + std::to_string(limit) + " records.";
    setBnwsError(kBnwsResultTooBigToReturn, detail.c_str(), result, &options);
    return;
  }
  const unsigned wanted =
      query.nMaxToReturn < 1 ? limit : static_cast<unsigned>(query.nMaxToReturn);
  if (!openTrendLog(context, options, result)) return;
  const std::vector<CPeriodProperties> periods =
      keptPeriods(context, query.periods);
  if (periods.empty()) {
    setBnwsError(kBnwsNoHistory, "No Trend periods data matching the request.",
                 result, &options);
    return;
  }
  toolkit::trend::CDeviceParams device;
  if (!findTrendDevice(context, options, query.devicePath, query.pointPaths,
                       device, result)) {
    return;
  }
  const std::pair<long, long> range(unixBound(query.startTime),
                                    unixBound(query.endTime));
  for (int attempt = 1; attempt <= kMaxAttempts; ++attempt) {
    const int status = context->trendLog->get_trend_data(
        data, device, periods, range, wanted, 0, query.ascendingOrder, false);
    if (status == 0) {
      result = "OK";
      if (attempt <= kLastAttemptAnsweringOk) return;
      break;
    }
    logInfo(kLogErrors, "Trend data retrieval for %s failed (%s), attempt %d",
            query.devicePath.c_str(), pcd_log_status_name(status), attempt);
    if (attempt < kMaxAttempts) usleep(retryPauseUs);
  }
  setBnwsError(kBnwsNoDataAvailable,
               "Trend data retrieval failed with these params", result,
               &options);
}

bool fillTrendData(struct soap* soap, const toolkit::trend::CDeviceData& data,
                   stDeviceData& out) {
  out.params.devicePath = data.device.path;
  std::vector<std::string> paths;
  for (const auto& param : data.params) paths.push_back(param.path);
  if (!stringsToSoap(soap, std::move(paths), out.params.__sizeparamPaths,
                     out.params.paramPaths)) {
    return false;
  }
  out.__sizesamples = 0;
  out.samples = nullptr;
  if (data.snapshots.empty()) return true;
  const int count = static_cast<int>(data.snapshots.size());
  stSnapshot* snapshots = soap_new_stSnapshot(soap, count);
  if (snapshots == nullptr) return false;
  for (int i = 0; i < count; ++i) {
    const toolkit::trend::CSnapshot& in = data.snapshots[i];
    const timeval time{static_cast<time_t>(in.time), 0};
    snapshots[i].period = in.period;
    snapshots[i].timestamp = qrx_UNIXtoQRXtime64(&time);
    snapshots[i].percent_valid = in.percent_valid;
    snapshots[i].__sizedata = 0;
    snapshots[i].data = nullptr;
    if (in.samples.empty()) continue;
    const int samples = static_cast<int>(in.samples.size());
    snapshots[i].data = soap_new_stSample(soap, samples);
    if (snapshots[i].data == nullptr) return false;
    snapshots[i].__sizedata = samples;
    for (int j = 0; j < samples; ++j) {
      fillSample(in.samples[j], snapshots[i].data[j]);
    }
  }
  out.__sizesamples = count;
  out.samples = snapshots;
  return true;
}

}  // namespace wsgated

int __nsqv__getTrendData(struct soap* soap, struct _nsqv__getTrendData* request,
                         struct _nsqv__getTrendDataResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  const nsqv__getTrendDataRequest* fields = request->request;
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(context, fields ? fields->options : nullptr,
                               options);
  wsgated::TrendDataQuery query;
  if (fields != nullptr) {
    query.devicePath = wsgated::optionalText(fields->devicePath);
    query.pointPaths = wsgated::stringsFromSoap(fields->__sizepointPaths,
                                                fields->pointPaths);
    if (fields->periods != nullptr && fields->__sizeperiods > 0) {
      query.periods.assign(fields->periods,
                           fields->periods + fields->__sizeperiods);
    }
    query.startTime = fields->startTime;
    query.endTime = fields->endTime;
    query.nMaxToReturn = fields->nMaxToReturn;
    query.ascendingOrder = fields->ascendingOrder;
  }
  toolkit::trend::CDeviceData data;
  wsgated::retrieveTrendData(context, options, query, data, response.result);
  return wsgated::fillTrendData(soap, data, response.data) ? SOAP_OK
                                                           : SOAP_EOM;
}
