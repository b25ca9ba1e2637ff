// Date, time and time code parsing; see datetime.h.

#include "platform/comtrade/datetime.h"

#include "platform/comtrade/text.h"

namespace toolkit {
namespace comtrade {

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads 1 to max_digits digits at text[*i] into *value.
bool ReadDigits(std::string_view text, size_t* i, size_t max_digits,
                int* value) {
  size_t count = 0;
  int result = 0;
  while (*i < text.size() && IsDigit(text[*i]) && count < max_digits) {
    result = result * 10 + (text[*i] - '0');
    ++*i;
    ++count;
  }
  if (count == 0) return false;
  *value = result;
  return true;
}

bool Expect(std::string_view text, size_t* i, char c) {
  if (*i >= text.size() || text[*i] != c) return false;
  ++*i;
  return true;
}

bool IsLeapYear(int64_t year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysInMonth(int64_t year, int month) {
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

bool ParseDate(std::string_view text, bool month_first, int* year,
               int* month, int* day) {
  size_t i = 0;
  int first, second;
  if (!ReadDigits(text, &i, 2, &first) || !Expect(text, &i, '/') ||
      !ReadDigits(text, &i, 2, &second) || !Expect(text, &i, '/')) {
    return false;
  }
  const size_t year_start = i;
  if (!ReadDigits(text, &i, 4, year) || i != text.size()) return false;
  const size_t year_digits = i - year_start;
  if (year_digits == 2) {
    *year += *year < 70 ? 2000 : 1900;
  } else if (year_digits != 4) {
    return false;
  }
  *month = month_first ? first : second;
  *day = month_first ? second : first;
  return *month >= 1 && *month <= 12 && *day >= 1 &&
         *day <= DaysInMonth(*year, *month);
}

// hh:mm:ss[.fraction]; seconds may be 60 (a leap second).
bool ParseTimeOfDay(std::string_view text, int64_t* seconds, int32_t* nanos,
                    bool* nanosecond_digits) {
  size_t i = 0;
  int hour, minute, second;
  if (!ReadDigits(text, &i, 2, &hour) || !Expect(text, &i, ':') ||
      !ReadDigits(text, &i, 2, &minute) || !Expect(text, &i, ':') ||
      !ReadDigits(text, &i, 2, &second)) {
    return false;
  }
  if (hour > 23 || minute > 59 || second > 60) return false;
  int32_t fraction = 0;
  size_t digits = 0;
  if (i < text.size() && text[i] == '.') {
    ++i;
    for (; i < text.size() && IsDigit(text[i]) && digits < 9; ++i, ++digits) {
      fraction = fraction * 10 + (text[i] - '0');
    }
  }
  if (i != text.size()) return false;
  for (size_t d = digits; d < 9; ++d) fraction *= 10;
  *seconds = hour * 3600 + minute * 60 + second;
  *nanos = fraction;
  *nanosecond_digits = digits > 6;
  return true;
}

}  // namespace

int64_t DaysFromCivil(int64_t year, int month, int day) {
  // Count from 1 March of year 0 so that the leap day ends a year; eras of
  // 400 years repeat exactly.
  year -= month <= 2 ? 1 : 0;
  const int64_t era = (year >= 0 ? year : year - 399) / 400;
  const int64_t year_of_era = year - era * 400;
  const int64_t month_index = (month + 9) % 12;  // March = 0
  const int64_t day_of_year = (153 * month_index + 2) / 5 + day - 1;
  const int64_t day_of_era = year_of_era * 365 + year_of_era / 4 -
                             year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;  // 719468: 0000-03-01 to 1970
}

bool ParseDateTime(std::string_view date, std::string_view time,
                   bool month_first, TimePoint* point,
                   bool* nanosecond_digits) {
  int year, month, day;
  int64_t seconds;
  int32_t nanos;
  if (!ParseDate(Trim(date), month_first, &year, &month, &day) ||
      !ParseTimeOfDay(Trim(time), &seconds, &nanos, nanosecond_digits)) {
    return false;
  }
  point->seconds = DaysFromCivil(year, month, day) * 86400 + seconds;
  point->nanos = nanos;
  return true;
}

bool ParseTimeCode(std::string_view text, bool* given, int* offset_minutes) {
  text = Trim(text);
  if (text.empty() || text == "x" || text == "X") {
    *given = false;
    *offset_minutes = 0;
    return true;
  }
  size_t i = 0;
  int sign = 1;
  if (text[0] == '+' || text[0] == '-') {
    sign = text[0] == '-' ? -1 : 1;
    ++i;
  }
  int hours, minutes = 0;
  if (!ReadDigits(text, &i, 2, &hours) || hours > 23) return false;
  if (i < text.size()) {
    const size_t minute_start = i + 1;
    if (!Expect(text, &i, 'h') || !ReadDigits(text, &i, 2, &minutes) ||
        i - minute_start != 2 || minutes > 59 || i != text.size()) {
      return false;
    }
  }
  *given = true;
  *offset_minutes = sign * (hours * 60 + minutes);
  return true;
}

TimePoint AddMinutes(TimePoint point, int64_t minutes) {
  point.seconds += minutes * 60;
  return point;
}

}  // namespace comtrade
}  // namespace toolkit
