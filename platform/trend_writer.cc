// Writing a trend log: trend::CWriter (trend.h).
//
// Each call is one IMMEDIATE transaction: the write lock is taken (or the
// busy time-out spent) before anything is read, and the call's rows go in
// all or nothing. As with the event logs (log_writer.cc), WAL mode with
// synchronous = NORMAL means a writer killed at any point loses no
// committed snapshot.

#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "platform/log_format.h"
#include "platform/trend_format.h"

namespace toolkit {
namespace trend {

namespace {

using format::Statement;
using format::Transaction;

// The seq of each of `params` in `device`; NOT_FOUND for one it lacks.
int read_seqs(sqlite3* db, long long device,
              const std::vector<CParamProperties>& params,
              std::vector<uint32_t>& seqs) {
  Statement s(db, "SELECT seq FROM param WHERE device = ?1 AND path = ?2");
  if (!s.ok()) return s.error();
  for (const CParamProperties& param : params) {
    sqlite3_bind_int64(s.get(), 1, device);
    s.bind_text(2, param.path);
    const int rc = s.step();
    if (rc == SQLITE_DONE) return LOG_STATUS_NOT_FOUND;
    if (rc != SQLITE_ROW) return logdb::status_from_sqlite(rc);
    seqs.push_back(static_cast<uint32_t>(sqlite3_column_int64(s.get(), 0)));
    s.reset();
  }
  return LOG_STATUS_OK;
}

int insert_snapshots(sqlite3* db, long long device, const CDeviceData& data,
                     const std::vector<uint32_t>& seqs) {
  Statement s(db,
              "INSERT OR REPLACE INTO snapshot(device, period, time, "
              "percent_valid, data) VALUES(?1, ?2, ?3, ?4, ?5)");
  if (!s.ok()) return s.error();
  for (const CSnapshot& snapshot : data.snapshots) {
    if (snapshot.samples.size() != seqs.size()) return LOG_STATUS_BAD_ARGUMENT;
    std::string blob;
    for (size_t i = 0; i < seqs.size(); ++i) {
      format::encode_entry(seqs[i], snapshot.samples[i], blob);
    }
    sqlite3_bind_int64(s.get(), 1, device);
    sqlite3_bind_int64(s.get(), 2, snapshot.period);
    sqlite3_bind_int64(s.get(), 3, snapshot.time);
    sqlite3_bind_double(s.get(), 4, snapshot.percent_valid);
    sqlite3_bind_blob(s.get(), 5, blob.data(), static_cast<int>(blob.size()),
                      SQLITE_TRANSIENT);
    const int status = s.run();
    if (status != LOG_STATUS_OK) return status;
    s.reset();
  }
  return LOG_STATUS_OK;
}

// Keeps the device's newest max_entries snapshots of each period written;
// BAD_ARGUMENT for a period the log does not list.
int trim(sqlite3* db, long long device, std::vector<unsigned> periods) {
  std::sort(periods.begin(), periods.end());
  periods.erase(std::unique(periods.begin(), periods.end()), periods.end());
  Statement limit(db, "SELECT max_entries FROM period WHERE period = ?1");
  Statement drop(db,
                 "DELETE FROM snapshot WHERE device = ?1 AND period = ?2 AND "
                 "time <= (SELECT time FROM snapshot WHERE device = ?1 AND "
                 "period = ?2 ORDER BY time DESC LIMIT 1 OFFSET ?3)");
  if (!limit.ok()) return limit.error();
  if (!drop.ok()) return drop.error();
  for (unsigned period : periods) {
    sqlite3_bind_int64(limit.get(), 1, period);
    const int rc = limit.step();
    if (rc == SQLITE_DONE) return LOG_STATUS_BAD_ARGUMENT;
    if (rc != SQLITE_ROW) return logdb::status_from_sqlite(rc);
    sqlite3_bind_int64(drop.get(), 1, device);
    sqlite3_bind_int64(drop.get(), 2, period);
    sqlite3_bind_int64(drop.get(), 3, sqlite3_column_int64(limit.get(), 0));
    limit.reset();
    const int status = drop.run();
    if (status != LOG_STATUS_OK) return status;
    drop.reset();
  }
  return LOG_STATUS_OK;
}

int add_params(sqlite3* db, long long device,
               const std::vector<CParamProperties>& params) {
  Statement s(db,
              "INSERT INTO param VALUES(?1, (SELECT coalesce(max(seq), 0) + 1 "
              "FROM param WHERE device = ?1), ?2, ?3, ?4) "
              "ON CONFLICT(device, path) DO UPDATE SET type = excluded.type, "
              "traits = excluded.traits");
  if (!s.ok()) return s.error();
  for (const CParamProperties& param : params) {
    sqlite3_bind_int64(s.get(), 1, device);
    s.bind_text(2, param.path);
    sqlite3_bind_int(s.get(), 3, param.type);
    sqlite3_bind_int(s.get(), 4, format::traits_of(param));
    const int status = s.run();
    if (status != LOG_STATUS_OK) return status;
    s.reset();
  }
  return LOG_STATUS_OK;
}

}  // namespace

CWriter::CWriter() = default;

CWriter::~CWriter() { close(); }

void CWriter::close() {
  sqlite3_close(db_);
  db_ = nullptr;
}

int CWriter::open(const std::string& path, unsigned page_size,
                  unsigned busy_ms) {
  close();
  if (path.empty() || page_size > 65536 ||
      !logdb::valid_page_size(static_cast<int>(page_size))) {
    return LOG_STATUS_BAD_ARGUMENT;
  }
  auto check = [&path] {
    return logdb::check_sqlite_header(path, format::kTrendApplicationId,
                                      format::kTrendSchemaVersion);
  };
  int status = check();
  if (status == LOG_STATUS_NO_FILE) {
    status = logdb::create_database(path, format::creation_script(page_size));
    if (status == LOG_STATUS_OK) status = check();
  }
  if (status != LOG_STATUS_OK) return status;
  // The identity before the open, as the reader takes it (trend_reader.cc).
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return LOG_STATUS_NO_FILE;
  path_ = path;
  device_ = info.st_dev;
  inode_ = info.st_ino;
  const int rc = sqlite3_open_v2(
      path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    status = logdb::status_from_sqlite(rc);
  } else if (sqlite3_db_readonly(db_, "main") != 0) {
    status = LOG_STATUS_READ_ONLY;  // SQLite's fallback for a locked file
  } else {
    sqlite3_busy_timeout(
        db_, busy_ms > 0 ? static_cast<int>(std::min(busy_ms, 3600000u))
                         : logdb::busy_ms_from_env("TOOLKIT_LOG_WRITE_BUSY_MS",
                                                   kLogPatientBusyMs));
    status = format::exec(db_, "PRAGMA synchronous = NORMAL");
  }
  int log_id = 0;
  if (status == LOG_STATUS_OK) status = format::read_log_id(db_, &log_id);
  if (status != LOG_STATUS_OK) close();
  return status;
}

bool CWriter::file_replaced() const {
  if (db_ == nullptr) return false;
  struct stat info;
  return stat(path_.c_str(), &info) != 0 || info.st_dev != device_ ||
         info.st_ino != inode_;
}

int CWriter::set_periods(const std::vector<CPeriodProperties>& periods) {
  if (db_ == nullptr) return LOG_STATUS_BAD_ARGUMENT;
  for (const CPeriodProperties& period : periods) {
    if (period.period == 0 || period.max_entries == 0) {
      return LOG_STATUS_BAD_ARGUMENT;
    }
  }
  Transaction write(db_, "BEGIN IMMEDIATE");
  if (write.status() != LOG_STATUS_OK) return write.status();
  Statement s(db_,
              "INSERT INTO period VALUES(?1, ?2) ON CONFLICT(period) "
              "DO UPDATE SET max_entries = excluded.max_entries");
  if (!s.ok()) return s.error();
  for (const CPeriodProperties& period : periods) {
    sqlite3_bind_int64(s.get(), 1, period.period);
    sqlite3_bind_int64(s.get(), 2, period.max_entries);
    const int status = s.run();
    if (status != LOG_STATUS_OK) return status;
    s.reset();
  }
  return write.commit();
}

int CWriter::set_device(const std::string& path, const std::string& name,
                        const std::vector<CParamProperties>& params,
                        CDeviceProperties& device) {
  if (db_ == nullptr || path.empty()) return LOG_STATUS_BAD_ARGUMENT;
  Transaction write(db_, "BEGIN IMMEDIATE");
  int status = write.status();
  int log_id = 0;
  if (status == LOG_STATUS_OK) status = format::read_log_id(db_, &log_id);
  if (status != LOG_STATUS_OK) return status;
  Statement add(db_,
                "INSERT INTO device(path, name) VALUES(?1, ?2) "
                "ON CONFLICT(path) DO UPDATE SET name = excluded.name");
  if (!add.ok()) return add.error();
  add.bind_text(1, path);
  add.bind_text(2, name);
  long long id = 0;
  status = add.run();
  if (status == LOG_STATUS_OK) {
    status = format::find_device(db_, path, &id);
  }
  if (status == LOG_STATUS_OK) status = add_params(db_, id, params);
  if (status == LOG_STATUS_OK) status = write.commit();
  if (status == LOG_STATUS_OK) {
    device = CDeviceProperties{path, name, static_cast<int>(id), log_id};
  }
  return status;
}

int CWriter::append(const CDeviceData& data) {
  if (db_ == nullptr) return LOG_STATUS_BAD_ARGUMENT;
  if (data.snapshots.empty()) return LOG_STATUS_OK;
  try {
    Transaction write(db_, "BEGIN IMMEDIATE");
    long long device = 0;
    std::vector<uint32_t> seqs;
    std::vector<unsigned> periods;
    int status = write.status();
    if (status == LOG_STATUS_OK) status = format::find_device(db_, data.device.path, &device);
    if (status == LOG_STATUS_OK) {
      status = read_seqs(db_, device, data.params, seqs);
    }
    if (status == LOG_STATUS_OK) {
      status = insert_snapshots(db_, device, data, seqs);
    }
    for (const CSnapshot& snapshot : data.snapshots) {
      periods.push_back(snapshot.period);
    }
    if (status == LOG_STATUS_OK) status = trim(db_, device, periods);
    return status == LOG_STATUS_OK ? write.commit() : status;
  } catch (...) {  // out of memory for a snapshot's data
    return LOG_STATUS_IO_ERROR;
  }
}

}  // namespace trend
}  // namespace toolkit
