// The log databases' file format, shared by the reader (log_reader.cc) and
// the writer (log_writer.cc). Internal to the toolkit library; programs use
// log.h.
//
// Layout (PRAGMA application_id kApplicationId, user_version
// kSchemaVersion, WAL mode; both numbers sit in the file's header, so a
// reader recognises a log without reading a table or taking a lock):
//
//   meta(key, value)       "row_cap": the most records the file keeps;
//                          "rows": how many it holds now (kept by the
//                          writers, so that capping needs no count(*))
//   record(id, time_us, seq, path, kind, alarm_id, vtype, value, vsec,
//          vusec, severity, quality, description, ack, priority, cond,
//          note, auto_closing, variation, source)
//       one row per CEvent. `id` (AUTOINCREMENT, so never reused after the
//       cap drops rows) is the append order and the event identifier of
//       every record but alarms, whose identifier is the alarm's number in
//       `alarm_id` (NULL otherwise). `time_us` is the record's time as qrx
//       microseconds, `seq` its sequence index; vtype/value/vsec/vusec the
//       typed value and its time stamp (encoded as the store encodes
//       leaves, cds_store.h); the rest are CEvent's fields one to one.
//   record_time(time_us, seq)        retrieval by time; with the rowid that
//                                    every index carries it is the full
//                                    retrieval order (time, seq, id)
//   record_path(path, time_us, seq)  retrieval by source path and time

#ifndef PLATFORM_LOG_FORMAT_H_
#define PLATFORM_LOG_FORMAT_H_

#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "platform/event.h"
#include "platform/log.h"

namespace toolkit {
namespace logdb {

// "TKLG": marks a database as a toolkit log.
constexpr int32_t kApplicationId = 0x544B4C47;
constexpr int32_t kSchemaVersion = 1;

// Checks without SQLite, and so without any lock, that `path` is a regular
// file with an SQLite header that marks a log of this version: NO_FILE,
// NOT_DATABASE, NOT_LOG or IO_ERROR otherwise.
int check_header(const std::string& path);

// Creates the log at `path` unless it exists (then it is left alone and
// this succeeds). The file is built under a temporary name and renamed
// into place while the folder is locked (flock) against other creators, so
// no process ever opens a half-made log.
int create_log(const std::string& path, long long row_cap, int page_size);

// What check_header and create_log do for any SQLite file of the toolkit
// (the trend log uses them too): check that `path` is a regular file whose
// header carries `application_id` and `schema_version`; create the file at
// `path` by running `script` (which sets the page size, WAL mode, the
// schema and both marks) in a file of a temporary name that is renamed into
// place, under the folder lock, unless the file exists.
int check_sqlite_header(const std::string& path, int32_t application_id,
                        int32_t schema_version);
int create_database(const std::string& path, const std::string& script);

// A page size SQLite accepts: 0, or a power of two from 512 to 65536.
bool valid_page_size(int page_size);
// PRAGMA cache_size for a size in bytes (negative: KiB), at least 1 KiB.
int cache_size_kib(int cache_bytes);
// Milliseconds from the environment variable `name` (0 to one hour), or
// `fallback` when it is unset or not such a number.
int busy_ms_from_env(const char* name, int fallback);
// The status for a failed SQLite call.
int status_from_sqlite(int rc);

// Columns of a record as the reader selects them, id first; column c of the
// select is parameter c of the writer's insert (which has no id). A macro so
// that the reader's statements stay single literals.
#define TOOLKIT_LOG_RECORD_COLUMNS                                      \
  "id, time_us, seq, path, kind, alarm_id, vtype, value, vsec, vusec, " \
  "severity, quality, description, ack, priority, cond, note, "         \
  "auto_closing, variation, source"
extern const char* const kInsertRecord;  // INSERT INTO record ... ?1..?19
// Bind `event` to the insert's parameters.
void bind_record(sqlite3_stmt* stmt, const CEvent& event);
// Read the current row of a select of TOOLKIT_LOG_RECORD_COLUMNS into
// `event`, which is a default CEvent (queue_id stays 0: it is the store
// queue's number, not the log's).
void column_record(sqlite3_stmt* stmt, CEvent& event);

}  // namespace logdb
}  // namespace toolkit

#endif  // PLATFORM_LOG_FORMAT_H_
