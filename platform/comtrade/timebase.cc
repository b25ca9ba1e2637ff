// Sampling rate and trigger index; see timebase.h.

#include "platform/comtrade/timebase.h"

#include <cmath>

namespace toolkit {
namespace comtrade {

namespace {

// Position (a sample index, not yet rounded) reached `seconds` after the
// start, walking the rate sections.
double PositionByRates(const Config& config, double seconds) {
  int64_t first = 0;  // first sample of the section
  double section_start = 0.0;
  for (const RateSection& section : config.rates) {
    const int64_t count = section.end_sample - first;
    const double duration = count / section.rate_hz;
    if (seconds < section_start + duration || &section == &config.rates.back()) {
      return static_cast<double>(first) +
             (seconds - section_start) * section.rate_hz;
    }
    first = section.end_sample;
    section_start += duration;
  }
  return 0.0;
}

// Index of the sample whose stamp is nearest to `seconds` after the first.
int64_t IndexByStamps(const Config& config, const Samples& samples,
                      double seconds) {
  const double unit = StampSeconds(config);
  int64_t first_stamp = kMissingStamp, best = -1;
  double best_distance = 0.0;
  for (int64_t i = 0; i < samples.count; ++i) {
    const int64_t stamp = samples.stamps[static_cast<size_t>(i)];
    if (stamp == kMissingStamp) continue;
    if (first_stamp == kMissingStamp) first_stamp = stamp;
    // In doubles: stamps of an ASCII file may be any 64-bit numbers.
    const double distance = std::fabs(
        (static_cast<double>(stamp) - static_cast<double>(first_stamp)) *
            unit - seconds);
    if (best < 0 || distance < best_distance) {
      best = i;
      best_distance = distance;
    }
  }
  return best < 0 ? 0 : best;
}

}  // namespace

double StampSeconds(const Config& config) {
  return (config.nanosecond_stamps ? 1e-9 : 1e-6) * config.time_multiplier;
}

double SecondsBetween(const TimePoint& from, const TimePoint& to) {
  return static_cast<double>(to.seconds - from.seconds) +
         static_cast<double>(to.nanos - from.nanos) * 1e-9;
}

double SamplingRate(const Record& record) {
  const Config& config = record.config;
  if (!config.rates.empty()) return config.rates.front().rate_hz;
  const Samples& samples = record.samples;
  if (!record.has_data || samples.count < 2) return 0.0;
  const int64_t first = samples.stamps[0], second = samples.stamps[1];
  if (first == kMissingStamp || second == kMissingStamp || second <= first) {
    return 0.0;
  }
  return 1.0 / ((static_cast<double>(second) - static_cast<double>(first)) *
                StampSeconds(config));
}

int64_t TriggerIndex(const Record& record) {
  const Config& config = record.config;
  if (config.sample_count <= 0) return -1;
  const double seconds = SecondsBetween(config.start, config.trigger);
  if (config.rates.empty()) {
    return record.has_data ? IndexByStamps(config, record.samples, seconds)
                           : -1;
  }
  // Clamp before rounding: a trigger far outside the record must not
  // overflow the conversion.
  const double position = PositionByRates(config, seconds);
  const double last = static_cast<double>(config.sample_count - 1);
  if (!(position > 0.0)) return 0;
  if (position >= last) return config.sample_count - 1;
  return std::llround(position);
}

}  // namespace comtrade
}  // namespace toolkit
