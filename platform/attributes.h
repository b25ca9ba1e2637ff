// The attribute table: the numbered, well-known attributes of CDS nodes.
//
// Every node carries typed leaves named by attribute. Well-known attributes
// have a number (their code) and fixed properties; stored attributes that are
// not in the table are allowed (code -1) and are addressed with the colon form
// of a path ("/A/B:MyAttribute").
//
// Names beginning with "." are "dotted" attributes: alarm, trend and quality
// properties of a point. A path component beginning with "." is always an
// attribute, so node names never begin with ".".

#ifndef PLATFORM_ATTRIBUTES_H_
#define PLATFORM_ATTRIBUTES_H_

#include "platform/types.h"

// Attribute codes. The numbers are part of the device's interface.
enum pcd_attr_t : int {
  PCD_ATTR_UNKNOWN = -1,
  PCD_ATTR_VALUE = 0,             // "Value": the node's present value
  PCD_ATTR_CHILDREN = 1,          // "Children": child names, ";"-separated
  PCD_ATTR_VALUE_TYPE = 2,        // "ValueType": type name of Value
  PCD_ATTR_ATTRIBUTES = 3,        // "Attributes": stored attribute names
  PCD_ATTR_NODE_TYPE = 4,         // "NodeType": Device, Point, Collection...
  PCD_ATTR_CHANGE_COUNT = 5,      // ".ChangeCount": writes of Value so far
  PCD_ATTR_DISPLAY_NAME = 6,      // "DisplayName": label for people
  PCD_ATTR_UNITS = 7,             // "Units": engineering units
  PCD_ATTR_POSSIBLE_VALUES = 8,   // "PossibleValues": state texts
  PCD_ATTR_NAME = 9,              // "Name": the node's own name
  PCD_ATTR_RESET_MIN_MAX = 10,    // ".ResetMinMax": request, cleared when done
  PCD_ATTR_MINIMUM = 11,          // ".Minimum": lowest value seen
  PCD_ATTR_MAXIMUM = 12,          // ".Maximum": highest value seen
  PCD_ATTR_AVERAGE = 13,          // ".Average": running average
  PCD_ATTR_DEVICE_TYPE = 14,      // "DeviceType": kind of device, free text
  PCD_ATTR_PRECISION = 15,        // "Precision": decimals shown by displays
  PCD_ATTR_DESCRIPTION = 16,      // "Description": longer explanation
  PCD_ATTR_RESET_COUNTER = 17,    // ".ResetCounter": request, cleared when done
  PCD_ATTR_SHORT_NAME = 18,       // "ShortName": abbreviated label
  PCD_ATTR_CHILD_COUNT = 19,      // "ChildCount": number of children
  PCD_ATTR_REFRESH_REQUEST = 20,  // ".RefreshRequest": re-read from the device
  PCD_ATTR_WRITABLE = 21,         // "Writable": Value accepts ordinary writes
  PCD_ATTR_HAS_DYNAMIC_CHILDREN = 22,  // "HasDynamicChildren"
  PCD_ATTR_WRITABLE_VALUES = 23,  // "WritableValues": states a writer may set
  PCD_ATTR_QUALITY = 24,          // ".Quality": 192 good, 64 uncertain, 0 bad
  PCD_ATTR_BASE_PRIORITY = 25,    // ".BasePriority": alarm base priority
  PCD_ATTR_CATEGORY = 26,         // "Category": grouping shown to people
  PCD_ATTR_NOTIFY_ACTIONS = 27,   // ".NotifyActions": actions on an event
  PCD_ATTR_RANGE_LOW = 28,        // ".RangeLow": low end of the scale
  PCD_ATTR_RANGE_HIGH = 29,       // ".RangeHigh": high end of the scale
  PCD_ATTR_NOMINAL = 30,          // ".Nominal": rated value
  PCD_ATTR_ALARM_CLASS = 31,      // ".AlarmClass": alarm class number
  PCD_ATTR_MANUFACTURER = 32,     // "Manufacturer"
  PCD_ATTR_MODEL = 33,            // "Model"
  PCD_ATTR_SERIAL_NUMBER = 34,    // "SerialNumber"
  PCD_ATTR_FIRMWARE_VERSION = 35, // "FirmwareVersion"
  PCD_ATTR_ADDRESS = 36,          // "Address": address on the device bus
  PCD_ATTR_ALARM_BATCH = 37,      // ".AlarmBatch": alarms raised together
  PCD_ATTR_TREND_TRAITS = 38,     // ".TrendTraits": min;max;avg;actual kept
  PCD_ATTR_ALARM_ENABLE = 39,     // ".AlarmEnable"
  PCD_ATTR_HIGH_ALARM_LIMIT = 40, // ".HighAlarmLimit"   (operator-writable)
  PCD_ATTR_LOW_ALARM_LIMIT = 41,  // ".LowAlarmLimit"    (operator-writable)
  PCD_ATTR_HIGH_WARNING_LIMIT = 42,  // ".HighWarningLimit" (operator-writable)
  PCD_ATTR_LOW_WARNING_LIMIT = 43,   // ".LowWarningLimit"  (operator-writable)
  PCD_ATTR_HYSTERESIS = 44,       // ".Hysteresis": limit dead band
  PCD_ATTR_ALARM_TEXT = 45,       // ".AlarmText": event text on alarm
  PCD_ATTR_NORMAL_TEXT = 46,      // ".NormalText": event text on return
  PCD_ATTR_WARNING_TEXT = 47,     // ".WarningText"
  PCD_ATTR_FAULT_TEXT = 48,       // ".FaultText"
  PCD_ATTR_AUTO_CLOSING = 49,     // ".AutoClosing": alarm closes by itself
  PCD_ATTR_ALARM_ON_VALUE = 50,   // ".AlarmOnValue": value that raises alarm
  PCD_ATTR_EVENT_TEXT = 51,       // ".EventText"
  PCD_ATTR_ALARM_DELAY = 52,      // ".AlarmDelay": seconds before raising
  PCD_ATTR_TREND_ENABLE = 53,     // ".TrendEnable"
  PCD_ATTR_SEVERITY = 54,         // ".Severity": 1 info, 2 caution, 3 critical
  PCD_ATTR_LOG_INTERVAL = 55,     // ".LogInterval": seconds
  PCD_ATTR_TREND_INTERVAL = 56,   // ".TrendInterval": seconds
  PCD_ATTR_COUNT = 57
};

