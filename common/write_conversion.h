// The one conversion of a client's text into the value a write stores.
//
// Every write (setValue, setValues and the administration operations that
// build on them) turns the client's text into a typed element here: a
// state's number or flag when the text names one of the node's states,
// otherwise the text checked and converted by convertTextToType. The
// single write and the multi-write differ only where their rules do, and
// those differences are the named fields of StateNameRules.

#ifndef COMMON_WRITE_CONVERSION_H_
#define COMMON_WRITE_CONVERSION_H_

#include <string>

#include "platform/element.h"
#include "platform/types.h"

namespace wsgated {

struct ServiceOptions;

// Where the states a text is matched against come from.
enum class StateList {
  // The states a writer may set: the node's WritableValues when it has
  // them, else its PossibleValues (CCds_Multistate::GetWriterStates).
  kWriterStates,
  // All of the node's PossibleValues, taken from the call's own entries
  // first (lookupValueType), "null" when the store has none.
  kPossibleValues,
};

// How a write that may name a state matches and reports it.
struct StateNameRules {
  StateList list;
  const char* boolLogFormat;  // logged with (value, path) on a boolean miss
  const char* boolDetail;     // error 12 detail of a boolean miss
  const char* enumLogFormat;  // the same for a multistate miss
  const char* enumDetail;
};

// setValue and SetLeaf: writer states, one wording for both kinds.
extern const StateNameRules kSingleWriteRules;
// setValues, SetLeaves and CreateNode: possible values, a wording each.
extern const StateNameRules kMultiWriteRules;

// What a client's text is to become.
struct WriteTarget {
  data_type_t type = PCD_TYPE_NONE;
  bool stateNames = false;  // the text names one of `states`
  std::string states;       // the node's states, when stateNames
};

// Convert the client's `text` for `path`, which `element` holds as String
// with the write's time stamp (stampClientText), to `target`. With
// target.stateNames the text must name a state (an Unsigned target refuses
// states numbered below zero); otherwise it is checked and converted by
// convertTextToType. Returns true with `result` the stored element's text, or
// false with `result` the error 12 result (a state miss is also logged at
// kLogErrors).
bool convertWriteText(const StateNameRules& rules, const WriteTarget& target,
                      const std::string& path, const std::string& text,
                      toolkit::CElement& element, std::string& result,
                      const ServiceOptions& options);

}  // namespace wsgated

#endif  // COMMON_WRITE_CONVERSION_H_
