// Plausible trend history for the demo: what the trend recorder's
// back-fill mode writes (trend_recorder.h).
//
// Each value follows the point's present value, shaped by its units: a
// daily cycle that peaks in the afternoon plus a little noise, small for
// voltages (1%), frequencies and power factors, larger for loads and
// currents (25%); percentages stay within 0..100 and power factors within
// -1..1; hour counters ("h") count up to their present value. The noise is
// drawn from the point's path and the time, so a back-fill is the same
// every time it is run for the same instant. A point without a valid
// present value has no valid history either.

#ifndef CARD_TRENDS_BACKFILL_H_
#define CARD_TRENDS_BACKFILL_H_

#include <vector>

#include "card/trends/trend_config.h"
#include "platform/trend.h"

namespace wsgated {

// Samples taken for each back-filled snapshot (fewer when the period
// holds fewer sampling instants).
constexpr long long kBackfillSamples = 12;

// The value `point`, which reads `present` at `nowMs`, plausibly had at
// `timeMs` (NaN when `present` is).
double plausibleValue(const TrendedPoint& point, double present,
                      long long timeMs, long long nowMs);

// The snapshots of `device` for `period` over the `days` before `nowMs`
// (at most period.max_entries, the newest ending at the last period end
// up to nowMs), oldest first; `present` holds the points' present values
// and `sampleMs` is the recorder's sampling interval.
std::vector<toolkit::trend::CSnapshot> backfillSnapshots(
    const TrendedDevice& device, const std::vector<double>& present,
    const toolkit::trend::CPeriodProperties& period, int days,
    long long nowMs, long long sampleMs);

}  // namespace wsgated

#endif  // CARD_TRENDS_BACKFILL_H_
