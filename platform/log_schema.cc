// The log file's schema, how a new log is made and how a log is recognised
// from its header (see log_format.h).

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/log_format.h"

namespace toolkit {
namespace logdb {

namespace {

// Record columns carry no declared type where a declared type would give
// them an affinity: `value` must keep text such as "007" as text.
const char kSchema[] =
    "CREATE TABLE meta(key TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "CREATE TABLE record(id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " time_us INTEGER NOT NULL, seq INTEGER NOT NULL, path TEXT NOT NULL,"
    " kind INTEGER NOT NULL, alarm_id INTEGER,"
    " vtype INTEGER NOT NULL, value, vsec INTEGER NOT NULL,"
    " vusec INTEGER NOT NULL, severity INTEGER NOT NULL,"
    " quality INTEGER NOT NULL, description TEXT NOT NULL,"
    " ack INTEGER NOT NULL, priority INTEGER NOT NULL, cond INTEGER NOT NULL,"
    " note TEXT NOT NULL, auto_closing INTEGER NOT NULL,"
    " variation INTEGER NOT NULL, source TEXT NOT NULL);"
    "CREATE INDEX record_time ON record(time_us, seq);"
    "CREATE INDEX record_path ON record(path, time_us, seq);";

constexpr char kSqliteMagic[16] = "SQLite format 3";  // with its NUL
constexpr size_t kHeaderSize = 100;
constexpr size_t kUserVersionOffset = 60;
constexpr size_t kApplicationIdOffset = 68;

int32_t big_endian_at(const unsigned char* header, size_t offset) {
  const uint32_t value =
      (uint32_t{header[offset]} << 24) | (uint32_t{header[offset + 1]} << 16) |
      (uint32_t{header[offset + 2]} << 8) | uint32_t{header[offset + 3]};
  return static_cast<int32_t>(value);
}

std::string folder_of(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

void remove_database_files(const std::string& path) {
  unlink(path.c_str());
  unlink((path + "-wal").c_str());
  unlink((path + "-shm").c_str());
}

// Runs `script` in a new file at `path`. Closing the only connection
// checkpoints the WAL into the file, so the header that readers check is
// complete before the file is renamed into place.
int write_new_database(const std::string& path, const std::string& script) {
  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db,
                           SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (rc == SQLITE_OK) {
    rc = sqlite3_exec(db, script.c_str(), nullptr, nullptr, nullptr);
  }
  const int close_rc = sqlite3_close(db);
  if (rc == SQLITE_OK) rc = close_rc;
  return rc == SQLITE_OK ? LOG_STATUS_OK : status_from_sqlite(rc);
}

// Holds an exclusive flock on a folder for its lifetime.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : fd_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    locked_ = fd_ >= 0 && flock(fd_, LOCK_EX) == 0;
  }
  ~FolderLock() {
    if (fd_ >= 0) close(fd_);  // releases the lock
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  bool locked() const { return locked_; }

 private:
  int fd_;
  bool locked_ = false;
};

}  // namespace

int check_sqlite_header(const std::string& path, int32_t application_id,
                        int32_t schema_version) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT ? LOG_STATUS_NO_FILE : LOG_STATUS_IO_ERROR;
  struct stat info;
  unsigned char header[kHeaderSize];
  ssize_t got = -1;
  const bool regular = fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  if (regular) got = pread(fd, header, sizeof(header), 0);
  close(fd);
  if (!regular) return LOG_STATUS_NOT_DATABASE;
  if (got < 0) return LOG_STATUS_IO_ERROR;
  if (static_cast<size_t>(got) < kHeaderSize ||
      memcmp(header, kSqliteMagic, sizeof(kSqliteMagic)) != 0) {
    return LOG_STATUS_NOT_DATABASE;
  }
  if (big_endian_at(header, kApplicationIdOffset) != application_id ||
      big_endian_at(header, kUserVersionOffset) != schema_version) {
    return LOG_STATUS_NOT_LOG;
  }
  return LOG_STATUS_OK;
}

int check_header(const std::string& path) {
  return check_sqlite_header(path, kApplicationId, kSchemaVersion);
}

int create_database(const std::string& path, const std::string& script) {
  const std::string folder = folder_of(path);
  struct stat info;
  if (stat(folder.c_str(), &info) != 0) return LOG_STATUS_NO_FILE;
  if (access(folder.c_str(), W_OK) != 0) return LOG_STATUS_READ_ONLY;
  FolderLock lock(folder);
  if (!lock.locked()) return LOG_STATUS_IO_ERROR;
  if (stat(path.c_str(), &info) == 0) return LOG_STATUS_OK;  // made meanwhile
  // A -wal left behind by a deleted file would be replayed onto the new one.
  unlink((path + "-wal").c_str());
  unlink((path + "-shm").c_str());
  const std::string temp = path + ".new." + std::to_string(getpid());
  remove_database_files(temp);
  int status = write_new_database(temp, script);
  if (status == LOG_STATUS_OK && rename(temp.c_str(), path.c_str()) != 0) {
    status = LOG_STATUS_IO_ERROR;
  }
  remove_database_files(temp);
  return status;
}

// WAL is set after the page size, which cannot change once the file is in
// WAL mode.
int create_log(const std::string& path, long long row_cap, int page_size) {
  return create_database(
      path, "PRAGMA page_size = " + std::to_string(page_size) +
                ";PRAGMA journal_mode = WAL;BEGIN;" + kSchema +
                "PRAGMA application_id = " + std::to_string(kApplicationId) +
                ";PRAGMA user_version = " + std::to_string(kSchemaVersion) +
                ";INSERT INTO meta VALUES('row_cap', " +
                std::to_string(row_cap) +
                ");INSERT INTO meta VALUES('rows', 0);COMMIT;");
}

}  // namespace logdb
}  // namespace toolkit
