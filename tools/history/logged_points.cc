// Reading the Delta-logged points and the active alarms of a store (see
// logged_points.h).

#include "tools/history/logged_points.h"

#include <strings.h>

#include <algorithm>

#include "platform/cds.h"
#include "platform/element.h"
#include "platform/multistate.h"
#include "platform/path.h"

namespace wsgated {

namespace {

using toolkit::CElement;

// The attributes read per node, in this order.
enum Attribute {
  kLogInterval,
  kValueType,
  kValue,
  kDisplayName,
  kUnits,
  kPossibleValues,
  kDeadband,
  kBasePriority,
  kAutoClosing,
  kHighLimit,
  kLowLimit,
  kAlarmOnValue,
  kAlarmText,
  kAttributeCount
};
const char* const kAttributeNames[kAttributeCount] = {
    ".LogInterval", "ValueType",       "Value",          "DisplayName",
    "Units",        "PossibleValues",  ".Deadband",      ".BasePriority",
    ".AutoClosing", ".HighAlarmLimit", ".LowAlarmLimit", ".AlarmOnValue",
    ".AlarmText"};

// The leaves of one node; `found[i]` says whether attribute i is stored.
struct NodeLeaves {
  std::vector<CElement> elements;
  std::vector<bool> found;
};

bool readNode(toolkit::CCds& cds, const std::string& node, NodeLeaves& leaves) {
  std::vector<std::string> paths;
  for (const char* name : kAttributeNames) paths.push_back(node + "/" + name);
  std::vector<api_status_t> statuses;
  std::vector<element_property_t> properties;
  if (cds.get_leaves(paths, statuses, leaves.elements, properties) != 0) {
    return false;
  }
  leaves.found.clear();
  for (api_status_t status : statuses) {
    leaves.found.push_back(status == API_STATUS_OK);
  }
  return true;
}

// The numbers of a multistate's states, numbered by the platform's rule.
std::vector<int32_t> stateNumbers(const std::string& list) {
  std::vector<int32_t> numbers;
  for (const std::string& item : CElement::split_string(list, ';')) {
    const size_t equals = item.find('=');
    int32_t number = 0;
    if (toolkit::CCds_Multistate::GetEnumValue(
            list, equals == std::string::npos ? item : item.substr(equals + 1),
            number)) {
      numbers.push_back(number);
    }
  }
  return numbers;
}

LoggedPoint pointFrom(const std::string& node, const NodeLeaves& leaves) {
  const std::vector<CElement>& at = leaves.elements;
  auto text = [&](Attribute a) {
    return leaves.found[a] ? at[a].to_string() : std::string();
  };
  LoggedPoint point;
  point.node = node;
  point.displayName = text(kDisplayName);
  if (point.displayName.empty())
    point.displayName = node.substr(node.rfind('/') + 1);
  point.type = at[kValue].get_type();
  point.multistate = strcasecmp(text(kValueType).c_str(), "Multistate") == 0;
  point.possibleValues = text(kPossibleValues);
  if (point.multistate) point.states = stateNumbers(point.possibleValues);
  point.units = text(kUnits);
  point.value = at[kValue].to_double();
  point.interval = std::max(1, at[kLogInterval].to_int());
  point.deadband = leaves.found[kDeadband] ? at[kDeadband].to_double() : 0;
  point.basePriority =
      leaves.found[kBasePriority] ? at[kBasePriority].to_int() : 0;
  point.autoClosing = leaves.found[kAutoClosing] && at[kAutoClosing].to_bool();
  point.hasHighLimit = leaves.found[kHighLimit];
  point.highLimit = at[kHighLimit].to_double();
  point.hasLowLimit = leaves.found[kLowLimit];
  point.lowLimit = at[kLowLimit].to_double();
  point.alarmOnValue =
      leaves.found[kAlarmOnValue] && at[kAlarmOnValue].to_bool();
  point.alarmText = text(kAlarmText);
  if (point.alarmText.empty()) point.alarmText = point.displayName + " alarm";
  return point;
}

bool isLoggable(data_type_t type) {
  return type == PCD_TYPE_BOOL || type == PCD_TYPE_INT ||
         type == PCD_TYPE_UINT || type == PCD_TYPE_REAL;
}

bool visit(toolkit::CCds& cds, const std::string& node,
           std::vector<LoggedPoint>& points) {
  NodeLeaves leaves;
  if (!readNode(cds, node, leaves)) return false;
  if (leaves.found[kLogInterval] && leaves.found[kValue] &&
      isLoggable(leaves.elements[kValue].get_type())) {
    points.push_back(pointFrom(node, leaves));
  }
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(cds, node, children) != 0) return true;
  for (const std::string& child : children) {
    if (!visit(cds, child, points)) return false;
  }
  return true;
}

std::string leafText(toolkit::CCds& cds, const std::string& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  cds.get_leaf(path, status, element, property);
  return status == API_STATUS_OK ? element.to_string() : std::string();
}

}  // namespace

bool findLoggedPoints(toolkit::CCds& cds, std::vector<LoggedPoint>& points) {
  points.clear();
  return visit(cds, "/", points);
}

void findActiveAlarms(toolkit::CCds& cds, std::vector<ActiveAlarm>& alarms) {
  alarms.clear();
  std::vector<std::string> children;
  toolkit::CPath::getChildPaths(cds, "/Alarms", children);
  for (const std::string& child : children) {
    const std::string name = child.substr(child.rfind('/') + 1);
    if (name.empty() || name.size() > 18 ||
        name.find_first_not_of("0123456789") != std::string::npos) {
      continue;  // AlarmCount
    }
    ActiveAlarm alarm;
    alarm.number = std::stoull(name);
    alarm.sourcePath = leafText(cds, child + "/SourcePath");
    alarm.sourceValue =
        CElement(leafText(cds, child + "/SourceValue")).to_double();
    alarm.message = leafText(cds, child + "/AlarmMsg");
    alarm.sequence = CElement(leafText(cds, child + "/SequenceID")).to_uint();
    alarm.acknowledged = leafText(cds, child + "/AlarmLevel") == "3";
    alarm.conditionRaised = leafText(cds, child + "/ConditionRaised") == "true";
    alarm.note = leafText(cds, child + "/Note");
    alarms.push_back(alarm);
  }
  std::sort(alarms.begin(), alarms.end(),
            [](const ActiveAlarm& a, const ActiveAlarm& b) {
              return a.number < b.number;
            });
}

}  // namespace wsgated
