// A subscription's log records: from its LogSinceTime on, whatever its
// LogOptions ask for, read from the card's logs through the platform's
// log reader, a batch at a time, each record handed on once.
//
//   Trend           1  Delta log records (logged values)
//   NonAlarmEvent   2  alarm/event log entries that are neither alarms nor
//                      configuration changes, and the system event log
//   Alarm           4  alarm records and acknowledgements
//   Configuration   8  configuration changes (nodes created or removed)
//   Quality        16  Delta log records whose quality differs from the
//                      point's record before (its first one: when not good)
//
// Only records whose source path the owner may read are handed on.

#ifndef CARD_PUBLISHER_LOG_FEED_H_
#define CARD_PUBLISHER_LOG_FEED_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "card/publisher/notification.h"
#include "platform/cds.h"
#include "platform/event.h"
#include "platform/log.h"

namespace wsgated {

enum LogOption {
  kLogTrend = 1,
  kLogNonAlarmEvent = 2,
  kLogAlarm = 4,
  kLogConfiguration = 8,
  kLogQuality = 16,
};

struct LogFiles {
  std::string deltaLog;
  std::string eventLog;   // the alarm/event log
  std::string systemLog;
  int batch = 500;        // records per subscription, log and look, at most
};

// The card's logs as one look of the publisher reads them: each opened at
// most once, however many subscriptions read it, and closed with the look
// (a later look opens the file anew, so a replaced log is followed).
class LogReaders {
 public:
  explicit LogReaders(const LogFiles& files) : files_(files) {}
  ~LogReaders();
  LogReaders(const LogReaders&) = delete;
  LogReaders& operator=(const LogReaders&) = delete;

  const LogFiles& files() const { return files_; }
  // The open log at `path`; null when it is missing or cannot be opened
  // (tried once a look).
  pcd_log_handle_t handle(const std::string& path);
  // Logs opened so far (the tests count them).
  size_t opened() const { return opened_; }

 private:
  const LogFiles& files_;
  std::map<std::string, pcd_log_handle_t> handles_;
  size_t opened_ = 0;
};

class LogFeed {
 public:
  LogFeed(int64_t sinceUs, int options);

  // Adds the records after those handed on before to `notification`. A
  // log that is missing or locked is tried again next time.
  void collect(toolkit::CCds& store, LogReaders& logs,
               const std::string& owner, Notification& notification);

 private:
  // Where reading a log goes on: the time of the last record handed on,
  // and how many records of that very time were.
  struct Cursor {
    int64_t timeUs = 0;
    size_t seenAtTime = 0;
  };

  // The records of the log at `path` after `cursor` (moved past them).
  std::vector<toolkit::CEvent> readAfter(LogReaders& logs,
                                         const std::string& path,
                                         Cursor& cursor);
  void sortDelta(std::vector<toolkit::CEvent>& records,
                 Notification& notification);
  void sortEvents(std::vector<toolkit::CEvent>& records, bool systemLog,
                  Notification& notification);

  int options_;
  Cursor delta_, event_, system_;
  std::map<std::string, uint16_t> lastQuality_;  // per Delta-logged path
};

// May `owner` read `path` now? False for an unknown owner (empty) or a
// path that does not parse.
bool ownerMayRead(toolkit::CCds& store, const std::string& owner,
                  const std::string& path);

// Drops from `records` those whose source path `owner` may not read.
void keepReadable(toolkit::CCds& store, const std::string& owner,
                  std::vector<toolkit::CEvent>& records);

}  // namespace wsgated

#endif  // CARD_PUBLISHER_LOG_FEED_H_
