// Reading record sets from disk: the path forms, absent parts, files that
// are not regular files, and what the data classes make of each part.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/header_parse.h"
#include "platform/comtrade/wave_data.h"
#include "tests/comtrade/files.h"

namespace {

using comtrade_test::ReadFile;
using comtrade_test::TempDir;
using comtrade_test::WriteFile;

const std::string kData = std::string(COMTRADE_TEST_DATA) + "/";

class RecordFilesTest : public ::testing::Test {
 protected:
  RecordFilesTest() : handle_(comtrade_alloc_handle()) {}
  ~RecordFilesTest() override { comtrade_close(handle_); }

  // Copies fixture `from` to `to` in the temporary folder.
  void Copy(const std::string& from, const std::string& to) {
    WriteFile(dir_ / to, ReadFile(kData + from));
  }
  int Read(const std::string& name) {
    return comtrade_read_all_files(handle_, (dir_ / name).c_str());
  }
  // "C" for configuration, "D" data, "H" header, "I" information.
  std::string Parts() const {
    return std::string(comtrade_has_config(handle_) ? "C" : "") +
           (comtrade_has_data(handle_) ? "D" : "") +
           (comtrade_has_header(handle_) ? "H" : "") +
           (comtrade_has_info(handle_) ? "I" : "");
  }

