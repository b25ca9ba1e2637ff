// The device's time base: microseconds since the UNIX epoch.

#include "platform/qrxtime.h"

#include <limits>

namespace {

constexpr int64_t kMicrosPerSecond = 1000000;

// The zone's offset from UTC at `seconds`, in seconds (tm_gmtoff). tzset
// first, so that a changed TZ or zone file takes effect at once.
long zone_offset(time_t seconds, int* is_dst) {
  tzset();
  struct tm local;
  if (localtime_r(&seconds, &local) == nullptr) {
    if (is_dst != nullptr) *is_dst = 0;
    return 0;
  }
  if (is_dst != nullptr) *is_dst = local.tm_isdst > 0;
  return local.tm_gmtoff;
}

}  // namespace

qrx_time64_t qrx_UTCtime64(void) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<qrx_time64_t>(now.tv_sec) * kMicrosPerSecond +
         now.tv_nsec / 1000;
}

qrx_time64_t qrx_Localtime64(void) {
  qrx_time64_t utc = qrx_UTCtime64();
  time_t seconds = static_cast<time_t>(utc / kMicrosPerSecond);
  return utc + static_cast<qrx_time64_t>(zone_offset(seconds, nullptr)) *
                   kMicrosPerSecond;
}

std::pair<const char*, const char*> qrx_GetLocalTimeZoneName(void) {
  tzset();
  const char* standard = tzname[0] != nullptr ? tzname[0] : "";
  const char* summer = tzname[1] != nullptr ? tzname[1] : "";
  return std::make_pair(standard, summer);
}

int qrx_IsDaylightSavings(void) {
  int is_dst = 0;
  zone_offset(time(nullptr), &is_dst);
  return is_dst;
}

time_t qrx_GetMonoTime(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec;
}

qrx_time64_t qrx_UNIXtoQRXtime64(const timeval* tv) {
  if (tv == nullptr) return 0;
  return static_cast<qrx_time64_t>(tv->tv_sec) * kMicrosPerSecond +
         tv->tv_usec;
}

int qrx_QRXtoUNIXtime64(qrx_time64_t qrx, timeval* tv) {
  if (tv == nullptr) return -1;
  qrx_time64_t seconds = qrx / kMicrosPerSecond;
  qrx_time64_t micros = qrx % kMicrosPerSecond;
  if (micros < 0) {  // C++ division truncates; times before 1970 floor
    micros += kMicrosPerSecond;
    seconds -= 1;
  }
  // A time_t of 32 bits (the device's) ends in 2038: a time beyond its
  // range takes the nearest end instead of wrapping to the other side, so
  // that a far bound of a query stays beyond every record.
  if (seconds > std::numeric_limits<time_t>::max()) {
    seconds = std::numeric_limits<time_t>::max();
    micros = kMicrosPerSecond - 1;
  } else if (seconds < std::numeric_limits<time_t>::min()) {
    seconds = std::numeric_limits<time_t>::min();
    micros = 0;
  }
  tv->tv_sec = static_cast<time_t>(seconds);
  tv->tv_usec = static_cast<suseconds_t>(micros);
  return 0;
}
