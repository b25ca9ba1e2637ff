// The attribute table and the names of data types.
//
// The table is indexed by code, so pcd_attr_info() is an array access. Name
// lookups run on every read of an attribute path, so they use an index of
// the table sorted by name (built once) and a binary search.

#include "platform/attributes.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr int kNone = PCD_TYPE_NONE;
constexpr int kBool = PCD_TYPE_BOOL;
constexpr int kUint = PCD_TYPE_UINT;
constexpr int kInt = PCD_TYPE_INT;
constexpr int kString = PCD_TYPE_STRING;
constexpr int kNodeType = kTypeOfNodeValue;

// Leaves the store computes from the node; nobody writes them.
constexpr unsigned kComputed = PCD_AF_VIRTUAL | PCD_AF_AUTOMATIC;
constexpr unsigned kRequest = PCD_AF_CLEARED_BY_PLATFORM;
constexpr unsigned kLimit = PCD_AF_OPERATOR_WRITABLE;
constexpr unsigned kLabel = PCD_AF_TRANSLATABLE;
constexpr unsigned kEvent = PCD_AF_EVENT_TEXT;
constexpr unsigned kList = PCD_AF_ARRAY;
constexpr unsigned kFixed = PCD_AF_FIXED_TYPE;

// Default types: the attributes whose type is fixed (the writers of the
// device rely on these when a leaf has no type yet) carry that type; values
// that follow the point (limits, statistics) carry kTypeOfNodeValue; text
// attributes carry String; the few numeric attributes whose type the device
// leaves to the writer carry None. Every entry is at the index of its code.
const AttributeInfo kTable[PCD_ATTR_COUNT] = {
    {PCD_ATTR_VALUE, "Value", kNodeType, 0, "the node's present value"},
    {PCD_ATTR_CHILDREN, "Children", kString, kComputed | kList,
     "names of the child nodes"},
    {PCD_ATTR_VALUE_TYPE, "ValueType", kString, 0,
     "type name of the Value (Real, Integer, Multistate, ...)"},
    {PCD_ATTR_ATTRIBUTES, "Attributes", kString, kComputed | kList,
     "names of the attributes stored on the node"},
    {PCD_ATTR_NODE_TYPE, "NodeType", kString, 0,
     "kind of node: Device, Point, Collection, ..."},
    {PCD_ATTR_CHANGE_COUNT, ".ChangeCount", kUint, kComputed,
     "number of writes of the Value so far"},
    {PCD_ATTR_DISPLAY_NAME, "DisplayName", kString, kLabel,
     "label shown to people"},
    {PCD_ATTR_UNITS, "Units", kString, kLabel, "engineering units"},
    {PCD_ATTR_POSSIBLE_VALUES, "PossibleValues", kString, kList,
     "texts of the states of a multistate or boolean value"},
    {PCD_ATTR_NAME, "Name", kString, kComputed, "the node's own name"},
    {PCD_ATTR_RESET_MIN_MAX, ".ResetMinMax", kBool, kRequest | kFixed,
     "request to restart minimum and maximum"},
    {PCD_ATTR_MINIMUM, ".Minimum", kNodeType, kFixed, "lowest value seen"},
    {PCD_ATTR_MAXIMUM, ".Maximum", kNodeType, kFixed, "highest value seen"},
    {PCD_ATTR_AVERAGE, ".Average", kNodeType, kFixed, "running average"},
    {PCD_ATTR_DEVICE_TYPE, "DeviceType", kString, 0,
     "kind of device, free text"},
    {PCD_ATTR_PRECISION, "Precision", kInt, kFixed, "decimals shown by displays"},
    {PCD_ATTR_DESCRIPTION, "Description", kString, kLabel,
     "longer explanation"},
    {PCD_ATTR_RESET_COUNTER, ".ResetCounter", kBool, kRequest | kFixed,
     "request to restart a counter"},
    {PCD_ATTR_SHORT_NAME, "ShortName", kString, kLabel, "abbreviated label"},
    {PCD_ATTR_CHILD_COUNT, "ChildCount", kUint, kComputed,
     "number of child nodes"},
    {PCD_ATTR_REFRESH_REQUEST, ".RefreshRequest", kBool, kRequest | kFixed,
     "request to read the value again from the device"},
    {PCD_ATTR_WRITABLE, "Writable", kBool, kFixed,
     "the Value accepts ordinary writes"},
    {PCD_ATTR_HAS_DYNAMIC_CHILDREN, "HasDynamicChildren", kBool, kFixed,
     "children come and go at run time"},
    {PCD_ATTR_WRITABLE_VALUES, "WritableValues", kString, kList,
     "states a writer may set"},
    {PCD_ATTR_QUALITY, ".Quality", kNone, 0,
     "quality of the value: 192 good, 64 uncertain, 0 bad"},
    {PCD_ATTR_BASE_PRIORITY, ".BasePriority", kNone, 0,
     "base priority of the point's alarms"},
    {PCD_ATTR_CATEGORY, "Category", kString, kLabel,
     "grouping shown to people"},
    {PCD_ATTR_NOTIFY_ACTIONS, ".NotifyActions", kString, kList,
     "actions taken on an event"},
    {PCD_ATTR_RANGE_LOW, ".RangeLow", kNodeType, kFixed, "low end of the scale"},
    {PCD_ATTR_RANGE_HIGH, ".RangeHigh", kNodeType, kFixed,
     "high end of the scale"},
    {PCD_ATTR_NOMINAL, ".Nominal", kNodeType, kFixed, "rated value"},
    {PCD_ATTR_ALARM_CLASS, ".AlarmClass", kInt, kFixed, "alarm class number"},
    {PCD_ATTR_MANUFACTURER, "Manufacturer", kString, 0,
     "maker of the device"},
    {PCD_ATTR_MODEL, "Model", kString, 0, "model of the device"},
    {PCD_ATTR_SERIAL_NUMBER, "SerialNumber", kString, 0,
     "serial number of the device"},
    {PCD_ATTR_FIRMWARE_VERSION, "FirmwareVersion", kString, 0,
     "firmware version of the device"},
    {PCD_ATTR_ADDRESS, "Address", kString, 0, "address on the device bus"},
    {PCD_ATTR_ALARM_BATCH, ".AlarmBatch", kString, kList,
     "alarms raised together"},
    {PCD_ATTR_TREND_TRAITS, ".TrendTraits", kString, kList,
     "trended statistics: min;max;avg;actual"},
    {PCD_ATTR_ALARM_ENABLE, ".AlarmEnable", kBool, kFixed,
     "alarms of the point are enabled"},
    {PCD_ATTR_HIGH_ALARM_LIMIT, ".HighAlarmLimit", kNodeType, kLimit | kFixed,
     "value above which the point is in alarm"},
    {PCD_ATTR_LOW_ALARM_LIMIT, ".LowAlarmLimit", kNodeType, kLimit | kFixed,
     "value below which the point is in alarm"},
    {PCD_ATTR_HIGH_WARNING_LIMIT, ".HighWarningLimit", kNodeType, kLimit | kFixed,
     "value above which the point warns"},
    {PCD_ATTR_LOW_WARNING_LIMIT, ".LowWarningLimit", kNodeType, kLimit | kFixed,
     "value below which the point warns"},
    {PCD_ATTR_HYSTERESIS, ".Hysteresis", kNodeType, kFixed,
     "dead band of the limits"},
    {PCD_ATTR_ALARM_TEXT, ".AlarmText", kString, kEvent,
     "event text when the alarm is raised"},
    {PCD_ATTR_NORMAL_TEXT, ".NormalText", kString, kEvent,
     "event text when the point returns to normal"},
    {PCD_ATTR_WARNING_TEXT, ".WarningText", kString, kEvent,
     "event text when a warning is raised"},
    {PCD_ATTR_FAULT_TEXT, ".FaultText", kString, kEvent,
     "event text when a fault is raised"},
    {PCD_ATTR_AUTO_CLOSING, ".AutoClosing", kBool, kFixed,
     "the alarm closes by itself on return to normal"},
    {PCD_ATTR_ALARM_ON_VALUE, ".AlarmOnValue", kNodeType, kFixed,
     "value that raises the alarm"},
    {PCD_ATTR_EVENT_TEXT, ".EventText", kString, kEvent,
     "event text of a plain event"},
    {PCD_ATTR_ALARM_DELAY, ".AlarmDelay", kNone, 0,
     "seconds a condition lasts before the alarm is raised"},
    {PCD_ATTR_TREND_ENABLE, ".TrendEnable", kBool, kFixed,
     "the point is trended"},
    {PCD_ATTR_SEVERITY, ".Severity", kInt, kFixed,
     "1 information, 2 caution, 3 critical"},
    {PCD_ATTR_LOG_INTERVAL, ".LogInterval", kInt, kFixed,
     "seconds between log entries"},
    {PCD_ATTR_TREND_INTERVAL, ".TrendInterval", kInt, kFixed,
     "seconds between trend samples"},
};

