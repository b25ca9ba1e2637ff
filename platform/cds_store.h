// The connection behind a pcd_handle_t: the SQLite database, its prepared
// statements, transaction scopes and the value encoding of the store.
//
// Internal to the toolkit library (cds*.cc, security.cc); programs use
// cds.h. Everything here runs on the thread that owns the handle: a
// connection is not shared between threads (the database is opened without
// SQLite's own mutex, and the statement cache is reused call after call).
//
// Store layout (schema version kSchemaVersion, checked on open):
//   meta(key, value)                  schema_version, security_generation
//   node(id, path, parent, name)      one row per node; "/" is the root.
//                                     Children are listed in id order, which
//                                     is creation order.
//   leaf(path, attr, seq, type, value, sec, usec, prop, changes, writer)
//                                     one row per stored attribute, keyed
//                                     by node path and name; `seq` gives
//                                     the creation order within the node,
//                                     `changes` counts the writes.
//   events(queue_id, queued_us, payload)   durable event queue (capped)
//   watchdog(name, pid, period, last_ping_us)   one row per process, keyed
//                                     by (name, pid)
//   syslog(id, time_us, level, message)    system event log (capped)
//   structure(id, time_us, action, path, source)   journal of nodes created
//                                     and removed, with the change source
//                                     (capped)
//
// Values: Boolean, Unsigned and Integer are SQLite integers, Real a double
// (NaN, which SQLite stores as NULL, reads back as NaN), String text,
// timeval an integer count of microseconds, None NULL.

#ifndef PLATFORM_CDS_STORE_H_
#define PLATFORM_CDS_STORE_H_

#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/element.h"
#include "platform/path.h"
#include "platform/types.h"

namespace toolkit {

struct SecurityPolicy;  // security.cc

namespace store {

constexpr int kSchemaVersion = 4;
// The newest rows kept in the capped tables. Readers that fall further
// behind than this lose the oldest entries, which on a device with a small
// flash is preferable to an unbounded file.
constexpr long long kEventQueueCap = 10000;
constexpr long long kSyslogCap = 10000;
constexpr long long kStructureCap = 10000;
constexpr int kDefaultBusyMs = 5000;

// Writes to this subtree bump meta.security_generation, so policy caches
// reload only when the policy can have changed (security.cc).
extern const char* const kSecurityRoot;  // "/Software/Security"

// Every statement the store runs, prepared on first use and then reused.
enum StmtId : int {
  kStmtBeginRead,
  kStmtBeginWrite,
  kStmtCommit,
  kStmtRollback,
  kStmtSavepoint,
  kStmtRelease,
  kStmtRollbackTo,
  kStmtDataVersion,
  kStmtSecurityGeneration,
  kStmtBumpSecurityGeneration,
  // the tree
  kStmtReadLeaf,
  kStmtReadLeaves,
  kStmtReadWriter,
  kStmtNodeId,
  kStmtChildNames,
  kStmtChildCount,
  kStmtLeafNames,
  kStmtValueChanges,
  kStmtUpdateLeaf,
  kStmtInsertLeaf,
  kStmtInsertNode,
  kStmtDeleteLeaf,
  kStmtDeleteSubtreeLeaves,
  kStmtDeleteSubtreeNodes,
  // event queue, system log, watchdog
  kStmtInsertEvent,
  kStmtTrimEvents,
  kStmtReadEvents,
  kStmtInsertSyslog,
  kStmtTrimSyslog,
  kStmtReadSyslog,
  kStmtReadSyslogAfter,
  kStmtInsertStructure,
  kStmtTrimStructure,
  kStmtReadStructure,
  kStmtLastIds,
  kStmtRegisterWatchdog,
  kStmtPingWatchdog,
  kStmtClearWatchdog,
  kStmtReadWatchdogs,
  kStmtRemoveWatchdog,
  kStmtCount
};

}  // namespace store
}  // namespace toolkit

