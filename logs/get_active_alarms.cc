// nsqv:getActiveAlarms: the alarms active now, from the store's alarm table
// "/Alarms" (docs/alarms.md), which the card's alarm handler keeps.
//
// The request is a log request (logRetrieveRequest) applied in memory: the
// time bounds, the count limit with its latest/reverse choice and the
// trimming of a split group of alarms of one time. `path` is a regular
// expression searched in each alarm's source path. Alarms of sources the
// caller may not read are left out. Failures travel in `result`; only an
// engine that cannot allocate the list fails the call (SOAP_EOM).

#include <cinttypes>
#include <set>
#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/event_records.h"
#include "common/event_text.h"
#include "common/log.h"
#include "common/search_pattern.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "logs/active_alarms.h"
#include "logs/log_request.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "soapH.h"

namespace wsgated {

namespace {

const char* const kAlarmTable = "/Alarms";
const char* const kAlarmCounter = "/AlarmCount";
const char* const kDefaultBasePriority = "5000";

// The leaves of an alarm node, read in this order with one store call.
enum AlarmLeaf {
  kSourcePathLeaf,
  kSourceValueLeaf,
  kAlarmMsgLeaf,
  kSequenceIdLeaf,
  kAlarmLevelLeaf,
  kConditionRaisedLeaf,
  kNoteLeaf,
  kAlarmLeafCount,
};
const char* const kAlarmLeafSuffixes[kAlarmLeafCount] = {
    "/SourcePath/Value", "/SourceValue/Value", "/AlarmMsg/Value",
    "/SequenceID/Value", "/AlarmLevel/Value",  "/ConditionRaised/Value",
    "/Note/Value"};

// The alarm handler's levels (docs/alarms.md) as acknowledgement states.
constexpr uint32_t kLevelRaised = 1;
constexpr uint32_t kLevelAcknowledged = 3;
constexpr uint32_t kLevelClosed = 5;

bool isInteger(const toolkit::CElement& element) {
  return element.get_type() == PCD_TYPE_UINT ||
         element.get_type() == PCD_TYPE_INT;
}

// Whether the leaves hold what the table's leaves hold; a value of any
// type may be the source's value, and the texts may be of any type.
bool leavesUsable(const std::vector<api_status_t>& statuses,
                  const std::vector<toolkit::CElement>& leaves) {
  for (api_status_t status : statuses) {
    if (status != API_STATUS_OK) return false;
  }
  return leaves[kSourcePathLeaf].get_type() == PCD_TYPE_STRING &&
         isInteger(leaves[kSequenceIdLeaf]) &&
         isInteger(leaves[kAlarmLevelLeaf]) &&
         leaves[kConditionRaisedLeaf].get_type() == PCD_TYPE_BOOL;
}

// The alarm's number: its node's name, all decimal digits.
bool alarmNumber(const std::string& alarmNodePath, uint64_t& number) {
  std::string parent, name;
  return toolkit::CPath::LopLastSubpath(alarmNodePath, parent, name) == 0 &&
         parseDecimalNumber(name, number);
}

// Whether `pattern` (null: every source) occurs in `sourcePath`. The
// pattern is compiled for each alarm and matched under the search's work
// limit, so that a pattern that backtracks without end costs a table of
// thousands of alarms seconds, not minutes.
bool sourceMatches(SearchPattern* pattern, const std::string& sourcePath,
                   PatternFailures& failures) {
  if (pattern == nullptr) return true;
  std::string error;
  switch (pattern->search(sourcePath, error)) {
    case PatternResult::kFound:
      return true;
    case PatternResult::kNotFound:
      return false;
    default:
      if (++failures.count <= kPatternFailuresLogged) {
        logError(kLogErrors,
                 "Exception in regular expression matching of alarm path = "
                 "%s",
                 failures.pattern.c_str());
        logInfo(kLogDetail, "%s", error.c_str());
      }
      return false;
  }
}

std::string* newText(struct soap* soap, const std::string& text) {
  std::string* copy = soap_new_std__string(soap);
  if (copy == nullptr) throw std::bad_alloc();
  *copy = text;
  return copy;
}

void fillLevel(uint32_t level, nss1__AlarmUpdate& alarm) {
  alarm.VariationLevel = 1;
  alarm.AckStatus = nss1__AckStatus__NotAcked;
  if (level == kLevelAcknowledged) {
    alarm.AckStatus = nss1__AckStatus__Acked;
  } else if (level == kLevelClosed) {
    alarm.AckStatus = nss1__AckStatus__Closed;
  } else if (level == kLevelRaised) {
    alarm.VariationLevel = 2;
  }
}

// An attribute of the alarm's source; false when it cannot be read or has
// no value.
bool sourceAttribute(toolkit::CCds& cds, const std::string& path,
                     toolkit::CElement& element) {
  api_status_t status = API_STATUS_OK;
  element_property_t property;
  return cds.get_leaf(path, status, element, property) == 0 &&
         status == API_STATUS_OK && element.get_type() != PCD_TYPE_NONE;
}

void fillAlarm(struct soap* soap, toolkit::CCds& cds,
               EventRecordBuilder& builder, const std::locale* locale,
               const std::vector<toolkit::CElement>& leaves, uint64_t number,
               nss1__AlarmUpdate& alarm) {
  toolkit::CEvent source;
  source.source_path = leaves[kSourcePathLeaf].to_string();
  source.value = leaves[kSourceValueLeaf];
  alarm.EventId = number;
  alarm.SequenceIndex = leaves[kSequenceIdLeaf].to_uint();
  alarm.EventType = nss1__EventType__Alarm;
  timeval raised = leaves[kSequenceIdLeaf].get_time();
  alarm.Time = qrx_UNIXtoQRXtime64(&raised);
  alarm.Description = newText(
      soap, localizeEventText(leaves[kAlarmMsgLeaf].to_string(), locale));
  builder.fillSourceAndValue(source, alarm.SourcePath, alarm.Value,
                             alarm.NumericValue);
  fillLevel(leaves[kAlarmLevelLeaf].to_uint(), alarm);
  toolkit::CElement attribute;
  alarm.BasePriority = newText(
      soap,
      sourceAttribute(cds, source.source_path + "/.BasePriority", attribute)
          ? attribute.to_string()
          : kDefaultBasePriority);
  alarm.AutoClosing =
      sourceAttribute(cds, source.source_path + "/.AutoClosing", attribute) &&
      attribute.to_bool();
  alarm.ConditionPresent = leaves[kConditionRaisedLeaf].to_bool();
  alarm.Note = newText(soap, leaves[kNoteLeaf].to_string());
}

}  // namespace

bool buildActiveAlarm(struct soap* soap, toolkit::CCds& cds,
                      EventRecordBuilder& builder, const std::locale* locale,
                      const std::string& alarmNodePath, SearchPattern* pattern,
                      SourceRights* rights, PatternFailures& failures,
                      nss1__AlarmUpdate& alarm) {
  std::vector<std::string> paths;
  for (const char* suffix : kAlarmLeafSuffixes) {
    paths.push_back(alarmNodePath + suffix);
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> leaves;
  std::vector<element_property_t> properties;
  uint64_t number = 0;
  if (cds.get_leaves(paths, statuses, leaves, properties) != 0 ||
      !leavesUsable(statuses, leaves) || !alarmNumber(alarmNodePath, number)) {
    logInfo(kLogDetail, "Alarm %s left out: unreadable", alarmNodePath.c_str());
    return false;
  }
  const std::string sourcePath = leaves[kSourcePathLeaf].to_string();
  if (!sourceMatches(pattern, sourcePath, failures)) return false;
  if (rights != nullptr && !rights->mayRead(sourcePath)) return false;
  try {
    fillAlarm(soap, cds, builder, locale, leaves, number, alarm);
    return true;
  } catch (const std::exception& e) {
    logError(kLogErrors, "FAILURE (system) in buildActiveAlarm(%s): %s",
             alarmNodePath.c_str(), e.what());
    return false;
  }
}

namespace {

// The number of `times` equal to `time`.
int countAt(const std::vector<int64_t>& times, int64_t time) {
  int count = 0;
  for (int64_t t : times) count += t == time;
  return count;
}

}  // namespace

AlarmRange chooseAlarmRange(const std::vector<int64_t>& times, int maxToReturn,
                            bool latest, bool reverse, bool trimIncomplete) {
  const std::size_t count = times.size();
  AlarmRange range{0, count, 0};
  if (maxToReturn < 1 || count <= static_cast<std::size_t>(maxToReturn)) {
    return range;
  }
  const std::size_t max = static_cast<std::size_t>(maxToReturn);
  // The newest alarms are at the end of the set in ascending order and at
  // its start in reverse order.
  const bool atEnd = latest != reverse;
  if (atEnd) {
    range.first = count - max;
  } else {
    range.end = max;
  }
  if (!trimIncomplete) return range;
  int64_t cutTime = 0;
  if (atEnd) {
    cutTime = times[range.first - 1];
    while (range.first < range.end && times[range.first] == cutTime) {
      ++range.first;
    }
  } else {
    cutTime = times[range.end];
    while (range.end > range.first && times[range.end - 1] == cutTime) {
      --range.end;
    }
  }
  if (range.end - range.first < max) {
    // The edge next to the cut, or the cut's own time when nothing is left.
    const int64_t edgeTime = range.first == range.end ? cutTime
                             : atEnd                  ? times[range.first]
                                                      : times[range.end - 1];
    range.trimmedCount = countAt(times, edgeTime);
  }
  return range;
}

namespace {

// An alarm's place in the answer: by time, then by number; the reverse
// order reverses both.
struct AlarmKey {
  int64_t time;
  uint64_t number;
  nss1__AlarmUpdate* alarm;
};
struct AlarmOrder {
  bool reverse;
  bool operator()(const AlarmKey& a, const AlarmKey& b) const {
    if (a.time != b.time) return reverse ? a.time > b.time : a.time < b.time;
    return reverse ? a.number > b.number : a.number < b.number;
  }
};
using AlarmSet = std::set<AlarmKey, AlarmOrder>;

bool withinBounds(const nsqv__logRetrieveRequest& request, int64_t time) {
  if (request.startTime > 0 && time < request.startTime) return false;
  if (request.endTime > 0 && time > request.endTime) return false;
  return true;
}

// Every alarm of the table the request may see, in the answer's order.
// False when the table cannot be listed.
bool collectAlarms(struct soap* soap, ServiceContext* context,
                   const ServiceOptions& options,
                   const nsqv__logRetrieveRequest& request, AlarmSet& alarms) {
  toolkit::CCds& cds = context->cds;
  toolkit::CCdsSnapshot snapshot(cds);
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(cds, kAlarmTable, children) != 0) {
    return false;
  }
  const std::string pattern =
      request.path != nullptr ? *request.path : std::string();
  EventRecordBuilder builder(soap, cds, recordLocale(options));
  SourceRights rights(context);
  PatternFailures failures{0, pattern};
  PatternSettings settings;
  settings.compilation = PatternCompilation::kPerText;
  SearchPattern search(pattern, settings);
  for (const std::string& child : children) {
    if (child.find(kAlarmCounter) != std::string::npos) continue;
    nss1__AlarmUpdate* alarm = soap_new_nss1__AlarmUpdate(soap);
    if (alarm == nullptr) break;
    if (!buildActiveAlarm(soap, cds, builder, recordLocale(options), child,
                          pattern.empty() ? nullptr : &search, &rights,
                          failures, *alarm) ||
        !withinBounds(request, alarm->Time)) {
      continue;
    }
    alarms.insert(AlarmKey{alarm->Time, alarm->EventId, alarm});
  }
  if (failures.count > kPatternFailuresLogged) {
    logError(kLogErrors, "Regular expression %s failed for %d more alarms",
             pattern.c_str(), failures.count - kPatternFailuresLogged);
  }
  return true;
}

}  // namespace

}  // namespace wsgated