struct NameIndex {
  std::array<const AttributeInfo*, PCD_ATTR_COUNT> by_name;

  NameIndex() {
    for (int i = 0; i < PCD_ATTR_COUNT; ++i) by_name[i] = &kTable[i];
    std::sort(by_name.begin(), by_name.end(),
              [](const AttributeInfo* a, const AttributeInfo* b) {
                return std::strcmp(a->name, b->name) < 0;
              });
  }
};

const NameIndex& name_index() {
  static const NameIndex index;  // built once, thread-safe since C++11
  return index;
}

struct TypeName {
  const char* name;
  int type;
};

// Human names of the types, compared without regard to case.
const TypeName kTypeNames[] = {
    {"Boolean", PCD_TYPE_BOOL},  {"Bool", PCD_TYPE_BOOL},
    {"Unsigned", PCD_TYPE_UINT}, {"Integer", PCD_TYPE_INT},
    {"Int", PCD_TYPE_INT},       {"Real", PCD_TYPE_REAL},
    {"Float", PCD_TYPE_REAL},    {"Double", PCD_TYPE_REAL},
    {"String", PCD_TYPE_STRING}, {"Text", PCD_TYPE_STRING},
    {"timeval", PCD_TYPE_TIMEVAL}, {"Time", PCD_TYPE_TIMEVAL},
    {"None", PCD_TYPE_NONE},
};

}  // namespace

