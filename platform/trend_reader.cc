// Reading a trend log: trend::CLog (trend.h).
//
// Every call first makes sure the connection reads the file now at the
// log's path (follow_file), then reads. get_trend_data reads in one
// transaction, so that its two steps (choosing the snapshots, then reading
// them) see one state of the file while the recorder goes on writing.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <unordered_map>

#include "platform/log_format.h"
#include "platform/trend_format.h"

namespace toolkit {
namespace trend {

namespace {

using format::Statement;

// An hour: longer waits are taken for this long.
constexpr unsigned kMaxBusyMs = 3600 * 1000;

// Where a snapshot sits in the merged list of all periods.
struct SnapshotKey {
  long time;
  unsigned period;
  long long id;
};

bool earlier(const SnapshotKey& a, const SnapshotKey& b) {
  return a.time != b.time ? a.time < b.time : a.period < b.period;
}

bool later(const SnapshotKey& a, const SnapshotKey& b) {
  return earlier(b, a);
}

// The distinct period values of `periods`, so that a period listed twice
// is read once.
std::vector<unsigned> distinct_periods(
    const std::vector<CPeriodProperties>& periods) {
  std::vector<unsigned> values;
  for (const CPeriodProperties& period : periods) {
    values.push_back(period.period);
  }
  std::sort(values.begin(), values.end());
  values.erase(std::unique(values.begin(), values.end()), values.end());
  return values;
}

// Up to `limit` (-1: all) keys of one period's snapshots in `range`, from
// the end the limit keeps.
int read_keys(sqlite3* db, long long device, unsigned period,
              const std::pair<long, long>& range, long long limit,
              bool oldest_first, std::vector<SnapshotKey>& keys) {
  Statement s(db, oldest_first
                      ? "SELECT id, time FROM snapshot WHERE device = ?1 AND "
                        "period = ?2 AND time >= ?3 AND time <= ?4 "
                        "ORDER BY time LIMIT ?5"
                      : "SELECT id, time FROM snapshot WHERE device = ?1 AND "
                        "period = ?2 AND time >= ?3 AND time <= ?4 "
                        "ORDER BY time DESC LIMIT ?5");
  if (!s.ok()) return s.error();
  sqlite3_bind_int64(s.get(), 1, device);
  sqlite3_bind_int64(s.get(), 2, period);
  sqlite3_bind_int64(s.get(), 3, range.first < 0 ? INT64_MIN : range.first);
  sqlite3_bind_int64(s.get(), 4, range.second < 0 ? INT64_MAX : range.second);
  sqlite3_bind_int64(s.get(), 5, limit);
  int rc;
  while ((rc = s.step()) == SQLITE_ROW) {
    keys.push_back({static_cast<long>(sqlite3_column_int64(s.get(), 1)),
                    period, sqlite3_column_int64(s.get(), 0)});
  }
  return logdb::status_from_sqlite(rc);
}

// The seq of each of `params` in the device (-1: not a parameter of it).
int read_seqs(sqlite3* db, long long device,
              const std::vector<CParamProperties>& params,
              std::unordered_map<uint32_t, std::vector<size_t>>& slots) {
  Statement s(db, "SELECT seq FROM param WHERE device = ?1 AND path = ?2");
  if (!s.ok()) return s.error();
  for (size_t i = 0; i < params.size(); ++i) {
    sqlite3_bind_int64(s.get(), 1, device);
    s.bind_text(2, params[i].path);
    const int rc = s.step();
    if (rc == SQLITE_ROW) {
      slots[static_cast<uint32_t>(sqlite3_column_int64(s.get(), 0))]
          .push_back(i);
    } else if (rc != SQLITE_DONE) {
      return logdb::status_from_sqlite(rc);
    }
    s.reset();
  }
  return LOG_STATUS_OK;
}

// Reads the snapshot `key` into `snapshot`, whose samples are all missing
// to begin with; `slots` maps a seq to the places of its parameter.
int read_snapshot(
    Statement& s, const SnapshotKey& key,
    const std::unordered_map<uint32_t, std::vector<size_t>>& slots,
    CSnapshot& snapshot) {
  sqlite3_bind_int64(s.get(), 1, key.id);
  const int rc = s.step();
  if (rc != SQLITE_ROW) {
    return rc == SQLITE_DONE ? LOG_STATUS_CORRUPT
                             : logdb::status_from_sqlite(rc);
  }
  snapshot.period = key.period;
  snapshot.time = key.time;
  snapshot.percent_valid = sqlite3_column_double(s.get(), 0);
  const auto* data =
      static_cast<const unsigned char*>(sqlite3_column_blob(s.get(), 1));
  const size_t bytes = static_cast<size_t>(sqlite3_column_bytes(s.get(), 1));
  if (bytes % format::kEntryBytes != 0) return LOG_STATUS_CORRUPT;
  for (size_t i = 0; i < bytes / format::kEntryBytes; ++i) {
    uint32_t seq = 0;
    CSample sample;
    format::decode_entry(data, i, &seq, &sample);
    const auto found = slots.find(seq);
    if (found == slots.end()) continue;
    for (size_t slot : found->second) snapshot.samples[slot] = sample;
  }
  s.reset();
  return LOG_STATUS_OK;
}

}  // namespace

CLog::CLog() = default;

CLog::~CLog() { close(); }

int CLog::open(const std::string& path, bool read_only, bool create,
               unsigned busy_ms, bool quick_check, unsigned page_size,
               unsigned cache_size, unsigned heap_limit, bool pin_file) {
  close();
  if (path.empty() || !read_only || create || page_size > 65536 ||
      !logdb::valid_page_size(static_cast<int>(page_size))) {
    return LOG_STATUS_BAD_ARGUMENT;
  }
  settings_.path = path;
  settings_.busy_ms = busy_ms;
  settings_.cache_size = cache_size;
  settings_.pin_file = pin_file;
  if (heap_limit > 0) sqlite3_soft_heap_limit64(heap_limit);
  int status = connect();
  if (status == LOG_STATUS_OK && quick_check) {
    Statement s(db_, "PRAGMA quick_check");
    status = !s.ok() ? s.error()
             : s.step() != SQLITE_ROW
                 ? LOG_STATUS_CORRUPT
                 : format::column_text(s.get(), 0) == "ok" ? LOG_STATUS_OK
                                                           : LOG_STATUS_CORRUPT;
  }
  if (status != LOG_STATUS_OK) close();
  opened_ = status == LOG_STATUS_OK;
  return status;
}

void CLog::close() {
  sqlite3_close(db_);
  db_ = nullptr;
  opened_ = false;
}

// Opens the file now at the path. Its identity is taken before it is
// opened: should it be replaced in between, the next call sees another
// identity and opens again, never the other way round.
int CLog::connect() {
  sqlite3_close(db_);
  db_ = nullptr;
  const int status = logdb::check_sqlite_header(
      settings_.path, format::kTrendApplicationId, format::kTrendSchemaVersion);
  if (status != LOG_STATUS_OK) return status;
  struct stat info;
  if (stat(settings_.path.c_str(), &info) != 0) return LOG_STATUS_NO_FILE;
  device_ = info.st_dev;
  inode_ = info.st_ino;
  sqlite3* db = nullptr;
  const int rc = sqlite3_open_v2(settings_.path.c_str(), &db,
                                 SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX,
                                 nullptr);
  if (rc != SQLITE_OK) {
    sqlite3_close(db);
    return logdb::status_from_sqlite(rc);
  }
  sqlite3_busy_timeout(db, static_cast<int>(std::min(settings_.busy_ms,
                                                    kMaxBusyMs)));
  db_ = db;
  if (settings_.cache_size == 0) return LOG_STATUS_OK;
  // Setting the cache reads the schema: a file without it is no trend log.
  const std::string pragma =
      "PRAGMA cache_size = " +
      std::to_string(logdb::cache_size_kib(static_cast<int>(
          std::min(settings_.cache_size, 1u << 30))));
  return format::exec(db_, pragma.c_str());
}

// A file that took the log's place but could not be opened (not a trend
// log, say) leaves no connection; the next call tries the path again.
int CLog::follow_file() {
  if (!opened_) return LOG_STATUS_BAD_ARGUMENT;
  if (settings_.pin_file) return LOG_STATUS_OK;
  struct stat info;
  if (stat(settings_.path.c_str(), &info) != 0) {
    return errno == ENOENT ? LOG_STATUS_NO_FILE : LOG_STATUS_IO_ERROR;
  }
  if (db_ != nullptr && info.st_dev == device_ && info.st_ino == inode_) {
    return LOG_STATUS_OK;
  }
  return connect();
}

int CLog::get_periods(std::vector<CPeriodProperties>& periods) {
  periods.clear();
  int status = follow_file();
  if (status != LOG_STATUS_OK) return status;
  Statement s(db_, "SELECT period, max_entries FROM period ORDER BY period");
  if (!s.ok()) return s.error();
  int rc;
  while ((rc = s.step()) == SQLITE_ROW) {
    periods.push_back(
        {static_cast<unsigned>(sqlite3_column_int64(s.get(), 0)),
         static_cast<unsigned>(sqlite3_column_int64(s.get(), 1))});
  }
  status = logdb::status_from_sqlite(rc);
  if (status != LOG_STATUS_OK) periods.clear();
  return status;
}

int CLog::get_devices(std::vector<CDeviceProperties>& devices) {
  devices.clear();
  int status = follow_file();
  int log_id = 0;
  if (status == LOG_STATUS_OK) status = format::read_log_id(db_, &log_id);
  if (status != LOG_STATUS_OK) return status;
  Statement s(db_, "SELECT id, path, name FROM device ORDER BY id");
  if (!s.ok()) return s.error();
  int rc;
  while ((rc = s.step()) == SQLITE_ROW) {
    devices.push_back({format::column_text(s.get(), 1),
                       format::column_text(s.get(), 2),
                       sqlite3_column_int(s.get(), 0), log_id});
  }
  status = logdb::status_from_sqlite(rc);
  if (status != LOG_STATUS_OK) devices.clear();
  return status;
}

int CLog::get_params(const CDeviceProperties& device,
                     std::vector<CParamProperties>& params) {
  params.clear();
  int status = follow_file();
  long long id = 0;
  if (status == LOG_STATUS_OK) status = format::find_device(db_, device.path, &id);
  if (status != LOG_STATUS_OK) return status;
  Statement s(db_,
              "SELECT path, type, traits FROM param WHERE device = ?1 "
              "ORDER BY seq");
  if (!s.ok()) return s.error();
  sqlite3_bind_int64(s.get(), 1, id);
  int rc;
  while ((rc = s.step()) == SQLITE_ROW) {
    CParamProperties param;
    param.path = format::column_text(s.get(), 0);
    param.type = static_cast<sample_type_t>(sqlite3_column_int(s.get(), 1));
    format::set_traits(sqlite3_column_int(s.get(), 2), param);
    params.push_back(param);
  }
  status = logdb::status_from_sqlite(rc);
  if (status != LOG_STATUS_OK) params.clear();
  return status;
}

int CLog::read_trend_data(CDeviceData& data, const CDeviceParams& params,
                          const std::vector<CPeriodProperties>& periods,
                          const std::pair<long, long>& range, unsigned max,
                          unsigned skip, bool ascending, bool keep_oldest) {
  format::Transaction read(db_, "BEGIN");
  long long device = 0;
  int status = read.status();
  if (status == LOG_STATUS_OK) status = format::find_device(db_, params.device.path, &device);
  std::unordered_map<uint32_t, std::vector<size_t>> slots;
  if (status == LOG_STATUS_OK) {
    status = read_seqs(db_, device, params.params, slots);
  }
  // The keys of every period from the end the limit keeps, merged, cut to
  // the limit, then put in the order asked for.
  const long long limit = max == 0 ? -1 : static_cast<long long>(max) + skip;
  std::vector<SnapshotKey> keys;
  for (unsigned period : distinct_periods(periods)) {
    if (status != LOG_STATUS_OK) break;
    status = read_keys(db_, device, period, range, limit, keep_oldest, keys);
  }
  if (status != LOG_STATUS_OK) return status;
  std::sort(keys.begin(), keys.end(), keep_oldest ? earlier : later);
  keys.erase(keys.begin(), keys.begin() + std::min<size_t>(skip, keys.size()));
  if (max != 0 && keys.size() > max) keys.resize(max);
  std::sort(keys.begin(), keys.end(), ascending ? earlier : later);
  data.device = params.device;
  data.params = params.params;
  data.snapshots.resize(keys.size());
  Statement s(db_,
              "SELECT percent_valid, data FROM snapshot WHERE id = ?1");
  if (!s.ok()) return s.error();
  for (size_t i = 0; i < keys.size() && status == LOG_STATUS_OK; ++i) {
    data.snapshots[i].samples.assign(params.params.size(), missing_sample());
    status = read_snapshot(s, keys[i], slots, data.snapshots[i]);
  }
  return status == LOG_STATUS_OK ? read.commit() : status;
}

int CLog::get_trend_data(CDeviceData& data, const CDeviceParams& params,
                         const std::vector<CPeriodProperties>& periods,
                         const std::pair<long, long>& range, unsigned max,
                         unsigned skip, bool ascending, bool keep_oldest) {
  data = CDeviceData();
  int status = follow_file();
  if (status != LOG_STATUS_OK) return status;
  try {
    status = read_trend_data(data, params, periods, range, max, skip,
                             ascending, keep_oldest);
  } catch (...) {  // out of memory for the snapshots
    status = LOG_STATUS_IO_ERROR;
  }
  if (status != LOG_STATUS_OK) data = CDeviceData();
  return status;
}

}  // namespace trend
}  // namespace toolkit
