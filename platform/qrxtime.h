// The device's time base.
//
// A "qrx time" is a signed 64-bit count of microseconds since
// 1970-01-01T00:00:00 UTC. Local qrx time is the same scale shifted by the
// zone's offset from UTC at that instant (so formatting it as if it were UTC
// shows the local wall clock). Every time that crosses the service's
// interfaces (xsd:long on the wire) is a qrx time.

#ifndef PLATFORM_QRXTIME_H_
#define PLATFORM_QRXTIME_H_

#include <sys/time.h>
#include <time.h>

#include <cstdint>
#include <utility>

typedef int64_t qrx_time64_t;

// Now, UTC.
qrx_time64_t qrx_UTCtime64(void);
// Now, local wall-clock time (UTC plus the zone's current offset).
qrx_time64_t qrx_Localtime64(void);
// The zone's names: standard time first, daylight time second (tzname).
// Either may be empty; the pointers stay valid until the next call.
std::pair<const char*, const char*> qrx_GetLocalTimeZoneName(void);
// Non-zero while daylight-saving time is in force now.
int qrx_IsDaylightSavings(void);
// Seconds of a monotonic clock (never goes back, unaffected by clock sets).
time_t qrx_GetMonoTime(void);
// timeval (UNIX seconds and microseconds) to qrx time; null gives 0.
qrx_time64_t qrx_UNIXtoQRXtime64(const timeval* tv);
// qrx time to timeval; microseconds are always 0..999999 (negative times
// round toward minus infinity). Times beyond the range of time_t (after
// 2038-01-19T03:14:07Z where it has 32 bits) give its last or first second.
// Returns 0, or -1 when `tv` is null.
int qrx_QRXtoUNIXtime64(qrx_time64_t qrx, timeval* tv);

#endif  // PLATFORM_QRXTIME_H_
