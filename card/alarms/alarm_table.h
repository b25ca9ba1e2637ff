// The store's alarm table as the alarm handler keeps it (docs/alarms.md).
//
// "/Alarms" holds one child node per active alarm, named by the alarm's
// number, with seven leaves (each the Value of a child node):
//   SourcePath       the point that raised it (a node path)
//   SourceValue      the point's value when it was raised
//   AlarmMsg         the alarm's text
//   SequenceID       its place among the table's alarms; the leaf's time
//                    stamp is the alarm's time
//   AlarmLevel       1 raised, 3 acknowledged, 5 closed
//   ConditionRaised  whether the point is still in alarm
//   Note             the acknowledger's note
// and "/Alarms/AlarmCount" counts the alarms. Every change of one alarm is
// one transaction of the store, together with the count.

#ifndef CARD_ALARMS_ALARM_TABLE_H_
#define CARD_ALARMS_ALARM_TABLE_H_

#include <sys/time.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/element.h"

namespace wsgated {

// Alarm levels (AlarmLevel).
constexpr uint32_t kAlarmRaised = 1;
constexpr uint32_t kAlarmAcknowledged = 3;
constexpr uint32_t kAlarmClosed = 5;

struct TableAlarm {
  uint64_t number = 0;
  std::string sourcePath;
  toolkit::CElement sourceValue;
  std::string message;
  uint32_t sequence = 0;
  timeval time{0, 0};  // when it was raised
  uint32_t level = kAlarmRaised;
  bool conditionRaised = true;
  std::string note;
};

class AlarmTable {
 public:
  // `root` is "/Alarms" on a card; tests use their own.
  explicit AlarmTable(const std::string& root = "/Alarms");

  const std::string& root() const { return root_; }

  // Every readable alarm of the table; a node whose name is not a number
  // or whose leaves cannot be read is left out (and logged). False when
  // the table cannot be listed.
  bool read(toolkit::CCds& store, std::vector<TableAlarm>& alarms) const;

  // The alarm `number`; false when it is not in the table.
  bool find(toolkit::CCds& store, uint64_t number, TableAlarm& alarm) const;

  // The highest number of the table's alarm nodes (0 for none).
  uint64_t highestNumber(toolkit::CCds& store) const;

  // Write `alarm` whole, making its node when it is new; its SequenceID
  // is stamped with its time. False when the store refused.
  bool write(toolkit::CCds& store, const TableAlarm& alarm) const;

  // Remove the alarm `number`; false when the store refused.
  bool remove(toolkit::CCds& store, uint64_t number) const;

  // Set AlarmCount to the number of alarms in the table.
  bool updateCount(toolkit::CCds& store) const;

 private:
  std::string nodeOf(uint64_t number) const;
  bool readNode(toolkit::CCds& store, const std::string& node,
                TableAlarm& alarm) const;

  std::string root_;
};

// The source text of the handler's changes to the store.
extern const char* const kAlarmHandlerSource;

}  // namespace wsgated

#endif  // CARD_ALARMS_ALARM_TABLE_H_
