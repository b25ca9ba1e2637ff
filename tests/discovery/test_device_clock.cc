// The device clock: which zone name is reported, and local time following
// the TZ environment variable.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <string>

#include "discovery/device_clock.h"

namespace wsgated {

namespace {

TEST(timeZoneName, DaylightNameOnlyWhileInForceAndKnown) {
  EXPECT_EQ("CEST", timeZoneName("CET", "CEST", true));
  EXPECT_EQ("CET", timeZoneName("CET", "CEST", false));
  EXPECT_EQ("CET", timeZoneName("CET", "", true));
  EXPECT_EQ("CET", timeZoneName("CET", nullptr, true));
}

TEST(timeZoneName, NoStandardNameGivesEmpty) {
  EXPECT_EQ("", timeZoneName("", "CEST", true));
  EXPECT_EQ("", timeZoneName(nullptr, "CEST", true));
  EXPECT_EQ("", timeZoneName(nullptr, nullptr, false));
}

// Sets TZ for one test and puts the old value back.
class ZoneTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = getenv("TZ");
    had_zone_ = old != nullptr;
    if (had_zone_) old_zone_ = old;
  }
  void TearDown() override {
    if (had_zone_) setenv("TZ", old_zone_.c_str(), 1); else unsetenv("TZ");
    tzset();
  }
  void Use(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  // Is daylight saving time in force now, by the C library's own account?
  static bool DaylightNow() {
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    return local.tm_isdst > 0;
  }
  // Local minus UTC of one reading, rounded to whole minutes: the two
  // readings are taken one after the other, microseconds apart.
  static long OffsetMinutes(const DeviceClock& clock) {
    const double micros = static_cast<double>(clock.localTime - clock.utcTime);
    return static_cast<long>(micros / 60e6 + (micros < 0 ? -0.5 : 0.5));
  }

  bool had_zone_ = false;
  std::string old_zone_;
};

TEST_F(ZoneTest, UtcZone) {
  Use("UTC0");
  const DeviceClock clock = readDeviceClock();
  EXPECT_EQ("UTC", clock.timezone);
  EXPECT_EQ(0, OffsetMinutes(clock));
  EXPECT_GT(clock.utcTime, 1600000000000000LL);  // microseconds since 1970
}

TEST_F(ZoneTest, CentralEuropeanZoneReportsTheNameInForce) {
  Use("CET-1CEST,M3.5.0,M10.5.0/3");
  const DeviceClock clock = readDeviceClock();
  if (DaylightNow()) {
    EXPECT_EQ("CEST", clock.timezone);
    EXPECT_EQ(120, OffsetMinutes(clock));
  } else {
    EXPECT_EQ("CET", clock.timezone);
    EXPECT_EQ(60, OffsetMinutes(clock));
  }
}

TEST_F(ZoneTest, ZoneAlwaysInDaylightTimeReportsDaylightName) {
  // Daylight time from the first minute of the year to its last.
  Use("STD3DST,J1/0,J365/25");
  const DeviceClock clock = readDeviceClock();
  EXPECT_EQ("DST", clock.timezone);
  EXPECT_EQ(-120, OffsetMinutes(clock));
}

TEST_F(ZoneTest, ZoneWithoutDaylightTimeReportsStandardName) {
  Use("EST5");
  const DeviceClock clock = readDeviceClock();
  EXPECT_EQ("EST", clock.timezone);
  EXPECT_EQ(-300, OffsetMinutes(clock));
}

}  // namespace

}  // namespace wsgated
