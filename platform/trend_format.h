// The trend log's file format, shared by its reader (trend_reader.cc) and
// writer (trend_writer.cc). Internal to the toolkit library; programs use
// trend.h.
//
// Layout (PRAGMA application_id kTrendApplicationId, user_version
// kTrendSchemaVersion, WAL mode; a reader recognises a trend log from the
// file's header, without a lock):
//
//   meta(key, value)        "log_id": a number drawn when the file is made,
//                           which device records carry (trend.h)
//   period(period, max_entries)
//   device(id, path, name)  path unique; id is the order of recording
//   param(device, seq, path, type, traits)
//                           one row per trended parameter of a device; seq
//                           numbers a device's parameters in the order they
//                           were first recorded and never changes, path is
//                           unique within the device; traits is a mask of
//                           kTrait* (the values kept)
//   snapshot(id, device, period, time, percent_valid, data)
//                           one row per device, period and period end
//                           (UNIX seconds), unique on those three (index
//                           snapshot_time); data holds the parameters'
//                           values, kEntryBytes per parameter: its seq as a
//                           big-endian uint32, then min, max, avg, actual
//                           and stddev as big-endian IEEE doubles (NaN:
//                           missing). Big-endian, so that a file moves
//                           between the card and a PC unchanged.
//
// Paths are compared as SQLite's BINARY collation compares them: exactly,
// byte by byte.

#ifndef PLATFORM_TREND_FORMAT_H_
#define PLATFORM_TREND_FORMAT_H_

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/trend.h"

namespace toolkit {
namespace trend {
namespace format {

// "TKTR": marks a database as a toolkit trend log.
constexpr int32_t kTrendApplicationId = 0x544B5452;
constexpr int32_t kTrendSchemaVersion = 1;

enum Trait : int {
  kTraitMin = 1,
  kTraitMax = 2,
  kTraitAvg = 4,
  kTraitActual = 8,
  kTraitStddev = 16,
};

constexpr size_t kEntryBytes = 4 + 5 * 8;

// The script that makes a new log (create_database in log_format.h).
std::string creation_script(unsigned page_size);

int traits_of(const CParamProperties& param);
void set_traits(int traits, CParamProperties& param);

// Appends one parameter's entry to `data`.
void encode_entry(uint32_t seq, const CSample& sample, std::string& data);
// Reads entry `index` of `data` (which holds at least index + 1 entries).
void decode_entry(const unsigned char* data, size_t index, uint32_t* seq,
                  CSample* sample);

// A prepared statement, finalized when the scope ends.
class Statement {
 public:
  Statement(sqlite3* db, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  bool ok() const { return stmt_ != nullptr; }
  // The status of a failed preparation; a missing table means that the
  // file is not a trend log.
  int error() const;
  sqlite3_stmt* get() const { return stmt_; }
  void bind_text(int index, const std::string& text);
  // SQLITE_ROW, SQLITE_DONE or an error code.
  int step() { return sqlite3_step(stmt_); }
  // Steps to the end; a status.
  int run();
  // Ready for the next bindings.
  void reset();

 private:
  sqlite3_stmt* stmt_ = nullptr;
  int rc_ = SQLITE_OK;
};

// sqlite3_exec as a status.
int exec(sqlite3* db, const char* sql);

// A transaction: `begin` ("BEGIN" for one read snapshot, "BEGIN
// IMMEDIATE" for a write) at construction, rolled back at the end unless
// commit() succeeded.
class Transaction {
 public:
  Transaction(sqlite3* db, const char* begin);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  int status() const { return status_; }
  int commit();

 private:
  sqlite3* db_;
  int status_;
  bool open_;
};

// A text column as std::string (embedded NULs kept).
std::string column_text(sqlite3_stmt* stmt, int column);

// The file's log_id.
int read_log_id(sqlite3* db, int* log_id);

// The id of the device at `path`; NOT_FOUND when the log has none.
int find_device(sqlite3* db, const std::string& path, long long* id);

}  // namespace format
}  // namespace trend
}  // namespace toolkit

#endif  // PLATFORM_TREND_FORMAT_H_
