// CCds_Multistate: the states of enumerated points and their texts.

#include "platform/multistate.h"

#include <strings.h>

#include <vector>

#include "platform/cds.h"
#include "platform/path.h"

namespace toolkit {

namespace {

struct State {
  int32_t number;
  std::string text;
};

// "N=" at the start of an item: returns the length of the prefix (0 when
// there is none) and the number.
size_t number_prefix(const std::string& item, int32_t* number) {
  size_t digits_start = (!item.empty() && item[0] == '-') ? 1 : 0;
  size_t end = digits_start;
  while (end < item.size() && item[end] >= '0' && item[end] <= '9') ++end;
  if (end == digits_start || end >= item.size() || item[end] != '=') return 0;
  *number = pcd_strtol32(item.c_str(), nullptr);
  return end + 1;
}

// "Off;On" -> 0=Off, 1=On; "Normal;Warning;5=Alarm;Fault" -> 0, 1, 5, 6.
std::vector<State> parse_states(const std::string& list) {
  std::vector<State> states;
  int64_t next = 0;
  for (const std::string& item : CElement::split_string(list, ';')) {
    int32_t number = static_cast<int32_t>(next);
    size_t prefix = number_prefix(item, &number);
    states.push_back(State{number, item.substr(prefix)});
    next = int64_t{number} + 1;
  }
  return states;
}

// The first state whose text matches: exactly, else without regard to case.
const State* find_text(const std::vector<State>& states,
                       const std::string& text) {
  for (const State& state : states) {
    if (state.text == text) return &state;
  }
  for (const State& state : states) {
    if (strcasecmp(state.text.c_str(), text.c_str()) == 0) return &state;
  }
  return nullptr;
}

const State* find_number(const std::vector<State>& states, int32_t number) {
  for (const State& state : states) {
    if (state.number == number) return &state;
  }
  return nullptr;
}

// The false and true states of a boolean list: numbered 0 and 1 when it
// has those numbers ("1=Closed;0=Open"), else by position.
bool bool_states(const std::vector<State>& states, const State** no,
                 const State** yes) {
  if (states.size() != 2) return false;
  *no = find_number(states, 0);
  *yes = find_number(states, 1);
  if (*no == nullptr || *yes == nullptr) {
    *no = &states[0];
    *yes = &states[1];
  }
  return true;
}

// What the store holds about a node's states, read in one transaction.
struct NodeStates {
  std::string value_type;  // "" when none
  std::string possible;    // "" when none
  std::string writable;    // "" when none
};

bool read_states(CCds& cds, const std::string& nodePath, NodeStates* out) {
  CPath node(nodePath);
  if (node.normalize() != 0) return false;
  std::vector<std::string> paths = {node.getNewPathStr("ValueType"),
                                    node.getNewPathStr("PossibleValues"),
                                    node.getNewPathStr("WritableValues")};
  std::vector<api_status_t> statuses;
  std::vector<CElement> values;
  std::vector<element_property_t> properties;
  if (cds.get_leaves(paths, statuses, values, properties) != 0) return false;
  std::string* texts[] = {&out->value_type, &out->possible, &out->writable};
  for (size_t i = 0; i < paths.size(); ++i) {
    texts[i]->clear();
    if (statuses[i] == API_STATUS_OK) *texts[i] = values[i].to_string();
  }
  return true;
}

// The list a reader (or with `writable`, a writer) matches against.
const std::string& states_text(const NodeStates& node, bool writable) {
  return writable && !node.writable.empty() ? node.writable : node.possible;
}

bool is_multistate_type(const std::string& value_type) {
  return strcasecmp(value_type.c_str(), "Multistate") == 0;
}

}  // namespace

CCds_Multistate::CCds_Multistate(CCds& cds) : cds_(cds) {}

bool CCds_Multistate::GetPossibleValues(const std::string& nodePath,
                                        bool writable, std::string& text) {
  NodeStates node;
  text.clear();
  if (!read_states(cds_, nodePath, &node)) return false;
  text = states_text(node, writable);
  return !text.empty();
}

std::string CCds_Multistate::GetBoolPossibleValues(const std::string& nodePath,
                                                   bool writable) {
  std::string list;
  if (GetPossibleValues(nodePath, writable, list) &&
      parse_states(list).size() == 2) {
    return list;
  }
  return "false;true";
}

std::string CCds_Multistate::GetBoolPossibleValue(
    const std::string& possibleValues, bool value) {
  std::vector<State> states = parse_states(possibleValues);
  const State* no = nullptr;
  const State* yes = nullptr;
  if (!bool_states(states, &no, &yes)) return value ? "true" : "false";
  return value ? yes->text : no->text;
}

bool CCds_Multistate::IsMultistate(const std::string& nodePath,
                                   bool requireValues) {
  NodeStates node;
  return read_states(cds_, nodePath, &node) &&
         is_multistate_type(node.value_type) &&
         (!requireValues || !node.possible.empty());
}

std::string CCds_Multistate::GetStringValue(const std::string& possibleValues,
                                            int32_t value) {
  std::vector<State> states = parse_states(possibleValues);
  const State* state = find_number(states, value);
  return state != nullptr ? state->text : std::to_string(value);
}

bool CCds_Multistate::GetEnumValue(const std::string& possibleValues,
                                   const std::string& text, int32_t& value) {
  std::vector<State> states = parse_states(possibleValues);
  const State* state = find_text(states, text);
  if (state == nullptr) {
    size_t end = 0;
    int32_t number = pcd_strtol32(text.c_str(), &end);
    if (end == 0 || end != text.size()) return false;
    state = find_number(states, number);
  }
  if (state == nullptr) return false;
  value = state->number;
  return true;
}

bool CCds_Multistate::GetBoolFromString(const std::string& possibleValues,
                                        const std::string& text, bool& value) {
  std::vector<State> states = parse_states(possibleValues);
  const State* no = nullptr;
  const State* yes = nullptr;
  if (bool_states(states, &no, &yes)) {
    // Exact matches first, so that "Off;OFF" style lists stay usable.
    for (bool exact : {true, false}) {
      for (const State* state : {no, yes}) {
        bool match = exact ? state->text == text
                           : strcasecmp(state->text.c_str(), text.c_str()) == 0;
        if (match) {
          value = state == yes;
          return true;
        }
      }
    }
  }
  if (strcasecmp(text.c_str(), "true") == 0) {
    value = true;
  } else if (strcasecmp(text.c_str(), "false") == 0) {
    value = false;
  } else {
    return false;
  }
  return true;
}

bool CCds_Multistate::GetWriterStates(const std::string& path,
                                      data_type_t type, std::string& states) {
  if (type != PCD_TYPE_BOOL && type != PCD_TYPE_INT && type != PCD_TYPE_UINT) {
    return false;
  }
  NodeStates node;
  if (!read_states(cds_, path, &node)) return false;
  const std::string& list = states_text(node, true);
  if (list.empty()) return false;
  if (type != PCD_TYPE_BOOL && !is_multistate_type(node.value_type)) {
    return false;
  }
  states = list;
  return true;
}

bool CCds_Multistate::TextToState(const std::string& states, data_type_t type,
                                  const std::string& text, CElement& element) {
  if (type == PCD_TYPE_BOOL) {
    bool flag = false;
    if (!GetBoolFromString(states, text, flag)) return false;
    element.set_bool(flag);
    return true;
  }
  int32_t number = 0;
  if (!GetEnumValue(states, text, number)) return false;
  if (type == PCD_TYPE_INT) {
    element.set_int(number);
  } else if (type == PCD_TYPE_UINT && number >= 0) {
    element.set_uint(static_cast<uint32_t>(number));
  } else {
    return false;
  }
  return true;
}

int CCds_Multistate::StringToMultiValue(const std::string& path,
                                        data_type_t type,
                                        const std::string& text,
                                        CElement& element, bool& multistate) {
  std::string states;
  multistate = GetWriterStates(path, type, states);
  if (!multistate) return 1;  // nothing to match: the caller converts
  return TextToState(states, type, text, element) ? 0 : 1;
}

}  // namespace toolkit
