// getActiveAlarms without the engine: one alarm of the store's alarm table
// as a response record, and which of the collected alarms a request gets.
//
// The alarm table is "/Alarms" (docs/alarms.md): one child node per alarm,
// named by the alarm's number, with seven leaves; "/Alarms/AlarmCount" is
// the table's counter, not an alarm.

#ifndef LOGS_ACTIVE_ALARMS_H_
#define LOGS_ACTIVE_ALARMS_H_

#include <cstddef>
#include <cstdint>
#include <locale>
#include <string>
#include <vector>

#include "soapH.h"

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

class EventRecordBuilder;
class SearchPattern;
class SourceRights;

// What a request's path filter did to the alarms of one answer, so that a
// bad pattern is logged a bounded number of times, not once per alarm of a
// table of thousands.
struct PatternFailures {
  int count = 0;
  std::string pattern;  // as the request gave it, for the log
};

// The most pattern failures one answer logs one by one; the rest are
// counted in one line at the end.
constexpr int kPatternFailuresLogged = 10;

// Fill `alarm` (as soap_new_nss1__AlarmUpdate made it; its texts are
// allocated in `soap`) from the alarm node
// `alarmNodePath`: its seven leaves read in one store call, the source's
// .BasePriority and .AutoClosing, the description translated into `locale`
// (null: kept as stored), the source and value shown by `builder`. False,
// with `alarm` unusable, when the alarm is left out: a leaf is missing or
// of the wrong type, the node's name is not a number, `rights` (null: no
// test) refuses its source, or `pattern` (the request's path filter; null
// for all) does not occur in its source path or cannot be used (logged,
// counted in `failures`).
bool buildActiveAlarm(struct soap* soap, toolkit::CCds& cds,
                      EventRecordBuilder& builder, const std::locale* locale,
                      const std::string& alarmNodePath, SearchPattern* pattern,
                      SourceRights* rights, PatternFailures& failures,
                      nss1__AlarmUpdate& alarm);

// The positions [first, end) of the collected alarms that an answer holds.
struct AlarmRange {
  std::size_t first = 0;
  std::size_t end = 0;
  int trimmedCount = 0;  // numTrimmedEvents
};

// Choose the range for alarms whose times, in the answer's order, are
// `times`: all of them when `maxToReturn` is below 1 or not exceeded;
// otherwise the first or the last `maxToReturn` positions (the newest
// alarms when `latest`), and with `trimIncomplete` without the group of
// alarms of one time that the cut splits. `trimmedCount` is then the
// number of alarms of the time at the kept edge next to the cut (of the
// cut's own time when nothing is kept).
AlarmRange chooseAlarmRange(const std::vector<int64_t>& times, int maxToReturn,
                            bool latest, bool reverse, bool trimIncomplete);

}  // namespace wsgated

#endif  // LOGS_ACTIVE_ALARMS_H_
