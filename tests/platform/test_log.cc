// The log files: opening (missing, foreign, damaged and locked files),
// the writer's numbering and row cap, retrieval (bounds, order, limit,
// filter, whole records) and several processes on one log.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/log.h"
#include "tests/platform/child_process.h"
#include "tests/platform/temp_dir.h"

namespace {

using testing_child::ChildProcess;
using testing_files::TempDir;
using toolkit::CElement;
using toolkit::CEvent;
using Seqs = std::vector<uint32_t>;

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
  std::string path_ = dir_ / "test.db";
  pcd_log_writer_t writer_ = nullptr;
  pcd_log_handle_t reader_ = nullptr;
};

// --- Opening: opening takes no lock; a locked log fails retrieve fast ----

std::string Contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

int OpenReader(const std::string& path, pcd_log_handle_t* handle) {
  return pcd_log_init(path.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, handle);
}

TEST(LogOpen, MissingFileFailsAndIsNotCreated) {
  TempDir dir;
  const std::string path = dir / "absent.db";
  pcd_log_handle_t reader = nullptr;
  EXPECT_EQ(LOG_STATUS_NO_FILE, OpenReader(path, &reader));
  EXPECT_EQ(nullptr, reader);
  struct stat info;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    EXPECT_NE(0, stat((path + suffix).c_str(), &info)) << suffix;
  }
}

TEST(LogOpen, ForeignFilesAreRefusedAndLeftUntouched) {
  TempDir dir;
  struct Case {
    const char* name;
    const char* text;  // null: made otherwise
    int want;
  } cases[] = {
      {"text.db", "not a database\n", LOG_STATUS_NOT_DATABASE},
      {"empty.db", "", LOG_STATUS_NOT_DATABASE},
      {"short.db", "SQLite format 3", LOG_STATUS_NOT_DATABASE},
      {"store.db", nullptr, LOG_STATUS_NOT_LOG},  // SQLite, not a log
      {"folder.db", nullptr, LOG_STATUS_NOT_DATABASE},
  };
  ASSERT_EQ(0, cds_create(dir / "store.db", false));
  ASSERT_EQ(0, mkdir((dir / "folder.db").c_str(), 0700));
  for (const Case& c : cases) {
    const std::string path = dir / c.name;
    if (c.text != nullptr) std::ofstream(path, std::ios::binary) << c.text;
    const std::string before = Contents(path);
    pcd_log_handle_t reader = nullptr;
    pcd_log_writer_t writer = nullptr;
    EXPECT_EQ(c.want, OpenReader(path, &reader)) << c.name;
    EXPECT_EQ(c.want, pcd_log_open_writer(path.c_str(), nullptr, &writer))
        << c.name;
    EXPECT_TRUE(reader == nullptr && writer == nullptr) << c.name;
    EXPECT_EQ(before, Contents(path)) << c.name;
  }
}

TEST(LogOpen, DamagedLogFailsWithAStatus) {
  TempDir dir;
  const std::string path = dir / "log.db";
  pcd_log_writer_t writer = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(path.c_str(), nullptr, &writer));
  std::vector<toolkit::CEvent> batch(50, Record(1, 0, 1));
  ASSERT_EQ(0, pcd_log_append(writer, batch));
  pcd_log_close_writer(writer);
  {  // the header stays; the schema and the first pages do not
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(100);
    file << std::string(8000, '\xA5');
  }
  pcd_log_handle_t reader = nullptr;
  ASSERT_EQ(0, OpenReader(path, &reader));
  std::vector<toolkit::CEvent> records;
  EXPECT_EQ(LOG_STATUS_CORRUPT,
            toolkit::CLog(reader).retrieve(records, nullptr, nullptr, nullptr,
                                           0, false, false, 0));
  pcd_log_close(reader);
  EXPECT_EQ(LOG_STATUS_CORRUPT,
            pcd_log_open_writer(path.c_str(), nullptr, &writer));
}

