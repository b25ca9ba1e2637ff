// The system logger (system_logger.h).

#include "card/syslog/system_logger.h"

#include <syslog.h>
#include <unistd.h>

#include <cstring>
#include <sstream>

#include "common/log.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

const char* const kDefaultEventLog = "/var/lib/wsgated/logs/alarms.db";
const char* const kDefaultSystemLog = "/var/lib/wsgated/logs/system.db";
const char* const kConfigurationPath =
    "/Software/System Settings/Configuration Changed/Value";
const char* const kMark = "store";
// Areas whose nodes come and go as the card runs (the daemon's connection
// table, subscriptions, the command queue, the table of active alarms):
// their structure changes are bookkeeping, not configuration.
const char* const kRuntimeAreas[] = {"/Software/Data Servers",
                                     "/Software/Commands", "/Alarms"};
const char* const kOwnRow = "syslog";
const char* const kDaemonRow = "wsgated";
// Entries taken from each feed per step: a step stays short, and a long
// backlog is worked off over a few steps.
constexpr int kBatch = 500;
constexpr int64_t kMicros = 1000000;

timeval fromUs(int64_t us) {
  timeval time{};
  qrx_QRXtoUNIXtime64(us, &time);
  return time;
}

// A record of the card on "/" (kind 32).
toolkit::CEvent cardRecord(int64_t us, const std::string& what,
                           const std::string& detail, int severity) {
  toolkit::CEvent record;
  record.kind = toolkit::EVENT_KIND_SYSTEM;
  record.source_path = "/";
  record.value = toolkit::CElement(what);
  record.time = fromUs(us);
  record.value.set_time(record.time);
  record.severity = severity;
  record.quality = 192;
  record.description = detail.empty() ? what : what + " :  " + detail;
  return record;
}

// syslog priorities 0..2 are critical, 3..4 cautionary, the rest
// informational.
int severityOfLevel(int level) {
  return level <= LOG_CRIT ? 3 : level <= LOG_WARNING ? 2 : 1;
}

const char* levelName(int level) {
  static const char* const kNames[] = {"emergency", "alert",  "critical",
                                       "error",     "warning", "notice",
                                       "info",      "debug"};
  return level >= 0 && level <= 7 ? kNames[level] : "notice";
}

toolkit::CEvent structureRecord(const CdsStructureChange& change) {
  toolkit::CEvent record;
  record.kind = toolkit::EVENT_KIND_CONFIGURATION;
  record.source_path = kConfigurationPath;
  record.time = fromUs(change.time_us);
  record.value = toolkit::CElement(true);
  record.value.set_time(record.time);
  record.severity = toolkit::EVENT_SEVERITY_INFORMATIONAL;
  record.quality = 192;
  record.description =
      (change.action == "removed" ? "Node removed :  " : "Node created :  ") +
      change.path;
  record.source = change.source;
  return record;
}

bool isRuntimeArea(const std::string& path) {
  for (const char* area : kRuntimeAreas) {
    const size_t length = strlen(area);
    if (path.compare(0, length, area) == 0 &&
        (path.size() == length || path[length] == '/')) {
      return true;
    }
  }
  return false;
}

std::string processWhat(const std::string& name, const char* verb) {
  return name == kDaemonRow ? std::string("Web services ") + verb
                            : std::string("Process ") + verb;
}

std::string processDetail(const std::string& name, int pid) {
  return (name == kDaemonRow ? "" : name + ", ") + "pid " +
         std::to_string(pid);
}

}  // namespace

SystemLogger::SystemLogger(QrxClock clock)
    : clock_(clock ? std::move(clock) : QrxClock(qrx_UTCtime64)),
      eventLogPath_(pathFromEnvironment("WSGATED_EVENT_LOG", kDefaultEventLog)),
      systemLogPath_(
          pathFromEnvironment("WSGATED_SYSTEM_LOG", kDefaultSystemLog)) {}

SystemLogger::~SystemLogger() {
  pcd_log_close_writer(eventLog_);
  pcd_log_close_writer(systemLog_);
}

std::string SystemLogger::usage() const {
  return "  --event-log PATH         the alarm/event log; default "
         "WSGATED_EVENT_LOG,\n"
         "                           else /var/lib/wsgated/logs/alarms.db\n"
         "  --system-log PATH        the system event log; default\n"
         "                           WSGATED_SYSTEM_LOG, else\n"
         "                           /var/lib/wsgated/logs/system.db\n"
         "  --check-seconds S        seconds between looks at the store "
         "(default 1)\n";
}

