// The writer: event identifiers given by the log (never reused, also after
// the cap dropped rows), alarms keeping their own numbers, and the row cap
// dropping the oldest records in retrieval order.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/temp_log.h"

namespace {

using testing_log::LogTest;
using testing_log::Record;
using toolkit::CEvent;
using Seqs = std::vector<uint32_t>;

TEST_F(LogTest, LogNumbersRecordsAndAlarmsKeepTheirNumbers) {
  std::vector<CEvent> first = {Record(5, 0, 1), Record(5, 0, 2),
                               Record(5, 0, 3)};
  first[1].kind = toolkit::EVENT_KIND_ALARM;
  first[1].event_id = 777;
  first[2].event_id = 777;  // not an alarm: the log numbers it
  ASSERT_EQ(0, pcd_log_append(writer_, first));
  EXPECT_EQ(777u, first[1].event_id);
  EXPECT_LT(first[0].event_id, first[2].event_id);
  std::vector<CEvent> second = {Record(1, 0, 4)};  // older, appended later
  ASSERT_EQ(0, pcd_log_append(writer_, second));
  EXPECT_LT(first[2].event_id, second[0].event_id);

  std::vector<CEvent> read;
  ASSERT_EQ(0, toolkit::CLog(reader_).retrieve(read, nullptr, nullptr, nullptr,
                                               0, false, false, 0));
  ASSERT_EQ(4u, read.size());
  EXPECT_EQ(second[0].event_id, read[0].event_id);
  EXPECT_EQ(777u, read[2].event_id);
}

TEST_F(LogTest, CapDropsTheOldestAndNumbersAreNeverReused) {
  CloseLog();
  path_ = dir_.path("capped.db");
  OpenLog(4);
  // Time order differs from append order: the cap keeps the newest times.
  Append({Record(30, 0, 3), Record(10, 0, 1), Record(50, 0, 5)});
  std::vector<CEvent> batch = {Record(20, 0, 2), Record(60, 0, 6),
                               Record(40, 0, 4)};
  ASSERT_EQ(0, pcd_log_append(writer_, batch));
  EXPECT_EQ(Seqs({3, 4, 5, 6}),
            Found(nullptr, nullptr, nullptr, 0, false, false));
  // A batch larger than the cap keeps the newest of everything.
  std::vector<CEvent> big;
  for (uint32_t i = 0; i < 6; ++i) big.push_back(Record(100 + i, 0, 10 + i));
  ASSERT_EQ(0, pcd_log_append(writer_, big));
  EXPECT_EQ(Seqs({12, 13, 14, 15}),
            Found(nullptr, nullptr, nullptr, 0, false, false));
  EXPECT_LT(batch[1].event_id, big[0].event_id);

  // The cap belongs to the file: another writer asking for more keeps it.
  pcd_log_writer_settings larger{1000, 0, 0, 0};
  pcd_log_writer_t other = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), &larger, &other));
  std::vector<CEvent> more = {Record(200, 0, 20)};
  ASSERT_EQ(0, pcd_log_append(other, more));
  pcd_log_close_writer(other);
  EXPECT_EQ(Seqs({13, 14, 15, 20}),
            Found(nullptr, nullptr, nullptr, 0, false, false));
  EXPECT_LT(big[5].event_id, more[0].event_id);
}

}  // namespace