  TempDir dir_;
  comtrade_handle_t* handle_;
};

TEST_F(RecordFilesTest, PathFormsAndTheirParts) {
  Copy("hand.cfg", "rec.cfg");
  Copy("hand.dat", "rec.dat");
  Copy("hand.hdr", "rec.hdr");
  Copy("hand.cfg", "UP.CFG");
  Copy("hand.dat", "UP.DAT");
  Copy("hand_binary.cff", "both.cff");
  Copy("hand.cfg", "conly.cfg");
  Copy("hand.hdr", "honly.hdr");
  Copy("hand.dat", "donly.dat");
  const struct { const char* path; int status; const char* parts; } cases[] = {
      {"rec", COMTRADE_OK, "CDH"},       {"rec.cfg", COMTRADE_OK, "CDH"},
      {"rec.DAT", COMTRADE_OK, "CDH"},   {"rec.hdr", COMTRADE_OK, "CDH"},
      {"UP", COMTRADE_OK, "CD"},         {"UP.cfg", COMTRADE_OK, "CD"},
      {"both", COMTRADE_OK, "CDHI"},     {"both.CFF", COMTRADE_OK, "CDHI"},
      {"conly", COMTRADE_OK, "C"},       {"honly", COMTRADE_OK, "H"},
      {"rec.cff", COMTRADE_ERR_NOT_FOUND, ""},
      {"both.cfg", COMTRADE_ERR_NOT_FOUND, ""},
      {"donly", COMTRADE_ERR_NOT_FOUND, ""},  // data alone: undecodable
      {"nothing", COMTRADE_ERR_NOT_FOUND, ""},
      {"nodir/rec", COMTRADE_ERR_NOT_FOUND, ""},
      {"rec.cfg/x", COMTRADE_ERR_NOT_FOUND, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.status, Read(c.path)) << c.path;
    EXPECT_EQ(c.parts, Parts()) << c.path;
    EXPECT_EQ(c.status == COMTRADE_OK ? dir_ / c.path : "",
              comtrade_path(handle_));
  }
}

TEST_F(RecordFilesTest, OnlyRegularFilesWithinTheLimitAreOpened) {
  Copy("hand.cfg", "fifo.cfg");
  ASSERT_EQ(0, mkfifo((dir_ / "fifo.dat").c_str(), 0600));
  ASSERT_EQ(0, mkdir((dir_ / "folder.cfg").c_str(), 0700));
  ASSERT_EQ(0, symlink("/dev/zero", (dir_ / "dev.hdr").c_str()));
  Copy("hand.cfg", "dev.cfg");
  EXPECT_EQ(COMTRADE_ERR_NOT_REGULAR, Read("fifo"));
  EXPECT_EQ(COMTRADE_ERR_NOT_REGULAR, Read("folder"));
  EXPECT_EQ(COMTRADE_ERR_NOT_REGULAR, Read("dev"));
  EXPECT_EQ("", Parts());
  // Nor are files over the size limit read.
  Copy("hand.cfg", "big.cfg");
  WriteFile(dir_ / "big.dat", "");
  ASSERT_EQ(0, truncate((dir_ / "big.dat").c_str(),
                        COMTRADE_MAX_FILE_BYTES + 1));
  EXPECT_EQ(COMTRADE_ERR_TOO_LARGE, Read("big"));
}

TEST_F(RecordFilesTest, EmptyDataIsAPresentButEmptyPart) {
  WriteFile(dir_ / "empty.cfg", "s,d,1999\n1,1A,0D\n1,V,,,V,1,0,0,0,0\n50\n"
                                "0\n0,0\n01/01/2020,00:00:00\n"
                                "01/01/2020,00:00:00\nBINARY\n1\n");
  WriteFile(dir_ / "empty.dat", "");
  ASSERT_EQ(COMTRADE_OK, Read("empty"));
  EXPECT_EQ("CD", Parts());
  EXPECT_TRUE(comtrade_data_is_empty(handle_));
  toolkit::CWaveConfigData config;
  ASSERT_EQ(COMTRADE_OK, config.fillData(handle_));
  EXPECT_EQ(-1, config.triggerIndex);
  Copy("hand.cfg", "rec.cfg");
  ASSERT_EQ(COMTRADE_OK, Read("rec"));
  EXPECT_TRUE(comtrade_data_is_empty(handle_));  // no data part at all
}

TEST_F(RecordFilesTest, DataClassesNeedTheirParts) {
  Copy("hand.cfg", "rec.cfg");
  ASSERT_EQ(COMTRADE_OK, Read("rec"));
  toolkit::CWaveConfigData config;
  toolkit::CWaveHeaderData header;
  toolkit::CWaveSampleData samples;
  EXPECT_EQ(COMTRADE_OK, config.fillData(handle_));
  EXPECT_EQ(COMTRADE_ERR_NO_PART, header.fillData(handle_));
  EXPECT_EQ(COMTRADE_ERR_NO_PART, samples.fillData(handle_, true));
  EXPECT_TRUE(samples.channels.empty());
  EXPECT_EQ(COMTRADE_ERR_ARGUMENT, config.fillData(nullptr));
  EXPECT_TRUE(config.analogChannels.empty());
  EXPECT_EQ(COMTRADE_ERR_ARGUMENT, comtrade_read_all_files(nullptr, "x"));
  EXPECT_EQ(COMTRADE_ERR_ARGUMENT, comtrade_read_all_files(handle_, nullptr));
  EXPECT_FALSE(comtrade_has_config(nullptr));
}

TEST_F(RecordFilesTest, HeaderConvention) {
  const struct {
    const char* text;
    const char* event;
    const char* channel;
    int64_t index;  // -2: the header is refused
  } cases[] = {
      // Keyed lines, any case and blanks; the first of each key counts.
      {"Recorder X\nEvent: Trip B\n trigger CHANNEL : IB \nTrigger index: 7\n"
       "Event: later", "Trip B", "IB", 7},
      // Free text: its first non-blank line describes the event; without
      // an index line the configuration's index (1 for hand.cfg) is used.
      {"\n\n  Line 3 fault  \nTrigger channel: IA\n", "Line 3 fault", "IA", 1},
      {"Note: relay test\n", "Note: relay test", "", 1},
      {"Trigger index: -1\n", "", "", -2},
      {"Trigger index: seven\n", "", "", -2},
      {" \n\t\n", "", "", -3},  // blank: no header part
  };
  Copy("hand.cfg", "rec.cfg");
  for (const auto& c : cases) {
    WriteFile(dir_ / "rec.hdr", c.text);
    ASSERT_EQ(COMTRADE_OK, Read("rec"));
    toolkit::CWaveHeaderData header;
    const int rc = header.fillData(handle_);
    const int expected = c.index == -2   ? COMTRADE_ERR_SYNTAX
                         : c.index == -3 ? COMTRADE_ERR_NO_PART
                                         : COMTRADE_OK;
    EXPECT_EQ(expected, rc) << c.text;
    if (rc != COMTRADE_OK) continue;
    EXPECT_EQ(c.event, header.eventDescription) << c.text;
    EXPECT_EQ(c.channel, header.triggerChannel) << c.text;
    EXPECT_EQ(c.index, header.triggerIndex) << c.text;
  }
}

TEST_F(RecordFilesTest, HeaderWithoutConfigurationHasNoTriggerIndex) {
  WriteFile(dir_ / "h.hdr", "Latin-1 \xE9v\xE9nement\r\n");
  ASSERT_EQ(COMTRADE_OK, Read("h"));
  toolkit::CWaveHeaderData header;
  ASSERT_EQ(COMTRADE_OK, header.fillData(handle_));
  EXPECT_EQ("Latin-1 \xC3\xA9v\xC3\xA9nement", header.eventDescription);
  EXPECT_EQ(-1, header.triggerIndex);
}

}  // namespace
