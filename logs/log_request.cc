// The request side of the log operations (see log_request.h).

#include "logs/log_request.h"

#include <unistd.h>

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/operation.h"
#include "platform/path.h"

namespace wsgated {

namespace {

// How long the daemon waits before it reads a log again after a failed
// retrieval: long enough for a writer's batch, short enough for a client.
constexpr unsigned kRetryPauseSeconds = 1;

}  // namespace

LogQuery logQueryFromRequest(const nsqv__logRetrieveRequest& request) {
  LogQuery query;
  query.pathFilter = optionalText(request.path);
  query.startTime = request.startTime;
  query.endTime = request.endTime;
  query.maxToReturn = request.nMaxToReturn;
  query.latestFirst = request.bLatestEvents;
  query.reverse = request.bReverseOrder;
  query.trimIncomplete = request.bTrimIncomplete;
  return query;
}

bool readRequestedLog(ServiceContext* context,
                      const nsqv__logRetrieveRequest* request,
                      const std::string& path, int maximum,
                      ServiceOptions& options,
                      std::vector<toolkit::CEvent>& records, int& trimmedCount,
                      std::string& result) {
  records.clear();
  trimmedCount = 0;
  parseServiceOptions(context, request != nullptr ? request->options : nullptr,
                      options);
  if (request == nullptr) {
    setBnwsError(kBnwsArgumentInvalid, "No request given", result, &options);
    return false;
  }
  PlatformLogReader reader(context->sqlitePageSize, context->sqliteCacheSize,
                           context->sqliteHeapLimit);
  LogSource source{&reader, path, maximum, [] { sleep(kRetryPauseSeconds); }};
  return retrieveLog(source, logQueryFromRequest(*request), options, records,
                     trimmedCount, result);
}

const std::locale* recordLocale(const ServiceOptions& options) {
  return options.localeSupport ? &options.stdLocale : nullptr;
}

SourceRights::SourceRights(ServiceContext* context) : context_(context) {}

bool SourceRights::mayRead(const std::string& sourcePath) {
  auto judged = judged_.find(sourcePath);
  if (judged != judged_.end()) return judged->second;
  const bool allowed =
      callerMay(context_, toolkit::PCD_ACCESS_READ, toolkit::CPath(sourcePath));
  judged_.emplace(sourcePath, allowed);
  return allowed;
}

}  // namespace wsgated
