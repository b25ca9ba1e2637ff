// The time base: conversions to and from timeval, the local offset and
// the zone names.

#include "platform/qrxtime.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <string>

namespace {

timeval make_tv(time_t sec, suseconds_t usec) {
  timeval tv;
  tv.tv_sec = sec;
  tv.tv_usec = usec;
  return tv;
}

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
    timeval back = make_tv(-7, -7);
    ASSERT_EQ(qrx_QRXtoUNIXtime64(c.qrx, &back), 0);
    EXPECT_EQ(back.tv_sec, c.sec);
    EXPECT_EQ(back.tv_usec, c.usec);
    EXPECT_EQ(qrx_UNIXtoQRXtime64(&back), c.qrx);
  }
  EXPECT_EQ(qrx_QRXtoUNIXtime64(0, nullptr), -1);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(nullptr), 0);
  // A timeval that is not normalised still counts all its microseconds.
  timeval odd = make_tv(5, 1500000);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&odd), 6500000);
  odd = make_tv(5, -250000);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&odd), 4750000);
}

TEST(QrxTime, NowAgreesWithTheSystemClock) {
  time_t before = time(nullptr);
  qrx_time64_t now = qrx_UTCtime64();
  time_t after = time(nullptr);
  EXPECT_GE(now / 1000000, before);
  EXPECT_LE(now / 1000000, after);
  time_t mono = qrx_GetMonoTime();
  EXPECT_GE(qrx_GetMonoTime(), mono);
}

// Sets TZ for one test and restores it afterwards.
class Zone : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = getenv("TZ");
    had_tz_ = old != nullptr;
    if (had_tz_) old_tz_ = old;
  }
  void TearDown() override {
    if (had_tz_) {
      setenv("TZ", old_tz_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  void Use(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  // Local minus UTC "now" in whole seconds; the two reads are microseconds
  // apart, so rounding removes the difference.
  static long OffsetNow() {
    qrx_time64_t utc = qrx_UTCtime64();
    qrx_time64_t local = qrx_Localtime64();
    return std::lround((local - utc) / 1e6);
  }

  bool had_tz_ = false;
  std::string old_tz_;
};

TEST_F(Zone, UtcHasNoOffset) {
  Use("UTC");
  EXPECT_EQ(OffsetNow(), 0);
  EXPECT_EQ(qrx_IsDaylightSavings(), 0);
  EXPECT_STREQ(qrx_GetLocalTimeZoneName().first, "UTC");
}

TEST_F(Zone, LocalTimeFollowsTheZoneAndItsSummerTime) {
  Use("Europe/Berlin");
  auto names = qrx_GetLocalTimeZoneName();
  EXPECT_STREQ(names.first, "CET");
  EXPECT_STREQ(names.second, "CEST");
  long offset = OffsetNow();
  int dst = qrx_IsDaylightSavings();
  EXPECT_EQ(offset, dst ? 7200 : 3600);

  // Fixed-rule zones make both seasons testable on any date: the POSIX
  // rule below is Berlin's, with summer time all year or never.
  // Summer time from Jan 1 00:00 until Dec 31 26:00, which overlaps the
  // next year's start: there is no instant without it.
  Use("CET-1CEST,J1/0,J365/26");
  EXPECT_EQ(OffsetNow(), 7200);
  EXPECT_NE(qrx_IsDaylightSavings(), 0);
  Use("CET-1");  // no summer time
  EXPECT_EQ(OffsetNow(), 3600);
  EXPECT_EQ(qrx_IsDaylightSavings(), 0);
  Use("EST5");
  EXPECT_EQ(OffsetNow(), -5 * 3600);
}

}  // namespace
