// The alarm rules of the card's points (see alarm_rules.h).

#include "card/alarms/alarm_rules.h"

#include <algorithm>

#include "common/log.h"
#include "platform/event.h"
#include "platform/path.h"

namespace wsgated {

namespace {

// A store that loops through some fault must not hang the handler; no
// device nests its points deeper.
constexpr int kMaxDepth = 16;

// The attributes read per point, in PointReading's order after Value.
const char* const kAttributes[] = {
    "/.HighAlarmLimit", "/.LowAlarmLimit", "/.AlarmOnValue", "/.AlarmEnable",
    "/.Hysteresis",     "/.AlarmText",     "/.NormalText",   "/.Severity",
    "/.BasePriority",   "/.AutoClosing",   "/DisplayName"};
toolkit::CElement PointReading::*const kFields[] = {
    &PointReading::highLimit,    &PointReading::lowLimit,
    &PointReading::alarmOnValue, &PointReading::enable,
    &PointReading::hysteresis,   &PointReading::alarmText,
    &PointReading::normalText,   &PointReading::severity,
    &PointReading::basePriority, &PointReading::autoClosing,
    &PointReading::displayName};
constexpr size_t kReadPerPoint = 1 + std::size(kAttributes);

bool hasRules(toolkit::CCds& store, const std::string& node) {
  std::vector<std::string> attributes;
  if (toolkit::CPath::getAttributeList(node, store, "Attributes", attributes) !=
      0) {
    return false;
  }
  for (const std::string& name : attributes) {
    if (name == ".HighAlarmLimit" || name == ".LowAlarmLimit" ||
        name == ".AlarmOnValue") {
      return true;
    }
  }
  return false;
}

void walk(toolkit::CCds& store, const std::string& node, int depth,
          std::vector<std::string>& nodes) {
  if (depth > kMaxDepth) return;
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(store, node, children) != 0) return;
  for (const std::string& child : children) {
    if (hasRules(store, child)) nodes.push_back(child);
    walk(store, child, depth + 1, nodes);
  }
}

bool isNumber(const toolkit::CElement& element) {
  const data_type_t type = element.get_type();
  return type == PCD_TYPE_BOOL || type == PCD_TYPE_INT ||
         type == PCD_TYPE_UINT || type == PCD_TYPE_REAL;
}

std::string named(const PointReading& point, const char* what) {
  const std::string name = point.displayName.get_type() != PCD_TYPE_NONE
                               ? point.displayName.to_string()
                               : point.node;
  return name + what;
}

}  // namespace

void findAlarmPoints(toolkit::CCds& store, const std::string& root,
                     std::vector<std::string>& nodes) {
  nodes.clear();
  toolkit::CCdsSnapshot snapshot(store);
  walk(store, root, 0, nodes);
}

bool readPoints(toolkit::CCds& store, const std::vector<std::string>& nodes,
                std::vector<PointReading>& readings) {
  std::vector<std::string> paths;
  for (const std::string& node : nodes) {
    paths.push_back(node + "/Value");
    for (const char* attribute : kAttributes) paths.push_back(node + attribute);
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> leaves;
  std::vector<element_property_t> properties;
  readings.assign(nodes.size(), PointReading());
  if (nodes.empty()) return true;
  if (store.get_leaves(paths, statuses, leaves, properties) != 0) return false;
  for (size_t p = 0; p < nodes.size(); ++p) {
    PointReading& point = readings[p];
    const size_t base = p * kReadPerPoint;
    point.node = nodes[p];
    point.readable = statuses[base] == API_STATUS_OK;
    point.value = leaves[base];
    for (size_t a = 0; a < std::size(kFields); ++a) {
      if (statuses[base + 1 + a] == API_STATUS_OK) {
        point.*kFields[a] = leaves[base + 1 + a];
      }
    }
  }
  return true;
}

Condition judge(const PointReading& point, bool raised) {
  if (!point.readable || !isNumber(point.value)) return Condition::kNotJudged;
  if (point.enable.get_type() != PCD_TYPE_NONE && !point.enable.to_bool()) {
    return Condition::kNotJudged;
  }
  bool inAlarm = false;
  if (isNumber(point.alarmOnValue)) {
    inAlarm = point.value.get_type() == PCD_TYPE_BOOL
                  ? point.value.to_bool() == point.alarmOnValue.to_bool()
                  : point.value.to_double() == point.alarmOnValue.to_double();
  }
  const double value = point.value.to_double();
  // A raised alarm stays until the value is inside by the hysteresis.
  const double band = raised && isNumber(point.hysteresis)
                          ? std::max(0.0, point.hysteresis.to_double())
                          : 0.0;
  if (isNumber(point.highLimit)) {
    inAlarm = inAlarm || value > point.highLimit.to_double() - band;
  }
  if (isNumber(point.lowLimit)) {
    inAlarm = inAlarm || value < point.lowLimit.to_double() + band;
  }
  return inAlarm ? Condition::kInAlarm : Condition::kNormal;
}

timeval newestInput(const PointReading& point) {
  timeval newest = point.value.get_time();
  for (toolkit::CElement PointReading::*field : kFields) {
    const toolkit::CElement& attribute = point.*field;
    if (attribute.get_type() != PCD_TYPE_NONE &&
        isLater(attribute.get_time(), newest)) {
      newest = attribute.get_time();
    }
  }
  return newest;
}

bool isLater(const timeval& a, const timeval& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_usec > b.tv_usec;
}

std::string alarmText(const PointReading& point) {
  return point.alarmText.get_type() != PCD_TYPE_NONE
             ? point.alarmText.to_string()
             : named(point, " alarm");
}

std::string normalText(const PointReading& point) {
  return point.normalText.get_type() != PCD_TYPE_NONE
             ? point.normalText.to_string()
             : named(point, " back to normal");
}

int32_t alarmSeverity(const PointReading& point) {
  return isNumber(point.severity) ? point.severity.to_int()
                                  : toolkit::EVENT_SEVERITY_CRITICAL;
}

int32_t basePriority(const PointReading& point) {
  return isNumber(point.basePriority) ? point.basePriority.to_int() : 0;
}

bool autoClosing(const PointReading& point) {
  return point.autoClosing.get_type() != PCD_TYPE_NONE &&
         point.autoClosing.to_bool();
}

}  // namespace wsgated
