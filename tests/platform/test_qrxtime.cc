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

TEST(QrxTime, ConvertsToAndFromTimeval) {
  timeval tv = make_tv(1700000000, 250000);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&tv), 1700000000250000LL);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(nullptr), 0);

  const qrx_time64_t samples[] = {0,  1,  999999, 1000000, 1700000000250000LL,
                                  -1, -999999, -1000000, -1000001,
                                  -86400LL * 365 * 1000000 - 3};
  for (qrx_time64_t qrx : samples) {
    SCOPED_TRACE(qrx);
    timeval back = make_tv(-7, -7);
    ASSERT_EQ(qrx_QRXtoUNIXtime64(qrx, &back), 0);
    EXPECT_GE(back.tv_usec, 0);
    EXPECT_LT(back.tv_usec, 1000000);
    EXPECT_EQ(qrx_UNIXtoQRXtime64(&back), qrx);
  }
  EXPECT_EQ(qrx_QRXtoUNIXtime64(0, nullptr), -1);
}

TEST(QrxTime, NegativeTimesRoundTowardMinusInfinity) {
  timeval tv;
  ASSERT_EQ(qrx_QRXtoUNIXtime64(-1, &tv), 0);
  EXPECT_EQ(tv.tv_sec, -1);
  EXPECT_EQ(tv.tv_usec, 999999);
  ASSERT_EQ(qrx_QRXtoUNIXtime64(-1500000, &tv), 0);
  EXPECT_EQ(tv.tv_sec, -2);
  EXPECT_EQ(tv.tv_usec, 500000);
  ASSERT_EQ(qrx_QRXtoUNIXtime64(-2000000, &tv), 0);
  EXPECT_EQ(tv.tv_sec, -2);
  EXPECT_EQ(tv.tv_usec, 0);
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
