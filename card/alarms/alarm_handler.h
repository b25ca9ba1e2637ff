// The card's alarm handler (card-alarms): keeps the store's alarm table
// (alarm_table.h) and writes the alarm records of the alarm/event log.
//
// Each step, in this order:
//   1. Acknowledgements. It reads the store's event queue after the last
//      event it handled (kept in the store, so a restart neither repeats
//      nor loses one) and acts on each acknowledgement event (kind 16) of
//      an alarm in the table: status Acked sets level 3 and the event's
//      note, Closed level 5 (and the note, when one is given); status
//      NotAcked changes nothing. Each is logged as an alarm record (kind 8)
//      with the new status, the note and the acknowledger. An acknowledged
//      or closed alarm whose condition has already gone leaves the table.
//      An acknowledgement of an alarm not in the table is logged and
//      skipped.
//   2. Conditions (alarm_rules.h). A point in alarm without a raised alarm
//      in the table raises one: a new node named by the next alarm number,
//      level 1, stamped now, and an alarm record with the same number. A
//      raised alarm whose point is back to normal, judged on a value or
//      rule newer than the alarm, no longer has its condition raised (an
//      alarm record says so); when it closes by itself (.AutoClosing) or
//      was acknowledged or closed it leaves the table.
//
// Alarm numbers come from a counter kept outside the table; when there is
// none yet it starts above the highest number in the table and in the
// alarm/event log, so a number is never given twice. Points are looked up
// below the devices' root when the handler starts and again every
// --rescan-seconds.

#ifndef CARD_ALARMS_ALARM_HANDLER_H_
#define CARD_ALARMS_ALARM_HANDLER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "card/alarms/alarm_rules.h"
#include "card/alarms/alarm_table.h"
#include "card/common/card_process.h"
#include "platform/event.h"
#include "platform/log.h"

namespace wsgated {

// Where the alarm/event log is without --event-log and WSGATED_EVENT_LOG
// (the card's location, deploy/paths.env).
extern const char* const kDefaultEventLog;

// The handler's own state in the store, outside the alarm table: the next
// alarm number and the queue number of the last event handled.
struct HandlerState {
  std::string nextNumber = "/Software/Alarm Handler/NextAlarmNumber";
  std::string lastEvent = "/Software/Alarm Handler/LastEventHandled";
};

class AlarmHandler : public Companion {
 public:
  // `devicesRoot` is where points are looked for, "/Devices" on a card.
  explicit AlarmHandler(const std::string& devicesRoot = "/Devices",
                        const AlarmTable& table = AlarmTable(),
                        const HandlerState& state = HandlerState());
  // Closes the alarm/event log when stop() did not (a run cut short).
  ~AlarmHandler() override;
  AlarmHandler(const AlarmHandler&) = delete;
  AlarmHandler& operator=(const AlarmHandler&) = delete;

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return paceSeconds_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

  // The two halves of a step.
  void handleAcknowledgements(toolkit::CCds& store);
  void judgeConditions(toolkit::CCds& store);

 private:
  bool apply(const std::string& option, const std::string& value,
             std::string* error);
  uint64_t firstNumber(toolkit::CCds& store);
  bool takeNumber(toolkit::CCds& store, uint64_t& number);
  void acknowledge(toolkit::CCds& store, const toolkit::CEvent& event);
  void raise(toolkit::CCds& store, const PointReading& point,
             const std::vector<TableAlarm>& alarms);
  void returnToNormal(toolkit::CCds& store, const PointReading& point,
                      TableAlarm alarm);
  // Appends one alarm record of `alarm` to the log (logged on failure).
  void record(const TableAlarm& alarm, const PointReading* point,
              const std::string& description, const std::string& source);

  std::string devicesRoot_;
  AlarmTable table_;
  HandlerState state_;
  std::string eventLog_;
  double paceSeconds_ = 1;
  double rescanSeconds_ = 30;
  double lastScan_ = -1;
  std::vector<std::string> points_;
  pcd_log_writer_t writer_ = nullptr;
};

}  // namespace wsgated

#endif  // CARD_ALARMS_ALARM_HANDLER_H_
