// What the trend recorder records, as the store describes it.
//
// Periods: each child of "<root>/Periods" (root "/Software/Trends") is one
// logging period, its Value the period in seconds and its MaxEntries the
// number of snapshots of each device that the log keeps for it.
//
// Points: every device below "/Devices" (a child whose NodeType is Device)
// is searched, its whole subtree, for points whose .TrendEnable is true.
// Such a point is a parameter of its device with the values its
// .TrendTraits lists (";"-separated: min, max, avg, actual, stddev; the
// first four when it has none), and with the sample type PF when its
// .TrendSampleType is "PF" (a power factor, interval_stats.h).
//
// The configuration is read when the recorder starts: a change takes
// effect when it is started again.

#ifndef CARD_TRENDS_TREND_CONFIG_H_
#define CARD_TRENDS_TREND_CONFIG_H_

#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/trend.h"

namespace wsgated {

// A trended point: its parameter record and its Units, which back-fill
// uses to shape plausible values.
struct TrendedPoint {
  toolkit::trend::CParamProperties param;
  std::string units;
};

struct TrendedDevice {
  std::string path;
  std::string name;  // DisplayName, else the node's name
  std::vector<TrendedPoint> points;

  std::vector<toolkit::trend::CParamProperties> params() const;
};

struct TrendConfig {
  std::vector<toolkit::trend::CPeriodProperties> periods;
  std::vector<TrendedDevice> devices;  // only devices with trended points
};

// Reads the configuration below `trendsRoot` and `devicesRoot`. Entries
// that make no sense (a period of 0 seconds, an unknown trait) are logged
// and left out; false only when the store cannot be read.
bool readTrendConfig(toolkit::CCds& store, const std::string& trendsRoot,
                     const std::string& devicesRoot, TrendConfig* config);

// The present value of each point of each device of `config`, in one read
// of the store: values[d][p] of config.devices[d].points[p], NaN for a
// sample that is not valid: a point that cannot be read, holds no number
// (a Boolean counts as 0 or 1) or whose .Quality is below good (192; a
// point without a quality counts as good). False when the store cannot be
// read at all.
bool readTrendedValues(toolkit::CCds& store, const TrendConfig& config,
                       std::vector<std::vector<double>>* values);

}  // namespace wsgated

#endif  // CARD_TRENDS_TREND_CONFIG_H_
