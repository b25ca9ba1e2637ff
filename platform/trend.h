// The interval trend log: one SQLite file in which the card's trend
// recorder keeps, per device and logging period, a snapshot of every
// trended parameter at the end of each period (minimum, maximum, average
// and actual value, and their spread), read by the web services and
// cdsctl. docs/platform.md, "Interval trends", has the schema and the
// reasons.
//
// Reading: trend::CLog opens a log read-only and answers its periods, its
// devices, a device's parameters and a device's snapshots. Writing (the
// recorder): trend::CWriter creates the file when it is missing, declares
// periods and devices and appends snapshots, keeping at most a period's
// `max_entries` snapshots of each device.
//
// Every call returns 0 (LOG_STATUS_OK) on success and a log_status_t
// (log.h) otherwise; none throws. Times are UNIX seconds; a value that is
// NaN is missing (not kept, or no valid sample in the period).

#ifndef PLATFORM_TREND_H_
#define PLATFORM_TREND_H_

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/log.h"

struct sqlite3;

namespace toolkit {
namespace trend {

// How a parameter's values are aggregated. The numbers are stored in the
// file and travel on the wire (enumSampleType), so they never change.
enum sample_type_t : int {
  TREND_SAMPLE_NORMAL = 0,   // minimum and maximum by value
  TREND_SAMPLE_PF = 1,       // a power factor: minimum and maximum by how
                             // far the value is from unity (the recorder
                             // aggregates it so; the log only stores it)
  TREND_SAMPLE_LISTEND = 2,  // ends a list; never a parameter's type
};

// One logging period: its length in seconds and how many snapshots of
// each device the log keeps for it.
struct CPeriodProperties {
  unsigned period = 0;
  unsigned max_entries = 0;
};

// A device of the log. `path` is the device's node path, by which every
// call finds the device; `name` what it was called when recorded; `id` and
// `log_id` say where the record came from (the device's number in the log
// and the log file's own number, drawn when the file was made), for tools
// and logs. Callers hand records back as they got them.
struct CDeviceProperties {
  std::string path;
  std::string name;
  int id = 0;
  int log_id = 0;
};

// A trended parameter of a device: the point's node path, its sample type
// and which values the log keeps for it; has_stddev is the spread of the
// samples in the period (the fifth value of a sample).
struct CParamProperties {
  std::string path;
  sample_type_t type = TREND_SAMPLE_NORMAL;
  bool has_min = false;
  bool has_max = false;
  bool has_avg = false;
  bool has_actual = false;
  bool has_stddev = false;
};

// A device and the parameters a call is about.
struct CDeviceParams {
  CDeviceProperties device;
  std::vector<CParamProperties> params;
};

// One parameter's values over one period; NaN for a value that is missing.
// `actual` is the last valid sample of the period, `stddev` the standard
// deviation of its valid samples.
struct CSample {
  double min, max, avg, actual, stddev;
};

// The snapshot of a device at the end of one period: `time` (UNIX seconds)
// is the period's end, `percent_valid` the share of valid samples behind
// it (0..100), and `samples` has one entry per parameter of the call, in
// the call's order.
struct CSnapshot {
  unsigned period = 0;
  long time = 0;
  double percent_valid = 0;
  std::vector<CSample> samples;
};

// A device, its parameters and snapshots of them.
struct CDeviceData {
  CDeviceProperties device;
  std::vector<CParamProperties> params;
  std::vector<CSnapshot> snapshots;
};

// A CSample whose five values are all missing.
CSample missing_sample();

// The reading side. A CLog owns its connection; the destructor closes it.
//
// Replaced files: unless opened with pin_file, every call first compares
// the file now at the log's path with the one it opened (device and
// inode), and reopens the log with the same settings when they differ, so
// that a log the recorder or an operator replaced is read, not the
// replaced file. A log whose file is gone, or was replaced by something
// that is no trend log, fails its calls until a trend log is back.
//
// The read calls are virtual so that a caller's tests can put a log that
// fails on demand in the place of this one.
class CLog {
 public:
  CLog();
  virtual ~CLog();
  CLog(const CLog&) = delete;
  CLog& operator=(const CLog&) = delete;

  // Opens the log at `path`. Opening never creates a file and takes no
  // lock: it checks that the file exists and that its header marks a trend
  // log of this format (NO_FILE, NOT_DATABASE or NOT_LOG otherwise), then
  // opens it read-only. A log already open is closed first.
  //   read_only    must be true; writers use CWriter
  //   create       must be false: a reader never makes a log
  //   busy_ms      how long a call waits for another process's lock
  //                before it fails with BUSY (the web services pass 40:
  //                they retry on their own)
  //   quick_check  also check the whole file's structure now (SQLite's
  //                quick_check), failing with CORRUPT; for tools, since it
  //                reads every page
  //   page_size    bytes, 0 or a power of two from 512 to 65536; checked
  //                only, as a file's page size is fixed when it is made
  //   cache_size   bytes of page cache for this connection; 0: default
  //   heap_limit   bytes; SQLite's soft heap limit, process-wide, as
  //                pcd_log_init sets it (log.h); 0: leave it
  //   pin_file     true: keep reading the file opened even when another
  //                file takes its path (a tool reading one file)
  int open(const std::string& path, bool read_only, bool create,
           unsigned busy_ms, bool quick_check, unsigned page_size,
           unsigned cache_size, unsigned heap_limit, bool pin_file);

