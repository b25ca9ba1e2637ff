// nsqv:getLocalAndUtcTime - the device clock: UTC, local time and the zone
// name in force (device_clock.h). The result text is always empty; the
// options are accepted and not used.

#include "discovery/device_clock.h"
#include "soapH.h"

int __nsqv__getLocalAndUtcTime(
    struct soap*, struct _nsqv__getLocalAndUtcTime*,
    struct _nsqv__getLocalAndUtcTimeResponse& response) {
  wsgated::DeviceClock clock = wsgated::readDeviceClock();
  response.result.clear();
  response.utcTime = clock.utcTime;
  response.localTime = clock.localTime;
  response.timezone = std::move(clock.timezone);
  return SOAP_OK;
}