bool SystemLogger::configure(const std::vector<std::string>& args,
                             std::string* error) {
  return parseCompanionOptions(
      args,
      {{"--event-log",
        [this](const std::string& v) { return !(eventLogPath_ = v).empty(); }},
       {"--system-log",
        [this](const std::string& v) { return !(systemLogPath_ = v).empty(); }},
       {"--check-seconds",
        [this](const std::string& v) {
          return parseSeconds(v, &checkSeconds_);
        }}},
      error);
}

bool SystemLogger::openLog(const std::string& path, pcd_log_writer_t* writer) {
  const int status = pcd_log_open_writer(path.c_str(), nullptr, writer);
  if (status != LOG_STATUS_OK) {
    logError(kLogAlways, "cannot open the log %s: %s", path.c_str(),
             pcd_log_status_name(status));
  }
  return status == LOG_STATUS_OK;
}

bool SystemLogger::start(toolkit::CCds& store) {
  if (!openLog(eventLogPath_, &eventLog_) ||
      !openLog(systemLogPath_, &systemLog_) || !readMarks(store)) {
    return false;
  }
  logNotice(kLogAlways, "logging into %s and %s", eventLogPath_.c_str(),
            systemLogPath_.c_str());
  return true;
}

void SystemLogger::stop(toolkit::CCds& store) {
  // What came in since the last step, and this process's own stop.
  handEvents(store);
  handSystem(store, true);
  pcd_log_close_writer(eventLog_);
  pcd_log_close_writer(systemLog_);
  eventLog_ = systemLog_ = nullptr;
}

// Where each feed was left; a log without a mark gets one at once, so that
// what "the beginning" meant is fixed before anything is handed on.
bool SystemLogger::readMarks(toolkit::CCds& store) {
  CdsLastIds last;
  std::string value;
  bool found = false;
  if (cds_last_ids(store.handle, last) != 0 ||
      pcd_log_read_mark(eventLog_, kMark, &value, &found) != LOG_STATUS_OK) {
    logError(kLogAlways, "cannot read where the alarm/event log was left");
    return false;
  }
  std::istringstream events(value);
  if (!found || !(events >> eventId_ >> structureId_)) {
    eventId_ = 0;
    structureId_ = last.structure;
    std::vector<toolkit::CEvent> none;
    const std::string mark =
        std::to_string(eventId_) + " " + std::to_string(structureId_);
    if (pcd_log_append_marked(eventLog_, none, kMark, mark) != LOG_STATUS_OK) {
      return false;
    }
  }
  if (pcd_log_read_mark(systemLog_, kMark, &value, &found) != LOG_STATUS_OK) {
    logError(kLogAlways, "cannot read where the system log was left");
    return false;
  }
  std::istringstream system(value);
  syslogId_ = 0;
  rows_.clear();
  if (found && system >> syslogId_) {
    std::string name;
    int pid = 0, expired = 0;
    while (system >> name >> pid >> expired) rows_[{name, pid}] = expired != 0;
  }
  return true;
}

std::string SystemLogger::systemMark(long long syslogId,
                                     const Rows& rows) const {
  std::string mark = std::to_string(syslogId);
  for (const auto& row : rows) {
    mark += "\n" + row.first.first + " " + std::to_string(row.first.second) +
            (row.second ? " 1" : " 0");
  }
  return mark;
}

