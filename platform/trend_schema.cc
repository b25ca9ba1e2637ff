// The trend log's schema, its value encoding and the SQLite plumbing its
// reader and writer share (see trend_format.h).

#include <cmath>
#include <cstring>
#include <limits>

#include "platform/log_format.h"
#include "platform/trend_format.h"

namespace toolkit {
namespace trend {

CSample missing_sample() {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  return CSample{nan, nan, nan, nan, nan};
}

namespace format {

namespace {

// Columns without a declared type where an affinity could change a value.
const char kSchema[] =
    "CREATE TABLE meta(key TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "CREATE TABLE period(period INTEGER PRIMARY KEY,"
    " max_entries INTEGER NOT NULL);"
    "CREATE TABLE device(id INTEGER PRIMARY KEY, path TEXT NOT NULL UNIQUE,"
    " name TEXT NOT NULL);"
    "CREATE TABLE param(device INTEGER NOT NULL, seq INTEGER NOT NULL,"
    " path TEXT NOT NULL, type INTEGER NOT NULL, traits INTEGER NOT NULL,"
    " PRIMARY KEY(device, seq), UNIQUE(device, path)) WITHOUT ROWID;"
    "CREATE TABLE snapshot(id INTEGER PRIMARY KEY, device INTEGER NOT NULL,"
    " period INTEGER NOT NULL, time INTEGER NOT NULL,"
    " percent_valid REAL NOT NULL, data BLOB NOT NULL);"
    "CREATE UNIQUE INDEX snapshot_time ON snapshot(device, period, time);";

void put_u32(uint32_t value, std::string& data) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    data.push_back(static_cast<char>((value >> shift) & 0xff));
  }
}

void put_double(double value, std::string& data) {
  uint64_t bits = 0;
  memcpy(&bits, &value, sizeof(bits));
  for (int shift = 56; shift >= 0; shift -= 8) {
    data.push_back(static_cast<char>((bits >> shift) & 0xff));
  }
}

uint64_t get_big_endian(const unsigned char* bytes, int count) {
  uint64_t value = 0;
  for (int i = 0; i < count; ++i) value = (value << 8) | bytes[i];
  return value;
}

double get_double(const unsigned char* bytes) {
  const uint64_t bits = get_big_endian(bytes, 8);
  double value = 0;
  memcpy(&value, &bits, sizeof(value));
  return value;
}

}  // namespace

std::string creation_script(unsigned page_size) {
  // WAL after the page size, which cannot change once the file is in WAL
  // mode. log_id: 1 .. 2^31-1.
  return "PRAGMA page_size = " + std::to_string(page_size) +
         ";PRAGMA journal_mode = WAL;BEGIN;" + kSchema +
         "PRAGMA application_id = " + std::to_string(kTrendApplicationId) +
         ";PRAGMA user_version = " + std::to_string(kTrendSchemaVersion) +
         ";INSERT INTO meta VALUES('log_id',"
         " abs(random() % 2147483647) + 1);COMMIT;";
}

int traits_of(const CParamProperties& param) {
  return (param.has_min ? kTraitMin : 0) | (param.has_max ? kTraitMax : 0) |
         (param.has_avg ? kTraitAvg : 0) |
         (param.has_actual ? kTraitActual : 0) |
         (param.has_stddev ? kTraitStddev : 0);
}

void set_traits(int traits, CParamProperties& param) {
  param.has_min = (traits & kTraitMin) != 0;
  param.has_max = (traits & kTraitMax) != 0;
  param.has_avg = (traits & kTraitAvg) != 0;
  param.has_actual = (traits & kTraitActual) != 0;
  param.has_stddev = (traits & kTraitStddev) != 0;
}

void encode_entry(uint32_t seq, const CSample& sample, std::string& data) {
  put_u32(seq, data);
  for (double value : {sample.min, sample.max, sample.avg, sample.actual,
                       sample.stddev}) {
    put_double(value, data);
  }
}

void decode_entry(const unsigned char* data, size_t index, uint32_t* seq,
                  CSample* sample) {
  const unsigned char* entry = data + index * kEntryBytes;
  *seq = static_cast<uint32_t>(get_big_endian(entry, 4));
  double* values[] = {&sample->min, &sample->max, &sample->avg,
                      &sample->actual, &sample->stddev};
  for (size_t i = 0; i < 5; ++i) *values[i] = get_double(entry + 4 + 8 * i);
}

Statement::Statement(sqlite3* db, const char* sql) {
  rc_ = sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr);
  if (rc_ != SQLITE_OK) {
    sqlite3_finalize(stmt_);
    stmt_ = nullptr;
  }
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

int Statement::error() const {
  return (rc_ & 0xff) == SQLITE_ERROR ? LOG_STATUS_NOT_LOG
                                      : logdb::status_from_sqlite(rc_);
}

void Statement::bind_text(int index, const std::string& text) {
  sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                    SQLITE_TRANSIENT);
}

int Statement::run() {
  int rc;
  while ((rc = sqlite3_step(stmt_)) == SQLITE_ROW) {
  }
  return logdb::status_from_sqlite(rc);
}

void Statement::reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

int exec(sqlite3* db, const char* sql) {
  return logdb::status_from_sqlite(
      sqlite3_exec(db, sql, nullptr, nullptr, nullptr));
}

Transaction::Transaction(sqlite3* db, const char* begin)
    : db_(db), status_(exec(db, begin)), open_(status_ == LOG_STATUS_OK) {}

Transaction::~Transaction() {
  if (open_ && !sqlite3_get_autocommit(db_)) exec(db_, "ROLLBACK");
}

int Transaction::commit() {
  const int status = exec(db_, "COMMIT");
  if (status == LOG_STATUS_OK) open_ = false;
  return status;
}

std::string column_text(sqlite3_stmt* stmt, int column) {
  const unsigned char* text = sqlite3_column_text(stmt, column);
  return text == nullptr ? std::string()
                         : std::string(reinterpret_cast<const char*>(text),
                                       sqlite3_column_bytes(stmt, column));
}

int read_log_id(sqlite3* db, int* log_id) {
  Statement s(db, "SELECT value FROM meta WHERE key = 'log_id'");
  if (!s.ok()) return s.error();
  const int rc = s.step();
  if (rc == SQLITE_DONE) return LOG_STATUS_NOT_LOG;
  if (rc != SQLITE_ROW) return logdb::status_from_sqlite(rc);
  *log_id = sqlite3_column_int(s.get(), 0);
  return LOG_STATUS_OK;
}

int find_device(sqlite3* db, const std::string& path, long long* id) {
  Statement s(db, "SELECT id FROM device WHERE path = ?1");
  if (!s.ok()) return s.error();
  s.bind_text(1, path);
  const int rc = s.step();
  if (rc == SQLITE_DONE) return LOG_STATUS_NOT_FOUND;
  if (rc != SQLITE_ROW) return logdb::status_from_sqlite(rc);
  *id = sqlite3_column_int64(s.get(), 0);
  return LOG_STATUS_OK;
}

}  // namespace format
}  // namespace trend
}  // namespace toolkit