struct pcd_connection {
  sqlite3* db = nullptr;
  // The store file as it was opened: its path and identity. A store
  // replaced under the same path is reopened; one removed fails the calls
  // (store::ensure_current).
  std::string path;
  dev_t device = 0;
  ino_t inode = 0;
  bool gone_reported = false;
  sqlite3_stmt* stmts[toolkit::store::kStmtCount] = {};
  // setReadOnly(): the tree refuses writes through this handle.
  bool read_only = false;
  // Between pcd_begin and pcd_commit/pcd_rollback.
  bool in_group = false;
  // Between pcd_begin_snapshot and pcd_end_snapshot.
  bool in_snapshot = false;
  // Commits made through this handle. PRAGMA data_version only moves for
  // other connections' commits; the sum of both moves for every commit.
  unsigned long long own_writes = 0;
  // watchdog_register: the name this process pings, its period, whether it
  // also reports to systemd, and when a ping last reached the store.
  std::string watchdog_name;
  int watchdog_period = 0;
  bool watchdog_notify = false;
  long long watchdog_written_us = 0;
  // Statements borrowed through this handle (pcd_statement_count).
  unsigned long long statements = 0;
  // The cached access policy (owned by security.cc) and the change counter
  // and security generation it was loaded at.
  std::shared_ptr<toolkit::SecurityPolicy> security;
  unsigned long long security_counter = 0;
  long long security_generation = -1;
  // get_leaves parses every path into here; reused so that the strings
  // keep their capacity from call to call.
  std::vector<toolkit::CPath> parsed;

  // The prepared statement for `id`, or nullptr when it cannot be prepared;
  // `rc` receives SQLite's result code.
  sqlite3_stmt* stmt(toolkit::store::StmtId id, int* rc);
};

namespace toolkit {
namespace store {

// Open an existing store (nullptr when the file is missing, is not a store
// of this schema, or it or its write-ahead files cannot be written: SQLite
// would fail on them later, or, for its shared-memory file, crash the
// process). The busy time-out comes from TOOLKIT_CDS_BUSY_MS. A store of
// the previous schema is brought up to date first.
pcd_connection* open_connection(const char* path);

// Called at the start of every call that is not inside a transaction:
// OK when the connection's file is still the store's path; a store that
// was replaced (another file renamed into place) is reopened; a store that
// is gone gives API_STATUS_NOT_OPEN, so that no write is acknowledged into
// a file nobody else will ever read.
api_status_t ensure_current(pcd_connection* c);

// The busy time-out of store connections: TOOLKIT_CDS_BUSY_MS, default
// kDefaultBusyMs.
int busy_ms();

// Write the connection's watchdog row (watchdog_name, our pid,
// watchdog_period, now), as a registration does.
api_status_t write_watchdog_row(pcd_connection* c);
void close_connection(pcd_connection* c);
// Create a store file with its schema and root node. Returns 0 on success.
int create_store(const std::string& path, bool replace);

// The per-path status for a failed SQLite call: BUSY for a lock held past
// the time-out, READ_ONLY for a read-only file, IO_ERROR otherwise.
api_status_t status_from_sqlite(int rc);
// Statuses that fail a call as a whole (non-zero return), as opposed to
// per-path outcomes.
bool is_call_failure(api_status_t status);

// A statement borrowed for one use; reset when the scope ends so that an
// autocommit read releases its snapshot at once.
class StmtScope {
 public:
  StmtScope(pcd_connection* c, StmtId id) : stmt_(c->stmt(id, &rc_)) {
    ++c->statements;
  }
  ~StmtScope() {
    if (stmt_ != nullptr) sqlite3_reset(stmt_);
  }
  StmtScope(const StmtScope&) = delete;
  StmtScope& operator=(const StmtScope&) = delete;

  sqlite3_stmt* get() const { return stmt_; }
  bool ok() const { return stmt_ != nullptr; }
  // Status of a failed preparation.
  api_status_t error() const { return status_from_sqlite(rc_); }
  // Step once; SQLITE_ROW, SQLITE_DONE or an error code.
  int step() { return sqlite3_step(stmt_); }

