// The waveform operations over the demo's records (written by wavectl's
// writer into the test's folder) and copies broken on purpose: what each
// answers, which trigger index each takes, and every failure with its
// wording and log line.

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
  const std::string url =
      std::string("http://card/wsgated/waveforms/") + kFault;
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
  EXPECT_EQ(
      (std::vector<std::string>{"VA", "VB", "VC", "IA", "IB", "IC", "IN"}),
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
  readWaveformSamples(ctx_.get(), options_, &url, &channel, samples,
                      dataResult);
  EXPECT_EQ("OK", configResult);
  EXPECT_EQ(7, config.triggerIndex);  // the header's
  EXPECT_EQ("OK", dataResult);
  EXPECT_EQ(320, samples.triggerIndex);  // the configuration's
  EXPECT_EQ(1600u, samples.data.size());
  EXPECT_EQ(kFaultStart, samples.startTime);
  EXPECT_EQ(3200.0, samples.samplingRate);
}

TEST_F(WaveformOperationsTest, FailuresAnswerTheirErrorAndLogLine) {
  Copy("no-header", {".hdr"});
  Copy("header-only", {".cfg", ".dat"});
  Copy("no-data", {".dat"});
  Copy("truncated", {});
  fs::resize_file(Wave("truncated.dat"),
                  fs::file_size(Wave("truncated.dat")) - 1);
  const std::string at = " at " + fs::canonical(ctx_->waveFolder).string();
  const char kUrl[] = "? 33 Argument Invalid/Not Supported : Cannot parse URL";
  const char kChannel[] =
      "? 33 Argument Invalid/Not Supported : No such Analog Channel";
  const std::string kNoData = "? 22 No Data Available : Failed to parse ";
  struct Case {
    const char* url;  // null: absent
    const char* channel;
    std::string configResult, dataResult;  // of each operation
    std::string configLog, dataLog;        // lines each writes
    const char* triggerChannel;  // getWaveformConfig keeps the header's
  } cases[] = {
      {"../x", "IA", kUrl, kUrl, "Cannot parse URL ../x\n", "", ""},
      {nullptr, "IA", kUrl, kUrl, "Cannot parse URL \n", "", ""},
      {"absent", "IA", kNoData + "COMTRADE data", kNoData + "COMTRADE data",
       "Failed to parse COMTRADE data" + at + "/absent", "", ""},
      {"truncated", "IA", kNoData + "COMTRADE data", kNoData + "COMTRADE data",
       "Failed to parse COMTRADE data" + at + "/truncated", "", ""},
      {"no-header", "IA", kNoData + "COMTRADE header", "OK",
       "Failed to parse COMTRADE header" + at + "/no-header", "", ""},
      {"header-only", "IA", kNoData + "COMTRADE configuration",
       kNoData + "COMTRADE config",
       "Failed to parse COMTRADE config" + at + "/header-only",
       "Failed to parse COMTRADE configuration" + at + "/header-only", "IA"},
      {"no-data", "IA", "OK", kNoData + "COMTRADE data", "",
       "Failed to get COMTRADE sample data" + at + "/no-data", "IA"},
      {kFault, "ia", "OK", kChannel, "", "No such Analog Channel as ia\n",
       "IA"},
      {kFault, "VA sag", "OK", kChannel, "",
       "No such Analog Channel as VA sag\n", "IA"},
      {kFault, nullptr, "OK", kChannel, "", "No such Analog Channel as \n",
       "IA"},
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
    EXPECT_EQ(c.triggerChannel, config.triggerChannel);
    EXPECT_EQ(configResult == "OK" ? 7u : 0u, config.analogChannelNames.size());
    EXPECT_EQ(dataResult == "OK", !samples.data.empty());
    EXPECT_TRUE(LogHas(c.configLog)) << Log();
    EXPECT_TRUE(LogHas(c.dataLog)) << Log();
  }
}

}  // namespace

}  // namespace wsgated