using wsgated::AlarmOrder;
using wsgated::AlarmRange;
using wsgated::AlarmSet;
using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsqv__getActiveAlarms(struct soap* soap,
                            struct _nsqv__getActiveAlarms* request,
                            struct _nsqv__getActiveAlarmsResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  const nsqv__logRetrieveRequest* query = request->request;
  ServiceOptions options;
  wsgated::parseServiceOptions(
      context, query != nullptr ? query->options : nullptr, options);
  response.result.clear();
  response.numTrimmedEvents = 0;
  response.__sizealarms = 0;
  response.alarms = nullptr;
  if (query == nullptr) {
    wsgated::setBnwsError(wsgated::kBnwsArgumentInvalid, "No request given",
                          response.result, &options);
    return SOAP_OK;
  }
  AlarmSet alarms(AlarmOrder{query->bReverseOrder});
  if (!collectAlarms(soap, context, options, *query, alarms)) {
    wsgated::setBnwsError(wsgated::kBnwsNoDataAvailable, "No Alarm table",
                          response.result, &options);
    return SOAP_OK;
  }
  std::vector<int64_t> times;
  times.reserve(alarms.size());
  for (const auto& key : alarms) times.push_back(key.time);
  const AlarmRange range = wsgated::chooseAlarmRange(
      times, query->nMaxToReturn, query->bLatestEvents, query->bReverseOrder,
      query->bTrimIncomplete);
  response.numTrimmedEvents = range.trimmedCount;
  const int count = static_cast<int>(range.end - range.first);
  if (count == 0) return SOAP_OK;
  response.alarms = soap_new_nss1__AlarmUpdate(soap, count);
  if (response.alarms == nullptr) return SOAP_EOM;
  auto key = std::next(alarms.begin(), static_cast<long>(range.first));
  for (int i = 0; i < count; ++i, ++key) response.alarms[i] = *key->alarm;
  response.__sizealarms = count;
  return SOAP_OK;
}
