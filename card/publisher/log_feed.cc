#include "card/publisher/log_feed.h"

#include <utility>

#include "common/event_records.h"
#include "common/log.h"
#include "platform/log.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

bool isAlarm(const toolkit::CEvent& record) {
  return record.kind == toolkit::EVENT_KIND_ALARM ||
         record.kind == toolkit::EVENT_KIND_ACKNOWLEDGE;
}

}  // namespace

LogFeed::LogFeed(int64_t sinceUs, int options) : options_(options) {
  delta_.timeUs = event_.timeUs = system_.timeUs = sinceUs;
}

bool ownerMayRead(toolkit::CCds& store, const std::string& owner,
                  const std::string& path) {
  toolkit::CPath parsed(path);
  return !owner.empty() && parsed.normalize() == 0 &&
         parsed.is_read_authorized(store, owner);
}

void keepReadable(toolkit::CCds& store, const std::string& owner,
                  std::vector<toolkit::CEvent>& records) {
  std::map<std::string, bool> readable;
  std::vector<toolkit::CEvent> kept;
  for (toolkit::CEvent& record : records) {
    auto found = readable.find(record.source_path);
    if (found == readable.end()) {
      const bool may = ownerMayRead(store, owner, record.source_path);
      found = readable.emplace(record.source_path, may).first;
    }
    if (found->second) kept.push_back(std::move(record));
  }
  records = std::move(kept);
}

LogReaders::~LogReaders() {
  for (auto& [path, handle] : handles_) pcd_log_close(handle);
}

pcd_log_handle_t LogReaders::handle(const std::string& path) {
  auto found = handles_.find(path);
  if (found != handles_.end()) return found->second;
  pcd_log_handle_t handle = nullptr;
  if (!path.empty() &&
      pcd_log_init(path.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, &handle) == 0) {
    ++opened_;
  } else {
    handle = nullptr;  // no log yet: the logger has not made it
  }
  handles_.emplace(path, handle);
  return handle;
}

std::vector<toolkit::CEvent> LogFeed::readAfter(LogReaders& logs,
                                                const std::string& path,
                                                Cursor& cursor) {
  std::vector<toolkit::CEvent> records;
  pcd_log_handle_t handle = logs.handle(path);
  if (handle == nullptr) return records;
  timeval start{};
  qrx_QRXtoUNIXtime64(cursor.timeUs, &start);
  const int rc = toolkit::CLog(handle).retrieve(
      records, nullptr, &start, nullptr,
      logs.files().batch + static_cast<int>(cursor.seenAtTime), false, false,
      0);
  if (rc != 0) {
    logNotice(kLogActivity, "Publisher: %s not read now (%d)", path.c_str(),
              rc);
    return {};
  }
  std::vector<toolkit::CEvent> fresh;
  size_t skip = cursor.seenAtTime;
  for (toolkit::CEvent& record : records) {
    const int64_t time = qrx_UNIXtoQRXtime64(&record.time);
    if (time == cursor.timeUs && skip > 0) {
      --skip;
      continue;
    }
    if (time == cursor.timeUs) {
      ++cursor.seenAtTime;
    } else {
      cursor.timeUs = time;
      cursor.seenAtTime = 1;
    }
    fresh.push_back(std::move(record));
  }
  return fresh;
}

void LogFeed::sortDelta(std::vector<toolkit::CEvent>& records,
                        Notification& notification) {
  for (toolkit::CEvent& record : records) {
    auto last = lastQuality_.find(record.source_path);
    const bool qualityChanged = last == lastQuality_.end()
                                    ? record.quality < 192
                                    : last->second != record.quality;
    lastQuality_[record.source_path] = record.quality;
    if ((options_ & kLogTrend) != 0 ||
        ((options_ & kLogQuality) != 0 && qualityChanged)) {
      notification.loggedValues.push_back(std::move(record));
    }
  }
}

void LogFeed::sortEvents(std::vector<toolkit::CEvent>& records,
                         bool systemLog, Notification& notification) {
  for (toolkit::CEvent& record : records) {
    if (!systemLog && isAlarm(record)) {
      if ((options_ & kLogAlarm) != 0) {
        notification.alarms.push_back(std::move(record));
      }
    } else if (!systemLog && isConfigurationChange(record)) {
      if ((options_ & kLogConfiguration) != 0) {
        notification.events.push_back(std::move(record));
      }
    } else if ((options_ & kLogNonAlarmEvent) != 0) {
      notification.events.push_back(std::move(record));
    }
  }
}

void LogFeed::collect(toolkit::CCds& store, LogReaders& logs,
                      const std::string& owner, Notification& notification) {
  const LogFiles& files = logs.files();
  if ((options_ & (kLogTrend | kLogQuality)) != 0) {
    std::vector<toolkit::CEvent> records =
        readAfter(logs, files.deltaLog, delta_);
    keepReadable(store, owner, records);
    sortDelta(records, notification);
  }
  if ((options_ & (kLogNonAlarmEvent | kLogAlarm | kLogConfiguration)) != 0) {
    std::vector<toolkit::CEvent> records =
        readAfter(logs, files.eventLog, event_);
    keepReadable(store, owner, records);
    sortEvents(records, false, notification);
  }
  if ((options_ & kLogNonAlarmEvent) != 0) {
    std::vector<toolkit::CEvent> records =
        readAfter(logs, files.systemLog, system_);
    keepReadable(store, owner, records);
    sortEvents(records, true, notification);
  }
}

}  // namespace wsgated