  // The log's periods, ascending.
  virtual int get_periods(std::vector<CPeriodProperties>& periods);

  // The devices, in the order they were first recorded.
  virtual int get_devices(std::vector<CDeviceProperties>& devices);

  // The parameters of `device`, in the order they were first recorded
  // (NOT_FOUND when the log has no device of its path).
  virtual int get_params(const CDeviceProperties& device,
                         std::vector<CParamProperties>& params);

  // Replaces `data` with `params.device`, `params.params` and the device's
  // snapshots of `periods` (only their `period` counts) whose time lies in
  // `range` (inclusive; a negative bound leaves that end open). The
  // snapshots of all periods form one list ordered by time, then period;
  // `max` (0: no limit) bounds that list: it keeps the newest snapshots,
  // or the oldest with keep_oldest, after skipping `skip` of them from the
  // same end. `ascending` then orders the answer oldest first, else newest
  // first. A parameter the device has no values for reads as missing. All
  // is read in one snapshot of the file. On failure `data` is empty.
  virtual int get_trend_data(CDeviceData& data, const CDeviceParams& params,
                             const std::vector<CPeriodProperties>& periods,
                             const std::pair<long, long>& range, unsigned max,
                             unsigned skip, bool ascending, bool keep_oldest);

  // Closes the log; calls then fail with BAD_ARGUMENT until it is opened.
  void close();

  // Opened and not closed (its file may have gone since: see above).
  bool is_open() const { return opened_; }

 private:
  struct Settings {
    std::string path;
    unsigned busy_ms = 0;
    unsigned cache_size = 0;
    bool pin_file = false;
  };

  int connect();
  int follow_file();
  int read_trend_data(CDeviceData& data, const CDeviceParams& params,
                      const std::vector<CPeriodProperties>& periods,
                      const std::pair<long, long>& range, unsigned max,
                      unsigned skip, bool ascending, bool keep_oldest);

  Settings settings_;
  sqlite3* db_ = nullptr;
  bool opened_ = false;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

// The writing side, for the recorder. One writer per log at a time is the
// rule (a second one waits for the first's transaction, up to busy_ms).
class CWriter {
 public:
  CWriter();
  ~CWriter();
  CWriter(const CWriter&) = delete;
  CWriter& operator=(const CWriter&) = delete;

  // Opens the log at `path` for writing, creating it (with `page_size`,
  // 0 for SQLite's default) when the file does not exist: a new log
  // appears whole, made under a temporary name and renamed into place.
  // The folder must exist. busy_ms 0: TOOLKIT_LOG_WRITE_BUSY_MS, else
  // 5000.
  int open(const std::string& path, unsigned page_size, unsigned busy_ms);

  // Adds the periods or changes their max_entries. Periods not listed stay
  // with their snapshots: history is never dropped by a configuration
  // change. A max_entries of 0 is refused (BAD_ARGUMENT).
  int set_periods(const std::vector<CPeriodProperties>& periods);

  // Declares the device at `path` (adding it, or renaming it to `name`)
  // with `params`: parameters new to it are added after the others, known
  // ones take the given type and flags, and parameters not listed stay
  // listed with their history. `device` receives the record that
  // append() takes.
  int set_device(const std::string& path, const std::string& name,
                 const std::vector<CParamProperties>& params,
                 CDeviceProperties& device);

  // Appends `data.snapshots` of `data.device`, whose samples follow
  // `data.params` (parameters the device does not know are refused with
  // NOT_FOUND), in one transaction, all or nothing. A snapshot of a time
  // the log holds for that device and period replaces it; a period the log
  // does not list is refused (BAD_ARGUMENT). Then each period written keeps
  // only the device's newest max_entries snapshots.
  int append(const CDeviceData& data);

  // True when the file at the log's path is no longer the one this writer
  // opened (removed, or replaced): what it appends then reaches no reader.
  // The writer does not follow the path by itself, since a new file knows
  // none of the periods and devices declared; its owner opens it again and
  // declares them anew.
  bool file_replaced() const;

  void close();

 private:
  sqlite3* db_ = nullptr;
  std::string path_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace trend
}  // namespace toolkit

#endif  // PLATFORM_TREND_H_
