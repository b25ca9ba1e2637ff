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

  // The largest magnitude of the record's `channel` over samples [from, to).
  double Peak(const std::string& record, const std::string& channel,
              size_t from, size_t to) {
    toolkit::CWaveSampleData samples;
    comtrade_handle_t* handle = comtrade_alloc_handle();
    EXPECT_EQ(COMTRADE_OK,
              comtrade_read_all_files(handle, (dir_ / record).c_str()));
    EXPECT_EQ(0, samples.fillData(handle, true));
    comtrade_close(handle);
    const std::vector<float>* values = samples.find(channel);
    double peak = 0.0;
    for (size_t i = from; values != nullptr && i < to; ++i)
      peak = std::max(peak, std::fabs(double((*values)[i])));
    return peak;
  }

  testing_files::TempDir dir_;
};

TEST_F(WaveRecordsTest, TheRecordsShowWhatTheirHeadersSay) {
  const char kFault[] = "meter1-fault-2026-11-18";  // 64 samples a cycle
  const char kTrip[] = "breaker1-trip-2026-11-19";  // 80 samples a cycle
  struct Case {
    const char* record;
    const char* channel;
    size_t from, to;   // samples
    double low, high;  // the peak's bounds
  } cases[] = {
      {kFault, "VA", 0, 320, 320, 330},      // 230 V before the fault,
      {kFault, "VA", 330, 630, 118, 128},    // 38 % during it
      {kFault, "VB", 330, 630, 339, 350},    // a sound phase swells
      {kFault, "IA", 0, 320, 16, 18},        // the 12 A load,
      {kFault, "IA", 330, 630, 4000, 6000},  // kA with DC offset,
      {kFault, "IA", 800, 1600, 16, 18},     // the load again once cleared
      {kFault, "IB", 330, 630, 16, 18},      // a sound phase's current
      {kFault, "IN", 0, 320, 0, 1},          // balanced before the fault
      {kTrip, "IB", 240, 380, 8000, 20000},  // the fault until contacts part
      {kTrip, "IA", 0, 240, 550, 650},       // the load before,
      {kTrip, "IA", 430, 1600, 0, 3},        // nothing half a cycle
      {kTrip, "IB", 430, 1600, 0, 3},        // after the contacts
      {kTrip, "IC", 430, 1600, 0, 3},        // parted
      {kTrip, "VB", 1000, 1600, 320, 330},   // the bus voltage stays
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.record) + " " + c.channel);
    const double peak = Peak(c.record, c.channel, c.from, c.to);
    EXPECT_GE(peak, c.low);
    EXPECT_LE(peak, c.high);
  }
}

TEST_F(WaveRecordsTest, ChartsDrawTheChosenChannels) {
  const std::string record = dir_ / "meter1-fault-2026-11-18";
  std::string svg, error;
  ASSERT_TRUE(chartRecord(record, {"IA", "IN"}, ChartLayout(), svg, error));
  EXPECT_NE(std::string::npos, svg.find(">IN<"));
  EXPECT_EQ(std::string::npos, svg.find(">VA<"));
  EXPECT_NE(std::string::npos, svg.find("Plant Meter1: Phase A to ground"));
  EXPECT_FALSE(chartRecord(record, {"ia"}, ChartLayout(), svg, error));
  EXPECT_EQ("no analog channel ia", error);
}

}  // namespace
}  // namespace wsgated
