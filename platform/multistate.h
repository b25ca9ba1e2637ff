// CCds_Multistate: enumerated values (multistate points and booleans).
//
// A node's PossibleValues (and WritableValues) attribute lists the texts of
// its states, separated by ";". Each item is "Text" or "N=Text", N being the
// state's number (decimal, may be negative). An item without a number takes
// the previous item's number plus one; the first defaults to 0. So
//   "Off;On"                    0=Off, 1=On
//   "1=Open;2=Closed;4=Tripped" as written
//   "Normal;Warning;5=Alarm;Fault"  0,1,5,6
// A boolean's list has two items: the text for false, then the text for
// true ("Open;Closed"). Without a list a boolean reads "false"/"true".
// WritableValues, when present, lists the states a writer may set.

#ifndef PLATFORM_MULTISTATE_H_
#define PLATFORM_MULTISTATE_H_

#include <string>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {

class CCds;

class CCds_Multistate {
 public:
  explicit CCds_Multistate(CCds& cds);

  // The node's possible-values text (WritableValues when `writable` and the
  // node has them, else PossibleValues). Returns true when the node has one.
  bool GetPossibleValues(const std::string& nodePath, bool writable,
                         std::string& text);

  // The two texts of a boolean node, "false-text;true-text": the node's
  // list when it has two items, otherwise "false;true".
  std::string GetBoolPossibleValues(const std::string& nodePath,
                                    bool writable);

  // The text for `value` from a boolean list ("false;true" form).
  static std::string GetBoolPossibleValue(const std::string& possibleValues,
                                          bool value);

  // True when the node's ValueType is "Multistate" (any case). With
  // `requireValues` the node must also have a non-empty PossibleValues.
  bool IsMultistate(const std::string& nodePath, bool requireValues);

  // The state text of `value`; the number's decimal text when the list has
  // no such state.
  static std::string GetStringValue(const std::string& possibleValues,
                                    int32_t value);

  // The number of state `text`: exact match first, then without regard to
  // case, then a decimal number that is one of the states. False when none.
  static bool GetEnumValue(const std::string& possibleValues,
                           const std::string& text, int32_t& value);

  // A boolean from `text`: the list's false or true text (exact, then any
  // case), or "true"/"false" in any case. False when none matches.
  static bool GetBoolFromString(const std::string& possibleValues,
                                const std::string& text, bool& value);

  // The states a writer's text for the node of `path` is matched against
  // when the value is of `type`: the node's WritableValues when present,
  // else its PossibleValues; for integer types only when the node is a
  // Multistate. False (and `states` untouched) when there are none: the
  // writer's text is then a plain number or "true"/"false".
  bool GetWriterStates(const std::string& path, data_type_t type,
                       std::string& states);

  // Store the state that `text` names among `states` into `element` as
  // `type` (PCD_TYPE_BOOL: GetBoolFromString; PCD_TYPE_INT and _UINT:
  // GetEnumValue). An Unsigned value cannot hold a state numbered below 0,
  // so such a state is refused like an unknown one. False when nothing
  // matches; the element is changed only on success (value and type).
  static bool TextToState(const std::string& states, data_type_t type,
                          const std::string& text, CElement& element);

  // Convert a writer's text for the node of `path` into `element` of `type`
  // (PCD_TYPE_BOOL, _UINT or _INT) using the node's states (WritableValues
  // when present). `multistate` is set when the node has states to match
  // against (a Multistate node, or a boolean node with a possible-values
  // list). Returns 0 on success, non-zero when there is no match (also when
  // the node has no states: `multistate` is then false and the caller
  // converts the text itself); the element is changed only on success
  // (value and type; time kept).
  int StringToMultiValue(const std::string& path, data_type_t type,
                         const std::string& text, CElement& element,
                         bool& multistate);

 private:
  CCds& cds_;
};

}  // namespace toolkit

#endif  // PLATFORM_MULTISTATE_H_