  // The text is bound without a copy (SQLITE_STATIC): it must outlive the
  // step, so a temporary is refused at compile time.
  void bind(int index, const std::string& text) {
    sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                      SQLITE_STATIC);
  }
  void bind(int index, std::string&& text) = delete;
  void bind(int index, long long value) {
    sqlite3_bind_int64(stmt_, index, value);
  }

 private:
  int rc_ = SQLITE_OK;
  sqlite3_stmt* stmt_;
};

// One statement that returns no rows, as a status.
api_status_t run_simple(pcd_connection* c, StmtId id);

// A read snapshot over several statements. Inside an open transaction (a
// group, or an enclosing ReadScope) nothing more is started.
class ReadScope {
 public:
  explicit ReadScope(pcd_connection* c) : c_(c) {}
  ~ReadScope();
  ReadScope(const ReadScope&) = delete;
  ReadScope& operator=(const ReadScope&) = delete;
  api_status_t begin();

 private:
  pcd_connection* c_;
  bool active_ = false;
};

// A write transaction: BEGIN IMMEDIATE, so that the write lock is taken (or
// the busy time-out spent) before anything is read, or a savepoint inside a
// group so that a failed call leaves the rest of the group intact. Rolled
// back unless commit() succeeded.
class WriteScope {
 public:
  explicit WriteScope(pcd_connection* c) : c_(c) {}
  ~WriteScope();
  WriteScope(const WriteScope&) = delete;
  WriteScope& operator=(const WriteScope&) = delete;
  api_status_t begin();
  api_status_t commit();
  void rollback();

 private:
  pcd_connection* c_;
  bool active_ = false;
};

// The leaves a batched read looks up, as rows of the table-valued function
// cds_keys(?) (registered on every connection): a batch is one statement
// that joins these rows with the tree, instead of one statement per leaf.
// The texts are borrowed; they must outlive the statement's use.
struct LeafKey {
  const char* node;
  int node_size;
  const char* attr;
  int attr_size;
};
struct LeafKeys {
  const LeafKey* keys;
  size_t count;
};
// Bind `keys` to parameter `index` of a statement that reads cds_keys(?).
void bind_keys(sqlite3_stmt* stmt, int index, const LeafKeys* keys);

// Value encoding. Parameters/columns come in the order type, value, sec,
// usec starting at `first`.
void bind_element(sqlite3_stmt* stmt, int first, const CElement& element,
                  const timeval& time);
void column_element(sqlite3_stmt* stmt, int first, CElement& element);

// Attribute classification from the attribute table, cached: `code` is the
// attribute code (PCD_ATTR_UNKNOWN for stored custom attributes) and `flags`
// its PCD_AF_* flags.
struct AttrClass {
  int code;
  unsigned flags;
};
AttrClass classify_attribute(const std::string& name);

// Does `ancestor` (a node path) cover `path`: equal, or an ancestor on a
// component boundary ("/Dev1" covers "/Dev1/X" but not "/Dev10")?
bool path_covers(const std::string& ancestor, const std::string& path);
// May a change at `node_path` (and, for removals, below it) alter the access
// policy? Then the caller bumps the security generation.
bool touches_security(const std::string& node_path, bool with_descendants);
api_status_t bump_security_generation(pcd_connection* c);
// Journal a structure change ("created" or "removed") of `node_path` made
// by `source`, inside the caller's write transaction (cds_events.cc).
api_status_t journal_structure(pcd_connection* c, const char* action,
                               const std::string& node_path,
                               const std::string& source);
// meta.security_generation, or -1 when it cannot be read.
long long security_generation(pcd_connection* c);

// The present time as a timeval and as qrx microseconds.
timeval now_timeval();
long long now_us();

}  // namespace store
}  // namespace toolkit

#endif  // PLATFORM_CDS_STORE_H_
