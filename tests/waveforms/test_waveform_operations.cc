// The waveform operations over the demo's records (written by wavectl's
// writer into the test's folder) and copies broken on purpose: what each
// answers, which trigger index each takes, and every failure with its
// wording and log line.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/common/service_fixture.h"
#include "tools/waveforms/demo_records.h"
#include "waveforms/waveform_record.h"

namespace wsgated {

namespace {

namespace fs = std::filesystem;

const char kFault[] = "meter1-fault-2026-11-18";
const int64_t kFaultStart = 1795010591250000;  // device time, microseconds

class WaveformOperationsTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    ctx_->waveFolder = dir_ + "/waves";
    fs::create_directory(ctx_->waveFolder);
    std::string error;
    ASSERT_TRUE(writeDemoRecords(ctx_->waveFolder, error)) << error;
  }

  // A copy of the fault record as `name`, without the parts in `drop`.
  void Copy(const std::string& name, std::initializer_list<const char*> drop) {
    for (const char* ext : {".cfg", ".dat", ".hdr"})
      fs::copy_file(Wave(kFault + std::string(ext)), Wave(name + ext));
    for (const char* ext : drop) fs::remove(Wave(name + ext));
  }

  std::string Wave(const std::string& name) const {
    return ctx_->waveFolder + "/" + name;
  }

  ServiceOptions options_ = Options("");
};

TEST_F(WaveformOperationsTest, DescribesARecordFromHeaderAndConfiguration) {
  const std::string url = std::string("http://card/wsgated/waveforms/") + kFault;
  WaveformConfig config;
  std::string result;
  describeWaveform(ctx_.get(), options_, &url, config, result);
  EXPECT_EQ("OK", result);
  EXPECT_EQ("Plant", config.stationId);
  EXPECT_EQ("Meter1", config.deviceId);
  EXPECT_EQ("Phase A to ground fault on the Meter1 feeder, cleared in 5 cycles",
            config.eventDescr);
  EXPECT_EQ("IA", config.triggerChannel);
  EXPECT_EQ(3200.0, config.samplingRate);
  EXPECT_EQ(kReportedNumberSamples, config.numberSamples);  // not 1600
  EXPECT_EQ(kFaultStart, config.startTime);
  EXPECT_EQ(kFaultStart + 100000, config.triggerTime);
  EXPECT_EQ(320, config.triggerIndex);
  EXPECT_EQ((std::vector<std::string>{"VA", "VB", "VC", "IA", "IB", "IC", "IN"}),
            config.analogChannelNames);
  EXPECT_EQ((std::vector<std::string>{"VA sag", "IA overcurrent"}),
            config.digitalChannelNames);
  EXPECT_TRUE(LogHas("COMTRADE waveform fetched from " + url));
}

TEST_F(WaveformOperationsTest, EachOperationTakesItsOwnTriggerIndex) {
  Copy("moved", {});
  std::ofstream(Wave("moved.hdr")) << "Event: moved\nTrigger index: 7\n";
  const std::string url = "moved";
  WaveformConfig config;
  WaveformSamples samples;
  std::string configResult, dataResult;
  const std::string channel = "IA";
  describeWaveform(ctx_.get(), options_, &url, config, configResult);
  readWaveformSamples(ctx_.get(), options_, &url, &channel, samples, dataResult);
  EXPECT_EQ("OK", configResult);
  EXPECT_EQ(7, config.triggerIndex);  // the header's
  EXPECT_EQ("OK", dataResult);
  EXPECT_EQ(320, samples.triggerIndex);  // the configuration's
  EXPECT_EQ(1600u, samples.data.size());
  EXPECT_EQ(kFaultStart, samples.startTime);
  EXPECT_EQ(3200.0, samples.samplingRate);
  // During the fault the current reaches kiloamperes; before it, the load.
  EXPECT_LT(std::fabs(samples.data[10]), 20.0);
  EXPECT_GT(*std::max_element(samples.data.begin(), samples.data.end()), 2000.0);
}

