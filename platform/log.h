// The device's log databases: the alarm/event log, the system event log and
// the Delta log (logged value changes). Each is one SQLite file of CEvent
// records, written by the card's processes that raise events (the alarm
// engine, the platform, the Delta logger) and read by the web services and
// cdsctl. docs/platform.md, "Log databases", has the schema and the reasons.
//
// Reading: pcd_log_init opens a log read-only, CLog::retrieve fetches
// records, pcd_log_close closes it. Writing: pcd_log_open_writer opens a log
// (creating it when missing), pcd_log_append adds a batch of records in one
// transaction, pcd_log_close_writer closes it.
//
// Several processes write and read one log at once (WAL mode): a reader
// sees whole batches only, and a writer killed at any point leaves every
// committed batch in place and the batch it was writing all or nothing.
//
// Every call returns 0 (LOG_STATUS_OK) on success and a log_status_t
// otherwise; none throws.

#ifndef PLATFORM_LOG_H_
#define PLATFORM_LOG_H_

#include <sys/time.h>

#include <vector>

#include "platform/event.h"

// Outcome of a log call. Numbers are reported in the callers' own logs
// ("dbResult = %d"), so they are never renumbered.
enum log_status_t : int {
  LOG_STATUS_OK = 0,
  LOG_STATUS_NO_FILE = 1,       // the file does not exist
  LOG_STATUS_NOT_DATABASE = 2,  // the file is not an SQLite database
  LOG_STATUS_NOT_LOG = 3,       // an SQLite database, but not a log of this
                                // format and version
  LOG_STATUS_BUSY = 4,          // another process held a lock past the
                                // busy time-out; try again later
  LOG_STATUS_IO_ERROR = 5,      // the file could not be read or written
  LOG_STATUS_CORRUPT = 6,       // the database is damaged
  LOG_STATUS_BAD_ARGUMENT = 7,  // null handle or path, unsupported flag or
                                // setting
  LOG_STATUS_READ_ONLY = 8,     // a writer cannot write the file or folder
  LOG_STATUS_NOT_FOUND = 9,     // a trend log holds no such device
};

// Text name of a status ("OK", "NO_FILE", ...), for logs and tools.
const char* pcd_log_status_name(int status);

// The reader's default busy time-out, in milliseconds. A reader that meets
// a lock gives up after this long, because every caller has a retry rule of
// its own (the web services sleep a second and try again); waiting longer
// here would only hold a request. TOOLKIT_LOG_BUSY_MS overrides it.
constexpr int kLogReaderBusyMs = 100;
// How long a patient reader (fail_fast 0) and a writer wait for a lock, in
// milliseconds. TOOLKIT_LOG_WRITE_BUSY_MS overrides it for writers.
constexpr int kLogPatientBusyMs = 5000;
// Rows a new log keeps unless its creator says otherwise.
constexpr long long kLogDefaultRowCap = 100000;

typedef struct pcd_log* pcd_log_handle_t;
typedef struct pcd_log_writer* pcd_log_writer_t;

// Open the log at `path` for reading; `*handle` receives the handle (null on
// failure). Opening takes no database lock and never creates a file: it
// checks that the file exists, that its header is an SQLite header marked
// as a log of this format, and opens it read-only. A missing file gives
// NO_FILE, a foreign file NOT_DATABASE or NOT_LOG; a locked log opens and
// fails later, in retrieve, where callers retry.
//
// The five flags (the web services pass 0, 0, 0, 1, 1):
//   reserved1..3  must be 0; anything else is refused (BAD_ARGUMENT), so a
//                 caller that means something by them finds out at once
//   read_only     must be 1: this handle only reads. Writers open with
//                 pcd_log_open_writer, which creates, caps and numbers.
//   fail_fast     1: a lock makes retrieve fail after the reader's short
//                 busy time-out (kLogReaderBusyMs); 0: wait up to
//                 kLogPatientBusyMs, for callers without a retry rule
// The SQLite settings, each 0 for the library's default (negative values
// are refused):
//   page_size     bytes; a power of two from 512 to 65536. A file's page
//                 size is fixed when it is made, so a reader only checks
//                 the value; writers apply it to the files they create.
//   cache_size    bytes of page cache for this connection (rounded down to
//                 whole KiB, at least 1 KiB)
//   heap_limit    bytes; SQLite's soft heap limit. It is process-wide: it
//                 binds every SQLite connection of the process, the data
//                 store's included, and stays set after pcd_log_close.
extern "C" int pcd_log_init(const char* path, int reserved1, int reserved2,
                            int reserved3, int read_only, int fail_fast,
                            int page_size, int cache_size, int heap_limit,
                            pcd_log_handle_t* handle);