// Device conditions and structure changes into the alarm/event log.
void SystemLogger::handEvents(toolkit::CCds& store) {
  CdsLastIds last;
  std::vector<CdsQueuedEvent> queued;
  std::vector<CdsStructureChange> changes;
  if (cds_last_ids(store.handle, last) != 0) return;
  // A store made anew numbers from 1 again.
  long long eventId = last.event < eventId_ ? 0 : eventId_;
  long long structureId = last.structure < structureId_ ? 0 : structureId_;
  if (cds_events_read(store.handle, eventId, kBatch, queued) != 0 ||
      cds_structure_read(store.handle, structureId, kBatch, changes) != 0) {
    logWarning(kLogErrors, "cannot read the store's events; later");
    return;
  }
  std::vector<toolkit::CEvent> records;
  for (const CdsQueuedEvent& entry : queued) {
    eventId = entry.queue_id;
    toolkit::CEvent event;
    if (!event.deserialize(entry.payload) ||
        event.kind != toolkit::EVENT_KIND_DEVICE_CONDITION) {
      continue;  // acknowledgements and the like are not ours to log
    }
    if (event.time.tv_sec == 0 && event.time.tv_usec == 0) {
      event.time = fromUs(entry.queued_us);
    }
    records.push_back(event);
  }
  for (const CdsStructureChange& change : changes) {
    structureId = change.id;
    if (!isRuntimeArea(change.path)) records.push_back(structureRecord(change));
  }
  if (eventId == eventId_ && structureId == structureId_) return;
  const std::string mark =
      std::to_string(eventId) + " " + std::to_string(structureId);
  const int status = pcd_log_append_marked(eventLog_, records, kMark, mark);
  if (status != LOG_STATUS_OK) {
    logWarning(kLogErrors, "cannot append to %s: %s; trying again",
               eventLogPath_.c_str(), pcd_log_status_name(status));
    return;
  }
  eventId_ = eventId;
  structureId_ = structureId;
}

void SystemLogger::compareRows(const std::vector<CdsWatchdog>& rows,
                               bool stopping, Rows& seen,
                               std::vector<toolkit::CEvent>& records) {
  const int64_t nowUs = clock_();
  Rows present;
  for (const CdsWatchdog& row : rows) {
    const auto key = std::make_pair(row.name, row.pid);
    if (stopping && row.name == kOwnRow && row.pid == getpid()) continue;
    const auto before = seen.find(key);
    bool expired = before != seen.end() && before->second;
    if (before == seen.end()) {
      records.push_back(cardRecord(nowUs, processWhat(row.name, "started"),
                                   processDetail(row.name, row.pid), 1));
    }
    const int64_t dueUs =
        row.last_ping_us + static_cast<int64_t>(row.period_seconds) * kMicros;
    if (!expired && nowUs > dueUs) {
      expired = true;
      records.push_back(cardRecord(dueUs, "Watchdog expired",
                                   processDetail(row.name, row.pid), 3));
    }
    present[key] = expired;
  }
  for (const auto& row : seen) {
    if (present.count(row.first) != 0 || row.second) continue;
    records.push_back(cardRecord(nowUs,
                                 processWhat(row.first.first, "stopped"),
                                 processDetail(row.first.first,
                                               row.first.second),
                                 1));
  }
  seen.swap(present);
}

// The store's system-log lines and the processes' rows into the system log.
void SystemLogger::handSystem(toolkit::CCds& store, bool stopping) {
  CdsLastIds last;
  std::vector<CdsSyslogLine> lines;
  std::vector<CdsWatchdog> rows;
  if (cds_last_ids(store.handle, last) != 0) return;
  long long syslogId = last.syslog < syslogId_ ? 0 : syslogId_;
  if (cds_syslog_read_after(store.handle, syslogId, kBatch, lines) != 0 ||
      cds_watchdogs_read(store.handle, rows) != 0) {
    logWarning(kLogErrors, "cannot read the store's system log; later");
    return;
  }
  std::vector<toolkit::CEvent> records;
  for (const CdsSyslogLine& line : lines) {
    syslogId = line.id;
    toolkit::CEvent record = cardRecord(line.time_us, line.message, "",
                                        severityOfLevel(line.level));
    record.value = toolkit::CElement(levelName(line.level));
    record.value.set_time(record.time);
    records.push_back(record);
  }
  Rows seen = rows_;
  compareRows(rows, stopping, seen, records);
  if (syslogId == syslogId_ && seen == rows_) return;
  const int status = pcd_log_append_marked(systemLog_, records, kMark,
                                           systemMark(syslogId, seen));
  if (status != LOG_STATUS_OK) {
    logWarning(kLogErrors, "cannot append to %s: %s; trying again",
               systemLogPath_.c_str(), pcd_log_status_name(status));
    return;
  }
  syslogId_ = syslogId;
  rows_.swap(seen);
}

void SystemLogger::step(toolkit::CCds& store) {
  handEvents(store);
  handSystem(store, false);
}

}  // namespace wsgated
