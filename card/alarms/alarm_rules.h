// The alarm rules of the card's points, and when a point is in alarm.
//
// A point (a node below the devices' root) has alarm rules when it carries
// a .HighAlarmLimit, a .LowAlarmLimit or an .AlarmOnValue attribute. Its
// other alarm attributes shape them:
//   .AlarmEnable   false: the point is not judged at all (its alarms stay
//                  as they are); absent counts as true
//   .Hysteresis    a raised limit alarm returns to normal only once the
//                  value is back inside the limits by this much (default 0)
//   .AlarmText, .NormalText   the texts of raising and returning to normal
//                  (default "<DisplayName> alarm", "<DisplayName> back to
//                  normal")
//   .Severity      of the alarm's log records (default 3, critical)
//   .BasePriority  of the log records (default 0: none)
//   .AutoClosing   a raised alarm leaves the table when it returns to
//                  normal, acknowledged or not
// A value above the high limit or below the low limit is in alarm; with
// .AlarmOnValue, a value equal to it is (Booleans compare as Booleans).

#ifndef CARD_ALARMS_ALARM_RULES_H_
#define CARD_ALARMS_ALARM_RULES_H_

#include <sys/time.h>

#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/element.h"

namespace wsgated {

// A point's value and alarm attributes as read in one round. Absent
// attributes have type PCD_TYPE_NONE.
struct PointReading {
  std::string node;
  bool readable = false;  // the Value could be read
  toolkit::CElement value;
  toolkit::CElement highLimit;
  toolkit::CElement lowLimit;
  toolkit::CElement alarmOnValue;
  toolkit::CElement enable;
  toolkit::CElement hysteresis;
  toolkit::CElement alarmText;
  toolkit::CElement normalText;
  toolkit::CElement severity;
  toolkit::CElement basePriority;
  toolkit::CElement autoClosing;
  toolkit::CElement displayName;
};

// The nodes below `root` (at most 16 levels deep) that have alarm rules.
void findAlarmPoints(toolkit::CCds& store, const std::string& root,
                     std::vector<std::string>& nodes);

// The value and alarm attributes of each of `nodes`, in one store call.
// False when the store could not be read.
bool readPoints(toolkit::CCds& store, const std::vector<std::string>& nodes,
                std::vector<PointReading>& readings);

enum class Condition {
  kNotJudged,  // disabled, unreadable, or not a number
  kNormal,
  kInAlarm,
};

// Whether `point` is in alarm; `raised` says whether it is now (a limit
// alarm then needs the hysteresis to return to normal).
Condition judge(const PointReading& point, bool raised);

// The newest time stamp of the point's value and alarm rules: a raised
// alarm is judged again only on inputs newer than itself.
timeval newestInput(const PointReading& point);

// Whether time stamp `a` is later than `b`.
bool isLater(const timeval& a, const timeval& b);

// The texts, numbers and flags of the point's alarm records.
std::string alarmText(const PointReading& point);
std::string normalText(const PointReading& point);
int32_t alarmSeverity(const PointReading& point);
int32_t basePriority(const PointReading& point);
bool autoClosing(const PointReading& point);

}  // namespace wsgated

#endif  // CARD_ALARMS_ALARM_RULES_H_
