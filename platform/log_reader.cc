// Reading a log: pcd_log_init, pcd_log_close and CLog::retrieve (log.h).
//
// The records of a retrieval come from one SELECT, and one statement reads
// one snapshot of the file, so a reader never sees part of a batch (the
// probe below only picks the plan). The statements are fixed texts: absent
// bounds become the extreme times, no limit becomes LIMIT -1, and the path
// filter is bound as text ranges, so no request changes the SQL and no
// character of a filter is a wildcard.
//
// A filtered retrieval has two plans, and which is fast depends on how many
// records the filter matches (measured in the sqlite3 shell on log_bench's million records):
//   seek  read the matching keys (time, seq, id) from record_path alone,
//         sort them, keep `max`, then fetch those rows: cost grows with the
//         matches (one point: 3 ms; everything: 190 ms for 10000 records)
//   scan  walk record_time from the wanted end and test each row's path
//         until `max` match: cost grows with the records skipped (one
//         point: 270 ms; everything: 5 ms)
// A probe counts the matches along record_path, stopping at kProbeFactor
// times `max`; fewer than that take the seek, more the scan, which then
// meets a match every few records. Without a limit every match is read
// anyway, so the seek always wins.

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

#include "platform/log_format.h"
#include "platform/qrxtime.h"

namespace {

using toolkit::CEvent;

constexpr long long kProbeFactor = 10;

// Parameters: ?1 and ?2 the time bounds, ?3 the limit; the filter is the
// source path itself (?4) or a path below it after "/" (?5..?6) or ":"
// (?7..?8).
enum Query : int {
  kAllOldestFirst,
  kAllNewestFirst,
  kScanOldestFirst,
  kScanNewestFirst,
  kSeekOldestFirst,
  kSeekNewestFirst,
  kProbe,
  kQueryCount
};

#define IN_RANGE "time_us >= ?1 AND time_us <= ?2"
#define MATCHES_PATH \
  "(path = ?4 OR (path >= ?5 AND path < ?6) OR (path >= ?7 AND path < ?8))"
#define SELECT_RECORDS "SELECT " TOOLKIT_LOG_RECORD_COLUMNS " FROM record "
#define OLDEST_FIRST " ORDER BY time_us, seq, id LIMIT ?3"
#define NEWEST_FIRST " ORDER BY time_us DESC, seq DESC, id DESC LIMIT ?3"
// One arm per part of the filter, each a covering search of record_path.
#define MATCHING_KEYS(what)                                             \
  "SELECT " what                                                        \
  " FROM record INDEXED BY record_path WHERE path = ?4 "                \
  "AND " IN_RANGE " UNION ALL SELECT " what                             \
  " FROM record INDEXED BY record_path WHERE path >= ?5 AND path < ?6 " \
  "AND " IN_RANGE " UNION ALL SELECT " what                             \
  " FROM record INDEXED BY record_path WHERE path >= ?7 AND path < ?8 " \
  "AND " IN_RANGE
#define KEYS "id AS key_id, time_us AS key_time, seq AS key_seq"
#define KEYS_OLDEST_FIRST " ORDER BY key_time, key_seq, key_id"
#define KEYS_NEWEST_FIRST " ORDER BY key_time DESC, key_seq DESC, key_id DESC"
// The keys come first: CROSS JOIN keeps them the outer loop, so that each
// costs one search of the table by id.
#define SEEK(order)                                                        \
  "SELECT " TOOLKIT_LOG_RECORD_COLUMNS " FROM (" MATCHING_KEYS(KEYS) order \
      " LIMIT ?3) CROSS JOIN record ON id = key_id" order

const char* const kQuerySql[kQueryCount] = {
    SELECT_RECORDS "WHERE " IN_RANGE OLDEST_FIRST,
    SELECT_RECORDS "WHERE " IN_RANGE NEWEST_FIRST,
    SELECT_RECORDS "INDEXED BY record_time WHERE " IN_RANGE
                   " AND " MATCHES_PATH OLDEST_FIRST,
    SELECT_RECORDS "INDEXED BY record_time WHERE " IN_RANGE
                   " AND " MATCHES_PATH NEWEST_FIRST,
    SEEK(KEYS_OLDEST_FIRST),
    SEEK(KEYS_NEWEST_FIRST),
    "SELECT count(*) FROM (" MATCHING_KEYS("1") " LIMIT ?3)",
};

// The filter as three disjoint parts, because the seek reads each with its
// own search: the path itself, and the text ranges of the paths below it
// after "/" and after ":" (the characters that follow those in byte order
// are "0" and ";").
struct PathRanges {
  std::string exact;  // "" for the root, whose own path is in the range
  std::string slash_low, slash_high, colon_low, colon_high;
};

// False when `filter` selects every record (null or empty).
bool make_ranges(const char* filter, PathRanges* ranges) {
  if (filter == nullptr || *filter == '\0') return false;
  std::string path = filter;
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (path == "/") {  // every absolute path: "/" up to "0"; nothing after ":"
    ranges->exact.clear();
    ranges->slash_low = "/";
    ranges->slash_high = ranges->colon_low = ranges->colon_high = "0";
    return true;
  }
  ranges->exact = path;
  ranges->slash_low = path + "/";
  ranges->slash_high = path + "0";
  ranges->colon_low = path + ":";
  ranges->colon_high = path + ";";
  return true;
}

long long bound_us(const timeval* bound, long long absent) {
  return bound == nullptr ? absent : qrx_UNIXtoQRXtime64(bound);
}

}  // namespace