TEST(LogOpen, UnsupportedFlagsAndSettingsAreRefused) {
  TempDir dir;
  const std::string path = dir / "log.db";
  pcd_log_writer_t writer = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(path.c_str(), nullptr, &writer));
  pcd_log_close_writer(writer);
  const int cases[][8] = {
      // reserved x3, read_only, fail_fast, page, cache, heap
      {1, 0, 0, 1, 1, 0, 0, 0},    {0, 0, 2, 1, 1, 0, 0, 0},
      {0, 0, 0, 0, 1, 0, 0, 0},    {0, 0, 0, 1, 2, 0, 0, 0},
      {0, 0, 0, 1, 1, 1000, 0, 0}, {0, 0, 0, 1, 1, 0, -1, 0},
      {0, 0, 0, 1, 1, 0, 0, -1},
  };
  for (const auto& a : cases) {
    pcd_log_handle_t reader = nullptr;
    EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
              pcd_log_init(path.c_str(), a[0], a[1], a[2], a[3], a[4], a[5],
                           a[6], a[7], &reader));
  }
  pcd_log_handle_t reader = nullptr;
  ASSERT_EQ(0, pcd_log_init(path.c_str(), 0, 0, 0, 1, 0, 4096, 65536, 8 << 20,
                            &reader));
  std::vector<toolkit::CEvent> records;
  EXPECT_EQ(LOG_STATUS_BAD_ARGUMENT,
            toolkit::CLog(reader).retrieve(records, nullptr, nullptr, nullptr,
                                           0, false, false, 1));
  EXPECT_EQ(0, toolkit::CLog(reader).retrieve(records, nullptr, nullptr,
                                              nullptr, 0, false, false, 0));
  pcd_log_close(reader);
}

TEST(LogOpen, LockedLogOpensAndRetrieveFailsFast) {
  TempDir dir;
  const std::string path = dir / "log.db";
  pcd_log_writer_t writer = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(path.c_str(), nullptr, &writer));
  std::vector<toolkit::CEvent> batch = {Record(1, 0, 1)};
  ASSERT_EQ(0, pcd_log_append(writer, batch));
  pcd_log_close_writer(writer);

  testing_child::ChildProcess locker([&](const auto& step) {
    sqlite3* db = nullptr;  // holds an exclusive lock until killed
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK ||
        sqlite3_exec(db,
                     "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE;"
                     "UPDATE meta SET value = value WHERE key = 'rows'",
                     nullptr, nullptr, nullptr) != SQLITE_OK) {
      return 1;
    }
    step();
    for (;;) pause();
  });
  ASSERT_TRUE(locker.AwaitSteps(1));

  setenv("TOOLKIT_LOG_BUSY_MS", "100", 1);
  pcd_log_handle_t reader = nullptr;
  const int opened = OpenReader(path, &reader);
  unsetenv("TOOLKIT_LOG_BUSY_MS");
  ASSERT_EQ(0, opened);
  std::vector<toolkit::CEvent> records = {Record(9, 0, 9)};
  alarm(1);  // hang guard: ten times the busy time-out
  EXPECT_EQ(LOG_STATUS_BUSY,
            toolkit::CLog(reader).retrieve(records, nullptr, nullptr, nullptr,
                                           0, false, false, 0));
  alarm(0);
  EXPECT_TRUE(records.empty());

  locker.Kill();
  EXPECT_EQ(0, toolkit::CLog(reader).retrieve(records, nullptr, nullptr,
                                              nullptr, 0, false, false, 0));
  EXPECT_EQ(1u, records.size());  // the same handle, on the caller's retry
  pcd_log_close(reader);
}

// --- The writer: record numbers and the row cap -------------------------

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
  path_ = dir_ / "capped.db";
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

// --- Retrieval -----------------------------------------------------------

timeval At(long long sec, long usec) {
  return timeval{static_cast<time_t>(sec), static_cast<suseconds_t>(usec)};
}

TEST_F(LogTest, BoundsAreInclusiveToTheMicrosecond) {
  Append({Record(1000, 0, 1), Record(1000, 1, 2), Record(1000, 999999, 3),
          Record(1001, 0, 4), Record(1002, 500000, 5)});
  const timeval t1000 = At(1000, 0), t1000_1 = At(1000, 1),
                t1000_2 = At(1000, 2), t1001 = At(1001, 0),
                t999 = At(999, 999999);
  struct Case {
    const timeval* start;
    const timeval* end;
    Seqs want;
  } cases[] = {{nullptr, nullptr, {1, 2, 3, 4, 5}},
               {&t1000_1, nullptr, {2, 3, 4, 5}}, {nullptr, &t1000_1, {1, 2}},
               {&t1000_1, &t1000_1, {2}},  // one time stamp as both bounds
               {&t1000_2, &t1001, {3, 4}}, {&t1000, &t1000, {1}},
               {&t1001, &t1000, {}},  // crossed bounds
               {&t999, &t999, {}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found(nullptr, c.start, c.end, 0, false, false))
        << (c.start ? c.start->tv_usec : -1) << ".."
        << (c.end ? c.end->tv_usec : -1);
  }
}

