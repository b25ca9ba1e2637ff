// Every data format, in separate files and in the combined form, against
// hand-made fixtures whose values were worked out by hand (data/README.md
// lists their bytes); the missing-value markers of each format; and
// samples with more than one status word.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/wave_data.h"

namespace {

using toolkit::CWaveConfigData;
using toolkit::CWaveSampleData;
using toolkit::comtrade::Config;
using toolkit::comtrade::DataFormat;
using toolkit::comtrade::kMissingStamp;
using toolkit::comtrade::Samples;

const std::string kData = std::string(COMTRADE_TEST_DATA) + "/";
const float kNaN = NAN;

// Equal, or both NaN.
void ExpectSame(const std::vector<float>& expected,
                const std::vector<float>& actual, const std::string& what) {
  ASSERT_EQ(expected.size(), actual.size()) << what;
  for (size_t i = 0; i < expected.size(); ++i) {
    if (std::isnan(expected[i])) {
      EXPECT_TRUE(std::isnan(actual[i])) << what << " sample " << i;
    } else {
      EXPECT_EQ(expected[i], actual[i]) << what << " sample " << i;
    }
  }
}

struct HandCase {
  const char* path;
  std::vector<float> v;  // engineering values, V = 0.5 x + 1
  std::vector<float> i;  // I = -2 x + 0.25
};

// Worked out by hand from the raw values in data/README.md.
const HandCase kHandCases[] = {
    // BINARY: V 10, -32767, 0x8000; I -3, 32767, 0xFFFF (= -1).
    {"hand.cfg", {6, -16382.5f, kNaN}, {6.25f, -65533.75f, 2.25f}},
    {"hand_binary.cff", {6, -16382.5f, kNaN}, {6.25f, -65533.75f, 2.25f}},
    // ASCII: the same values, V missing as a blank field.
    {"hand_ascii", {6, -16382.5f, kNaN}, {6.25f, -65533.75f, 2.25f}},
    {"hand_ascii.cff", {6, -16382.5f, kNaN}, {6.25f, -65533.75f, 2.25f}},
    // BINARY32: V 10, 100000, 0x80000000; I -3, -70000, -1.
    {"hand32.dat", {6, 50001, kNaN}, {6.25f, 140000.25f, 2.25f}},
    // FLOAT32: V 10.0, 0.5, 2.25; I -3.0, -1.5, 100.0 (no missing marker).
    {"handf", {6, 1.25f, 2.125f}, {6.25f, 3.25f, -199.75f}},
};

TEST(HandFixtures, EachFormatGivesTheValuesWorkedOutByHand) {
  for (const HandCase& c : kHandCases) {
    comtrade_handle_t* handle = comtrade_alloc_handle();
    ASSERT_EQ(COMTRADE_OK,
              comtrade_read_all_files(handle, (kData + c.path).c_str()))
        << c.path << ": " << comtrade_last_error(handle);
    CWaveConfigData config;
    CWaveSampleData samples;
    ASSERT_EQ(COMTRADE_OK, config.fillData(handle)) << c.path;
    ASSERT_EQ(COMTRADE_OK, samples.fillData(handle, true)) << c.path;
    EXPECT_EQ("hand station", config.stationName) << c.path;
    ASSERT_EQ(2u, config.analogChannels.size()) << c.path;
    EXPECT_EQ("I", config.analogChannels[1].name) << c.path;  // "I " trimmed
    EXPECT_FALSE(config.analogChannels[1].primary_values) << c.path;
    EXPECT_EQ(std::vector<std::string>({"V", "I"}),
              std::vector<std::string>({samples.channels[0].name,
                                        samples.channels[1].name}));
    // 01/02/2024 10:00 at +1h00 is 09:00 UTC: 19754 days, plus 32400 s.
    EXPECT_EQ(1706778000, config.startTime.tv_sec) << c.path;
    EXPECT_EQ(1000, config.triggerTime.tv_usec) << c.path;
    EXPECT_EQ(1, config.triggerIndex) << c.path;  // 1 ms at 1000 Hz
    EXPECT_DOUBLE_EQ(1000.0, config.samplingRate) << c.path;
    ExpectSame(c.v, *samples.find("V"), std::string(c.path) + " V");
    ExpectSame(c.i, *samples.find("I"), std::string(c.path) + " I");
    comtrade_close(handle);
  }
}

TEST(HandFixtures, RawValuesAreTheFileValues) {
  comtrade_handle_t* handle = comtrade_alloc_handle();
  ASSERT_EQ(COMTRADE_OK,
            comtrade_read_all_files(handle, (kData + "hand32").c_str()));
  CWaveSampleData raw;
  ASSERT_EQ(COMTRADE_OK, raw.fillData(handle, false));
  ExpectSame({10, 100000, kNaN}, *raw.find("V"), "V");
  ExpectSame({-3, -70000, -1}, *raw.find("I"), "I");
  comtrade_close(handle);
}

// A one-channel configuration of the given revision and format.
Config OneChannel(int revision, DataFormat format) {
  Config config;
  config.revision = revision;
  config.format = format;
  config.analog.resize(1);
  config.sample_count = 1;
  return config;
}

struct MarkerCase {
  int revision;
  DataFormat format;
  std::string data;  // one sample
  float value;       // raw value read, NaN for missing
};

std::string Binary(uint32_t stamp, const std::string& value) {
  return std::string("\x01\0\0\0", 4) + std::string(
      {static_cast<char>(stamp), static_cast<char>(stamp >> 8),
       static_cast<char>(stamp >> 16), static_cast<char>(stamp >> 24)}) +
      value;
}

TEST(MissingValues, EachFormatAndRevisionHasItsOwnMarker) {
  const MarkerCase cases[] = {
      {2013, DataFormat::kAscii, "1,0,99999", 99999},  // a value in 2013
      {1999, DataFormat::kAscii, "1,0,99999", kNaN},
      {1991, DataFormat::kAscii, "1,0,99999\r\n", kNaN},
      {2013, DataFormat::kAscii, "1,0,", kNaN},
      {2013, DataFormat::kAscii, "1,0, -2.5E1 ", -25},
      {1999, DataFormat::kBinary, Binary(0, std::string("\x00\x80", 2)), kNaN},
      {1991, DataFormat::kBinary, Binary(0, "\xff\xff"), -1},
      {2013, DataFormat::kBinary, Binary(0, "\x01\x80"), -32767},
      {2013, DataFormat::kBinary32, Binary(0, std::string("\0\0\0\x80", 4)),
       kNaN},
      {2013, DataFormat::kBinary32, Binary(0, "\xff\xff\xff\xff"), -1},
      {2013, DataFormat::kFloat32, Binary(0, std::string("\0\0\xc0\x7f", 4)),
       kNaN},
      {2013, DataFormat::kFloat32, Binary(0, std::string("\0\0\0\x80", 4)), 0},
  };
  for (const MarkerCase& c : cases) {
    Samples samples;
    ASSERT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(
                               OneChannel(c.revision, c.format), c.data,
                               &samples, nullptr))
        << c.revision << " " << c.data;
    ExpectSame({c.value}, samples.analog[0], c.data);
  }
}

