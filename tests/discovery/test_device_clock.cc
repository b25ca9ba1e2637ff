// The device clock: which zone name is reported, and local time following
// the TZ environment variable.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <cmath>
#include <string>

#include "discovery/device_clock.h"

namespace wsgated {

namespace {

TEST(timeZoneName, DaylightNameOnlyWhileInForceAndKnown) {
  const struct {
    const char* standard;
    const char* daylight;
    bool inForce;
    const char* name;
  } cases[] = {
      {"CET", "CEST", true, "CEST"}, {"CET", "CEST", false, "CET"},
      {"CET", "", true, "CET"},      {"CET", nullptr, true, "CET"},
      // No standard name gives none.
      {"", "CEST", true, ""},        {nullptr, "CEST", true, ""},
      {nullptr, nullptr, false, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.name, timeZoneName(c.standard, c.daylight, c.inForce))
        << (c.standard ? c.standard : "null") << " "
        << (c.daylight ? c.daylight : "null") << " " << c.inForce;
  }
}

// Zones whose rules make the answer the same on any date.
TEST(ReadDeviceClock, ReportsTheZoneNameInForceAndItsOffset) {
  const char* old = getenv("TZ");
  const std::string saved = old ? old : "";
  const struct {
    const char* zone;
    const char* name;
    long offsetMinutes;
  } cases[] = {
      // Daylight time from the first minute of the year to its last.
      {"STD3DST,J1/0,J365/25", "DST", -120},
      {"CET-1", "CET", 60},
      {"EST5", "EST", -300},
      {"UTC0", "UTC", 0},
  };
  for (const auto& c : cases) {
    setenv("TZ", c.zone, 1);
    tzset();
    const DeviceClock clock = readDeviceClock();
    EXPECT_EQ(c.name, clock.timezone) << c.zone;
    // Local minus UTC of one reading, rounded to whole minutes: the two
    // readings are taken one after the other, microseconds apart.
    const double micros = static_cast<double>(clock.localTime - clock.utcTime);
    EXPECT_EQ(c.offsetMinutes, std::lround(micros / 60e6)) << c.zone;
    EXPECT_GT(clock.utcTime, 1600000000000000LL);  // microseconds since 1970
  }
  if (old) setenv("TZ", saved.c_str(), 1); else unsetenv("TZ");
  tzset();
}

}  // namespace

}  // namespace wsgated