TEST_F(LogTest, OrderIsTimeThenSequenceThenAppendOrder) {
  // Appended out of order and in two batches; 30 and 31 tie completely.
  Append({Record(7, 0, 20), Record(5, 0, 10), Record(7, 0, 30)});
  Append({Record(7, 0, 31), Record(7, 0, 25), Record(6, 0, 15)});
  EXPECT_EQ(Seqs({10, 15, 20, 25, 30, 31}),
            Found(nullptr, nullptr, nullptr, 0, false, false));
  EXPECT_EQ(Seqs({31, 30, 25, 20, 15, 10}),
            Found(nullptr, nullptr, nullptr, 0, false, true));
}

TEST_F(LogTest, LimitKeepsOldestOrNewestInEitherOrder) {
  Append({Record(1, 0, 1), Record(2, 0, 2), Record(3, 0, 3), Record(4, 0, 4),
          Record(5, 0, 5), Record(6, 0, 6)});
  struct Case {
    int max;
    bool latest, reverse;
    Seqs want;
  } cases[] = {{3, false, false, {1, 2, 3}}, {3, true, false, {4, 5, 6}},
               {3, false, true, {3, 2, 1}}, {3, true, true, {6, 5, 4}},
               {1, true, false, {6}}, {0, true, false, {1, 2, 3, 4, 5, 6}},
               {10, true, false, {1, 2, 3, 4, 5, 6}},
               {-1, false, true, {6, 5, 4, 3, 2, 1}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want,
              Found(nullptr, nullptr, nullptr, c.max, c.latest, c.reverse))
        << "max " << c.max << " latest " << c.latest << " reverse "
        << c.reverse;
  }
  // The limit applies after the bounds and the filter.
  const timeval t2 = At(2, 0), t5 = At(5, 0);
  EXPECT_EQ(Seqs({4, 5}), Found("/Devices/M", &t2, &t5, 2, true, false));
}

TEST_F(LogTest, FilterMatchesWholeComponentsAndItsTextLiterally) {
  // Indexes 0..8 name the records in the expectations.
  const char* const paths[] = {
      "/Devices/Meter1", "/Devices/Meter1/VoltageL1N/Value",
      "/Devices/Meter1:Units", "/Devices/Meter10/Value",
      "/Devices/Meter1-2/Value", "/Devices/Me%er1/Value",
      "/Devices/Me_er1/Value", "/Devices/O'Brien\"/Value", "/Other/Value"};
  std::vector<CEvent> records;
  for (uint32_t i = 0; i < 9; ++i) records.push_back(Record(1, 0, i, paths[i]));
  Append(records);
  struct Case {
    const char* filter;
    Seqs want;
  } cases[] = {{"/Devices/Meter1", {0, 1, 2}},
               {"/Devices/Meter1/", {0, 1, 2}},
               {"/Devices/Meter1/VoltageL1N", {1}}, {"/Devices/Meter", {}},
               {"/Devices/Me%er1", {5}}, {"/Devices/Me_er1", {6}},
               {"/Devices/Me%", {}}, {"%", {}}, {"/Devices/O'Brien\"", {7}},
               {"/Devices", {0, 1, 2, 3, 4, 5, 6, 7}},
               {"", {0, 1, 2, 3, 4, 5, 6, 7, 8}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found(c.filter, nullptr, nullptr, 0, false, false))
        << "filter '" << c.filter << "'";
  }
}

// A filter matching at least ten times the limit reads the log in time
// order (a scan), one matching fewer by path (a seek): they answer alike.
TEST_F(LogTest, ScanAndSeekAnswerAlike) {
  std::vector<CEvent> records;
  for (uint32_t i = 0; i < 40; ++i) {  // later appends are older
    records.push_back(Record(100 - i, 0, i, i % 2 ? "/D/A:Units" : "/D/AB"));
  }
  Append(records);
  // "/D/A" matches the 20 odd records: a scan for 2, a seek for 3.
  struct Case {
    int max;
    bool latest, reverse;
    Seqs want;
  } cases[] = {{2, false, false, {39, 37}},       {2, true, false, {3, 1}},
               {2, true, true, {1, 3}},           {2, false, true, {37, 39}},
               {3, false, false, {39, 37, 35}},   {3, true, true, {1, 3, 5}}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.want, Found("/D/A", nullptr, nullptr, c.max, c.latest,
                            c.reverse))
        << "max " << c.max << " latest " << c.latest << " reverse "
        << c.reverse;
  }
}

