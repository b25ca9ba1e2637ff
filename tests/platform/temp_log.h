// A log database in a private temporary folder, with a writer and a reader
// on it, for the log tests.

#ifndef TESTS_PLATFORM_TEMP_LOG_H_
#define TESTS_PLATFORM_TEMP_LOG_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/log.h"

namespace testing_log {

// A folder from mkdtemp, removed with its contents at the end.
class TempDir {
 public:
  TempDir() {
    char tmpl[] = "/tmp/toolkit_log_test.XXXXXX";
    if (mkdtemp(tmpl) != nullptr) dir_ = tmpl;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!dir_.empty()) std::filesystem::remove_all(dir_, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string path(const std::string& name) const { return dir_ + "/" + name; }

 private:
  std::string dir_;
};

// A value change at `sec`.`usec` with sequence index `seq` on `path`; the
// sequence index names the record in the tests' expectations.
inline toolkit::CEvent Record(long long sec, long usec, uint32_t seq,
                              const std::string& path = "/Devices/M/Value") {
  toolkit::CEvent event;
  event.kind = toolkit::EVENT_KIND_VALUE_CHANGE;
  event.time.tv_sec = static_cast<time_t>(sec);
  event.time.tv_usec = static_cast<suseconds_t>(usec);
  event.sequence_index = seq;
  event.source_path = path;
  event.value = toolkit::CElement(static_cast<int32_t>(seq));
  return event;
}

// Fixture: the log "test.db", created by a writer with `cap` rows, and a
// reader opened as the web services open it.
class LogTest : public ::testing::Test {
 protected:
  void SetUp() override { OpenLog(kLogDefaultRowCap); }
  void TearDown() override { CloseLog(); }
  void CloseLog() {
    pcd_log_close(reader_);
    pcd_log_close_writer(writer_);
    reader_ = nullptr;
    writer_ = nullptr;
  }
  void OpenLog(long long cap) {
    pcd_log_writer_settings settings{cap, 0, 0, 0};
    ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), &settings, &writer_));
    ASSERT_EQ(0, pcd_log_init(path_.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, &reader_));
  }
  void Append(std::vector<toolkit::CEvent> records) {
    ASSERT_EQ(0, pcd_log_append(writer_, records));
  }
  // The sequence indexes of what retrieve answers, in its order.
  std::vector<uint32_t> Found(const char* filter, const timeval* start,
                              const timeval* end, int max, bool latest,
                              bool reverse) {
    std::vector<toolkit::CEvent> records;
    EXPECT_EQ(0, toolkit::CLog(reader_).retrieve(records, filter, start, end,
                                                 max, latest, reverse, 0));
    std::vector<uint32_t> seqs;
    for (const toolkit::CEvent& record : records) {
      seqs.push_back(record.sequence_index);
    }
    return seqs;
  }

  TempDir dir_;
  std::string path_ = dir_.path("test.db");
  pcd_log_writer_t writer_ = nullptr;
  pcd_log_handle_t reader_ = nullptr;
};

}  // namespace testing_log

#endif  // TESTS_PLATFORM_TEMP_LOG_H_
