// The device clock as the clients see it: UTC and local time in the
// platform's time base, and the name of the time zone in force.

#ifndef DISCOVERY_DEVICE_CLOCK_H_
#define DISCOVERY_DEVICE_CLOCK_H_

#include <string>

#include "platform/qrxtime.h"

namespace wsgated {

struct DeviceClock {
  qrx_time64_t utcTime = 0;
  qrx_time64_t localTime = 0;
  std::string timezone;
};

// The zone name to report: "" without a standard-time name; the
// daylight-time name while daylight saving time is in force and that name
// is known; the standard-time name otherwise. Either name may be null.
std::string timeZoneName(const char* standardName, const char* daylightName,
                         bool daylightSaving);

// Now, from the platform's time functions (the zone follows TZ).
DeviceClock readDeviceClock();

}  // namespace wsgated

#endif  // DISCOVERY_DEVICE_CLOCK_H_