struct pcd_log {
  sqlite3* db = nullptr;
  // KiB of page cache still to set (PRAGMA cache_size reads the schema, so
  // it waits for the first retrieval; opening takes no lock). 0: none.
  int pending_cache_kib = 0;
  sqlite3_stmt* stmts[kQueryCount] = {};
};

namespace {

void bind_text(sqlite3_stmt* stmt, int index, const std::string& text) {
  sqlite3_bind_text(stmt, index, text.data(), static_cast<int>(text.size()),
                    SQLITE_STATIC);
}

int apply_pending_settings(pcd_log* log) {
  if (log->pending_cache_kib == 0) return LOG_STATUS_OK;
  const std::string pragma =
      "PRAGMA cache_size = " + std::to_string(log->pending_cache_kib);
  const int rc =
      sqlite3_exec(log->db, pragma.c_str(), nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) return toolkit::logdb::status_from_sqlite(rc);
  log->pending_cache_kib = 0;
  return LOG_STATUS_OK;
}

// The prepared statement for `query`. Preparing reads the schema: a
// database without the record table is not a log.
int statement(pcd_log* log, Query query, sqlite3_stmt** stmt) {
  sqlite3_stmt*& slot = log->stmts[query];
  if (slot == nullptr) {
    const int rc =
        sqlite3_prepare_v3(log->db, kQuerySql[query], -1,
                           SQLITE_PREPARE_PERSISTENT, &slot, nullptr);
    if (rc != SQLITE_OK) {
      sqlite3_finalize(slot);
      slot = nullptr;
      return (rc & 0xff) == SQLITE_ERROR
                 ? LOG_STATUS_NOT_LOG
                 : toolkit::logdb::status_from_sqlite(rc);
    }
  }
  *stmt = slot;
  return LOG_STATUS_OK;
}

// Resets the statement when the scope ends, which ends its read snapshot.
class ResetOnExit {
 public:
  explicit ResetOnExit(sqlite3_stmt* stmt) : stmt_(stmt) {}
  ~ResetOnExit() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }
  ResetOnExit(const ResetOnExit&) = delete;
  ResetOnExit& operator=(const ResetOnExit&) = delete;

 private:
  sqlite3_stmt* stmt_;
};

// A retrieval's parameters as the statements bind them.
struct Request {
  long long start_us;
  long long end_us;
  bool filtered;
  PathRanges ranges;
};

// Binds `request` and `limit` (-1: none) to `query`'s statement.
int bind_query(pcd_log* log, Query query, const Request& request,
               long long limit, sqlite3_stmt** stmt) {
  const int status = statement(log, query, stmt);
  if (status != LOG_STATUS_OK) return status;
  sqlite3_bind_int64(*stmt, 1, request.start_us);
  sqlite3_bind_int64(*stmt, 2, request.end_us);
  sqlite3_bind_int64(*stmt, 3, limit);
  if (request.filtered) {
    if (request.ranges.exact.empty()) {
      sqlite3_bind_null(*stmt, 4);  // path = NULL matches nothing
    } else {
      bind_text(*stmt, 4, request.ranges.exact);
    }
    bind_text(*stmt, 5, request.ranges.slash_low);
    bind_text(*stmt, 6, request.ranges.slash_high);
    bind_text(*stmt, 7, request.ranges.colon_low);
    bind_text(*stmt, 8, request.ranges.colon_high);
  }
  return LOG_STATUS_OK;
}

// The plan for a filtered retrieval (see the top of this file).
int choose_filtered(pcd_log* log, const Request& request, int max, bool* seek) {
  *seek = true;
  if (max <= 0) return LOG_STATUS_OK;
  const long long enough = kProbeFactor * max;
  sqlite3_stmt* stmt = nullptr;
  const int status = bind_query(log, kProbe, request, enough, &stmt);
  if (status != LOG_STATUS_OK) return status;
  ResetOnExit reset(stmt);
  const int rc = sqlite3_step(stmt);
  if (rc != SQLITE_ROW) return toolkit::logdb::status_from_sqlite(rc);
  *seek = sqlite3_column_int64(stmt, 0) < enough;
  return LOG_STATUS_OK;
}

