// CElement: typed values, their text forms and conversions.
//
// Text is read and written in the "C" conventions whatever the process
// locale is: a store shared by processes must not depend on which of them
// set a German locale (decimal comma) before writing a real.

#include "platform/element.h"

#include <locale.h>
#include <strings.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace toolkit {

const char* const CElement::_invalid = "Invalid";
const timeval CElement::_invalid_time = {0, 0};

namespace {

// Integers are parsed into a range a little wider than 32 bits, so that
// both int32_t and uint32_t saturation can be decided afterwards.
constexpr int64_t kWideLimit = int64_t{1} << 33;

int64_t clamp64(int64_t value, int64_t low, int64_t high) {
  return value < low ? low : (value > high ? high : value);
}

int32_t clamp_int32(int64_t value) {
  return static_cast<int32_t>(clamp64(value, INT32_MIN, INT32_MAX));
}

uint32_t clamp_uint32(int64_t value) {
  return static_cast<uint32_t>(clamp64(value, 0, UINT32_MAX));
}

bool is_blank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// strtol in base 10, saturating at +-kWideLimit. Returns the number of
// characters consumed, 0 when there is no digit (as strtol's end pointer).
size_t parse_wide(const char* text, int64_t* value) {
  size_t i = 0;
  while (is_blank(text[i])) ++i;
  bool negative = false;
  if (text[i] == '+' || text[i] == '-') negative = text[i++] == '-';
  if (text[i] < '0' || text[i] > '9') {
    *value = 0;
    return 0;
  }
  int64_t magnitude = 0;
  for (; text[i] >= '0' && text[i] <= '9'; ++i) {
    if (magnitude < kWideLimit) magnitude = magnitude * 10 + (text[i] - '0');
  }
  magnitude = magnitude < kWideLimit ? magnitude : kWideLimit;
  *value = negative ? -magnitude : magnitude;
  return i;
}

// The whole text as a strtol number (the empty text is 0, as strtol's end
// pointer then points at the terminator).
bool parse_integer_text(const std::string& text, int64_t* value) {
  size_t end = parse_wide(text.c_str(), value);
  return end == text.size();
}

locale_t c_locale() {
  static locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

// The whole text as a strtod number, "C" decimal point.
bool parse_real_text(const std::string& text, double* value) {
  char* end = nullptr;
  *value = strtod_l(text.c_str(), &end, c_locale());
  return end == text.c_str() + text.size();
}

// The shortest "%.*g" text that reads back to the same double. The lowest
// precision that round-trips may be in exponent form ("1e+02") while a
// higher one is shorter in plain form ("100"), so plain forms are tried too.
std::string format_real(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  char buffer[64];
  std::string best;
  for (int precision = 1; precision <= 17; ++precision) {
    auto result = std::to_chars(buffer, buffer + sizeof(buffer), value,
                                std::chars_format::general, precision);
    double back = 0;
    std::from_chars(buffer, result.ptr, back);
    if (back != value) continue;
    std::string text(buffer, result.ptr);
    if (best.empty() || text.size() < best.size()) best = text;
    // Higher precisions only add digits to a plain form.
    if (text.find('e') == std::string::npos) break;
  }
  return best;
}

// Seconds and microseconds with 0 <= tv_usec < 1000000.
timeval make_timeval(int64_t seconds, int64_t micros) {
  seconds += micros / 1000000;
  micros %= 1000000;
  if (micros < 0) {
    micros += 1000000;
    seconds -= 1;
  }
  timeval tv;
  tv.tv_sec = static_cast<time_t>(seconds);
  tv.tv_usec = static_cast<suseconds_t>(micros);
  return tv;
}

std::string format_timeval(const timeval& value) {
  timeval tv = make_timeval(value.tv_sec, value.tv_usec);
  time_t seconds = tv.tv_sec;
  struct tm utc;
  if (gmtime_r(&seconds, &utc) == nullptr) return CElement::_invalid;
  char buffer[64];
  snprintf(buffer, sizeof(buffer), "%04d-%02d-%02dT%02d:%02d:%02d.%06ldZ",
           utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour,
           utc.tm_min, utc.tm_sec, static_cast<long>(tv.tv_usec));
  return buffer;
}

// Up to six digits of a decimal fraction as microseconds; further digits
// are ignored (truncation). Returns false when there is no digit.
bool parse_fraction(const char*& p, int64_t* micros) {
  int64_t value = 0;
  int digits = 0;
  for (; *p >= '0' && *p <= '9'; ++p, ++digits) {
    if (digits < 6) value = value * 10 + (*p - '0');
  }
  for (int i = digits; i < 6; ++i) value *= 10;
  *micros = value;
  return digits > 0;
}

// Exactly `count` decimal digits at p, then the character `next` (or any
// character when next is 0).
bool read_field(const char*& p, int count, char next, int* value) {
  *value = 0;
  for (int i = 0; i < count; ++i, ++p) {
    if (*p < '0' || *p > '9') return false;
    *value = *value * 10 + (*p - '0');
  }
  if (next == 0) return true;
  return *p++ == next;
}

// "YYYY-MM-DDTHH:MM:SS[.ffffff]Z", the form format_timeval writes.
bool parse_iso8601(const std::string& text, timeval* tv) {
  const char* p = text.c_str();
  int year, month, day, hour, minute, second;
  if (!read_field(p, 4, '-', &year) || !read_field(p, 2, '-', &month) ||
      !read_field(p, 2, 'T', &day) || !read_field(p, 2, ':', &hour) ||
      !read_field(p, 2, ':', &minute) || !read_field(p, 2, 0, &second)) {
    return false;
  }
  int64_t micros = 0;
  if (*p == '.' && !parse_fraction(++p, &micros)) return false;
  if (p[0] != 'Z' || p[1] != '\0') return false;
  struct tm utc = {};
  utc.tm_year = year - 1900;
  utc.tm_mon = month - 1;
  utc.tm_mday = day;
  utc.tm_hour = hour;
  utc.tm_min = minute;
  utc.tm_sec = second;
  time_t seconds = timegm(&utc);
  // timegm normalises "February 30"; such dates are not valid text.
  if (utc.tm_year != year - 1900 || utc.tm_mon != month - 1 ||
      utc.tm_mday != day || utc.tm_hour != hour || utc.tm_min != minute ||
      utc.tm_sec != second) {
    return false;
  }
  *tv = make_timeval(seconds, micros);
  return true;
}

// "[-]digits[.digits]": UNIX seconds with an optional fraction.
bool parse_unix_seconds(const std::string& text, timeval* tv) {
  const char* p = text.c_str();
  bool negative = *p == '-';
  if (negative) ++p;
  int64_t seconds = 0;
  int digits = 0;
  for (; *p >= '0' && *p <= '9'; ++p, ++digits) {
    if (digits == 18) return false;  // beyond any time_t we can hold
    seconds = seconds * 10 + (*p - '0');
  }
  if (digits == 0) return false;
  int64_t micros = 0;
  if (*p == '.' && !parse_fraction(++p, &micros)) return false;
  if (*p != '\0') return false;
  *tv = negative ? make_timeval(-seconds, -micros)
                 : make_timeval(seconds, micros);
  return true;
}

bool real_to_timeval(double value, timeval* tv) {
  if (!std::isfinite(value) || std::fabs(value) > 9e15) return false;
  double seconds = std::floor(value);
  int64_t micros = std::llround((value - seconds) * 1e6);
  *tv = make_timeval(static_cast<int64_t>(seconds), micros);
  return true;
}

}  // namespace

int32_t pcd_strtol32(const char* text, size_t* end) {
  int64_t value = 0;
  size_t consumed = text != nullptr ? parse_wide(text, &value) : 0;
  if (end != nullptr) *end = consumed;
  if (value < INT32_MIN || value > INT32_MAX) errno = ERANGE;
  return clamp_int32(value);
}

CElement::CElement()
    : type_(PCD_TYPE_NONE),
      integer_(0),
      real_(0),
      timeval_(_invalid_time),
      time_(_invalid_time) {}

CElement::CElement(bool value) : CElement() { set_bool(value); }
CElement::CElement(int32_t value) : CElement() { set_int(value); }
CElement::CElement(uint32_t value) : CElement() { set_uint(value); }
CElement::CElement(double value) : CElement() { set_real(value); }
CElement::CElement(const std::string& value) : CElement() {
  set_string(value);
}
CElement::CElement(const char* value) : CElement() {
  set_string(value != nullptr ? value : "");
}
CElement::CElement(const timeval& value) : CElement() { set_timeval(value); }

void CElement::set_bool(bool value) {
  type_ = PCD_TYPE_BOOL;
  integer_ = value ? 1 : 0;
}

void CElement::set_int(int32_t value) {
  type_ = PCD_TYPE_INT;
  integer_ = value;
}

void CElement::set_uint(uint32_t value) {
  type_ = PCD_TYPE_UINT;
  integer_ = value;
}

void CElement::set_real(double value) {
  type_ = PCD_TYPE_REAL;
  real_ = value;
}

void CElement::set_string(const std::string& value) {
  type_ = PCD_TYPE_STRING;
  text_ = value;
}

void CElement::set_timeval(const timeval& value) {
  type_ = PCD_TYPE_TIMEVAL;
  timeval_ = make_timeval(value.tv_sec, value.tv_usec);
}

void CElement::clear() {
  type_ = PCD_TYPE_NONE;
  text_.clear();
}

void CElement::set_time_now() {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  time_.tv_sec = now.tv_sec;
  time_.tv_usec = static_cast<suseconds_t>(now.tv_nsec / 1000);
}

std::string CElement::to_string() const {
  switch (type_) {
    case PCD_TYPE_NONE: return std::string();
    case PCD_TYPE_BOOL: return integer_ != 0 ? "true" : "false";
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT: return std::to_string(integer_);
    case PCD_TYPE_REAL: return format_real(real_);
    case PCD_TYPE_STRING: return text_;
    case PCD_TYPE_TIMEVAL: return format_timeval(timeval_);
  }
  return _invalid;
}

bool CElement::integral_value(int64_t* value) const {
  switch (type_) {
    case PCD_TYPE_BOOL:
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT:
      *value = integer_;
      return true;
    case PCD_TYPE_REAL:
      if (std::isnan(real_)) return false;
      // The cast truncates toward zero; the clamp keeps it defined.
      *value = static_cast<int64_t>(std::fmax(
          std::fmin(real_, double(kWideLimit)), -double(kWideLimit)));
      return true;
    case PCD_TYPE_STRING: return parse_integer_text(text_, value);
    case PCD_TYPE_TIMEVAL:
      *value = clamp64(timeval_.tv_sec, -kWideLimit, kWideLimit);
      return true;
    default: return false;
  }
}

int32_t CElement::to_int() const {
  int64_t value = 0;
  return integral_value(&value)
             ? clamp_int32(value)
             : 0;
}

uint32_t CElement::to_uint() const {
  int64_t value = 0;
  return integral_value(&value)
             ? clamp_uint32(value)
             : 0;
}

double CElement::to_double() const {
  double value = 0;
  switch (type_) {
    case PCD_TYPE_BOOL:
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT: return static_cast<double>(integer_);
    case PCD_TYPE_REAL: return real_;
    case PCD_TYPE_STRING: return parse_real_text(text_, &value) ? value : 0;
    case PCD_TYPE_TIMEVAL: return timeval_.tv_sec + timeval_.tv_usec / 1e6;
    default: return 0;
  }
}

// "true"/"false" in any case, or "1"/"0".
static bool parse_bool_text(const std::string& text, bool* value) {
  if (strcasecmp(text.c_str(), "true") == 0 || text == "1") {
    *value = true;
  } else if (strcasecmp(text.c_str(), "false") == 0 || text == "0") {
    *value = false;
  } else {
    return false;
  }
  return true;
}

bool CElement::to_bool() const {
  bool value = false;
  switch (type_) {
    case PCD_TYPE_BOOL:
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT: return integer_ != 0;
    case PCD_TYPE_REAL: return real_ != 0;
    case PCD_TYPE_STRING: return parse_bool_text(text_, &value) && value;
    case PCD_TYPE_TIMEVAL:
      return timeval_.tv_sec != 0 || timeval_.tv_usec != 0;
    default: return false;
  }
}

// Numbers are UNIX seconds; text is ISO 8601 or decimal seconds.
bool CElement::time_value(timeval* value) const {
  switch (type_) {
    case PCD_TYPE_TIMEVAL:
      *value = timeval_;
      return true;
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT:
      *value = make_timeval(integer_, 0);
      return true;
    case PCD_TYPE_REAL: return real_to_timeval(real_, value);
    case PCD_TYPE_STRING:
      return parse_iso8601(text_, value) || parse_unix_seconds(text_, value);
    default: return false;
  }
}

timeval CElement::to_timeval() const {
  timeval value = _invalid_time;
  if (!time_value(&value)) {
    return _invalid_time;
  }
  return value;
}

int CElement::convert_type(data_type_t type) {
  int64_t integer = 0;
  double real = 0;
  bool flag = false;
  timeval tv = _invalid_time;
  switch (type) {
    case PCD_TYPE_NONE:
      clear();
      return 0;
    case PCD_TYPE_BOOL:
      if (type_ == PCD_TYPE_STRING) {
        if (!parse_bool_text(text_, &flag)) return 1;
      } else if (type_ == PCD_TYPE_REAL) {
        if (std::isnan(real_)) return 1;
        flag = real_ != 0;
      } else if (type_ == PCD_TYPE_BOOL || type_ == PCD_TYPE_INT ||
                 type_ == PCD_TYPE_UINT) {
        flag = integer_ != 0;
      } else {
        return 1;
      }
      set_bool(flag);
      return 0;
    case PCD_TYPE_INT:
      if (!integral_value(&integer)) {
        return 1;
      }
      set_int(clamp_int32(integer));
      return 0;
    case PCD_TYPE_UINT:
      if (!integral_value(&integer) ||
          integer < 0) {
        return 1;
      }
      set_uint(clamp_uint32(integer));
      return 0;
    case PCD_TYPE_REAL:
      if (type_ == PCD_TYPE_STRING) {
        if (!parse_real_text(text_, &real)) return 1;
      } else if (type_ == PCD_TYPE_NONE) {
        return 1;
      } else {
        real = to_double();
      }
      set_real(real);
      return 0;
    case PCD_TYPE_STRING:
      if (type_ == PCD_TYPE_NONE) return 1;
      set_string(to_string());
      return 0;
    case PCD_TYPE_TIMEVAL:
      if (!time_value(&tv)) return 1;
      set_timeval(tv);
      return 0;
  }
  return 1;
}

std::vector<std::string> CElement::split_string(const std::string& text,
                                                 char separator) {
  std::vector<std::string> items;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(separator, start);
    if (end == std::string::npos) end = text.size();
    items.emplace_back(text, start, end - start);
    start = end + 1;
  }
  // A separator at the very end leaves start == size: no empty last item.
  return items;
}

bool CElement::operator==(const CElement& other) const {
  if (type_ != other.type_) return false;
  switch (type_) {
    case PCD_TYPE_NONE: return true;
    case PCD_TYPE_REAL:
      // Two NaNs hold the same value; a rewrite of NaN is not a change.
      return real_ == other.real_ ||
             (std::isnan(real_) && std::isnan(other.real_));
    case PCD_TYPE_STRING: return text_ == other.text_;
    case PCD_TYPE_TIMEVAL:
      return timeval_.tv_sec == other.timeval_.tv_sec &&
             timeval_.tv_usec == other.timeval_.tv_usec;
    default: return integer_ == other.integer_;
  }
}

}  // namespace toolkit
