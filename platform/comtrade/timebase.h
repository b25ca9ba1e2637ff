// The time base of a record: its sampling rate and the index of the sample
// at the trigger, derived from the configuration and, when the
// configuration gives no rate, from the data's time stamps.
//
// A data time stamp counts microseconds, or nanoseconds when a time in the
// configuration has more than six fraction digits, multiplied by the time
// multiplier. The first sample is taken at the start time; later stamps
// are measured from the first sample's stamp (some writers do not begin at
// zero).

#ifndef PLATFORM_COMTRADE_TIMEBASE_H_
#define PLATFORM_COMTRADE_TIMEBASE_H_

#include <cstdint>

#include "platform/comtrade/record.h"

namespace toolkit {
namespace comtrade {

// Seconds per unit of a raw time stamp.
double StampSeconds(const Config& config);

// The rate of the first sampling-rate section; without one, the inverse of
// the time between the first two time stamps; 0 when neither is known
// (no data, fewer than two stamps, or stamps that do not increase).
double SamplingRate(const Record& record);

// The 0-based index of the sample nearest to the trigger time, counting
// through the rate sections, or by the time stamps when the configuration
// gives no rate. Clamped to the samples that exist; -1 when there are none
// or (without rates) no data part to count stamps in.
int64_t TriggerIndex(const Record& record);

// Seconds from `from` to `to`.
double SecondsBetween(const TimePoint& from, const TimePoint& to);

}  // namespace comtrade
}  // namespace toolkit

#endif  // PLATFORM_COMTRADE_TIMEBASE_H_
