// CElement: a typed value with a time stamp, as held by one CDS leaf.
//
// The device is a 32-bit machine and its integer leaves are 32 bits wide:
// PCD_TYPE_INT holds an int32_t and PCD_TYPE_UINT a uint32_t. Text
// conversions behave as they do there (strtol saturates at INT32_MIN and
// INT32_MAX), whatever the width of long on the machine that runs us.

#ifndef PLATFORM_ELEMENT_H_
#define PLATFORM_ELEMENT_H_

#include <sys/time.h>

#include <cstdint>
#include <locale>
#include <string>
#include <vector>

#include "platform/types.h"

namespace toolkit {

class CElement {
 public:
  // Text shown for a value that cannot be rendered (no type, unknown type).
  static const char* const _invalid;    // "Invalid"
  // A time stamp that means "no time": {0, 0}.
  static const timeval _invalid_time;

  CElement();                            // PCD_TYPE_NONE, time _invalid_time
  explicit CElement(bool value);
  explicit CElement(int32_t value);
  explicit CElement(uint32_t value);
  explicit CElement(double value);
  explicit CElement(const std::string& value);
  explicit CElement(const char* value);  // nullptr gives ""
  explicit CElement(const timeval& value);

  data_type_t get_type() const { return type_; }

  // Assign a value; the type follows the value. The time stamp is kept.
  void set_bool(bool value);
  void set_int(int32_t value);
  void set_uint(uint32_t value);
  void set_real(double value);
  void set_string(const std::string& value);
  void set_timeval(const timeval& value);
  void clear();                          // back to PCD_TYPE_NONE

  // Time stamp of the value (when it was last written).
  const timeval& get_time() const { return time_; }
  void set_time(const timeval& time) { time_ = time; }
  void set_time_now();

  // The value as text:
  //   Boolean  "true" / "false"
  //   Unsigned, Integer  decimal digits
  //   Real     shortest "%.*g" text that reads back to the same double
  //            ("230.4", "0.1", "1e+300", "nan", "inf", "-inf")
  //   String   the text itself
  //   timeval  ISO 8601 UTC with microseconds, "2026-11-22T10:15:00.250000Z"
  //   None     "" (an element without a type has no text)
  std::string to_string() const;

  // Numeric views. Text is parsed as convert_type would; values that do not
  // fit saturate; anything unparsable gives 0 / false.
  int32_t to_int() const;
  uint32_t to_uint() const;
  double to_double() const;
  bool to_bool() const;        // Boolean; non-zero numbers; text "true"/"1"
  timeval to_timeval() const;  // timeval; numbers as UNIX seconds

  // Convert the value in place to `type`. Returns 0 on success; on failure
  // returns non-zero and leaves the element unchanged.
  //   to Boolean: "true"/"false" (any case) or "1"/"0"; numbers: non-zero
  //   to Integer: strtol rules with 32-bit saturation; trailing text fails;
  //               reals are truncated toward zero and saturate
  //   to Unsigned: as Integer, negative values fail
  //   to Real:    strtod rules; trailing text fails
  //   to String:  to_string()
  //   to timeval: ISO 8601 text as written by to_string, or decimal UNIX
  //               seconds with an optional fraction ("1700000000.5")
  //   to None:    clears the value
  int convert_type(data_type_t type);

  // The value's text translated with the message catalogue `domain` in
  // `locale` (Boost.Locale). A text holding ";" that has no translation of
  // its own is translated item by item, keeping any "N=" prefix of an item.
  // Without a message facet or a translation the text is returned unchanged.
  std::string to_translated_string(const std::locale& locale,
                                   const char* domain) const;

  // Split `text` at every `separator`. Empty items are kept ("a;;b" gives
  // "a", "", "b"); an empty text gives no items; a trailing separator gives
  // no trailing empty item ("a;b;" gives "a", "b").
  static std::vector<std::string> split_string(const std::string& text,
                                               char separator);

  bool operator==(const CElement& other) const;  // type and value, not time
  bool operator!=(const CElement& other) const { return !(*this == other); }

 private:
  // The value as a whole number (wide enough to saturate either 32-bit
  // type) or as a time; false when it has no such reading.
  bool integral_value(int64_t* value) const;
  bool time_value(timeval* value) const;

  data_type_t type_;
  int64_t integer_;      // Boolean, Unsigned, Integer
  double real_;          // Real
  std::string text_;     // String
  timeval timeval_;      // timeval
  timeval time_;         // time stamp of the value
};

// Parse text the way the device's 32-bit strtol does: leading blanks,
// optional sign, decimal digits; the result saturates to INT32_MIN/INT32_MAX
// and then sets errno to ERANGE (errno is otherwise left as it was, as
// strtol leaves it). `end` receives the number of characters consumed (0
// when no digit). The device's long has 32 bits: rules written for its
// strtol and atoi use this, whatever the width of long here.
int32_t pcd_strtol32(const char* text, size_t* end);

}  // namespace toolkit

#endif  // PLATFORM_ELEMENT_H_
