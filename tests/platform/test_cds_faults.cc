// The store under faults of its surroundings: a lock held by another
// connection while a process pings, a store file replaced or removed
// under an open handle, write-ahead files that cannot be written, a store
// of the previous schema, and watchdog rows of several processes.

#include <fcntl.h>
#include <linux/fs.h>
#include <sqlite3.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "platform/cds.h"
#include "tests/platform/temp_store.h"

namespace {

using testing_store::StoreTest;
using toolkit::CCds;
using toolkit::CElement;

// A second connection of this process, for locks and for looking at rows
// the client API does not show.
class RawConnection {
 public:
  explicit RawConnection(const std::string& path) {
    sqlite3_open(path.c_str(), &db_);
  }
  ~RawConnection() { sqlite3_close(db_); }
  bool Run(const std::string& sql) {
    return sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) ==
           SQLITE_OK;
  }
  long long Integer(const std::string& sql) {
    sqlite3_stmt* stmt = nullptr;
    long long value = -1;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
      value = sqlite3_column_int64(stmt, 0);
    }
    sqlite3_finalize(stmt);
    return value;
  }

 private:
  sqlite3* db_ = nullptr;
};

// Sets or clears the file's immutable flag; false where the file system
// has none (then the test cannot make the fault and skips).
bool SetImmutable(const std::string& path, bool on) {
  const int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  int flags = 0;
  bool done = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
  flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
  done = done && ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
  close(fd);
  return done;
}

class CdsFaultTest : public StoreTest {
 protected:
  long long LastPing(RawConnection& raw) {
    return raw.Integer("SELECT last_ping_us FROM watchdog WHERE pid = " +
                       std::to_string(getpid()));
  }
};

TEST_F(CdsFaultTest, WatchdogRowsArePerProcess) {
  RawConnection raw(store_.path());
  ASSERT_TRUE(raw.Run("INSERT INTO watchdog VALUES('daemon', 1, 90, 7)"));
  api_status_t status;
  ASSERT_EQ(0, cds_->watchdog_register(status, "daemon", 90, false));
  ASSERT_EQ(0, cds_->watchdog_ping(status));
  std::vector<CdsWatchdog> rows;
  ASSERT_EQ(0, cds_watchdogs_read(cds_->handle, rows));
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(7, rows[0].last_ping_us);  // the other process's row, untouched
  EXPECT_EQ(getpid(), rows[1].pid);
  ASSERT_EQ(0, cds_->watchdog_clear(status));
  ASSERT_EQ(0, cds_watchdogs_read(cds_->handle, rows));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(1, rows[0].pid);
  EXPECT_EQ(0, cds_watchdog_remove(cds_->handle, "daemon", 1));
  EXPECT_NE(0, cds_watchdog_remove(cds_->handle, "daemon", 1));
}

TEST_F(CdsFaultTest, PingOutlastsALockForLessThanItsPeriod) {
  api_status_t status;
  ASSERT_EQ(0, cds_->watchdog_register(status, "daemon", 1, false));
  RawConnection raw(store_.path());
  const long long registered = LastPing(raw);
  ASSERT_TRUE(raw.Run("BEGIN IMMEDIATE"));  // another writer holds the lock
  EXPECT_EQ(0, cds_->watchdog_ping(status));
  EXPECT_EQ(API_STATUS_OK, status);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_NE(0, cds_->watchdog_ping(status));  // a whole period without a ping
  EXPECT_EQ(API_STATUS_BUSY, status);
  ASSERT_TRUE(raw.Run("COMMIT"));
  EXPECT_EQ(0, cds_->watchdog_ping(status));
  EXPECT_GT(LastPing(raw), registered);
}

TEST_F(CdsFaultTest, ReplacedStoreIsReopenedAndRemovedOneRefusesWrites) {
  AddNode("/A");
  Set("/A/Value", CElement(1));
  api_status_t status;
  ASSERT_EQ(0, cds_->watchdog_register(status, "daemon", 90, false));
  // As `cdsctl create --replace` does: a new store renamed into place.
  ASSERT_EQ(0, cds_create(store_.path(), true));
  {
    CCds other(pcd_open(store_.path().c_str()));
    ASSERT_EQ(0, other.add_node("/A", status, "test"));
    ASSERT_EQ(0, other.set_leaf("/A/Value", CElement(2), status,
                                PCD_TRIBOOL_UNKNOWN, "test"));
  }
  EXPECT_EQ(2, Get("/A/Value").to_int());  // read from the new file
  Set("/A/Value", CElement(3));
  EXPECT_EQ(3, Get(*store_.Open(), "/A/Value").to_int());  // others see it
  std::vector<CdsWatchdog> rows;
  ASSERT_EQ(0, cds_watchdogs_read(cds_->handle, rows));
  EXPECT_EQ(1u, rows.size());  // registered again in the new file

  ASSERT_EQ(0, unlink(store_.path().c_str()));
  EXPECT_NE(0, cds_->set_leaf("/A/Value", CElement(4), status,
                              PCD_TRIBOOL_UNKNOWN, "test"));
  EXPECT_EQ(API_STATUS_NOT_OPEN, status);
  EXPECT_NE(0, cds_->watchdog_ping(status));
}

TEST_F(CdsFaultTest, UnwritableWriteAheadFilesAreRefusedAtOpen) {
  AddNode("/A");  // the open handle keeps -wal and -shm in place
  for (const char* suffix : {"-shm", "-wal", ""}) {
    const std::string file = store_.path() + suffix;
    if (!SetImmutable(file, true)) GTEST_SKIP() << "no immutable files here";
    EXPECT_EQ(nullptr, pcd_open(store_.path().c_str())) << suffix;
    ASSERT_TRUE(SetImmutable(file, false));
  }
  CCds again(pcd_open(store_.path().c_str()));
  EXPECT_TRUE(again.is_open());
}

TEST_F(CdsFaultTest, StoreOfThePreviousSchemaIsUpgradedKeepingItsRows) {
  cds_.reset();
  {
    RawConnection raw(store_.path());
    ASSERT_TRUE(raw.Run(
        "DROP TABLE watchdog;"
        "CREATE TABLE watchdog(name TEXT PRIMARY KEY, pid INTEGER NOT NULL,"
        " period INTEGER NOT NULL, last_ping_us INTEGER NOT NULL)"
        " WITHOUT ROWID;"
        "INSERT INTO watchdog VALUES('old', 42, 90, 5);"
        "DROP TABLE structure;"
        "UPDATE meta SET value = 2 WHERE key = 'schema_version';"));
  }
  cds_ = store_.Open();
  ASSERT_TRUE(cds_->is_open());
  std::vector<CdsWatchdog> rows;
  ASSERT_EQ(0, cds_watchdogs_read(cds_->handle, rows));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ(42, rows[0].pid);
  RawConnection raw(store_.path());
  EXPECT_EQ(4, raw.Integer("SELECT value FROM meta "
                           "WHERE key = 'schema_version'"));
  // The upgrades run in turn: the journal of structure changes is there.
  api_status_t status;
  ASSERT_EQ(0, cds_->add_node("/New", status, "test"));
  std::vector<CdsStructureChange> changes;
  ASSERT_EQ(0, cds_structure_read(cds_->handle, 0, 10, changes));
  EXPECT_EQ(1u, changes.size());
}

}  // namespace
