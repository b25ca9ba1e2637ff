// The trend recorder against a real store and trend log, on sampling
// instants the tests choose: what the store marks as trended, how samples
// make snapshots at period ends (partial and missed periods, bad quality,
// power factors), back-fill, and its options.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <string>
#include <vector>

#include "card/trends/backfill.h"
#include "card/trends/interval_stats.h"
#include "card/trends/trend_recorder.h"
#include "platform/seed.h"
#include "tests/platform/temp_store.h"

namespace wsgated {
namespace {

using toolkit::trend::CDeviceData;
using toolkit::trend::CSnapshot;

// Periods of 2 and 4 s; the meter's V and PF are trended, its bad-quality
// D and its nested Sub/T too; the breaker's Pos is not; Odd is no device.
const char kSeed[] =
    "[/Software/Trends/Periods/Short]\nValueType = Unsigned\nValue = 2\n"
    "MaxEntries:Unsigned = 100\n"
    "[/Software/Trends/Periods/Long]\nValueType = Unsigned\nValue = 4\n"
    "MaxEntries:Unsigned = 2\n"
    "[/Software/Trends/Periods/Broken]\nValueType = Unsigned\nValue = 0\n"
    "MaxEntries:Unsigned = 5\n"
    "[/Devices/Meter]\nNodeType = Device\nDisplayName = The meter\n"
    "[/Devices/Meter/V]\nNodeType = Point\nValueType = Real\nValue = 230\n"
    "Units = V\n.TrendEnable = true\n"
    "[/Devices/Meter/PF]\nNodeType = Point\nValueType = Real\nValue = 0.9\n"
    "Units = no-units\n.TrendEnable = true\n.TrendSampleType = PF\n"
    ".TrendTraits = min;max;stddev\n"
    "[/Devices/Meter/D]\nNodeType = Point\nValueType = Real\nValue = 5\n"
    ".Quality:Integer = 0\n.TrendEnable = true\n"
    "[/Devices/Meter/Sub/T]\nNodeType = Point\nValueType = Integer\n"
    "Value = 7\n.TrendEnable = true\n"
    "[/Devices/Breaker]\nNodeType = Device\n"
    "[/Devices/Breaker/Pos]\nNodeType = Point\nValueType = Integer\n"
    "Value = 1\n.TrendEnable = false\n"
    "[/Devices/Odd]\nNodeType = Collection\n"
    "[/Devices/Odd/X]\nNodeType = Point\nValueType = Real\nValue = 1\n"
    ".TrendEnable = true\n";

class TrendRecorderTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(*cds_, kSeed, error)) << error;
  }

  // A recorder sampling every second into the test's log, started.
  void Start(TrendRecorder* recorder, std::vector<std::string> more = {}) {
    std::vector<std::string> args = {"--trend-log", log_,
                                     "--sample-seconds", "1"};
    args.insert(args.end(), more.begin(), more.end());
    std::string error;
    ASSERT_TRUE(recorder->configure(args, &error)) << error;
    ASSERT_TRUE(recorder->start(*cds_));
  }

  // The meter's snapshots of `period`, oldest first.
  std::vector<CSnapshot> Snapshots(unsigned period) {
    toolkit::trend::CLog log;
    EXPECT_EQ(0, log.open(log_, true, false, 40, false, 0, 0, 0, false));
    std::vector<toolkit::trend::CDeviceProperties> devices;
    EXPECT_EQ(0, log.get_devices(devices));
    toolkit::trend::CDeviceParams params{devices.at(0), {}};
    EXPECT_EQ(0, log.get_params(params.device, params.params));
    CDeviceData data;
    EXPECT_EQ(0, log.get_trend_data(data, params, {{period, 0}}, {-1, -1}, 0,
                                    0, true, false));
    return data.snapshots;
  }

  testing_files::TempDir dir_;
  std::string log_ = dir_ / "trends.db";
};

