// The trend log kept in the context, and the device lookup the trend
// operations share (trend_log.h).

#include "trends/trend_log.h"

#include <algorithm>
#include <new>

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "platform/path.h"

namespace wsgated {

namespace {

using toolkit::trend::CDeviceProperties;
using toolkit::trend::CLog;
using toolkit::trend::CParamProperties;

void closeTrendLog(CLog* log) { delete log; }

unsigned setting(int32_t value) {
  return value > 0 ? static_cast<unsigned>(value) : 0;
}

// Whether the caller may read `path`. A path that is no valid store path
// is not judged here: no device or point of the log has one, so the lookup
// answers it as unknown.
bool readable(ServiceContext* context, const std::string& path) {
  toolkit::CPath parsed(path);
  return parsed.normalize() != 0 ||
         callerMay(context, toolkit::PCD_ACCESS_READ, parsed);
}

// Leaves out the parameters not in `wanted` (when it has any) and those the
// caller may not read.
void keepParams(ServiceContext* context, const std::vector<std::string>& wanted,
                std::vector<CParamProperties>& params) {
  auto drop = [&](const CParamProperties& param) {
    const bool unwanted =
        !wanted.empty() &&
        std::find(wanted.begin(), wanted.end(), param.path) == wanted.end();
    return unwanted || !readable(context, param.path);
  };
  params.erase(std::remove_if(params.begin(), params.end(), drop),
               params.end());
}

}  // namespace

bool openTrendLog(ServiceContext* context, const ServiceOptions& options,
                  std::string& result) {
  if (context->trendLog != nullptr) return true;
  CLog* log = new (std::nothrow) CLog;
  context->trendLog = log;
  context->trendLogClose = closeTrendLog;
  if (log != nullptr &&
      log->open(context->trendLogPath, true, false, kTrendBusyMs, false,
                setting(context->sqlitePageSize),
                setting(context->sqliteCacheSize),
                setting(context->sqliteHeapLimit), false) == 0) {
    return true;
  }
  delete log;
  context->trendLog = nullptr;
  logInfo(kLogErrors, "Failed to open database %s",
          context->trendLogPath.c_str());
  setBnwsError(kBnwsNoHistory, "Failed to open trend log database", result,
               &options);
  return false;
}

bool findTrendDevice(ServiceContext* context, const ServiceOptions& options,
                     const std::string& devicePath,
                     const std::vector<std::string>& wanted,
                     toolkit::trend::CDeviceParams& found,
                     std::string& result) {
  if (!readable(context, devicePath)) {
    logNotice(kLogErrors, "Unauthorized read of %s", devicePath.c_str());
    setBnwsError(kBnwsNotAuthorized, "Unauthorized read", result, &options);
    return false;
  }
  std::vector<CDeviceProperties> devices;
  if (context->trendLog->get_devices(devices) != 0) {
    setBnwsError(kBnwsNoHistory, "No Trending devices found.", result,
                 &options);
    return false;
  }
  const auto device = std::find_if(
      devices.begin(), devices.end(),
      [&](const CDeviceProperties& d) { return d.path == devicePath; });
  if (device == devices.end()) {
    logInfo(kLogErrors, "No Trend data found for device %s",
            devicePath.c_str());
    setBnwsError(kBnwsNoHistory, "No Trend data found for this device.",
                 result, &options);
    return false;
  }
  found.device = *device;
  if (context->trendLog->get_params(found.device, found.params) != 0) {
    logInfo(kLogErrors, "Failed to get Trend parameters for device %s",
            devicePath.c_str());
    setBnwsError(kBnwsNoHistory,
                 "Failed to get Trend parameters for this device", result,
                 &options);
    return false;
  }
  keepParams(context, wanted, found.params);
  if (!found.params.empty()) return true;
  // Nothing to answer, and no error either: the result stays as it is.
  if (!wanted.empty()) {
    logInfo(kLogErrors, "No Trend data for requested parameter(s) %s",
            wanted.front().c_str());
  }
  return false;
}

}  // namespace wsgated