TEST_F(LogTest, RecordsComeBackWithEveryFieldAndTypedValue) {
  std::vector<CElement> values = {
      CElement(true),
      CElement(false),
      CElement(int32_t{-5}),
      CElement(uint32_t{4000000000u}),
      CElement(230.4),
      CElement(std::nan("")),
      CElement("007"),
      CElement(""),
      CElement(At(1700000000, 250000)),
      CElement(),
  };
  std::vector<CEvent> written;
  for (size_t i = 0; i < values.size(); ++i) {
    CEvent e = Record(100, static_cast<long>(i), 0, "/Devices/UPS1:Mode");
    e.kind = i == 0 ? toolkit::EVENT_KIND_ALARM : toolkit::EVENT_KIND_SYSTEM;
    e.event_id = 0xFFFFFFFFFFFFFFF0ull;  // kept only by the alarm
    e.value = values[i];
    e.value.set_time(At(99, 123456));
    e.severity = 3;
    e.description = "Breaker : Open\ttab";
    e.quality = 64;
    e.ack_status = 2;
    e.base_priority = -7;
    e.condition_present = true;
    e.note = "checked by O'Neil";
    e.auto_closing = true;
    e.variation_level = 4;
    e.source = "Web-Services:alice@127.0.0.1";
    written.push_back(e);
  }
  ASSERT_EQ(0, pcd_log_append(writer_, written));
  EXPECT_EQ(0xFFFFFFFFFFFFFFF0ull, written[0].event_id);
  std::vector<CEvent> read;
  ASSERT_EQ(0, toolkit::CLog(reader_).retrieve(read, nullptr, nullptr, nullptr,
                                               0, false, false, 0));
  ASSERT_EQ(written.size(), read.size());
  for (size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(written[i].serialize(), read[i].serialize()) << i;
    EXPECT_EQ(values[i].get_type(), read[i].value.get_type()) << i;
  }
}

// --- Several processes on one log: whole batches or nothing ------------

// A child appending `batches` batches of `size` records (without end when
// `batches` is negative), one step after each commit.
std::function<int(const ChildProcess::Step&)> Appender(const std::string& path,
                                                       int batches, int size) {
  return [=](const ChildProcess::Step& step) {
    pcd_log_writer_t writer = nullptr;
    if (pcd_log_open_writer(path.c_str(), nullptr, &writer) != 0) return 2;
    for (int b = 0; batches < 0 || b < batches; ++b) {
      std::vector<CEvent> batch;
      for (int i = 0; i < size; ++i) {
        batch.push_back(Record(1000 + b, i, static_cast<uint32_t>(i)));
      }
      if (pcd_log_append(writer, batch) != 0) return 3;
      step();
    }
    pcd_log_close_writer(writer);
    return 0;
  };
}

// A mark commits with its records or not at all: while another process
// holds the log's lock the append fails and leaves both as they were.
TEST_F(LogTest, MarkCommitsTogetherWithItsRecords) {
  std::string value;
  bool found = true;
  ASSERT_EQ(0, pcd_log_read_mark(writer_, "feed", &value, &found));
  EXPECT_FALSE(found);
  std::vector<CEvent> batch = {Record(1, 0, 1), Record(2, 0, 2)};
  ASSERT_EQ(0, pcd_log_append_marked(writer_, batch, "feed", "7"));
  std::vector<CEvent> none;
  ASSERT_EQ(0, pcd_log_append_marked(writer_, none, "other", "x"));

  sqlite3* locker = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(path_.c_str(), &locker));
  ASSERT_EQ(SQLITE_OK,
            sqlite3_exec(locker, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  pcd_log_writer_settings impatient{0, 0, 0, 10};
  pcd_log_writer_t second = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), &impatient, &second));
  batch = {Record(3, 0, 3)};
  EXPECT_EQ(LOG_STATUS_BUSY,
            pcd_log_append_marked(second, batch, "feed", "8"));
  sqlite3_exec(locker, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(locker);

  ASSERT_EQ(0, pcd_log_read_mark(second, "feed", &value, &found));
  EXPECT_TRUE(found);
  EXPECT_EQ("7", value);
  ASSERT_EQ(0, pcd_log_read_mark(second, "other", &value, &found));
  EXPECT_EQ("x", value);
  pcd_log_close_writer(second);
  EXPECT_EQ(Seqs({1, 2}), Found(nullptr, nullptr, nullptr, 0, false, false));
}

class LogProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    pcd_log_writer_t creator = nullptr;
    ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), nullptr, &creator));
    pcd_log_close_writer(creator);
  }
  void TearDown() override { pcd_log_close(reader_); }
  // All records; the reader is opened on first use, after the fork.
  size_t Count() {
    if (reader_ == nullptr) {
      EXPECT_EQ(0,
                pcd_log_init(path_.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, &reader_));
    }
    std::vector<CEvent> records;
    EXPECT_EQ(0, toolkit::CLog(reader_).retrieve(records, nullptr, nullptr,
                                                 nullptr, 0, false, false, 0));
    return records.size();
  }

  TempDir dir_;
  std::string path_ = dir_ / "shared.db";
  pcd_log_handle_t reader_ = nullptr;
};

TEST_F(LogProcessTest, ReaderNeverSeesPartOfABatch) {
  constexpr int kBatches = 150, kSize = 7;
  ChildProcess writer(Appender(path_, kBatches, kSize));
  ASSERT_TRUE(writer.started());
  int reads = 0;
  size_t last = 0;
  while (!writer.Finished()) {
    const size_t count = Count();
    ASSERT_EQ(0u, count % kSize) << "read " << count << " records";
    ASSERT_LE(last, count);
    last = count;
    ++reads;
  }
  EXPECT_EQ(0, writer.exit_code());
  EXPECT_GT(reads, 0);
  EXPECT_EQ(static_cast<size_t>(kBatches * kSize), Count());
}

TEST_F(LogProcessTest, KilledWriterLosesNoCommittedBatch) {
  constexpr int kSize = 50;
  size_t committed = 0;
  for (int round = 0; round < 3; ++round) {
    ChildProcess writer(Appender(path_, -1, kSize));
    ASSERT_TRUE(writer.started());
    ASSERT_TRUE(writer.AwaitSteps(2 + round));
    writer.Kill();  // most likely inside the next batch
    committed += static_cast<size_t>((2 + round) * kSize);
    const size_t count = Count();
    EXPECT_EQ(0u, count % kSize) << "round " << round;
    EXPECT_LE(committed, count) << "round " << round;
    committed = count;
  }
  // The log is still whole for the next writer.
  ChildProcess next(Appender(path_, 1, kSize));
  ASSERT_TRUE(next.AwaitSteps(1));
  EXPECT_EQ(committed + kSize, Count());
}

// Writers in several processes append to one log: the numbers the log
// gives stay unique and grow in the order the batches committed.
TEST_F(LogProcessTest, ConcurrentWritersGetUniqueIncreasingNumbers) {
  constexpr int kBatches = 60, kSize = 5;
  {
    ChildProcess first(Appender(path_, kBatches, kSize));
    ChildProcess second(Appender(path_, kBatches, kSize));
    ASSERT_TRUE(first.started() && second.started());
    ASSERT_TRUE(first.AwaitSteps(kBatches));
    ASSERT_TRUE(second.AwaitSteps(kBatches));
  }
  if (reader_ == nullptr) Count();
  std::vector<CEvent> records;
  ASSERT_EQ(0, toolkit::CLog(reader_).retrieve(records, nullptr, nullptr,
                                               nullptr, 0, false, false, 0));
  ASSERT_EQ(static_cast<size_t>(2 * kBatches * kSize), records.size());
  std::vector<uint64_t> ids;
  for (const CEvent& record : records) ids.push_back(record.event_id);
  // Retrieval order is time, sequence, then append order; per time stamp
  // and sequence index the two writers' records must come in id order.
  for (size_t i = 1; i < records.size(); ++i) {
    if (records[i].time.tv_sec == records[i - 1].time.tv_sec &&
        records[i].sequence_index == records[i - 1].sequence_index) {
      EXPECT_LT(ids[i - 1], ids[i]) << i;
    }
  }
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids.end(), std::adjacent_find(ids.begin(), ids.end()));
}

}  // namespace