TEST_F(TrendRecorderTest, TheStoreSaysWhatIsTrended) {
  TrendRecorder recorder;
  Start(&recorder);
  const TrendConfig& config = recorder.config();
  ASSERT_EQ(2u, config.periods.size());
  EXPECT_EQ(2u, config.periods[0].period);
  EXPECT_EQ(2u, config.periods[1].max_entries);
  ASSERT_EQ(1u, config.devices.size());
  const TrendedDevice& meter = config.devices[0];
  EXPECT_EQ("The meter", meter.name);
  std::vector<std::string> paths;
  for (const TrendedPoint& point : meter.points) {
    paths.push_back(point.param.path);
  }
  EXPECT_EQ((std::vector<std::string>{"/Devices/Meter/V", "/Devices/Meter/PF",
                                       "/Devices/Meter/D",
                                       "/Devices/Meter/Sub/T"}),
            paths);
  const auto& pf = meter.points[1].param;
  EXPECT_EQ(toolkit::trend::TREND_SAMPLE_PF, pf.type);
  EXPECT_TRUE(pf.has_min && pf.has_max && pf.has_stddev);
  EXPECT_FALSE(pf.has_avg || pf.has_actual);
  EXPECT_TRUE(meter.points[0].param.has_actual);
  EXPECT_EQ("V", meter.points[0].units);
}

TEST_F(TrendRecorderTest, SamplesBecomeSnapshotsAtEachPeriodsEnd) {
  TrendRecorder recorder;
  Start(&recorder);
  // Seconds 3 to 8, without 6; V changes before second 5.
  for (long long second : {3, 4, 5, 7, 8}) {
    if (second == 5) Set("/Devices/Meter/V", toolkit::CElement(240.0));
    recorder.sampleAt(*cds_, second * 1000);
    recorder.sampleAt(*cds_, second * 1000);  // a step that came early
  }
  const std::vector<CSnapshot> shorts = Snapshots(2);
  // Three of four points valid: (2,4] has both its samples; (4,6] missed
  // its last one and was written with the sample at 7; (6,8] is whole.
  struct Want {
    long time;
    double percent;
    double value;
  } want[] = {{4, 75, 230}, {6, 37.5, 240}, {8, 75, 240}};
  ASSERT_EQ(3u, shorts.size());
  for (size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(want[i].time);
    EXPECT_EQ(want[i].time, shorts[i].time);
    EXPECT_DOUBLE_EQ(want[i].percent, shorts[i].percent_valid);
    const toolkit::trend::CSample& v = shorts[i].samples[0];
    EXPECT_EQ(want[i].value, v.min);
    EXPECT_EQ(want[i].value, v.actual);
    EXPECT_TRUE(std::isnan(v.stddev));
    EXPECT_TRUE(std::isnan(shorts[i].samples[2].avg));  // bad quality
  }
  const std::vector<CSnapshot> longs = Snapshots(4);
  ASSERT_EQ(2u, longs.size());
  EXPECT_EQ(4, longs[0].time);
  EXPECT_DOUBLE_EQ(6.0 / 16 * 100, longs[0].percent_valid);
  EXPECT_EQ(8, longs[1].time);
  const toolkit::trend::CSample& v = longs[1].samples[0];
  EXPECT_EQ(240, v.min);
  EXPECT_EQ(240, v.max);
  EXPECT_TRUE(std::isnan(longs[1].samples[1].avg));  // PF keeps no average
  EXPECT_EQ(0.9, longs[1].samples[1].min);
  EXPECT_EQ(7, longs[1].samples[3].actual);
  // A log removed under the recorder is made again at the next sample.
  ASSERT_EQ(0, unlink(log_.c_str()));
  recorder.sampleAt(*cds_, 9000);
  recorder.sampleAt(*cds_, 10000);
  ASSERT_EQ(1u, Snapshots(2).size());
  EXPECT_EQ(10, Snapshots(2)[0].time);
}