TEST(MissingValues, TimeStamps) {
  Samples samples;
  ASSERT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(
      OneChannel(2013, DataFormat::kBinary),
      Binary(0xFFFFFFFF, std::string("\0\0", 2)), &samples, nullptr));
  EXPECT_EQ(kMissingStamp, samples.stamps[0]);
  ASSERT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(
      OneChannel(2013, DataFormat::kBinary),
      Binary(0xFFFFFFFE, std::string("\0\0", 2)), &samples, nullptr));
  EXPECT_EQ(0xFFFFFFFE, samples.stamps[0]);  // unsigned, not -2
  ASSERT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(
      OneChannel(2013, DataFormat::kAscii), "1,,5", &samples, nullptr));
  EXPECT_EQ(kMissingStamp, samples.stamps[0]);
}

// Seventeen digital channels take two status words in binary data: each
// sample still starts where the one before ends, in every format.
TEST(ManyDigitalChannels, EverySampleStartsAfterItsStatusWords) {
  const std::string words("\xff\xff\x01\x00", 4);
  const std::string ascii_bits = "0,1,0,1,0,1,0,1,0,1,0,1,0,1,0,1,1";
  const struct {
    DataFormat format;
    std::string data;
  } cases[] = {
      {DataFormat::kAscii, "1,0,5," + ascii_bits + "\n2,1000,-7," +
                               ascii_bits + "\n"},
      {DataFormat::kBinary, Binary(0, std::string("\x05\x00", 2) + words) +
                                Binary(1000, "\xf9\xff" + words)},
      {DataFormat::kBinary32,
       Binary(0, std::string("\x05\0\0\0", 4) + words) +
           Binary(1000, "\xf9\xff\xff\xff" + words)},
      {DataFormat::kFloat32,
       Binary(0, std::string("\0\0\xa0\x40", 4) + words) +
           Binary(1000, std::string("\0\0\xe0\xc0", 4) + words)},
  };
  for (const auto& c : cases) {
    Config config = OneChannel(2013, c.format);
    config.digital.resize(17);
    config.sample_count = 2;
    Samples samples;
    ASSERT_EQ(COMTRADE_OK, toolkit::comtrade::ParseData(config, c.data,
                                                        &samples, nullptr))
        << toolkit::comtrade::DataFormatName(c.format);
    ExpectSame({5, -7}, samples.analog[0],
               toolkit::comtrade::DataFormatName(c.format));
    EXPECT_EQ(1000, samples.stamps[1]);
  }
}

}  // namespace
