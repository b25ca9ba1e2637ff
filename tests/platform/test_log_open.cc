// Opening logs: missing and foreign files are refused at open and left as
// they were; a locked log opens (opening takes no lock) and then makes
// retrieve fail fast, so that the caller's own retry rule applies.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "tests/platform/child_process.h"
#include "tests/platform/temp_log.h"

namespace {

using testing_log::Record;
using testing_log::TempDir;

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
  const std::string path = dir.path("absent.db");
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
  ASSERT_EQ(0, cds_create(dir.path("store.db"), false));
  ASSERT_EQ(0, mkdir(dir.path("folder.db").c_str(), 0700));
  for (const Case& c : cases) {
    const std::string path = dir.path(c.name);
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
  const std::string path = dir.path("log.db");
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
  const std::string path = dir.path("log.db");
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
  const std::string path = dir.path("log.db");
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

}  // namespace
