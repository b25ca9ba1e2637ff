// The time base: conversions to and from timeval, and the clock. (Local
// time and zone names are tested through the device clock that reports
// them: tests/discovery/test_device_clock.cc.)

#include "platform/qrxtime.h"

#include <gtest/gtest.h>

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

}  // namespace
