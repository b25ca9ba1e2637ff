// The public sample records of data/shared (written by others, from the
// 2013 standard's examples): every one is read with the right names,
// counts, rates, times and values.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/record.h"
#include "platform/comtrade/wave_data.h"
#include "tests/comtrade/files.h"

namespace {

using comtrade_test::ReadFile;
using toolkit::CWaveConfigData;
using toolkit::CWaveSampleData;

const std::string kShared = std::string(COMTRADE_TEST_DATA) + "/shared/";

struct Reader {
  explicit Reader(const std::string& path) : handle(comtrade_alloc_handle()) {
    rc = comtrade_read_all_files(handle, path.c_str());
    if (rc == COMTRADE_OK) {
      config_rc = config.fillData(handle);
      samples_rc = samples.fillData(handle, true);
    }
  }
  ~Reader() { comtrade_close(handle); }
  comtrade_handle_t* handle;
  int rc, config_rc = -1, samples_rc = -1;
  CWaveConfigData config;
  CWaveSampleData samples;
};

// The ASCII record, whether read from .cfg/.dat or from the .cff.
void ExpectAsciiRecord(const Reader& r,
                       const std::string& station = "SMARTSTATION",
                       const std::string& device = "IED123") {
  ASSERT_EQ(COMTRADE_OK, r.rc) << comtrade_last_error(r.handle);
  ASSERT_EQ(COMTRADE_OK, r.config_rc);
  ASSERT_EQ(COMTRADE_OK, r.samples_rc);
  EXPECT_EQ(station, r.config.stationName);
  EXPECT_EQ(device, r.config.deviceId);
  EXPECT_EQ(2013, r.config.revisionYear);
  ASSERT_EQ(4u, r.config.analogChannels.size());
  const char* analog[] = {"IA", "IB", "IC", "3I0"};  // "IA " etc. trimmed
  const char* digital[] = {"51A", "51B", "51C", "51N"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(analog[i], r.config.analogChannels[i].name);
    EXPECT_EQ(digital[i], r.config.digitalChannels[i].name);
  }
  EXPECT_EQ(40, r.config.numberOfSamples);
  EXPECT_DOUBLE_EQ(1200.0, r.config.samplingRate);
  // 12/01/2011 (dd/mm) 05:55:30.075011 at time code -5h30 is 11:25:30 UTC
  // on 12 January 2011: 14986 days after 1970-01-01, plus 41130 s.
  EXPECT_EQ(1294831530, r.config.startTime.tv_sec);
  EXPECT_EQ(75011, r.config.startTime.tv_usec);
  EXPECT_EQ(1294831530, r.config.triggerTime.tv_sec);
  EXPECT_EQ(78261, r.config.triggerTime.tv_usec);
  // 3.25 ms after the start at 1200 Hz is sample 3.9: nearest is 4.
  EXPECT_EQ(4, r.config.triggerIndex);
  // a = 1866/16384, b = 933/16384: IA of sample 1 is -83 raw, so
  // (-83 * 1866 + 933) / 16384 = -153945/16384; 3I0 of sample 40 is -110
  // raw: -204327/16384. Both are exact in a float.
  const std::vector<float>* ia = r.samples.find("IA");
  const std::vector<float>* i0 = r.samples.find("3I0");
  ASSERT_TRUE(ia != nullptr && i0 != nullptr);
  ASSERT_EQ(40u, ia->size());
  EXPECT_EQ(-153945.0f / 16384, (*ia)[0]);
  EXPECT_EQ(-204327.0f / 16384, (*i0)[39]);
}

// From .cfg and .dat, or from the .cff, whose INF and HDR sections are
// empty: no such parts.
TEST(SharedSamples, AsciiRecordFromSeparateFilesOrOneCombinedFile) {
  for (const char* name : {"sample_ascii", "sample_ascii.cff"}) {
    SCOPED_TRACE(name);
    Reader r(kShared + name);
    ExpectAsciiRecord(r);
    EXPECT_FALSE(comtrade_has_header(r.handle));
    EXPECT_FALSE(comtrade_has_info(r.handle));
  }
}

TEST(SharedSamples, BinaryRecordOf1999) {
  Reader r(kShared + "sample_bin.cfg");
  ASSERT_EQ(COMTRADE_OK, r.rc) << comtrade_last_error(r.handle);
  EXPECT_EQ("station", r.config.stationName);
  EXPECT_EQ("equipment", r.config.deviceId);
  EXPECT_EQ(1999, r.config.revisionYear);
  ASSERT_EQ(4u, r.config.analogChannels.size());
  ASSERT_EQ(16u, r.config.digitalChannels.size());
  EXPECT_EQ("VN", r.config.analogChannels[3].name);
  EXPECT_EQ("ST_16", r.config.digitalChannels[15].name);
  EXPECT_EQ(5, r.config.numberOfSamples);
  EXPECT_DOUBLE_EQ(15360.0, r.config.samplingRate);
  // 07/01/2017 is 7 January 2017 (17173 days) 15:35:41 UTC (no time code).
  EXPECT_EQ(1483803341, r.config.startTime.tv_sec);
  EXPECT_EQ(958268, r.config.startTime.tv_usec);
  EXPECT_EQ(958333, r.config.triggerTime.tv_usec);
  EXPECT_EQ(1, r.config.triggerIndex);  // 65 us at 15360 Hz: 0.998
  // Sample 1, VA: bytes 6D 9E = 0x9E6D = -24979; a = 0.000361849.
  // Sample 5, VN: bytes 40 2B = 0x2B40 = 11072; a = 0.000016493.
  EXPECT_NEAR(-24979 * 0.000361849, (*r.samples.find("VA"))[0], 1e-6);
  EXPECT_NEAR(11072 * 0.000016493, (*r.samples.find("VN"))[4], 1e-7);
  // Sample 5, VA: bytes FA A6 = -22790.
  EXPECT_NEAR(-22790 * 0.000361849, (*r.samples.find("VA"))[4], 1e-6);
}

TEST(SharedSamples, Utf8StationNameStaysUtf8) {
  Reader r(kShared + "sample_ascii_utf-8.cfg");  // no .dat of that name
  ASSERT_EQ(COMTRADE_OK, r.rc);
  EXPECT_FALSE(comtrade_has_data(r.handle));
  EXPECT_EQ("SMARTSTATION testing text encoding: "
            "hgvcj\xED\x84\xB0\xED\x8C\x8C\xED\x81\xAC" "387",
            r.config.stationName);
  // Paired with sample_ascii.dat, as the samples' README says.
  toolkit::comtrade::Samples samples;
  EXPECT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(
                             comtrade_record(r.handle)->config,
                             ReadFile(kShared + "sample_ascii.dat"), &samples,
                             nullptr));
  EXPECT_EQ(40, samples.count);
}

TEST(SharedSamples, Latin1NamesBecomeUtf8) {
  Reader r(kShared + "sample_iso8859-1");
  ExpectAsciiRecord(r, "Esta\xC3\xA7\xC3\xA3o de Medi\xC3\xA7\xC3\xA3o",
                    "Oscil\xC3\xB3grafo");
}

TEST(SharedSamples, CopyMatchesTheCheckoutsSharedFolder) {
  const std::string upstream = COMTRADE_UPSTREAM_SAMPLES;
  if (ReadFile(upstream + "/README.md").empty()) {
    GTEST_SKIP() << upstream << " is not there";
  }
  for (const char* name :
       {"LICENSE", "README.md", "sample_ascii.cff", "sample_ascii.cfg",
        "sample_ascii.dat", "sample_ascii_utf-8.cfg", "sample_bin.cfg",
        "sample_bin.dat", "sample_iso8859-1.cfg", "sample_iso8859-1.dat"}) {
    EXPECT_EQ(ReadFile(upstream + "/" + name), ReadFile(kShared + name))
        << name;
  }
}

}  // namespace
