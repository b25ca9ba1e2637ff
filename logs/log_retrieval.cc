// Reading a log database for one request (see log_retrieval.h).

#include "logs/log_retrieval.h"

#include "common/bnws_error.h"
#include "common/log.h"
#include "platform/qrxtime.h"

using toolkit::CEvent;

namespace wsgated {

namespace {

// A bound of the request as the platform takes it: null for none.
const timeval* bound(int64_t deviceTime, timeval& storage) {
  if (deviceTime <= 0) return nullptr;
  qrx_QRXtoUNIXtime64(deviceTime, &storage);
  return &storage;
}

bool sameTime(const timeval& a, const timeval& b) {
  return a.tv_sec == b.tv_sec && a.tv_usec == b.tv_usec;
}

// A limit cuts the records at their last time stamp, where the log may
// hold more records than the answer has room for (a logger writes all
// points of one sample with one time stamp). When it does, the group is
// taken out, so that a client reading on from its last time stamp gets the
// whole group next time. `trimmedCount` is the number of records the log
// holds at that time stamp. Returns the status of the re-query.
int trimIncompleteGroup(LogReader& reader, const char* filter,
                        std::vector<CEvent>& records, int& trimmedCount) {
  const timeval stamp = records.back().time;
  size_t group = 0;
  while (group < records.size() &&
         sameTime(records[records.size() - 1 - group].time, stamp)) {
    ++group;
  }
  std::vector<CEvent> atStamp;
  const int status =
      reader.retrieve(atStamp, filter, &stamp, &stamp, 0, false, false);
  if (status != LOG_STATUS_OK) return status;
  if (atStamp.size() > group) {
    records.resize(records.size() - group);
    trimmedCount = static_cast<int>(atStamp.size());
  }
  return LOG_STATUS_OK;
}

// The retry rule. Returns the status of the last attempt and, through
// `attempts`, how many were made.
int retrieveWithRetries(const LogSource& source, const LogQuery& query, int max,
                        std::vector<CEvent>& records, int& trimmedCount,
                        int& attempts) {
  timeval startStorage, endStorage;
  const timeval* start = bound(query.startTime, startStorage);
  const timeval* end = bound(query.endTime, endStorage);
  const char* filter =
      query.pathFilter.empty() ? nullptr : query.pathFilter.c_str();
  int status = LOG_STATUS_OK;
  for (attempts = 1;; ++attempts) {
    status = source.reader->retrieve(records, filter, start, end, max,
                                     query.latestFirst, query.reverse);
    const bool retrieved = status == LOG_STATUS_OK;
    if (retrieved) {
      trimmedCount = 0;
      if (query.trimIncomplete && !records.empty() &&
          records.size() >= static_cast<size_t>(max)) {
        status =
            trimIncompleteGroup(*source.reader, filter, records, trimmedCount);
      }
    }
    if (status == LOG_STATUS_OK || attempts == kMostAttempts) return status;
    logInfo(kLogDetail, "Retrieval from %s failed (attempt %d), dbResult = %d",
            source.path.c_str(), attempts, status);
    // A failed re-query of the trimming follows a retrieval that worked:
    // the log is readable, so the next attempt goes at once.
    if (!retrieved && source.pauseBeforeRetry) source.pauseBeforeRetry();
  }
}

}  // namespace

PlatformLogReader::PlatformLogReader(int pageSize, int cacheSize, int heapLimit)
    : pageSize_(pageSize), cacheSize_(cacheSize), heapLimit_(heapLimit) {}

PlatformLogReader::~PlatformLogReader() { close(); }

int PlatformLogReader::open(const std::string& path) {
  close();
  // Read-only, failing fast on a lock: retrieval has its own retry rule.
  return pcd_log_init(path.c_str(), 0, 0, 0, 1, 1, pageSize_, cacheSize_,
                      heapLimit_, &handle_);
}

int PlatformLogReader::retrieve(std::vector<CEvent>& records,
                                const char* pathFilter, const timeval* start,
                                const timeval* end, int max, bool latestFirst,
                                bool reverse) {
  return toolkit::CLog(handle_).retrieve(records, pathFilter, start, end, max,
                                         latestFirst, reverse, 0);
}

void PlatformLogReader::close() {
  pcd_log_close(handle_);
  handle_ = nullptr;
}

bool retrieveLog(const LogSource& source, const LogQuery& query,
                 const ServiceOptions& options, std::vector<CEvent>& records,
                 int& trimmedCount, std::string& result) {
  records.clear();
  trimmedCount = 0;
  if (query.maxToReturn > source.maximum) {
    const std::string detail = "Please request less than " +
                               std::to_string(source.maximum) + " records.";
    setBnwsError(kBnwsResultTooBigToReturn, detail.c_str(), result, &options);
    return false;
  }
  result.clear();
  const int opened = source.reader->open(source.path);
  if (opened != LOG_STATUS_OK) {
    logError(kLogErrors, "Failed to open database %s, dbResult = %d",
             source.path.c_str(), opened);
    setBnwsError(kBnwsNoHistory, "Failed to open event log database", result,
                 &options);
    source.reader->close();
    return false;
  }
  const int max = query.maxToReturn < 1 ? source.maximum : query.maxToReturn;
  int attempts = 0;
  const int status =
      retrieveWithRetries(source, query, max, records, trimmedCount, attempts);
  source.reader->close();
  if (status == LOG_STATUS_OK && attempts <= kLastGoodAttempt) return true;
  logError(kLogErrors, "Failed to get events from database %s, dbResult = %d",
           source.path.c_str(), status);
  setBnwsError(kBnwsNoDataAvailable,
               "Database retrieval failed with these params", result, &options);
  records.clear();
  trimmedCount = 0;
  return false;
}

}  // namespace wsgated
