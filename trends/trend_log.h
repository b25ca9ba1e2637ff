// Interval trends: the three nsqv operations over the device's trend log
// (platform/trend.h), which the card's trend recorder writes.
//
// Each operation's file (get_trend_periods.cc, ...) ends in the engine's
// entry point, a thin wrapper around the function below that does its
// work, so that tests drive the work without the engine. Data-level
// failures are error results ("? <code> <name> : <detail>",
// common/bnws_error.h); none makes a SOAP fault.
//
// The trend log is opened on first use and kept in the context for the
// life of the process (the host closes it at shutdown through
// trendLogClose). A failed open leaves no log behind, so every later
// request tries again: a log the recorder creates after the daemon started
// is used by the next request. The log itself follows a file replaced
// under its path.
//
// Rights: a device path the caller may not read answers error 2 (whether
// or not the log has it, so that the answer tells nothing about the
// device); parameters the caller may not read are left out as if they did
// not match.

#ifndef TRENDS_TREND_LOG_H_
#define TRENDS_TREND_LOG_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/trend.h"

struct soap;
struct stDeviceData;

namespace wsgated {

struct ServiceContext;
struct ServiceOptions;

// The open log takes at most this long waiting for the recorder's lock;
// the callers retry on their own.
constexpr unsigned kTrendBusyMs = 40;
// getTrendData's pause after a failed retrieval.
constexpr unsigned kTrendRetryPauseUs = 1000000;
// Snapshots one getTrendData may return: the Delta maximum (-m) divided
// by this.
constexpr uint32_t kTrendRecordDivisor = 12;

// Makes sure the context holds an open trend log; false, with error 21 in
// `result`, when the log at the context's trendLogPath cannot be opened.
bool openTrendLog(ServiceContext* context, const ServiceOptions& options,
                  std::string& result);

// The device `devicePath` of the open log (matched byte for byte) with its
// parameters that the caller may read, restricted to `wanted` when it is
// not empty (the log's order is kept). False when there is nothing to
// answer with: `result` then holds the error result, or stays as it was
// when no parameter remains (an empty answer, not an error).
bool findTrendDevice(ServiceContext* context, const ServiceOptions& options,
                     const std::string& devicePath,
                     const std::vector<std::string>& wanted,
                     toolkit::trend::CDeviceParams& found,
                     std::string& result);

// getTrendPeriods: the log's periods, `result` "OK" or an error result.
void listTrendPeriods(ServiceContext* context, const ServiceOptions& options,
                      std::vector<toolkit::trend::CPeriodProperties>& periods,
                      std::string& result);

// getDeviceTrendParams: the device's parameters, `result` "OK", an error
// result or "" (no parameter the caller may read).
void listDeviceTrendParams(ServiceContext* context,
                           const ServiceOptions& options,
                           const std::string& devicePath,
                           std::vector<toolkit::trend::CParamProperties>& params,
                           std::string& result);

// The fields of a getTrendData request (an absent request is all zeros).
struct TrendDataQuery {
  std::string devicePath;
  std::vector<std::string> pointPaths;
  std::vector<uint64_t> periods;
  int64_t startTime = 0;  // device time; 0 or less: no bound
  int64_t endTime = 0;
  int nMaxToReturn = 0;  // below 1: the limit
  bool ascendingOrder = false;
};

// getTrendData: `data` (what a successful retrieval gave, also when the
// result is error 22, see get_trend_data.cc; else empty) and `result`.
// `retryPauseUs` is the pause after a failed retrieval.
void retrieveTrendData(ServiceContext* context, const ServiceOptions& options,
                       const TrendDataQuery& query,
                       toolkit::trend::CDeviceData& data, std::string& result,
                       unsigned retryPauseUs = kTrendRetryPauseUs);

// The response's `data` from `data`: times in device time, NaN values as
// 0 with their flag false. False when the engine could not allocate.
bool fillTrendData(struct soap* soap, const toolkit::trend::CDeviceData& data,
                   stDeviceData& out);

}  // namespace wsgated

#endif  // TRENDS_TREND_LOG_H_
