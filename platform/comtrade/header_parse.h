// What the reader understands in a header file (.hdr).
//
// The standard leaves the header free text for people. Our recorders, and
// anyone who wants the service to report an event, write lines of the form
//   Event: Phase A to ground fault, zone 1
//   Trigger channel: IA
//   Trigger index: 1200
// Keys are matched without regard to case or blanks around them; the first
// line of each key counts. Without an "Event:" line, the first non-blank
// line that is not one of these keyed lines is the event description.
// "Trigger index" is a 0-based sample index; a value that is not a
// non-negative integer makes the header unusable (ParseHeader fails).

#ifndef PLATFORM_COMTRADE_HEADER_PARSE_H_
#define PLATFORM_COMTRADE_HEADER_PARSE_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace toolkit {
namespace comtrade {

struct HeaderInfo {
  std::string event;             // "" when the header names none
  std::string trigger_channel;   // "" when not given
  bool has_trigger_index = false;
  int64_t trigger_index = -1;
};

// Reads the keyed lines of a decoded header text. Returns 0, or
// COMTRADE_ERR_SYNTAX for a bad "Trigger index:" value.
int ParseHeader(std::string_view text, HeaderInfo* info, std::string* why);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_HEADER_PARSE_H_
