// Plausible trend history (backfill.h).

#include "card/trends/backfill.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "card/trends/interval_stats.h"

namespace wsgated {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr long long kDayMs = 86400LL * 1000;
constexpr long long kHourMs = 3600LL * 1000;

// How a kind of point varies: relative amplitude of the daily cycle (a
// voltage sags as the load peaks) and of the noise, and the range its
// values stay in.
struct Shape {
  const char* units;  // nullptr: any other
  double daily;
  double noise;
  double low;
  double high;
};

const Shape kShapes[] = {
    {"V", -0.01, 0.002, -HUGE_VAL, HUGE_VAL},
    {"Hz", 0.0004, 0.0002, -HUGE_VAL, HUGE_VAL},
    {"no-units", 0.006, 0.002, -1, 1},
    {"%", 0.05, 0.01, 0, 100},
    {nullptr, 0.25, 0.05, -HUGE_VAL, HUGE_VAL},
};

const Shape& shapeOf(const std::string& units) {
  for (const Shape& shape : kShapes) {
    if (shape.units == nullptr || units == shape.units) return shape;
  }
  return kShapes[0];  // not reached: the last shape takes every unit
}

// A number in [-1, 1] drawn from `seed` (splitmix64's finaliser).
double noise(uint64_t seed) {
  seed += 0x9E3779B97F4A7C15ULL;
  seed = (seed ^ (seed >> 30)) * 0xBF58476D1CE4E5B9ULL;
  seed = (seed ^ (seed >> 27)) * 0x94D049BB133111EBULL;
  seed ^= seed >> 31;
  return static_cast<double>(seed >> 11) / static_cast<double>(1ULL << 52) -
         1.0;
}

// The daily cycle at `timeMs`: -1 at 03:00 UTC, 1 at 15:00.
double dailyCycle(long long timeMs) {
  const double hours =
      static_cast<double>(((timeMs % kDayMs) + kDayMs) % kDayMs) / kHourMs;
  return std::sin(2 * kPi * (hours - 9) / 24);
}

}  // namespace

double plausibleValue(const TrendedPoint& point, double present,
                      long long timeMs, long long nowMs) {
  if (std::isnan(present)) return present;
  if (point.units == "h") {
    return present - static_cast<double>(nowMs - timeMs) / kHourMs;
  }
  const Shape& shape = shapeOf(point.units);
  const uint64_t seed =
      std::hash<std::string>()(point.param.path) ^ static_cast<uint64_t>(timeMs);
  // The cycle is measured from now, so that the history ends near the
  // present value.
  const double cycle = dailyCycle(timeMs) - dailyCycle(nowMs);
  const double value =
      present * (1 + shape.daily * cycle + shape.noise * noise(seed));
  return std::min(shape.high, std::max(shape.low, value));
}

std::vector<toolkit::trend::CSnapshot> backfillSnapshots(
    const TrendedDevice& device, const std::vector<double>& present,
    const toolkit::trend::CPeriodProperties& period, int days,
    long long nowMs, long long sampleMs) {
  const long long periodMs = period.period * 1000LL;
  const long long count = std::min<long long>(
      period.max_entries, static_cast<long long>(days) * kDayMs / periodMs);
  const long long samples =
      std::max(1LL, std::min(kBackfillSamples, periodMs / sampleMs));
  const long long lastEnd = nowMs / periodMs * periodMs;
  const std::vector<toolkit::trend::CParamProperties> params = device.params();
  std::vector<toolkit::trend::CSnapshot> snapshots;
  for (long long k = count - 1; k >= 0; --k) {
    const long long endMs = lastEnd - k * periodMs;
    std::vector<IntervalStats> stats(params.size());
    long valid = 0;
    for (long long i = 1; i <= samples; ++i) {
      const long long timeMs = endMs - periodMs + i * periodMs / samples;
      for (size_t p = 0; p < params.size(); ++p) {
        const double value =
            plausibleValue(device.points[p], present[p], timeMs, nowMs);
        if (std::isnan(value)) continue;
        stats[p].add(value, params[p].type);
        ++valid;
      }
    }
    toolkit::trend::CSnapshot snapshot;
    snapshot.period = period.period;
    snapshot.time = static_cast<long>(endMs / 1000);
    snapshot.percent_valid =
        100.0 * valid / static_cast<double>(samples * params.size());
    for (size_t p = 0; p < params.size(); ++p) {
      snapshot.samples.push_back(stats[p].sample(params[p]));
    }
    snapshots.push_back(snapshot);
  }
  return snapshots;
}

}  // namespace wsgated