// In AttributeInfo::fixed_type: "the type of the node's Value".
constexpr int kTypeOfNodeValue = 7;

// Flags of an attribute (AttributeInfo::flags).
enum : unsigned {
  PCD_AF_VIRTUAL = 1u << 0,         // computed by the store on read
  PCD_AF_AUTOMATIC = 1u << 1,       // never written by anyone but the platform
  PCD_AF_OPERATOR_WRITABLE = 1u << 2,  // ordinary writers may write it
  PCD_AF_CLEARED_BY_PLATFORM = 1u << 3,  // a request flag; only the platform
                                         // sets it back to false
  PCD_AF_TRANSLATABLE = 1u << 4,    // text translated into the caller's locale
  PCD_AF_EVENT_TEXT = 1u << 5,      // event text, localised like descriptions
  PCD_AF_ARRAY = 1u << 6,           // ";"-separated list
  PCD_AF_FIXED_TYPE = 1u << 7,      // a write to a leaf without a type yet
                                    // takes default_type (kTypeOfNodeValue:
                                    // the node's Value's type)
};

struct AttributeInfo {
  pcd_attr_t code;
  const char* name;       // exact, case-sensitive
  int default_type;       // data_type_t used when a template writes it,
                          // kTypeOfNodeValue, or PCD_TYPE_NONE (any)
  unsigned flags;         // PCD_AF_*
  const char* meaning;    // one line, for docs and `cdsctl attributes`
};

// The entry for a code, or nullptr when the code is not in the table.
const AttributeInfo* pcd_attr_info(int code);

// Code of an attribute name (exact match), PCD_ATTR_UNKNOWN when unknown.
// A null or empty name is unknown.
extern "C" int pcd_attr_str_to_enum(const char* name);

// Name of an attribute code, nullptr when the code is not in the table.
extern "C" const char* pcd_attr_enum_to_str(int code);

// Name of a data type ("Boolean", "Unsigned", "Integer", "Real", "String",
// "timeval", "None"); nullptr for a code that is not a type.
extern "C" const char* pcd_enum_to_str(int type);

// Data type for a human type name, compared without regard to case:
// "Boolean"/"Bool", "Unsigned", "Integer"/"Int", "Real"/"Float"/"Double",
// "String"/"Text", "timeval"/"Time", "None". Unknown names give 0.
extern "C" int pcd_human_str_to_enum(const char* name);

#endif  // PLATFORM_ATTRIBUTES_H_