const AttributeInfo* pcd_attr_info(int code) {
  if (code < 0 || code >= PCD_ATTR_COUNT) return nullptr;
  return &kTable[code];
}

extern "C" int pcd_attr_str_to_enum(const char* name) {
  if (name == nullptr || name[0] == '\0') return PCD_ATTR_UNKNOWN;
  const auto& index = name_index().by_name;
  auto it = std::lower_bound(
      index.begin(), index.end(), name,
      [](const AttributeInfo* entry, const char* key) {
        return std::strcmp(entry->name, key) < 0;
      });
  if (it == index.end() || std::strcmp((*it)->name, name) != 0) {
    return PCD_ATTR_UNKNOWN;
  }
  return (*it)->code;
}

extern "C" const char* pcd_attr_enum_to_str(int code) {
  const AttributeInfo* info = pcd_attr_info(code);
  return info != nullptr ? info->name : nullptr;
}

extern "C" const char* pcd_enum_to_str(int type) {
  switch (type) {
    case PCD_TYPE_NONE: return "None";
    case PCD_TYPE_BOOL: return "Boolean";
    case PCD_TYPE_UINT: return "Unsigned";
    case PCD_TYPE_INT: return "Integer";
    case PCD_TYPE_REAL: return "Real";
    case PCD_TYPE_STRING: return "String";
    case PCD_TYPE_TIMEVAL: return "timeval";
    default: return nullptr;
  }
}

extern "C" int pcd_human_str_to_enum(const char* name) {
  if (name == nullptr) return PCD_TYPE_NONE;
  for (const TypeName& entry : kTypeNames) {
    if (strcasecmp(entry.name, name) == 0) return entry.type;
  }
  return PCD_TYPE_NONE;
}
