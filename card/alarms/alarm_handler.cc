// The card's alarm handler (see alarm_handler.h).

#include "card/alarms/alarm_handler.h"

#include <sys/time.h>

#include <algorithm>

#include "common/log.h"
#include "common/value_conversion.h"

namespace wsgated {

const char* const kDefaultEventLog = "/var/lib/wsgated/logs/alarms.db";

namespace {

// Queue events handled per step: a step stays well within a third of the
// watchdog period even when a client acknowledged thousands at once.
constexpr int kEventsPerStep = 500;

timeval now() {
  timeval time;
  gettimeofday(&time, nullptr);
  return time;
}

// A number the handler keeps in the store as decimal text (alarm numbers
// and queue numbers are 64-bit; the store's integers are 32-bit).
bool readNumber(toolkit::CCds& store, const std::string& node,
                uint64_t& number) {
  toolkit::CElement element;
  return readGoodLeaf(store, node + "/Value", element) &&
         parseDecimalNumber(element.to_string(), number);
}

bool writeNumber(toolkit::CCds& store, const std::string& node,
                 uint64_t number) {
  api_status_t status = API_STATUS_OK;
  store.add_node(node, status, kAlarmHandlerSource);
  return store.set_leaf(node + "/Value",
                        toolkit::CElement(std::to_string(number)), status,
                        PCD_TRIBOOL_TRUE, kAlarmHandlerSource) == 0 &&
         status == API_STATUS_OK;
}

// The highest alarm number among the log's alarm records (0 for none or
// no log).
uint64_t highestLoggedAlarm(const std::string& path) {
  pcd_log_handle_t handle = nullptr;
  if (pcd_log_init(path.c_str(), 0, 0, 0, 1, 0, 0, 0, 0, &handle) != 0) {
    return 0;
  }
  std::vector<toolkit::CEvent> records;
  const int result = toolkit::CLog(handle).retrieve(
      records, nullptr, nullptr, nullptr, 0, false, false, 0);
  pcd_log_close(handle);
  if (result != 0)
    logError(kLogErrors, "Cannot read %s: %d", path.c_str(), result);
  uint64_t highest = 0;
  for (const toolkit::CEvent& record : records) {
    if (record.kind == toolkit::EVENT_KIND_ALARM) {
      highest = std::max(highest, record.event_id);
    }
  }
  return highest;
}

int32_t ackStatusOf(uint32_t level) {
  return level == kAlarmAcknowledged ? 1 : level == kAlarmClosed ? 2 : 0;
}

}  // namespace

AlarmHandler::AlarmHandler(const std::string& devicesRoot,
                           const AlarmTable& table, const HandlerState& state)
    : devicesRoot_(devicesRoot),
      table_(table),
      state_(state),
      eventLog_(pathFromEnvironment("WSGATED_EVENT_LOG", kDefaultEventLog)) {}

AlarmHandler::~AlarmHandler() { pcd_log_close_writer(writer_); }

std::string AlarmHandler::usage() const {
  return "  --event-log PATH         the alarm/event log; default "
         "WSGATED_EVENT_LOG,\n"
         "                           else /var/lib/wsgated/logs/alarms.db\n"
         "  --pace-seconds S         seconds between steps (default 1)\n"
         "  --rescan-seconds S       seconds between look-ups of the points\n"
         "                           with alarm rules (default 30)\n";
}

bool AlarmHandler::configure(const std::vector<std::string>& args,
                             std::string* error) {
  return parseCompanionOptions(args,
                               {{"--event-log",
                                 [this](const std::string& value) {
                                   eventLog_ = value;
                                   return !value.empty();
                                 }},
                                {"--pace-seconds",
                                 [this](const std::string& value) {
                                   return parseSeconds(value, &paceSeconds_);
                                 }},
                                {"--rescan-seconds",
                                 [this](const std::string& value) {
                                   return parseSeconds(value, &rescanSeconds_);
                                 }}},
                               error);
}

bool AlarmHandler::start(toolkit::CCds& store) {
  pcd_log_writer_settings settings{};
  const int result =
      pcd_log_open_writer(eventLog_.c_str(), &settings, &writer_);
  if (result != 0) {
    logError(kLogAlways, "Cannot open the alarm/event log %s: %s",
             eventLog_.c_str(), pcd_log_status_name(result));
    return false;
  }
  uint64_t number = 0;
  if (!readNumber(store, state_.nextNumber, number) &&
      !writeNumber(store, state_.nextNumber, firstNumber(store))) {
    logError(kLogAlways, "Cannot keep the alarm numbers in %s",
             state_.nextNumber.c_str());
    return false;
  }
  logNotice(kLogAlways, "Alarm handler started on %s, log %s",
            table_.root().c_str(), eventLog_.c_str());
  return true;
}

void AlarmHandler::step(toolkit::CCds& store) {
  handleAcknowledgements(store);
  judgeConditions(store);
}

void AlarmHandler::stop(toolkit::CCds&) {
  pcd_log_close_writer(writer_);
  writer_ = nullptr;
}

uint64_t AlarmHandler::firstNumber(toolkit::CCds& store) {
  return std::max(table_.highestNumber(store), highestLoggedAlarm(eventLog_)) +
         1;
}

bool AlarmHandler::takeNumber(toolkit::CCds& store, uint64_t& number) {
  if (!readNumber(store, state_.nextNumber, number)) {
    number = firstNumber(store);
  }
  // A number someone else put into the table is skipped.
  TableAlarm existing;
  while (table_.find(store, number, existing)) ++number;
  return writeNumber(store, state_.nextNumber, number + 1);
}

void AlarmHandler::handleAcknowledgements(toolkit::CCds& store) {
  uint64_t last = 0;
  readNumber(store, state_.lastEvent, last);
  std::vector<CdsQueuedEvent> queued;
  if (cds_events_read(store.handle, static_cast<long long>(last),
                      kEventsPerStep, queued) != 0) {
    logError(kLogErrors, "Cannot read the store's event queue");
    return;
  }
  if (queued.empty()) return;
  for (const CdsQueuedEvent& entry : queued) {
    toolkit::CEvent event;
    if (!event.deserialize(entry.payload)) {
      logWarning(kLogErrors, "Queued event %lld is not readable; skipped",
                 entry.queue_id);
    } else if (event.kind == toolkit::EVENT_KIND_ACKNOWLEDGE) {
      acknowledge(store, event);
    }
  }
  if (!writeNumber(store, state_.lastEvent,
                   static_cast<uint64_t>(queued.back().queue_id))) {
    logError(kLogErrors, "Cannot remember the last event handled in %s",
             state_.lastEvent.c_str());
  }
}

void AlarmHandler::acknowledge(toolkit::CCds& store,
                               const toolkit::CEvent& event) {
  const auto number = static_cast<unsigned long long>(event.event_id);
  if (event.ack_status != 1 && event.ack_status != 2) {
    logInfo(kLogDetail,
            "Acknowledgement of alarm %llu with status %d: "
            "nothing to do",
            number, event.ack_status);
    return;
  }
  TableAlarm alarm;
  if (!table_.find(store, event.event_id, alarm)) {
    logNotice(kLogErrors,
              "Acknowledgement of alarm %llu by %s skipped: no "
              "such alarm in %s",
              number, event.source.c_str(), table_.root().c_str());
    return;
  }
  alarm.level = event.ack_status == 1 ? kAlarmAcknowledged : kAlarmClosed;
  if (event.ack_status == 1 || !event.note.empty()) alarm.note = event.note;
  const bool changed = alarm.conditionRaised
                           ? table_.write(store, alarm)
                           : table_.remove(store, alarm.number);
  if (!changed) {
    logError(kLogErrors, "Cannot change alarm %llu in the store", number);
    return;
  }
  std::vector<PointReading> point;
  readPoints(store, {alarm.sourcePath}, point);
  logInfo(kLogActivity, "Alarm %llu %s by %s", number,
          alarm.level == kAlarmAcknowledged ? "acknowledged" : "closed",
          event.source.c_str());
  record(alarm, point.empty() ? nullptr : &point[0], alarm.message,
         event.source);
}

void AlarmHandler::judgeConditions(toolkit::CCds& store) {
  const double at = monotonicSeconds();
  if (lastScan_ < 0 || at - lastScan_ >= rescanSeconds_) {
    findAlarmPoints(store, devicesRoot_, points_);
    lastScan_ = at;
  }
  std::vector<PointReading> readings;
  std::vector<TableAlarm> alarms;
  if (points_.empty() || !readPoints(store, points_, readings) ||
      !table_.read(store, alarms)) {
    return;
  }
  for (const PointReading& point : readings) {
    auto raised = std::find_if(
        alarms.begin(), alarms.end(), [&point](const TableAlarm& alarm) {
          return alarm.conditionRaised && alarm.sourcePath == point.node;
        });
    const bool isRaised = raised != alarms.end();
    const Condition condition = judge(point, isRaised);
    if (condition == Condition::kInAlarm && !isRaised) {
      raise(store, point, alarms);
    } else if (condition == Condition::kNormal && isRaised &&
               isLater(newestInput(point), raised->time)) {
      returnToNormal(store, point, *raised);
    }
  }
}

void AlarmHandler::raise(toolkit::CCds& store, const PointReading& point,
                         const std::vector<TableAlarm>& alarms) {
  TableAlarm alarm;
  if (!takeNumber(store, alarm.number)) {
    logError(kLogErrors, "Cannot take an alarm number for %s",
             point.node.c_str());
    return;
  }
  for (const TableAlarm& other : alarms) {
    alarm.sequence = std::max(alarm.sequence, other.sequence);
  }
  ++alarm.sequence;
  alarm.sourcePath = point.node;
  alarm.sourceValue = point.value;
  alarm.message = alarmText(point);
  alarm.time = now();
  if (!table_.write(store, alarm)) {
    logError(kLogErrors, "Cannot raise alarm %llu of %s",
             static_cast<unsigned long long>(alarm.number), point.node.c_str());
    return;
  }
  logNotice(kLogActivity, "Alarm %llu raised by %s = %s",
            static_cast<unsigned long long>(alarm.number), point.node.c_str(),
            point.value.to_string().c_str());
  record(alarm, &point, alarm.message, kAlarmHandlerSource);
}

void AlarmHandler::returnToNormal(toolkit::CCds& store,
                                  const PointReading& point, TableAlarm alarm) {
  alarm.conditionRaised = false;
  const bool leaves = autoClosing(point) || alarm.level != kAlarmRaised;
  if (!(leaves ? table_.remove(store, alarm.number)
               : table_.write(store, alarm))) {
    logError(kLogErrors, "Cannot return alarm %llu to normal",
             static_cast<unsigned long long>(alarm.number));
    return;
  }
  logNotice(kLogActivity, "Alarm %llu of %s back to normal%s",
            static_cast<unsigned long long>(alarm.number), point.node.c_str(),
            leaves ? "; it leaves the table" : "");
  alarm.sourceValue = point.value;
  record(alarm, &point, normalText(point), kAlarmHandlerSource);
}

void AlarmHandler::record(const TableAlarm& alarm, const PointReading* point,
                          const std::string& description,
                          const std::string& source) {
  toolkit::CEvent event;
  event.kind = toolkit::EVENT_KIND_ALARM;
  event.source_path = alarm.sourcePath + "/Value";
  event.time = now();
  event.value = alarm.sourceValue;
  event.value.set_time(event.time);
  event.description = description;
  event.event_id = alarm.number;
  event.sequence_index = alarm.sequence;
  event.quality = 192;
  event.severity = point != nullptr ? alarmSeverity(*point)
                                    : toolkit::EVENT_SEVERITY_CRITICAL;
  event.base_priority = point != nullptr ? basePriority(*point) : 0;
  event.auto_closing = point != nullptr && autoClosing(*point);
  event.ack_status = ackStatusOf(alarm.level);
  event.condition_present = alarm.conditionRaised;
  event.note = alarm.note;
  event.variation_level = alarm.level == kAlarmRaised ? 2 : 1;
  event.source = source;
  std::vector<toolkit::CEvent> batch{event};
  const int result = pcd_log_append(writer_, batch);
  if (result != 0) {
    logError(kLogErrors, "Cannot log alarm %llu in %s: %s",
             static_cast<unsigned long long>(alarm.number), eventLog_.c_str(),
             pcd_log_status_name(result));
  }
}

}  // namespace wsgated
