// The values of one trended parameter over one period, as they are
// sampled, and the snapshot entry they make at the period's end.
//
// A normal parameter's minimum and maximum are its lowest and highest
// valid samples. A power factor (TREND_SAMPLE_PF) is judged by how far it
// is from unity, whatever its sign (which tells leading from lagging): its
// minimum is the sample of the smallest magnitude (the worst power factor
// of the period), its maximum the one of the largest, each with its sign;
// its average and spread are those of the magnitudes, since leading and
// lagging values of one magnitude must not cancel out. `actual` is the
// last valid sample either way.

#ifndef CARD_TRENDS_INTERVAL_STATS_H_
#define CARD_TRENDS_INTERVAL_STATS_H_

#include "platform/trend.h"

namespace wsgated {

class IntervalStats {
 public:
  // One valid sample.
  void add(double value, toolkit::trend::sample_type_t type);

  // How many valid samples were added.
  long count() const { return count_; }

  // The entry for `param`: the values it keeps (its has_* flags) when a
  // valid sample was added, every other value missing (NaN).
  toolkit::trend::CSample sample(
      const toolkit::trend::CParamProperties& param) const;

 private:
  long count_ = 0;
  double sum_ = 0;
  double sumSquares_ = 0;
  double min_ = 0;
  double max_ = 0;
  double last_ = 0;
};

}  // namespace wsgated

#endif  // CARD_TRENDS_INTERVAL_STATS_H_
