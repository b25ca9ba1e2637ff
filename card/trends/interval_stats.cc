// Aggregating one parameter's samples over a period (interval_stats.h).

#include "card/trends/interval_stats.h"

#include <cmath>

namespace wsgated {

namespace {

// The value a sample is ranked by: power factors by their magnitude.
double rank(double value, toolkit::trend::sample_type_t type) {
  return type == toolkit::trend::TREND_SAMPLE_PF ? std::fabs(value) : value;
}

}  // namespace

void IntervalStats::add(double value, toolkit::trend::sample_type_t type) {
  const double ranked = rank(value, type);
  if (count_ == 0 || ranked < rank(min_, type)) min_ = value;
  if (count_ == 0 || ranked > rank(max_, type)) max_ = value;
  sum_ += ranked;
  sumSquares_ += ranked * ranked;
  last_ = value;
  ++count_;
}

toolkit::trend::CSample IntervalStats::sample(
    const toolkit::trend::CParamProperties& param) const {
  toolkit::trend::CSample out = toolkit::trend::missing_sample();
  if (count_ == 0) return out;
  const double n = static_cast<double>(count_);
  const double mean = sum_ / n;
  // Rounding can leave a tiny negative variance for equal samples.
  const double variance = sumSquares_ / n - mean * mean;
  if (param.has_min) out.min = min_;
  if (param.has_max) out.max = max_;
  if (param.has_avg) out.avg = mean;
  if (param.has_actual) out.actual = last_;
  if (param.has_stddev) out.stddev = variance > 0 ? std::sqrt(variance) : 0;
  return out;
}

}  // namespace wsgated
