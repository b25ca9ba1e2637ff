// Writing a log: pcd_log_open_writer, pcd_log_append, pcd_log_close_writer
// (log.h).
//
// A batch is one IMMEDIATE transaction: the write lock is taken (or the
// busy time-out spent) before anything is read, the records are inserted,
// the oldest records beyond the cap are dropped and the row count in meta
// is updated, all or nothing. In WAL mode a commit is complete once its
// last frame is in the -wal file, so a writer killed at any point loses no
// committed batch; synchronous = NORMAL means a power cut (not a crash) may
// still lose the last batches written since the last checkpoint, never the
// file's consistency.

#include <new>
#include <string>
#include <utility>
#include <vector>

#include "platform/log_format.h"

namespace {

enum WriterStmt : int {
  kInsert,
  kReadMeta,
  kWriteMeta,
  kTrim,
  kWriteMark,
  kStmtCount
};

const char* const kWriterSql[kStmtCount] = {
    toolkit::logdb::kInsertRecord,
    "SELECT value FROM meta WHERE key = ?1",
    "UPDATE meta SET value = ?2 WHERE key = ?1",
    // The oldest in retrieval order, read along record_time.
    "DELETE FROM record WHERE id IN "
    "(SELECT id FROM record ORDER BY time_us, seq, id LIMIT ?1)",
    "INSERT OR REPLACE INTO meta(key, value) VALUES(?1, ?2)",
};

// Marks live in meta under this prefix, apart from the log's own keys.
const char kMarkPrefix[] = "mark:";

}  // namespace

struct pcd_log_writer {
  sqlite3* db = nullptr;
  sqlite3_stmt* stmts[kStmtCount] = {};
};

namespace {

using toolkit::CEvent;
using toolkit::logdb::status_from_sqlite;

// A statement of this writer, reset when the scope ends.
class Statement {
 public:
  Statement(pcd_log_writer* writer, WriterStmt id) {
    sqlite3_stmt*& slot = writer->stmts[id];
    if (slot == nullptr) {
      rc_ = sqlite3_prepare_v3(writer->db, kWriterSql[id], -1,
                               SQLITE_PREPARE_PERSISTENT, &slot, nullptr);
      if (rc_ != SQLITE_OK) {
        sqlite3_finalize(slot);
        slot = nullptr;
      }
    }
    stmt_ = slot;
  }
  ~Statement() {
    if (stmt_ != nullptr) sqlite3_reset(stmt_);
  }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  sqlite3_stmt* get() const { return stmt_; }
  // Status of a failed preparation; a missing table means not a log.
  int error() const {
    return (rc_ & 0xff) == SQLITE_ERROR ? LOG_STATUS_NOT_LOG
                                        : status_from_sqlite(rc_);
  }
  // Steps once; OK for a row or the end, a status otherwise.
  int step() {
    const int rc = sqlite3_step(stmt_);
    return rc == SQLITE_ROW || rc == SQLITE_DONE ? LOG_STATUS_OK
                                                 : status_from_sqlite(rc);
  }