TEST_F(WaveformOperationsTest, FailuresAnswerTheirErrorAndLogLine) {
  Copy("no-header", {".hdr"});
  Copy("header-only", {".cfg", ".dat"});
  Copy("no-data", {".dat"});
  Copy("truncated", {});
  fs::resize_file(Wave("truncated.dat"), fs::file_size(Wave("truncated.dat")) - 1);
  const std::string folder = fs::canonical(ctx_->waveFolder).string() + "/";
  struct Case {
    const char* url;     // null: absent
    const char* channel;
    const char* configResult;  // getWaveformConfig
    const char* dataResult;    // getWaveformData
    std::string logLine;
  } cases[] = {
      {"../x", "IA",
       "? 33 Argument Invalid/Not Supported : Cannot parse URL",
       "? 33 Argument Invalid/Not Supported : Cannot parse URL",
       "Cannot parse URL ../x"},
      {nullptr, "IA", "? 33 Argument Invalid/Not Supported : Cannot parse URL",
       "? 33 Argument Invalid/Not Supported : Cannot parse URL",
       "Cannot parse URL \n"},
      {"absent", "IA", "? 22 No Data Available : Failed to parse COMTRADE data",
       "? 22 No Data Available : Failed to parse COMTRADE data",
       "Failed to parse COMTRADE data at " + folder + "absent"},
      {"truncated", "IA",
       "? 22 No Data Available : Failed to parse COMTRADE data",
       "? 22 No Data Available : Failed to parse COMTRADE data",
       "Failed to parse COMTRADE data at " + folder + "truncated"},
      {"no-header", "IA",
       "? 22 No Data Available : Failed to parse COMTRADE header", "OK",
       "Failed to parse COMTRADE header at " + folder + "no-header"},
      {"header-only", "IA",
       "? 22 No Data Available : Failed to parse COMTRADE configuration",
       "? 22 No Data Available : Failed to parse COMTRADE config",
       "Failed to parse COMTRADE configuration at " + folder + "header-only"},
      {"no-data", "IA", "OK",
       "? 22 No Data Available : Failed to parse COMTRADE data",
       "Failed to get COMTRADE sample data at " + folder + "no-data"},
      {kFault, "ia", "OK",
       "? 33 Argument Invalid/Not Supported : No such Analog Channel",
       "No such Analog Channel as ia"},
      {kFault, "VA sag", "OK",
       "? 33 Argument Invalid/Not Supported : No such Analog Channel",
       "No such Analog Channel as VA sag"},
      {kFault, nullptr, "OK",
       "? 33 Argument Invalid/Not Supported : No such Analog Channel",
       "No such Analog Channel as \n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.url != nullptr ? c.url : "(no url)");
    const std::string url = c.url != nullptr ? c.url : "";
    const std::string channel = c.channel != nullptr ? c.channel : "";
    WaveformConfig config;
    WaveformSamples samples;
    std::string configResult, dataResult;
    describeWaveform(ctx_.get(), options_, c.url ? &url : nullptr, config,
                     configResult);
    readWaveformSamples(ctx_.get(), options_, c.url ? &url : nullptr,
                        c.channel ? &channel : nullptr, samples, dataResult);
    EXPECT_EQ(c.configResult, configResult);
    EXPECT_EQ(c.dataResult, dataResult);
    EXPECT_EQ(dataResult == "OK", !samples.data.empty());
    EXPECT_TRUE(LogHas(c.logLine)) << Log();
  }
}

TEST_F(WaveformOperationsTest, AFailedConfigurationKeepsTheHeaderFields) {
  Copy("header-only", {".cfg", ".dat"});
  const std::string url = "header-only";
  WaveformConfig config;
  std::string result;
  describeWaveform(ctx_.get(), options_, &url, config, result);
  EXPECT_EQ("? 22 No Data Available : Failed to parse COMTRADE configuration",
            result);
  EXPECT_EQ("IA", config.triggerChannel);
  EXPECT_EQ(320, config.triggerIndex);
  EXPECT_TRUE(LogHas("Failed to parse COMTRADE config at "));
  EXPECT_EQ(0, config.numberSamples);
  EXPECT_TRUE(config.analogChannelNames.empty());
}

}  // namespace

}  // namespace wsgated
