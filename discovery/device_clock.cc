// The device clock from the platform's time functions.

#include "discovery/device_clock.h"

namespace wsgated {

namespace {

bool hasText(const char* text) { return text != nullptr && *text != '\0'; }

}  // namespace

std::string timeZoneName(const char* standardName, const char* daylightName,
                         bool daylightSaving) {
  if (!hasText(standardName)) return "";
  if (daylightSaving && hasText(daylightName)) return daylightName;
  return standardName;
}

DeviceClock readDeviceClock() {
  DeviceClock clock;
  clock.utcTime = qrx_UTCtime64();
  clock.localTime = qrx_Localtime64();
  const std::pair<const char*, const char*> names = qrx_GetLocalTimeZoneName();
  clock.timezone =
      timeZoneName(names.first, names.second, qrx_IsDaylightSavings() != 0);
  return clock;
}

}  // namespace wsgated