int read_rows(sqlite3_stmt* stmt, int max, std::vector<CEvent>& records) {
  if (max > 0) records.reserve(static_cast<size_t>(max));
  int rc;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    records.emplace_back();
    toolkit::logdb::column_record(stmt, records.back());
  }
  return rc == SQLITE_DONE ? LOG_STATUS_OK
                           : toolkit::logdb::status_from_sqlite(rc);
}

int query_log(pcd_log* log, const char* filter, const timeval* start,
              const timeval* end, int max, bool newest_first,
              std::vector<CEvent>& records) {
  int status = apply_pending_settings(log);
  if (status != LOG_STATUS_OK) return status;
  Request request;
  request.start_us = bound_us(start, std::numeric_limits<int64_t>::min());
  request.end_us = bound_us(end, std::numeric_limits<int64_t>::max());
  request.filtered = make_ranges(filter, &request.ranges);
  Query query = kAllOldestFirst;
  if (request.filtered) {
    bool seek = true;
    status = choose_filtered(log, request, max, &seek);
    if (status != LOG_STATUS_OK) return status;
    query = seek ? kSeekOldestFirst : kScanOldestFirst;
  }
  // Each NewestFirst statement follows its OldestFirst twin.
  if (newest_first) query = static_cast<Query>(query + 1);
  sqlite3_stmt* stmt = nullptr;
  status = bind_query(log, query, request, max > 0 ? max : -1, &stmt);
  if (status != LOG_STATUS_OK) return status;
  ResetOnExit reset(stmt);
  return read_rows(stmt, max, records);
}

}  // namespace

extern "C" int pcd_log_init(const char* path, int reserved1, int reserved2,
                            int reserved3, int read_only, int fail_fast,
                            int page_size, int cache_size, int heap_limit,
                            pcd_log_handle_t* handle) {
  if (handle == nullptr) return LOG_STATUS_BAD_ARGUMENT;
  *handle = nullptr;
  if (path == nullptr || *path == '\0' || reserved1 != 0 || reserved2 != 0 ||
      reserved3 != 0 || read_only != 1 || (fail_fast != 0 && fail_fast != 1) ||
      !toolkit::logdb::valid_page_size(page_size) || cache_size < 0 ||
      heap_limit < 0) {
    return LOG_STATUS_BAD_ARGUMENT;
  }
  const int status = toolkit::logdb::check_header(path);
  if (status != LOG_STATUS_OK) return status;
  sqlite3* db = nullptr;
  const int rc = sqlite3_open_v2(
      path, &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    sqlite3_close(db);
    return toolkit::logdb::status_from_sqlite(rc);
  }
  sqlite3_busy_timeout(db, fail_fast
                               ? toolkit::logdb::busy_ms_from_env(
                                     "TOOLKIT_LOG_BUSY_MS", kLogReaderBusyMs)
                               : kLogPatientBusyMs);
  if (heap_limit > 0) sqlite3_soft_heap_limit64(heap_limit);
  pcd_log* log = new (std::nothrow) pcd_log;
  if (log == nullptr) {
    sqlite3_close(db);
    return LOG_STATUS_IO_ERROR;
  }
  log->db = db;
  if (cache_size > 0) {
    log->pending_cache_kib = toolkit::logdb::cache_size_kib(cache_size);
  }
  *handle = log;
  return LOG_STATUS_OK;
}

extern "C" void pcd_log_close(pcd_log_handle_t handle) {
  if (handle == nullptr) return;
  for (sqlite3_stmt*& stmt : handle->stmts) sqlite3_finalize(stmt);
  sqlite3_close(handle->db);
  delete handle;
}

namespace toolkit {

int CLog::retrieve(std::vector<CEvent>& records, const char* pathFilter,
                   const timeval* start, const timeval* end, int max,
                   bool latestFirst, bool reverse, int reserved) {
  records.clear();
  if (handle_ == nullptr || reserved != 0) return LOG_STATUS_BAD_ARGUMENT;
  try {
    // The newest records are found by reading newest first; the answer is
    // then turned round when the caller wants the other order.
    const int status =
        query_log(handle_, pathFilter, start, end, max, latestFirst, records);
    if (status != LOG_STATUS_OK) {
      records.clear();
      return status;
    }
    if (latestFirst != reverse) std::reverse(records.begin(), records.end());
    return LOG_STATUS_OK;
  } catch (...) {  // out of memory for the records
    records.clear();
    return LOG_STATUS_IO_ERROR;
  }
}

}  // namespace toolkit
