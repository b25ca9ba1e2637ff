// Strict number parsing for the COMTRADE reader.
//
// The fields of configuration and ASCII data files are decimal numbers in
// the "C" notation whatever locale the process runs in (the daemon switches
// locales per request, and a German locale would otherwise read "0,5").
// Only plain decimal forms are accepted: an optional sign, digits with at
// most one decimal point, and an optional exponent ("1.5E-3"). Hexadecimal
// forms, "inf", "nan" and text around the number are refused.

#ifndef PLATFORM_COMTRADE_NUMBER_H_
#define PLATFORM_COMTRADE_NUMBER_H_

#include <cstdint>
#include <string_view>

namespace toolkit {
namespace comtrade {

// Parses an optionally signed decimal integer that fits in 64 bits.
// Returns false, leaving *value alone, for anything else.
bool ParseInteger(std::string_view text, int64_t* value);

// Parses a finite decimal real number. Returns false, leaving *value alone,
// for anything else (including values too large for a double).
bool ParseReal(std::string_view text, double* value);

// ParseInteger first (the common case in data files, and exact), then
// ParseReal.
bool ParseNumber(std::string_view text, double* value);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_NUMBER_H_