// Close a reader; null is ignored.
extern "C" void pcd_log_close(pcd_log_handle_t handle);

namespace toolkit {

// The reading side of an open log. Does not own the handle: whoever called
// pcd_log_init calls pcd_log_close.
class CLog {
 public:
  explicit CLog(pcd_log_handle_t handle) : handle_(handle) {}

  // Replace `records` with the log's records that match, in one read
  // snapshot (never part of a batch). Returns 0 or a log_status_t; on
  // failure `records` is empty.
  //
  // Order: ascending by time stamp, then sequence index, then the order in
  // which the records were appended; a total order, so equal requests give
  // equal answers.
  //   pathFilter  null or "" for all records; otherwise the records whose
  //               source path is the filter or lies below it on a component
  //               boundary ("/" or ":"): "/Devices/Meter1" matches
  //               "/Devices/Meter1", "/Devices/Meter1/VoltageL1N/Value" and
  //               "/Devices/Meter1:Units", never "/Devices/Meter10". Trailing
  //               "/" are ignored; every other character matches itself.
  //   start, end  inclusive bounds on the time stamp, to the microsecond;
  //               null for none. Equal bounds ask for one time stamp.
  //   max         at most this many records; 0 or less for no limit
  //   latestFirst with a limit, keep the newest records (else the oldest)
  //   reverse     return the records newest first
  //   reserved    must be 0
  int retrieve(std::vector<CEvent>& records, const char* pathFilter,
               const timeval* start, const timeval* end, int max,
               bool latestFirst, bool reverse, int reserved);

 private:
  pcd_log_handle_t handle_;
};

}  // namespace toolkit

// Settings of a writer. All zeros means the defaults.
struct pcd_log_writer_settings {
  long long row_cap;  // rows a log created by this writer keeps (0:
                      // kLogDefaultRowCap); an existing log keeps its own
  int page_size;      // bytes, for a log this writer creates (0: default)
  int cache_size;     // bytes of page cache (0: default)
  int busy_ms;        // how long an append waits for another writer's lock
                      // (0: TOOLKIT_LOG_WRITE_BUSY_MS, else 5000)
};

// Open the log at `path` for appending, creating it with its schema when
// the file does not exist (a new log appears whole: it is built under a
// temporary name and linked into place). `*writer` receives the handle.
// The folder must exist.
extern "C" int pcd_log_open_writer(const char* path,
                                   const pcd_log_writer_settings* settings,
                                   pcd_log_writer_t* writer);

// Append `records` in one transaction, all or nothing, and drop the oldest
// records (in retrieval order) beyond the log's row cap in the same
// transaction. The log numbers the records: each record's event_id is set to
// a number greater than every number it gave before, except alarm records
// (kind EVENT_KIND_ALARM), which keep the alarm's number given by the
// writer. Sequence indexes are stored as given. An empty batch does nothing.
int pcd_log_append(pcd_log_writer_t writer,
                   std::vector<toolkit::CEvent>& records);

// Close a writer; null is ignored.
extern "C" void pcd_log_close_writer(pcd_log_writer_t writer);

#endif  // PLATFORM_LOG_H_