TEST(IntervalStats, PowerFactorsRankByDistanceFromUnity) {
  toolkit::trend::CParamProperties all;
  all.has_min = all.has_max = all.has_avg = all.has_actual = all.has_stddev =
      true;
  struct Case {
    toolkit::trend::sample_type_t type;
    double min, max, avg;
  } cases[] = {{toolkit::trend::TREND_SAMPLE_NORMAL, -0.8, 0.95, 0.35},
               {toolkit::trend::TREND_SAMPLE_PF, -0.8, 0.95, 2.65 / 3}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.type);
    IntervalStats stats;
    for (double value : {0.9, -0.8, 0.95}) stats.add(value, c.type);
    const toolkit::trend::CSample sample = stats.sample(all);
    EXPECT_EQ(c.min, sample.min);
    EXPECT_EQ(c.max, sample.max);
    EXPECT_DOUBLE_EQ(c.avg, sample.avg);
    EXPECT_EQ(0.95, sample.actual);
  }
  IntervalStats same;
  for (int i = 0; i < 3; ++i) same.add(0.1, toolkit::trend::TREND_SAMPLE_NORMAL);
  EXPECT_EQ(0, same.sample(all).stddev);
  EXPECT_TRUE(std::isnan(IntervalStats().sample(all).min));
}

TEST_F(TrendRecorderTest, BackfillWritesPlausibleHistoryUpToMaxEntries) {
  TrendRecorder filling;
  Start(&filling, {"--backfill-days", "1"});  // each period's MaxEntries
  EXPECT_EQ(100u, Snapshots(2).size());
  EXPECT_EQ(2u, Snapshots(4).size());
  const std::vector<CSnapshot> longs = Snapshots(4);
  for (const CSnapshot& snapshot : longs) {
    EXPECT_DOUBLE_EQ(75, snapshot.percent_valid);  // D is never valid
    const toolkit::trend::CSample& v = snapshot.samples[0];
    EXPECT_NEAR(230, v.avg, 230 * 0.03);
    EXPECT_LE(v.min, v.avg);
    EXPECT_LE(v.avg, v.max);
    EXPECT_LE(std::fabs(snapshot.samples[1].max), 1);
    EXPECT_TRUE(std::isnan(snapshot.samples[2].min));
  }
  // The same instant gives the same history.
  const long long now = 1700000003500;
  const TrendedPoint& point = filling.config().devices[0].points[0];
  EXPECT_EQ(plausibleValue(point, 230, now - 5000, now),
            plausibleValue(point, 230, now - 5000, now));
  EXPECT_NE(plausibleValue(point, 230, now - 5000, now),
            plausibleValue(point, 230, now - 6000, now));
}

TEST(TrendRecorderOptions, RefusesWhatItCannotUse) {
  struct Case {
    std::vector<std::string> args;
    std::string error;  // "" for accepted
  } cases[] = {
      {{"--trend-log", "/t.db", "--sample-seconds=0.5"}, ""},
      {{"--backfill-days", "7"}, ""},
      {{"--backfill-days", "0"}, "bad value '0' of --backfill-days"},
      {{"--backfill-days", "367"}, "bad value '367'"},
      {{"--backfill-end", "1795132800"}, ""},
      {{"--backfill-end", "0"}, "bad value '0' of --backfill-end"},
      {{"--sample-seconds", "0"}, "bad value '0' of --sample-seconds"},
      {{"--sample-seconds"}, "--sample-seconds needs a value"},
      {{"--trend-log="}, "--trend-log needs a value"},
      {{"--frobnicate"}, "unknown option '--frobnicate'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args[0]);
    TrendRecorder recorder;
    std::string error;
    EXPECT_EQ(c.error.empty(), recorder.configure(c.args, &error));
    EXPECT_NE(std::string::npos, error.find(c.error)) << error;
  }
  TrendRecorder recorder;
  std::string error;
  ASSERT_TRUE(recorder.configure({"--backfill-days", "2"}, &error));
  EXPECT_TRUE(recorder.oneShot());
}

}  // namespace
}  // namespace wsgated
