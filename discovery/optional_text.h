// Optional text fields of requests.
//
// The engine leaves an element the client did not send as a null pointer;
// the discovery operations treat a missing text exactly like an empty one.

#ifndef DISCOVERY_OPTIONAL_TEXT_H_
#define DISCOVERY_OPTIONAL_TEXT_H_

#include <string>

// `text`, or "" when it is null.
inline const std::string& OptionalText(const std::string* text) {
  static const std::string kEmpty;
  return text != nullptr ? *text : kEmpty;
}

#endif  // DISCOVERY_OPTIONAL_TEXT_H_