 private:
  int rc_ = SQLITE_OK;
  sqlite3_stmt* stmt_ = nullptr;
};

int read_meta(pcd_log_writer* writer, const char* key, long long* value) {
  Statement s(writer, kReadMeta);
  if (s.get() == nullptr) return s.error();
  sqlite3_bind_text(s.get(), 1, key, -1, SQLITE_STATIC);
  const int rc = sqlite3_step(s.get());
  if (rc == SQLITE_DONE) return LOG_STATUS_NOT_LOG;  // meta without the key
  if (rc != SQLITE_ROW) return status_from_sqlite(rc);
  *value = sqlite3_column_int64(s.get(), 0);
  return LOG_STATUS_OK;
}

int write_meta(pcd_log_writer* writer, const char* key, long long value) {
  Statement s(writer, kWriteMeta);
  if (s.get() == nullptr) return s.error();
  sqlite3_bind_text(s.get(), 1, key, -1, SQLITE_STATIC);
  sqlite3_bind_int64(s.get(), 2, value);
  return s.step();
}

int insert_records(pcd_log_writer* writer, const std::vector<CEvent>& records,
                   std::vector<long long>& ids) {
  Statement s(writer, kInsert);
  if (s.get() == nullptr) return s.error();
  for (size_t i = 0; i < records.size(); ++i) {
    toolkit::logdb::bind_record(s.get(), records[i]);
    const int status = s.step();
    if (status != LOG_STATUS_OK) return status;
    sqlite3_reset(s.get());
    ids[i] = sqlite3_last_insert_rowid(writer->db);
  }
  return LOG_STATUS_OK;
}

// Counts `added` more rows and drops the oldest beyond the cap.
int enforce_cap(pcd_log_writer* writer, size_t added) {
  long long rows = 0, cap = 0;
  int status = read_meta(writer, "rows", &rows);
  if (status == LOG_STATUS_OK) status = read_meta(writer, "row_cap", &cap);
  if (status != LOG_STATUS_OK) return status;
  rows += static_cast<long long>(added);
  if (rows > cap) {
    Statement s(writer, kTrim);
    if (s.get() == nullptr) return s.error();
    sqlite3_bind_int64(s.get(), 1, rows - cap);
    status = s.step();
    if (status != LOG_STATUS_OK) return status;
    rows = cap;
  }
  return write_meta(writer, "rows", rows);
}

int exec(sqlite3* db, const char* sql) {
  return status_from_sqlite(sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

int write_mark(pcd_log_writer* writer, const std::string& name,
               const std::string& value) {
  Statement s(writer, kWriteMark);
  if (s.get() == nullptr) return s.error();
  const std::string key = kMarkPrefix + name;
  sqlite3_bind_text(s.get(), 1, key.c_str(), -1, SQLITE_TRANSIENT);
  sqlite3_bind_text(s.get(), 2, value.c_str(), -1, SQLITE_TRANSIENT);
  return s.step();
}

// `mark` null: records only.
int append_batch(pcd_log_writer* writer, const std::vector<CEvent>& records,
                 std::vector<long long>& ids,
                 const std::pair<std::string, std::string>* mark) {
  int status = exec(writer->db, "BEGIN IMMEDIATE");
  if (status != LOG_STATUS_OK) return status;
  status = insert_records(writer, records, ids);
  if (status == LOG_STATUS_OK) status = enforce_cap(writer, records.size());
  if (status == LOG_STATUS_OK && mark != nullptr) {
    status = write_mark(writer, mark->first, mark->second);
  }
  if (status == LOG_STATUS_OK) status = exec(writer->db, "COMMIT");
  if (status != LOG_STATUS_OK && !sqlite3_get_autocommit(writer->db)) {
    exec(writer->db, "ROLLBACK");
  }
  return status;
}

bool valid_settings(const pcd_log_writer_settings& settings) {
  return settings.row_cap >= 0 && settings.cache_size >= 0 &&
         settings.busy_ms >= 0 &&
         toolkit::logdb::valid_page_size(settings.page_size);
}

// Opens an existing log read-write with the writer's connection settings.
int open_connection(const char* path, const pcd_log_writer_settings& settings,
                    sqlite3** db) {
  int rc = sqlite3_open_v2(
      path, db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) return status_from_sqlite(rc);
  // SQLite falls back to read-only for a file it may not write.
  if (sqlite3_db_readonly(*db, "main") != 0) return LOG_STATUS_READ_ONLY;
  sqlite3_busy_timeout(
      *db, settings.busy_ms > 0
               ? settings.busy_ms
               : toolkit::logdb::busy_ms_from_env("TOOLKIT_LOG_WRITE_BUSY_MS",
                                                  kLogPatientBusyMs));
  std::string pragmas = "PRAGMA synchronous = NORMAL;";
  if (settings.cache_size > 0) {
    pragmas +=
        "PRAGMA cache_size = " +
        std::to_string(toolkit::logdb::cache_size_kib(settings.cache_size)) +
        ";";
  }
  return exec(*db, pragmas.c_str());
}

}  // namespace

extern "C" int pcd_log_open_writer(const char* path,
                                   const pcd_log_writer_settings* settings,
                                   pcd_log_writer_t* writer) {
  if (writer == nullptr) return LOG_STATUS_BAD_ARGUMENT;
  *writer = nullptr;
  const pcd_log_writer_settings chosen =
      settings != nullptr ? *settings : pcd_log_writer_settings{};
  if (path == nullptr || *path == '\0' || !valid_settings(chosen)) {
    return LOG_STATUS_BAD_ARGUMENT;
  }
  int status = toolkit::logdb::check_header(path);
  if (status == LOG_STATUS_NO_FILE) {
    status = toolkit::logdb::create_log(
        path, chosen.row_cap > 0 ? chosen.row_cap : kLogDefaultRowCap,
        chosen.page_size);
    if (status == LOG_STATUS_OK) status = toolkit::logdb::check_header(path);
  }
  if (status != LOG_STATUS_OK) return status;
  sqlite3* db = nullptr;
  status = open_connection(path, chosen, &db);
  pcd_log_writer* opened =
      status == LOG_STATUS_OK ? new (std::nothrow) pcd_log_writer : nullptr;
  if (opened == nullptr) {
    sqlite3_close(db);
    return status != LOG_STATUS_OK ? status : LOG_STATUS_IO_ERROR;
  }
  opened->db = db;
  *writer = opened;
  return LOG_STATUS_OK;
}

namespace {

int append(pcd_log_writer_t writer, std::vector<CEvent>& records,
           const std::pair<std::string, std::string>* mark) {
  if (writer == nullptr) return LOG_STATUS_BAD_ARGUMENT;
  if (records.empty() && mark == nullptr) return LOG_STATUS_OK;
  try {
    std::vector<long long> ids(records.size(), 0);
    const int status = append_batch(writer, records, ids, mark);
    if (status != LOG_STATUS_OK) return status;
    for (size_t i = 0; i < records.size(); ++i) {
      if (records[i].kind != toolkit::EVENT_KIND_ALARM) {
        records[i].event_id = static_cast<uint64_t>(ids[i]);
      }
    }
    return LOG_STATUS_OK;
  } catch (...) {  // out of memory for the ids
    if (!sqlite3_get_autocommit(writer->db)) exec(writer->db, "ROLLBACK");
    return LOG_STATUS_IO_ERROR;
  }
}

}  // namespace

int pcd_log_append(pcd_log_writer_t writer, std::vector<CEvent>& records) {
  return append(writer, records, nullptr);
}

int pcd_log_append_marked(pcd_log_writer_t writer,
                          std::vector<CEvent>& records,
                          const std::string& mark, const std::string& value) {
  const std::pair<std::string, std::string> named(mark, value);
  return append(writer, records, &named);
}

int pcd_log_read_mark(pcd_log_writer_t writer, const std::string& mark,
                      std::string* value, bool* found) {
  if (writer == nullptr || value == nullptr || found == nullptr) {
    return LOG_STATUS_BAD_ARGUMENT;
  }
  *found = false;
  value->clear();
  try {
    Statement s(writer, kReadMeta);
    if (s.get() == nullptr) return s.error();
    const std::string key = kMarkPrefix + mark;
    sqlite3_bind_text(s.get(), 1, key.c_str(), -1, SQLITE_TRANSIENT);
    const int rc = sqlite3_step(s.get());
    if (rc == SQLITE_DONE) return LOG_STATUS_OK;
    if (rc != SQLITE_ROW) return status_from_sqlite(rc);
    const unsigned char* text = sqlite3_column_text(s.get(), 0);
    if (text != nullptr) {
      value->assign(reinterpret_cast<const char*>(text),
                    sqlite3_column_bytes(s.get(), 0));
    }
    *found = true;
    return LOG_STATUS_OK;
  } catch (...) {
    return LOG_STATUS_IO_ERROR;
  }
}

extern "C" void pcd_log_close_writer(pcd_log_writer_t writer) {
  if (writer == nullptr) return;
  for (sqlite3_stmt*& stmt : writer->stmts) sqlite3_finalize(stmt);
  sqlite3_close(writer->db);
  delete writer;
}
