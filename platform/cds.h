// CCds: the client of the device's data store (the CDS).
//
// The store is one SQLite database file shared by every process of the
// device (wsgated, cdsctl, the publisher, device handlers). It is opened in
// WAL mode with a busy time-out, so readers never block writers, and every
// call that writes several leaves runs in one transaction: after a crash the
// store holds all of such a write or none of it.
//
// Location: the environment variable TOOLKIT_CDS_PATH, default
// "/var/lib/toolkit/cds.db". TOOLKIT_CDS_BUSY_MS sets the busy time-out
// (default 5000 ms). The file must exist: it is created by `cdsctl create`
// (or cds_create below), never implicitly by a reader.
//
// Conventions of every call: the return value is 0 when the call as a whole
// ran and non-zero when it could not (store not open, locked past the
// time-out, I/O error, read-only handle for writes); per-path outcomes are
// reported in api_status_t values, API_STATUS_OK (1) meaning success.
// No call throws.
//
// Paths are parsed with CPath (path.h); a path the parser refuses gets
// API_STATUS_BAD_PATH. Reading a node path without an attribute reads its
// Value.

#ifndef PLATFORM_CDS_H_
#define PLATFORM_CDS_H_

#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {

class CEvent;

class CCds {
 public:
  // Opens the store with pcd_init(); `handle` is 0 when that failed.
  CCds();
  // Adopts an open connection (or 0).
  explicit CCds(pcd_handle_t adopted);
  ~CCds();  // pcd_close(handle) when still open
  CCds(const CCds&) = delete;
  CCds& operator=(const CCds&) = delete;

  // The connection; public so the owner can re-open or close it (0 = closed).
  pcd_handle_t handle;

  bool is_open() const { return handle != nullptr; }

  // Read one leaf. On status API_STATUS_OK `element` holds the value and its
  // time stamp and `property` the leaf's element_property_t.
  int get_leaf(const std::string& path, api_status_t& status,
               CElement& element, element_property_t& property);

  // Who last wrote one stored leaf: the `source` its writer gave set_leaf
  // (or set_leaves, increment_leaf, ...), "" for a leaf written without
  // one. Computed attributes have no writer (API_STATUS_NO_ATTRIBUTE).
  // A program that must know whose a node is (the publisher, for the
  // subscriptions' owners) reads it here.
  int get_leaf_writer(const std::string& path, api_status_t& status,
                      std::string& writer);

  // Read many leaves in one transaction. The three output vectors are
  // resized to paths.size() and filled per path.
  int get_leaves(const std::vector<std::string>& paths,
                 std::vector<api_status_t>& statuses,
                 std::vector<CElement>& elements,
                 std::vector<element_property_t>& properties);

  // Write one leaf of an existing node, creating the attribute if the node
  // has none of that name. The element's time stamp is stored as given, or
  // the present time when it is _invalid_time. `persist` PCD_TRIBOOL_TRUE
  // marks the leaf Persistent, PCD_TRIBOOL_FALSE turns a Persistent leaf
  // Normal, UNKNOWN keeps the property; Automatic and MPL leaves keep theirs.
  // `source` records who wrote (CEvent::format_source_string).
  // Virtual and automatic attributes are refused (API_STATUS_READ_ONLY_LEAF).
  int set_leaf(const std::string& path, const CElement& element,
               api_status_t& status, pcd_tribool_t persist,
               const std::string& source);
  // The same with `options` (pcd_write_option_t): only the writers that
  // need them name them (the device command queue), so that every other
  // write keeps refusing a missing node.
  int set_leaf(const std::string& path, const CElement& element,
               api_status_t& status, pcd_tribool_t persist,
               const std::string& source, unsigned options);

  // Write many leaves in one transaction, all or nothing: when any leaf
  // fails, nothing is written, the failing leaves get their status and the
  // others API_STATUS_ROLLED_BACK; the call still returns 0. `persist` has
  // one flag per path (or is empty: UNKNOWN for all).
  int set_leaves(const std::vector<std::string>& paths,
                 const std::vector<CElement>& elements,
                 const std::vector<pcd_tribool_t>& persist,
                 std::vector<api_status_t>& statuses,
                 const std::string& source);

  // Add `delta` to an integer leaf (Unsigned or Integer) in one transaction,
  // so that several processes can share a counter. A leaf without a value
  // counts as 0 and becomes Integer. `new_value` (may be null) receives the
  // result. Non-integer leaves give API_STATUS_TYPE_MISMATCH.
  int increment_leaf(const std::string& path, int32_t delta,
                     api_status_t& status, int32_t* new_value,
                     const std::string& source);

