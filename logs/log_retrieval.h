// Reading a log database for one request (getEventLog, getDeltaLog): the
// request's limits, the retry rule and the trimming of an incomplete last
// group of records. docs/logs.md has the rules with their reasons.
//
// The log is opened for the request and closed before it is answered, on
// every path, so that no request keeps a file of another process open.

#ifndef LOGS_LOG_RETRIEVAL_H_
#define LOGS_LOG_RETRIEVAL_H_

#include <sys/time.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/event.h"
#include "platform/log.h"

namespace wsgated {

struct ServiceOptions;

// The reading side of a log as retrieval uses it: the platform's log
// databases in the daemon (PlatformLogReader); in tests, a reader in front
// of one that fails on demand.
class LogReader {
 public:
  virtual ~LogReader() = default;
  // Open the log at `path`: 0 or a log_status_t.
  virtual int open(const std::string& path) = 0;
  // toolkit::CLog::retrieve on the open log.
  virtual int retrieve(std::vector<toolkit::CEvent>& records,
                       const char* pathFilter, const timeval* start,
                       const timeval* end, int max, bool latestFirst,
                       bool reverse) = 0;
  // Close the log; nothing happens when none is open.
  virtual void close() = 0;
};

// The platform's reader (pcd_log_init, CLog::retrieve, pcd_log_close) with
// the daemon's SQLite settings (-p, -c, -l; 0 for the library's default).
class PlatformLogReader : public LogReader {
 public:
  PlatformLogReader(int pageSize, int cacheSize, int heapLimit);
  ~PlatformLogReader() override;
  PlatformLogReader(const PlatformLogReader&) = delete;
  PlatformLogReader& operator=(const PlatformLogReader&) = delete;

  int open(const std::string& path) override;
  int retrieve(std::vector<toolkit::CEvent>& records, const char* pathFilter,
               const timeval* start, const timeval* end, int max,
               bool latestFirst, bool reverse) override;
  void close() override;

 private:
  int pageSize_;
  int cacheSize_;
  int heapLimit_;
  pcd_log_handle_t handle_ = nullptr;
};

// What a request asks of a log (nsqv:logRetrieveRequest).
struct LogQuery {
  std::string pathFilter;  // "" for every source
  int64_t startTime = 0;   // device time; 0 or less: no lower bound
  int64_t endTime = 0;     // device time; 0 or less: no upper bound
  int maxToReturn = 0;     // 0 or less: the log's maximum
  bool latestFirst = false;
  bool reverse = false;
  bool trimIncomplete = false;
};

// The log a request reads and how.
struct LogSource {
  LogReader* reader;
  std::string path;
  int maximum;  // the most records one request may ask for
  // Called before an attempt that follows a failed retrieval: the daemon
  // sleeps a second, so that a writer holding the log can finish.
  std::function<void()> pauseBeforeRetry;
};

// Attempts of the retry rule: a retrieval that succeeds within
// kLastGoodAttempt attempts is answered; one that needs more, up to
// kMostAttempts, is answered as failed all the same.
constexpr int kLastGoodAttempt = 3;
constexpr int kMostAttempts = 5;

// Read the records `query` asks for from `source`. True with `records` and
// `trimmedCount` (the number of records the log holds at the time stamp of
// a trimmed last group, 0 when nothing was trimmed); false with `records`
// empty and the error result in `result`:
//   34 when the query asks for more than the maximum (the log is not
//      opened), 21 when the log cannot be opened, 22 when retrieval fails.
bool retrieveLog(const LogSource& source, const LogQuery& query,
                 const ServiceOptions& options,
                 std::vector<toolkit::CEvent>& records, int& trimmedCount,
                 std::string& result);

}  // namespace wsgated

#endif  // LOGS_LOG_RETRIEVAL_H_
