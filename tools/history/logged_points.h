// The points of a store that the Delta logger logs, as the demo history
// generator reads them. A point is Delta-logged when it has ".LogInterval"
// (seconds between samples); ".Deadband" (in the point's units) is the
// change a sample must show to be logged, 0 or absent meaning any change.
// docs/logs.md describes both marks.

#ifndef TOOLS_HISTORY_LOGGED_POINTS_H_
#define TOOLS_HISTORY_LOGGED_POINTS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/types.h"

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

struct LoggedPoint {
  std::string node;         // "/Devices/Meter1/VoltageL1N"
  std::string displayName;  // DisplayName, else the node's name
  data_type_t type;         // of Value: Boolean, Integer, Unsigned or Real
  bool multistate;
  std::string possibleValues;   // the state names' list
  std::vector<int32_t> states;  // the multistate's state numbers
  std::string units;
  double value;  // the present value: where the history ends
  int interval;  // seconds between samples
  double deadband;
  // Alarm configuration: a point with a base priority raises alarms.
  int basePriority;
  bool autoClosing;
  bool hasHighLimit, hasLowLimit;
  double highLimit, lowLimit;
  bool alarmOnValue;  // a Boolean's alarming value
  std::string alarmText;
};

// An entry of the store's table of active alarms (/Alarms/<number>).
struct ActiveAlarm {
  uint64_t number;
  std::string sourcePath;
  double sourceValue;
  std::string message;
  uint32_t sequence;
  bool acknowledged;  // AlarmLevel 3
  bool conditionRaised;
  std::string note;
};

// Every Delta-logged point of the store, in the store's path order.
// Returns false when the store cannot be read.
bool findLoggedPoints(toolkit::CCds& cds, std::vector<LoggedPoint>& points);

// The store's active alarms, in number order.
void findActiveAlarms(toolkit::CCds& cds, std::vector<ActiveAlarm>& alarms);

}  // namespace wsgated

#endif  // TOOLS_HISTORY_LOGGED_POINTS_H_
