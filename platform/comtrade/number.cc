// Strict, locale-independent number parsing; see number.h.

#include "platform/comtrade/number.h"

#include <locale.h>
#include <stdlib.h>

#include <cmath>
#include <cstring>

namespace toolkit {
namespace comtrade {

namespace {

// Longest real number text we parse; real fields of the format are at most
// 32 characters wide.
constexpr size_t kMaxRealLength = 64;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Skips the digits at text[*i], returning how many there were.
size_t SkipDigits(std::string_view text, size_t* i) {
  const size_t start = *i;
  while (*i < text.size() && IsDigit(text[*i])) ++*i;
  return *i - start;
}

// True when text is [sign] digits [. digits] [(e|E) [sign] digits] with at
// least one digit in the mantissa.
bool IsDecimalReal(std::string_view text) {
  size_t i = 0;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  size_t mantissa_digits = SkipDigits(text, &i);
  if (i < text.size() && text[i] == '.') {
    ++i;
    mantissa_digits += SkipDigits(text, &i);
  }
  if (mantissa_digits == 0) return false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    if (SkipDigits(text, &i) == 0) return false;
  }
  return i == text.size();
}

// The "C" locale for strtod_l, made once (thread-safe static init).
locale_t CLocale() {
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return c_locale;
}

}  // namespace

bool ParseInteger(std::string_view text, int64_t* value) {
  size_t i = 0;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
  }
  if (i == text.size()) return false;
  // Accumulate as a negative number: its range is one larger.
  int64_t result = 0;
  for (; i < text.size(); ++i) {
    if (!IsDigit(text[i])) return false;
    const int digit = text[i] - '0';
    if (result < (INT64_MIN + digit) / 10) return false;
    result = result * 10 - digit;
  }
  if (!negative) {
    if (result == INT64_MIN) return false;
    result = -result;
  }
  *value = result;
  return true;
}

bool ParseReal(std::string_view text, double* value) {
  if (text.size() > kMaxRealLength || !IsDecimalReal(text)) return false;
  const locale_t c_locale = CLocale();
  if (c_locale == static_cast<locale_t>(0)) return false;
  char buffer[kMaxRealLength + 1];
  std::memcpy(buffer, text.data(), text.size());
  buffer[text.size()] = '\0';
  const double result = strtod_l(buffer, nullptr, c_locale);
  if (!std::isfinite(result)) return false;
  *value = result;
  return true;
}

bool ParseNumber(std::string_view text, double* value) {
  int64_t integer;
  // Up to 15 digits an integer is exact in a double.
  if (text.size() <= 15 && ParseInteger(text, &integer)) {
    *value = static_cast<double>(integer);
    return true;
  }
  return ParseReal(text, value);
}

}  // namespace comtrade
}  // namespace toolkit
