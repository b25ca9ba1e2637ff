// The device clock from the platform's time functions.

#include "discovery/device_clock.h"

namespace {

bool HasText(const char* text) { return text != nullptr && *text != '\0'; }

}  // namespace

std::string TimeZoneName(const char* standardName, const char* daylightName,
                         bool daylightSaving) {
  if (!HasText(standardName)) return "";
  if (daylightSaving && HasText(daylightName)) return daylightName;
  return standardName;
}

DeviceClock ReadDeviceClock() {
  DeviceClock clock;
  clock.utcTime = qrx_UTCtime64();
  clock.localTime = qrx_Localtime64();
  const std::pair<const char*, const char*> names = qrx_GetLocalTimeZoneName();
  clock.timezone =
      TimeZoneName(names.first, names.second, qrx_IsDaylightSavings() != 0);
  return clock;
}