  // Take a number from a counter leaf: read its value, write it back plus
  // one and give the value read in `taken`, all in one transaction, so
  // that processes sharing the counter never take the same number. The
  // value is read as a number as CElement::to_int reads it. The new value
  // is stored as `type` (PCD_TYPE_UINT or PCD_TYPE_INT; PCD_TYPE_NONE keeps
  // the leaf's type, Integer when it is not a number type) with
  // `persist`. A leaf that cannot be read (NO_NODE, NO_ATTRIBUTE,
  // NOT_TYPED, BAD_PATH) is left as it is, and `taken` is untouched.
  int fetch_increment_leaf(const std::string& path, api_status_t& status,
                           int32_t& taken, data_type_t type,
                           pcd_tribool_t persist, const std::string& source);

  // Create a node, and any missing ancestors. An existing node gives
  // API_STATUS_EXISTS and is left as it is. The node (not its ancestors)
  // is journalled as created by `source` (cds_structure_read).
  int add_node(const std::string& path, api_status_t& status,
               const std::string& source);

  // Remove a node with all its leaves and all its descendants. The root
  // cannot be removed (API_STATUS_BAD_PATH). The node is journalled as
  // removed by `source`.
  int remove_node(const std::string& path, api_status_t& status,
                  const std::string& source);

  // Remove one attribute (leaf) of a node. `path` must name an attribute.
  int clear_leaf(const std::string& path, api_status_t& status,
                 const std::string& source);

  // Does the node exist? API_STATUS_OK when it does, API_STATUS_NO_NODE
  // when not. An attribute path tests its node.
  int test_node(const std::string& path, api_status_t& status);

  // Append events to the store's durable event queue (one transaction).
  // Other processes read it in order with cds_events_read. Each event gets
  // its status; the event's queue number is written back into it.
  int events_send(std::vector<CEvent>& events,
                  std::vector<api_status_t>& statuses);

  // Add a line to the device's system event log kept in the store
  // (and to syslog(3)). `level` is a syslog priority (0 emergency .. 7 debug).
  int syslog_add(int level, const std::string& message);

  // From now on every write through this handle is refused with
  // API_STATUS_READ_ONLY (and a non-zero return). Reads are unaffected.
  // The watchdog calls and syslog_add still work: supervision and logging
  // are not changes of the store's data.
  void setReadOnly();
  bool isReadOnly() const;

  // Software watchdog. register records `name`, our pid and the period in
  // seconds in the store, one row per process; ping refreshes our row;
  // clear removes it. A supervisor restarts a process whose row is older
  // than its period. When the environment has NOTIFY_SOCKET (systemd),
  // register also sends READY=1, ping WATCHDOG=1 and clear STOPPING=1.
  // `status` is API_STATUS_OK on success. A ping without a registration
  // fails with API_STATUS_NO_NODE. A ping is a sign of life, not a change
  // that must win: while another process holds the store's lock it waits
  // briefly, then succeeds and writes the row at a later ping; it fails
  // (API_STATUS_BUSY) only when no ping has reached the store for a whole
  // period. A store replaced under our path gets our row again.
  int watchdog_register(api_status_t& status, const std::string& name,
                        int period_seconds, bool notify_systemd);
  int watchdog_ping(api_status_t& status);
  int watchdog_clear(api_status_t& status);
};

}  // namespace toolkit

// Open the store named by TOOLKIT_CDS_PATH. Returns 0 (nullptr) when the
// file does not exist or cannot be opened as a store.
extern "C" pcd_handle_t pcd_init(void);
// Open a store at an explicit path (tools and tests).
extern "C" pcd_handle_t pcd_open(const char* path);
// Close a connection; 0 is ignored.
extern "C" void pcd_close(pcd_handle_t handle);

// Group calls into one transaction (seed loading, tools): every CCds call on
// this handle between pcd_begin and pcd_commit joins it, so the group is
// written all or nothing. pcd_rollback discards it. Each returns 0 on
// success. Groups do not nest.
extern "C" int pcd_begin(pcd_handle_t handle);
extern "C" int pcd_commit(pcd_handle_t handle);
extern "C" int pcd_rollback(pcd_handle_t handle);

// A read snapshot: every CCds call on this handle between
// pcd_begin_snapshot and pcd_end_snapshot reads the store as it stood at the
// first of them, and the store's file locks are taken once for all of them
// instead of once per call. A request that authorizes, reads and re-checks
// many leaves pays most of its store time in those locks otherwise. For
// reads only: writes inside a snapshot fail. Keep snapshots short (they hold
// back the write-ahead log's checkpoints). pcd_begin_snapshot returns
// non-zero when the handle is not open or already inside a transaction (a
// group or another snapshot); the calls then simply join that one.
extern "C" int pcd_begin_snapshot(pcd_handle_t handle);
extern "C" int pcd_end_snapshot(pcd_handle_t handle);

