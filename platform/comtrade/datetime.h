// Dates, times and time codes of COMTRADE configuration files.
//
// The start and trigger lines hold a date and a time of day:
//   1991 revision:  mm/dd/yy,hh:mm:ss.ssssss    (two-digit year)
//   1999 and later: dd/mm/yyyy,hh:mm:ss.ssssss
// with up to six fraction digits (microseconds) or, since 2013, up to nine
// (nanoseconds). A two-digit year yy means 19yy from 70 on and 20yy below
// 70; a four-digit year is taken as written in every revision.
//
// The 2013 revision adds a time code ("-5h30", "+10", "0"): the offset of
// the written times from UTC. Times are converted to UTC with it; without
// one they are taken as UTC already.

#ifndef PLATFORM_COMTRADE_DATETIME_H_
#define PLATFORM_COMTRADE_DATETIME_H_

#include <cstdint>
#include <string_view>

#include "platform/comtrade/record.h"

namespace toolkit {
namespace comtrade {

// Days from 1970-01-01 to the given date of the proleptic Gregorian
// calendar (negative before 1970).
int64_t DaysFromCivil(int64_t year, int month, int day);

// Parses a date and a time of day into seconds and nanoseconds since
// 1970-01-01 00:00:00 (no offset applied). `month_first` selects the 1991
// order. *nanosecond_digits is set when the fraction has more than six
// digits. Returns false for text that is not a valid date and time.
bool ParseDateTime(std::string_view date, std::string_view time,
                   bool month_first, TimePoint* point,
                   bool* nanosecond_digits);

// Parses a time code: [+|-]h[h][h mm] ("-5h30", "+10", "0"), hours up to
// 23. An empty code or "x" means "not given": *given is false. Returns
// false for anything else.
bool ParseTimeCode(std::string_view text, bool* given, int* offset_minutes);

// `point` moved by `minutes` (may be negative).
TimePoint AddMinutes(TimePoint point, int64_t minutes);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_DATETIME_H_
