// The trend recorder (card-trends): samples the trended points of the
// card's devices and writes one snapshot per device and period into the
// trend log (platform/trend.h) at the end of each period.
//
// Sampling: every --sample-seconds, on instants aligned to the wall clock
// (multiples of the interval since 1970), all trended points are read in
// one store call. Periods are aligned the same way: the period of P
// seconds ending at T holds the samples taken after T - P up to and
// including T, so the sample at T is the period's last (its "actual") and
// the snapshot, stamped T, is written at once. Its percent-valid is the
// share of valid samples among those the period should have had (P /
// interval per parameter): a period the recorder saw only part of, or
// whose points were unreadable or of bad quality, says so. A period whose
// last sample was missed (the recorder was held up) is written with the
// first sample after it.
//
// Back-fill (--backfill-days N): instead of recording, the process writes
// N days of plausible history before now for every period (at most its
// MaxEntries), shaped after each point's present value and units, and
// exits; the demo runs it once so that there is something to look at.
// Snapshots of a time the log already holds are replaced. --backfill-end T
// puts the end at T instead of now, so that the same store gives the same
// history whenever it is run (the operation reference's examples).
//
// A trend log removed or replaced while the recorder runs is noticed at
// the next sample: the recorder opens the file now at the path (making it
// when it is missing) and declares its periods and devices there again.

#ifndef CARD_TRENDS_TREND_RECORDER_H_
#define CARD_TRENDS_TREND_RECORDER_H_

#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "card/trends/interval_stats.h"
#include "card/trends/trend_config.h"
#include "platform/trend.h"

namespace wsgated {

// Where the trend log is without --trend-log and WSGATED_TREND_LOG (the
// card's location, deploy/paths.env).
extern const char* const kDefaultTrendLog;

class TrendRecorder : public Companion {
 public:
  // `devicesRoot` and `trendsRoot` are where the configuration is read
  // (trend_config.h): "/Devices" and "/Software/Trends" on a card.
  explicit TrendRecorder(const std::string& devicesRoot = "/Devices",
                         const std::string& trendsRoot = "/Software/Trends");

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override;
  bool oneShot() const override { return backfillDays_ > 0; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

  // One sampling round at `slotMs` (UNIX milliseconds, a multiple of the
  // sampling interval); step() calls it with the slot nearest to now.
  void sampleAt(toolkit::CCds& store, long long slotMs);

  // Back-fill up to `nowMs` (start() calls it in back-fill mode).
  bool backfill(toolkit::CCds& store, long long nowMs);

  const TrendConfig& config() const { return config_; }

 private:
  // A device's period as it is being sampled.
  struct Interval {
    long long endMs = 0;  // 0: no sample yet
    std::vector<IntervalStats> stats;
  };
  struct Device {
    toolkit::trend::CDeviceProperties record;
    std::vector<Interval> intervals;  // one per period of the config
  };

  // Opens the log and declares the periods and devices; false (logged)
  // when the log cannot be written.
  bool declare();
  // One option's value; false when it is no good.
  bool apply(const std::string& option, const std::string& value);
  // Adds one round's `values` of `device` to its periods; the snapshots
  // of the periods that ended.
  std::vector<toolkit::trend::CSnapshot> addSamples(
      const TrendedDevice& device, long long slotMs,
      const std::vector<double>& values, Device* state);
  toolkit::trend::CSnapshot closeInterval(const TrendedDevice& device,
                                          unsigned period, Interval* interval);
  void write(const TrendedDevice& device, const Device& state,
             std::vector<toolkit::trend::CSnapshot> snapshots);

  std::string devicesRoot_;
  std::string trendsRoot_;
  std::string trendLog_;
  long long sampleMs_;
  int backfillDays_ = 0;
  long long backfillEndMs_ = 0;  // 0: now
  TrendConfig config_;
  toolkit::trend::CWriter writer_;
  std::vector<Device> devices_;
  long long lastSlotMs_ = 0;
};

}  // namespace wsgated

#endif  // CARD_TRENDS_TREND_RECORDER_H_