// A number that changes whenever any process (this one included) commits a
// change to the store; caches of store contents compare it to know when to
// reload. 0 when the handle is not open.
unsigned long long pcd_change_counter(pcd_handle_t handle);

// How many statements the handle has run so far. Tests count the store's
// work with it (for example, statements per entry of a large write).
unsigned long long pcd_statement_count(pcd_handle_t handle);

// Where pcd_init looks: TOOLKIT_CDS_PATH or the default.
std::string pcd_default_path();

// Create an empty store (schema and root node) at `path`. Fails (non-zero)
// when the file exists already unless `replace` is true.
int cds_create(const std::string& path, bool replace);

// One entry of the event queue as stored.
struct CdsQueuedEvent {
  long long queue_id;     // position in the queue, increasing
  long long queued_us;    // when it was queued, qrx time (microseconds)
  std::string payload;    // the event, as CEvent::serialize() wrote it
};

// Events with queue_id > after_id, oldest first, at most `max` of them.
int cds_events_read(pcd_handle_t handle, long long after_id, int max,
                    std::vector<CdsQueuedEvent>& out);

// One registered watchdog.
struct CdsWatchdog {
  std::string name;
  int pid;
  int period_seconds;
  long long last_ping_us;  // qrx time
};
int cds_watchdogs_read(pcd_handle_t handle, std::vector<CdsWatchdog>& out);
// Remove the row of `name` and `pid`, the row of a process that is gone
// (supervisors clean up after the processes they restart). 0 when a row
// was removed.
int cds_watchdog_remove(pcd_handle_t handle, const std::string& name, int pid);

// One line of the store's system event log.
struct CdsSyslogLine {
  long long time_us;
  int level;
  std::string message;
  long long id = 0;  // increasing, never reused
};
int cds_syslog_read(pcd_handle_t handle, int max,
                    std::vector<CdsSyslogLine>& out);  // newest last
// Lines with id > after_id, oldest first, at most `max`: for a process
// that hands the lines on (the system logger) and keeps the last id.
int cds_syslog_read_after(pcd_handle_t handle, long long after_id, int max,
                          std::vector<CdsSyslogLine>& out);

// One entry of the journal of structure changes: add_node and remove_node
// record the node they created or removed, in the same transaction, so a
// process that reads the journal after the last id it handled learns of
// every change exactly once (while it keeps within the newest 10000).
struct CdsStructureChange {
  long long id;       // increasing, never reused
  long long time_us;  // qrx time of the change
  std::string action;  // "created" or "removed"
  std::string path;    // the node
  std::string source;  // who changed it (the change source)
};
int cds_structure_read(pcd_handle_t handle, long long after_id, int max,
                       std::vector<CdsStructureChange>& out);

// The newest id of the event queue, of the system event log and of the
// structure journal (0 when empty), read in one snapshot: where a reader
// that starts without history begins.
struct CdsLastIds {
  long long event = 0;
  long long syslog = 0;
  long long structure = 0;
};
int cds_last_ids(pcd_handle_t handle, CdsLastIds& out);

namespace toolkit {

// One read snapshot for the lifetime of the object (pcd_begin_snapshot).
// Inside a group or another snapshot it joins that one and ends nothing.
class CCdsSnapshot {
 public:
  explicit CCdsSnapshot(CCds& cds)
      : handle_(cds.handle), owner_(pcd_begin_snapshot(cds.handle) == 0) {}
  ~CCdsSnapshot() {
    if (owner_) pcd_end_snapshot(handle_);
  }
  CCdsSnapshot(const CCdsSnapshot&) = delete;
  CCdsSnapshot& operator=(const CCdsSnapshot&) = delete;

 private:
  pcd_handle_t handle_;
  bool owner_;
};

// One transaction group for the lifetime of the object (pcd_begin), rolled
// back unless Commit() succeeded: the calls made while it lives are written
// all or nothing, and no other process sees them before the commit. Inside
// another group it joins that one, and Commit() leaves the decision to the
// group's owner. When the group cannot begin (the store stayed locked past
// the busy time-out) the calls run one by one and fail on their own.
class CCdsGroup {
 public:
  explicit CCdsGroup(CCds& cds)
      : handle_(cds.handle), owner_(pcd_begin(cds.handle) == 0) {}
  ~CCdsGroup() {
    if (owner_) pcd_rollback(handle_);
  }
  CCdsGroup(const CCdsGroup&) = delete;
  CCdsGroup& operator=(const CCdsGroup&) = delete;
  // 0 when the group's writes are committed (or left to the enclosing
  // group); non-zero when the commit failed and they are gone.
  int Commit() {
    if (!owner_) return 0;
    owner_ = false;
    return pcd_commit(handle_);
  }

 private:
  pcd_handle_t handle_;
  bool owner_;
};

}  // namespace toolkit

#endif  // PLATFORM_CDS_H_
