// wavectl's demo records read back with the platform's COMTRADE reader:
// the physics they claim (a fault's sag and surge, a breaker's interrupted
// currents) and charts of them.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "platform/comtrade/wave_data.h"
#include "tests/platform/temp_dir.h"
#include "tools/waveforms/demo_records.h"
#include "tools/waveforms/record_chart.h"

namespace wsgated {
namespace {

class WaveRecordsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string error;
    ASSERT_TRUE(writeDemoRecords(dir_.path(), error)) << error;
  }

  // The record's samples in engineering units, by channel name.
  toolkit::CWaveSampleData Read(const std::string& name) {
    toolkit::CWaveSampleData samples;
    comtrade_handle_t* handle = comtrade_alloc_handle();
    EXPECT_EQ(COMTRADE_OK,
              comtrade_read_all_files(handle, (dir_ / name).c_str()))
        << comtrade_last_error(handle);
    EXPECT_EQ(0, samples.fillData(handle, true));
    comtrade_close(handle);
    return samples;
  }

  // The largest magnitude of `channel` over samples [from, to).
  static double Peak(const toolkit::CWaveSampleData& samples,
                     const std::string& channel, size_t from, size_t to) {
    const std::vector<float>* values = samples.find(channel);
    EXPECT_NE(nullptr, values);
    double peak = 0.0;
    for (size_t i = from; values != nullptr && i < to; ++i)
      peak = std::max(peak, std::fabs(double((*values)[i])));
    return peak;
  }

  testing_files::TempDir dir_;
};

TEST_F(WaveRecordsTest, TheMeterSeesASagAndASurgeOnPhaseAOnly) {
  const toolkit::CWaveSampleData s = Read("meter1-fault-2026-11-18");
  // Samples: 0-319 before the fault, 320-639 during it (64 a cycle).
  struct Case {
    const char* channel;
    double before, during;  // expected peaks, within 5 %
  } cases[] = {{"VA", 325.3, 0.38 * 325.3}, {"VB", 325.3, 1.06 * 325.3},
               {"IA", 17.0, 4000.0}, {"IB", 17.0, 17.0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.channel);
    EXPECT_NEAR(c.before, Peak(s, c.channel, 0, 320), 0.05 * c.before);
    if (c.during < 1000.0)
      EXPECT_NEAR(c.during, Peak(s, c.channel, 330, 630), 0.05 * c.during);
    else
      EXPECT_GT(Peak(s, c.channel, 330, 630), c.during);
  }
  // Cleared: the load current again, and a neutral that sums to nothing.
  EXPECT_NEAR(17.0, Peak(s, "IA", 800, 1600), 1.0);
  EXPECT_LT(Peak(s, "IN", 0, 320), 1.0);
}

TEST_F(WaveRecordsTest, TheBreakerInterruptsEveryPhase) {
  const toolkit::CWaveSampleData s = Read("breaker1-trip-2026-11-19");
  // 80 samples a cycle: the fault at 240, the contacts part at 380; every
  // phase has crossed zero one half cycle later.
  for (const char* phase : {"IA", "IB", "IC"}) {
    SCOPED_TRACE(phase);
    EXPECT_GT(Peak(s, phase, 0, 240), 550.0);
    EXPECT_LT(Peak(s, phase, 430, 1600), 3.0);
  }
  EXPECT_GT(Peak(s, "IB", 240, 380), 8000.0);
  EXPECT_NEAR(325.3, Peak(s, "VB", 1000, 1600), 5.0);
}

TEST_F(WaveRecordsTest, ChartsDrawTheChosenChannels) {
  const std::string record = dir_ / "meter1-fault-2026-11-18";
  std::string svg, error;
  ASSERT_TRUE(chartRecord(record, {"IA", "IN"}, ChartLayout(), svg, error));
  EXPECT_NE(std::string::npos, svg.find(">IA<"));
  EXPECT_NE(std::string::npos, svg.find(">IN<"));
  EXPECT_EQ(std::string::npos, svg.find(">VA<"));
  EXPECT_NE(std::string::npos, svg.find("Plant Meter1: Phase A to ground"));
  EXPECT_FALSE(chartRecord(record, {"ia"}, ChartLayout(), svg, error));
  EXPECT_EQ("no analog channel ia", error);
  EXPECT_FALSE(chartRecord(dir_ / "absent", {}, ChartLayout(), svg, error));
}

}  // namespace
}  // namespace wsgated
