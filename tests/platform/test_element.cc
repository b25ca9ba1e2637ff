// Values and their text forms: CElement's conversions with the device's
// 32-bit rules, and the device's time base. They need nothing but the C and
// C++ libraries, so that they also run for targets that have no other
// (scripts/cross-test.sh ppc).

#include <gtest/gtest.h>
#include <algorithm>

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/qrxtime.h"

namespace toolkit {
namespace {
// --- CElement -------------------------------------------------------------

// Converts `text` to `type`; returns the result's text, or "FAIL" (and
// checks that the element was left as it was).
std::string convert(const std::string& text, data_type_t type) {
  CElement element(text);
  if (element.convert_type(type) != 0) {
    EXPECT_EQ(element, CElement(text)) << "changed by a failed conversion";
    return "FAIL";
  }
  EXPECT_EQ(element.get_type(), type);
  return element.to_string();
}

timeval tv(time_t sec, suseconds_t usec) {
  timeval value;
  value.tv_sec = sec;
  value.tv_usec = usec;
  return value;
}

TEST(Element, Strtol32SaturatesLikeTheDevice) {
  const struct {
    const char* text;
    int32_t value;
    size_t end;
    int error;  // errno after the call, which is 0 before it
  } cases[] = {
      {"2147483647", INT32_MAX, 10, 0},
      {"2147483648", INT32_MAX, 10, ERANGE},
      {"99999999999999999999999", INT32_MAX, 23, ERANGE},
      {"-2147483648", INT32_MIN, 11, 0},
      {"-2147483649", INT32_MIN, 11, ERANGE},
      {" \t+42xyz", 42, 5, 0},
      {"-0", 0, 2, 0},
      // No digit: nothing consumed, not even the blanks or the sign.
      {"  -x", 0, 0, 0},
      {"", 0, 0, 0},
      {nullptr, 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text != nullptr ? c.text : "(null)");
    size_t end = 99;
    errno = 0;
    EXPECT_EQ(pcd_strtol32(c.text, &end), c.value);
    EXPECT_EQ(end, c.end);
    EXPECT_EQ(errno, c.error);
  }
  EXPECT_EQ(pcd_strtol32("7", nullptr), 7);
}

TEST(Element, TextConvertsByTheDevicesRules) {
  const struct {
    const char* text;
    data_type_t type;
    const char* result;  // "FAIL": refused
  } cases[] = {
      // Integers follow strtol, base 10, and saturate.
      {"2147483647", PCD_TYPE_INT, "2147483647"},
      {"2147483648", PCD_TYPE_INT, "2147483647"},
      {"-99999999999", PCD_TYPE_INT, "-2147483648"},
      {" 5", PCD_TYPE_INT, "5"},
      {"+5", PCD_TYPE_INT, "5"},
      {"", PCD_TYPE_INT, "0"},  // strtol's end is the end
      {"5 ", PCD_TYPE_INT, "FAIL"},
      {"12x", PCD_TYPE_INT, "FAIL"},
      {"1.5", PCD_TYPE_INT, "FAIL"},
      {" ", PCD_TYPE_INT, "FAIL"},
      {"-", PCD_TYPE_INT, "FAIL"},
      {"0x10", PCD_TYPE_INT, "FAIL"},
      // Unsigned refuses negatives and saturates.
      {"4294967295", PCD_TYPE_UINT, "4294967295"},
      {"4294967296", PCD_TYPE_UINT, "4294967295"},
      {"99999999999999", PCD_TYPE_UINT, "4294967295"},
      {"3000000000", PCD_TYPE_UINT, "3000000000"},
      {"-0", PCD_TYPE_UINT, "0"},
      {"-1", PCD_TYPE_UINT, "FAIL"},
      {"1 ", PCD_TYPE_UINT, "FAIL"},
      // Reals follow strtod; 1e309 is infinite and the caller refuses it.
      {"1e308", PCD_TYPE_REAL, "1e+308"},
      {"1e309", PCD_TYPE_REAL, "inf"},
      {"-inf", PCD_TYPE_REAL, "-inf"},
      {"-nan", PCD_TYPE_REAL, "nan"},
      {"", PCD_TYPE_REAL, "0"},
      {" 230.4", PCD_TYPE_REAL, "230.4"},
      {"1.5 ", PCD_TYPE_REAL, "FAIL"},
      {"1,5", PCD_TYPE_REAL, "FAIL"},
      {"abc", PCD_TYPE_REAL, "FAIL"},
      // Booleans: the words in any case, or 1 and 0.
      {"TRUE", PCD_TYPE_BOOL, "true"},
      {"False", PCD_TYPE_BOOL, "false"},
      {"1", PCD_TYPE_BOOL, "true"},
      {"0", PCD_TYPE_BOOL, "false"},
      {"yes", PCD_TYPE_BOOL, "FAIL"},
      {"", PCD_TYPE_BOOL, "FAIL"},
      {"2", PCD_TYPE_BOOL, "FAIL"},
      {" true", PCD_TYPE_BOOL, "FAIL"},
      // Times: ISO 8601 in UTC, or seconds since 1970.
      {"2026-11-22T10:15:00.250000Z", PCD_TYPE_TIMEVAL,
       "2026-11-22T10:15:00.250000Z"},
      {"2026-11-22T10:15:00Z", PCD_TYPE_TIMEVAL,
       "2026-11-22T10:15:00.000000Z"},
      {"1970-01-01T00:00:00.5Z", PCD_TYPE_TIMEVAL,
       "1970-01-01T00:00:00.500000Z"},
      {"1700000000.5", PCD_TYPE_TIMEVAL, "2023-11-14T22:13:20.500000Z"},
      {"-1.25", PCD_TYPE_TIMEVAL, "1969-12-31T23:59:58.750000Z"},
      {"2026-02-30T00:00:00Z", PCD_TYPE_TIMEVAL, "FAIL"},
      {"2026-11-22T10:15:00", PCD_TYPE_TIMEVAL, "FAIL"},
      {"2026-11-22 10:15:00Z", PCD_TYPE_TIMEVAL, "FAIL"},
      {"2026-11-22T10:15:00.Z", PCD_TYPE_TIMEVAL, "FAIL"},
      {"1700000000.", PCD_TYPE_TIMEVAL, "FAIL"},
      {"17e8", PCD_TYPE_TIMEVAL, "FAIL"},
      {"", PCD_TYPE_TIMEVAL, "FAIL"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(convert(c.text, c.type), c.result)
        << "'" << c.text << "' as " << c.type;
  }
}

// A process that switched to a decimal-comma locale must still read and
// write reals with a point: other processes share the store.
TEST(Element, RealsIgnoreTheProcessLocale) {
  const char* german = setlocale(LC_NUMERIC, "de_DE.UTF-8");
  if (german == nullptr) german = setlocale(LC_NUMERIC, "de_DE");
  if (german == nullptr) GTEST_SKIP() << "no German locale on this machine";
  EXPECT_EQ(convert("1.5", PCD_TYPE_REAL), "1.5");
  EXPECT_EQ(CElement(2.25).to_string(), "2.25");
  setlocale(LC_NUMERIC, "C");
}

// Times read as numbers of seconds and back; a timeval is kept normalised.
TEST(Element, TimesBetweenTypes) {
  CElement time(tv(1700000000, 123456));
  EXPECT_EQ(time.to_int(), 1700000000);
  EXPECT_DOUBLE_EQ(time.to_double(), 1700000000.123456);
  EXPECT_TRUE(time.to_bool());
  CElement seconds(1700000000.25);
  EXPECT_EQ(seconds.convert_type(PCD_TYPE_TIMEVAL), 0);
  EXPECT_EQ(seconds.to_timeval().tv_sec, 1700000000);
  EXPECT_EQ(seconds.to_timeval().tv_usec, 250000);
  EXPECT_EQ(CElement(true).convert_type(PCD_TYPE_TIMEVAL), 1);
  EXPECT_EQ(CElement("x").to_timeval().tv_sec, 0);
  CElement element(tv(10, -250000));
  EXPECT_EQ(element.to_timeval().tv_sec, 9);
  EXPECT_EQ(element.to_timeval().tv_usec, 750000);
  EXPECT_EQ(element.to_string(), "1970-01-01T00:00:09.750000Z");
  EXPECT_EQ(element, CElement(tv(8, 1750000)));
  EXPECT_EQ(CElement(tv(-1, 0)).to_string(), "1969-12-31T23:59:59.000000Z");
}

TEST(Element, NumbersBetweenTypes) {
  CElement real(-3.99);
  EXPECT_EQ(real.to_int(), -3);  // truncated toward zero
  EXPECT_EQ(real.to_uint(), 0u);  // saturated
  EXPECT_EQ(real.convert_type(PCD_TYPE_UINT), 1);
  EXPECT_EQ(real.convert_type(PCD_TYPE_INT), 0);
  EXPECT_EQ(real.to_string(), "-3");

  EXPECT_EQ(CElement(1e20).to_int(), INT32_MAX);
  EXPECT_EQ(CElement(-1e20).to_int(), INT32_MIN);
  EXPECT_EQ(CElement(1e20).to_uint(), UINT32_MAX);
  EXPECT_EQ(CElement(std::nan("")).to_int(), 0);
  CElement nan(std::nan(""));
  EXPECT_NE(nan.convert_type(PCD_TYPE_INT), 0);
  EXPECT_NE(nan.convert_type(PCD_TYPE_BOOL), 0);

  CElement big(uint32_t{4000000000u});
  EXPECT_EQ(big.to_string(), "4000000000");
  EXPECT_EQ(big.to_int(), INT32_MAX);
  EXPECT_EQ(big.to_uint(), 4000000000u);
  EXPECT_EQ(big.convert_type(PCD_TYPE_INT), 0);
  EXPECT_EQ(big.to_string(), "2147483647");

  CElement negative(int32_t{-7});
  EXPECT_EQ(negative.convert_type(PCD_TYPE_UINT), 1);
  EXPECT_EQ(negative.get_type(), PCD_TYPE_INT);
  EXPECT_EQ(negative.convert_type(PCD_TYPE_REAL), 0);
  EXPECT_EQ(negative.to_string(), "-7");
  EXPECT_EQ(negative.convert_type(PCD_TYPE_BOOL), 0);
  EXPECT_EQ(negative.to_string(), "true");
  EXPECT_EQ(negative.convert_type(PCD_TYPE_STRING), 0);
  EXPECT_EQ(negative.to_string(), "true");
  EXPECT_EQ(negative.get_type(), PCD_TYPE_STRING);

  EXPECT_EQ(CElement("12").to_int(), 12);
  EXPECT_EQ(CElement("12x").to_int(), 0);
  EXPECT_EQ(CElement("-5").to_uint(), 0u);
  EXPECT_DOUBLE_EQ(CElement("2.5").to_double(), 2.5);
  EXPECT_DOUBLE_EQ(CElement("2.5x").to_double(), 0);
  EXPECT_TRUE(CElement("TRUE").to_bool());
  EXPECT_TRUE(CElement("1").to_bool());
  EXPECT_FALSE(CElement("yes").to_bool());
  EXPECT_TRUE(CElement(0.5).to_bool());
  EXPECT_FALSE(CElement(int32_t{0}).to_bool());
}

TEST(Element, NoneHasNoValue) {
  CElement none;
  EXPECT_EQ(none.get_type(), PCD_TYPE_NONE);
  EXPECT_EQ(none.to_string(), "");
  EXPECT_EQ(none.get_time().tv_sec, 0);
  EXPECT_EQ(none.to_int(), 0);
  EXPECT_NE(none.convert_type(PCD_TYPE_INT), 0);
  EXPECT_NE(none.convert_type(PCD_TYPE_REAL), 0);
  EXPECT_NE(none.convert_type(PCD_TYPE_STRING), 0);
  EXPECT_NE(CElement("1").convert_type(static_cast<data_type_t>(5)), 0);
  EXPECT_NE(CElement("1").convert_type(static_cast<data_type_t>(7)), 0);

  CElement text("abc");
  text.set_time(tv(5, 6));
  EXPECT_EQ(text.convert_type(PCD_TYPE_NONE), 0);
  EXPECT_EQ(text, CElement());
  EXPECT_EQ(text.get_time().tv_sec, 5);  // the time stamp stays
  EXPECT_EQ(CElement(static_cast<const char*>(nullptr)).to_string(), "");
}

TEST(Element, RealTextIsShortestThatRoundTrips) {
  EXPECT_EQ(CElement(230.4).to_string(), "230.4");
  EXPECT_EQ(CElement(0.1).to_string(), "0.1");
  EXPECT_EQ(CElement(1e300).to_string(), "1e+300");
  EXPECT_EQ(CElement(100.0).to_string(), "100");
  EXPECT_EQ(CElement(0.1 + 0.2).to_string(), "0.30000000000000004");
  EXPECT_EQ(CElement(-0.0).to_string(), "-0");
  EXPECT_EQ(CElement(std::numeric_limits<double>::infinity()).to_string(),
            "inf");
  EXPECT_EQ(CElement(-std::numeric_limits<double>::infinity()).to_string(),
            "-inf");
  EXPECT_EQ(CElement(-std::nan("")).to_string(), "nan");

  std::mt19937_64 random(20240601);
  std::uniform_int_distribution<uint64_t> bits;
  int checked = 0;
  while (checked < 20000) {
    uint64_t pattern = bits(random);
    double value;
    std::memcpy(&value, &pattern, sizeof(value));
    if (!std::isfinite(value)) continue;
    ++checked;
    CElement element(CElement(value).to_string());
    ASSERT_EQ(element.convert_type(PCD_TYPE_REAL), 0);
    ASSERT_EQ(element.to_double(), value) << CElement(value).to_string();
  }
  for (double value : {DBL_MIN, DBL_MAX, DBL_TRUE_MIN, 1.0 / 3, 2.0 / 3}) {
    CElement element(CElement(value).to_string());
    ASSERT_EQ(element.convert_type(PCD_TYPE_REAL), 0);
    EXPECT_EQ(element.to_double(), value);
  }
}

TEST(Element, SplitString) {
  using Items = std::vector<std::string>;
  EXPECT_EQ(CElement::split_string("", ';'), Items{});
  EXPECT_EQ(CElement::split_string("a", ';'), Items{"a"});
  EXPECT_EQ(CElement::split_string("a;;b", ';'), (Items{"a", "", "b"}));
  EXPECT_EQ(CElement::split_string("a;b;", ';'), (Items{"a", "b"}));
  EXPECT_EQ(CElement::split_string("a;;", ';'), (Items{"a", ""}));
  EXPECT_EQ(CElement::split_string(";a", ';'), (Items{"", "a"}));
  EXPECT_EQ(CElement::split_string(";", ';'), Items{""});
  EXPECT_EQ(CElement::split_string(";;", ';'), (Items{"", ""}));
  EXPECT_EQ(CElement::split_string("a,b;c", ','), (Items{"a", "b;c"}));
}

TEST(Element, EqualityComparesTypeAndValueNotTime) {
  CElement a(int32_t{1});
  CElement b(int32_t{1});
  b.set_time(tv(100, 0));
  EXPECT_EQ(a, b);
  EXPECT_NE(CElement(int32_t{1}), CElement(uint32_t{1}));
  EXPECT_NE(CElement(int32_t{1}), CElement(true));
  EXPECT_NE(CElement("1"), CElement(int32_t{1}));
  EXPECT_NE(CElement(1.0), CElement(2.0));
  EXPECT_EQ(CElement(std::nan("")), CElement(std::nan("")));
  EXPECT_NE(CElement("a"), CElement("b"));
  EXPECT_NE(CElement(tv(1, 1)), CElement(tv(1, 2)));
  // Setting a new value keeps the time stamp.
  b.set_string("x");
  EXPECT_EQ(b.get_time().tv_sec, 100);
  b.set_time_now();
  EXPECT_GT(b.get_time().tv_sec, 1600000000);
}

// --- The time base (local time: the device clock's tests) ----------------

// Negative times round toward minus infinity: the microseconds of a
// timeval are never negative.
TEST(QrxTime, ConvertsToAndFromTimeval) {
  const struct {
    qrx_time64_t qrx;
    time_t sec;
    suseconds_t usec;
  } cases[] = {
      {0, 0, 0},           {999999, 0, 999999},
      {1000000, 1, 0},     {1700000000250000LL, 1700000000, 250000},
      {-1, -1, 999999},    {-1000000, -1, 0},
      {-1000001, -2, 999999}, {-1500000, -2, 500000},
      {-86400LL * 365 * 1000000 - 3, -86400 * 365 - 1, 999997},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.qrx);
    timeval back = tv(-7, -7);
    ASSERT_EQ(qrx_QRXtoUNIXtime64(c.qrx, &back), 0);
    EXPECT_EQ(back.tv_sec, c.sec);
    EXPECT_EQ(back.tv_usec, c.usec);
    EXPECT_EQ(qrx_UNIXtoQRXtime64(&back), c.qrx);
  }
  EXPECT_EQ(qrx_QRXtoUNIXtime64(0, nullptr), -1);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(nullptr), 0);
}

// Far times keep their order: a 32-bit time_t (the device's) takes its last
// or first second rather than wrapping, so an open-ended bound of a query
// (the largest xsd:long) stays after every record.
TEST(QrxTime, FarTimesSaturateAtTheEndsOfTimeT) {
  constexpr qrx_time64_t kMicros = 1000000;
  constexpr int64_t kSecondMax = std::numeric_limits<time_t>::max();
  constexpr int64_t kSecondMin = std::numeric_limits<time_t>::min();
  const struct {
    qrx_time64_t qrx;
    int64_t sec;
  } cases[] = {
      {std::numeric_limits<qrx_time64_t>::max(),
       std::min<int64_t>(INT64_MAX / kMicros, kSecondMax)},
      {std::numeric_limits<qrx_time64_t>::min(),
       std::max<int64_t>(INT64_MIN / kMicros - 1, kSecondMin)},
      {4102444800LL * kMicros, std::min<int64_t>(4102444800LL, kSecondMax)},
      {-4102444800LL * kMicros, std::max<int64_t>(-4102444800LL, kSecondMin)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.qrx);
    timeval back = tv(-7, -7);
    ASSERT_EQ(qrx_QRXtoUNIXtime64(c.qrx, &back), 0);
    EXPECT_EQ(static_cast<int64_t>(back.tv_sec), c.sec);
    EXPECT_GE(back.tv_usec, 0);
    EXPECT_LT(back.tv_usec, 1000000);
  }
  // A timeval that is not normalised still counts all its microseconds.
  timeval odd = tv(5, 1500000);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&odd), 6500000);
  odd = tv(5, -250000);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&odd), 4750000);
}

}  // namespace
}  // namespace toolkit
