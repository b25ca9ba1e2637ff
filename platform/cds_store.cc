// The store's connection, schema, statements, transactions and value
// encoding (see cds_store.h).

#include "platform/cds_store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/qrxtime.h"
#include "platform/syslog.h"

namespace toolkit {
namespace store {

const char* const kSecurityRoot = "/Software/Security";

namespace {

// Indexed by StmtId. Parameters of the leaf writers share one layout
// (run_leaf_writer in cds.cc): ?1 node path, ?2 attribute, ?3..?6 the
// element (type, value, sec, usec), ?7 persistence flag, ?8 writer.
const char* const kSql[kStmtCount] = {
    /* kStmtBeginRead */ "BEGIN",
    /* kStmtBeginWrite */ "BEGIN IMMEDIATE",
    /* kStmtCommit */ "COMMIT",
    /* kStmtRollback */ "ROLLBACK",
    /* kStmtSavepoint */ "SAVEPOINT call",
    /* kStmtRelease */ "RELEASE call",
    /* kStmtRollbackTo */ "ROLLBACK TO call",
    /* kStmtDataVersion */ "PRAGMA data_version",
    /* kStmtSecurityGeneration */
    "SELECT value FROM meta WHERE key = 'security_generation'",
    /* kStmtBumpSecurityGeneration */
    "UPDATE meta SET value = value + 1 WHERE key = 'security_generation'",
    /* kStmtReadLeaf */
    "SELECT type, value, sec, usec, prop FROM leaf "
    "WHERE path = ?1 AND attr = ?2",
    /* kStmtReadLeaves: CROSS JOIN keeps the keys the outer loop, so that
       each key costs one search of the leaf table's key */
    "SELECT k.rowid, l.type, l.value, l.sec, l.usec, l.prop "
    "FROM cds_keys(?1) k CROSS JOIN leaf l "
    "WHERE l.path = k.node AND l.attr = k.attr",
    /* kStmtReadWriter */
    "SELECT writer FROM leaf WHERE path = ?1 AND attr = ?2",
    /* kStmtNodeId */ "SELECT id, name FROM node WHERE path = ?1",
    /* kStmtChildNames */ "SELECT name FROM node WHERE parent = ?1 ORDER BY id",
    /* kStmtChildCount */ "SELECT count(*) FROM node WHERE parent = ?1",
    /* kStmtLeafNames */ "SELECT attr FROM leaf WHERE path = ?1 ORDER BY seq",
    /* kStmtValueChanges */
    "SELECT changes, sec, usec FROM leaf WHERE path = ?1 AND attr = 'Value'",
    /* kStmtUpdateLeaf */
    "UPDATE leaf SET type = ?3, value = ?4, sec = ?5, usec = ?6, "
    "prop = CASE WHEN prop >= 2 THEN prop WHEN ?7 = 1 THEN 1 "
    "WHEN ?7 = 2 THEN 0 ELSE prop END, "
    "changes = changes + 1, writer = ?8 "
    "WHERE path = ?1 AND attr = ?2",
    /* kStmtInsertLeaf: only on an existing node */
    "INSERT INTO leaf(path, attr, seq, type, value, sec, usec, prop, changes,"
    " writer) SELECT ?1, ?2, "
    "(SELECT ifnull(max(seq), 0) + 1 FROM leaf WHERE path = ?1), "
    "?3, ?4, ?5, ?6, ?7 = 1, 1, ?8 "
    "WHERE EXISTS (SELECT 1 FROM node WHERE path = ?1)",
    /* kStmtInsertNode */
    "INSERT INTO node(path, parent, name) VALUES(?1, ?2, ?3)",
    /* kStmtDeleteLeaf */
    "DELETE FROM leaf WHERE path = ?1 AND attr = ?2",
    /* kStmtDeleteSubtreeLeaves */
    "DELETE FROM leaf WHERE path = ?1 OR (path > ?2 AND path < ?3)",
    /* kStmtDeleteSubtreeNodes */
    "DELETE FROM node WHERE path = ?1 OR (path > ?2 AND path < ?3)",
    /* kStmtInsertEvent */
    "INSERT INTO events(queued_us, payload) VALUES(?1, ?2)",
    /* kStmtTrimEvents */ "DELETE FROM events WHERE queue_id <= ?1",
    /* kStmtReadEvents */
    "SELECT queue_id, queued_us, payload FROM events WHERE queue_id > ?1 "
    "ORDER BY queue_id LIMIT ?2",
    /* kStmtInsertSyslog */
    "INSERT INTO syslog(time_us, level, message) VALUES(?1, ?2, ?3)",
    /* kStmtTrimSyslog */ "DELETE FROM syslog WHERE id <= ?1",
    /* kStmtReadSyslog */
    "SELECT time_us, level, message, id FROM syslog ORDER BY id DESC "
    "LIMIT ?1",
    /* kStmtReadSyslogAfter */
    "SELECT time_us, level, message, id FROM syslog WHERE id > ?1 "
    "ORDER BY id LIMIT ?2",
    /* kStmtInsertStructure */
    "INSERT INTO structure(time_us, action, path, source) "
    "VALUES(?1, ?2, ?3, ?4)",
    /* kStmtTrimStructure */ "DELETE FROM structure WHERE id <= ?1",
    /* kStmtReadStructure */
    "SELECT id, time_us, action, path, source FROM structure WHERE id > ?1 "
    "ORDER BY id LIMIT ?2",
    /* kStmtLastIds */
    "SELECT (SELECT ifnull(max(queue_id), 0) FROM events), "
    "(SELECT ifnull(max(id), 0) FROM syslog), "
    "(SELECT ifnull(max(id), 0) FROM structure)",
    /* kStmtRegisterWatchdog */
    "INSERT INTO watchdog(name, pid, period, last_ping_us) "
    "VALUES(?1, ?2, ?3, ?4) ON CONFLICT(name, pid) DO UPDATE SET "
    "period = excluded.period, last_ping_us = excluded.last_ping_us",
    /* kStmtPingWatchdog */
    "UPDATE watchdog SET last_ping_us = ?2 WHERE name = ?1 AND pid = ?3",
    /* kStmtClearWatchdog */
    "DELETE FROM watchdog WHERE name = ?1 AND pid = ?3",
    /* kStmtReadWatchdogs */
    "SELECT name, pid, period, last_ping_us FROM watchdog ORDER BY name, pid",
    /* kStmtRemoveWatchdog */
    "DELETE FROM watchdog WHERE name = ?1 AND pid = ?2",
};

// The journal of structure changes (nodes created and removed), which
// other processes read after the last id they handled.
#define TOOLKIT_STRUCTURE_TABLE                                          \
  "CREATE TABLE structure(id INTEGER PRIMARY KEY AUTOINCREMENT,"         \
  " time_us INTEGER NOT NULL, action TEXT NOT NULL, path TEXT NOT NULL," \
  " source TEXT NOT NULL);"

const char kSchema[] =
    "CREATE TABLE meta(key TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "CREATE TABLE node(id INTEGER PRIMARY KEY, path TEXT UNIQUE NOT NULL,"
    " parent INTEGER, name TEXT NOT NULL);"
    "CREATE INDEX node_parent ON node(parent, id);"
    // Leaves are keyed by their node's path rather than its id: a read is
    // then one search of one index. `value` has no declared type on
    // purpose: a declared type would give the column an affinity, and text
    // such as "007" must stay text.
    "CREATE TABLE leaf(path TEXT NOT NULL, attr TEXT NOT NULL,"
    " seq INTEGER NOT NULL, type INTEGER NOT NULL, value,"
    " sec INTEGER NOT NULL, usec INTEGER NOT NULL, prop INTEGER NOT NULL,"
    " changes INTEGER NOT NULL, writer TEXT,"
    " PRIMARY KEY(path, attr)) WITHOUT ROWID;"
    "CREATE TABLE events(queue_id INTEGER PRIMARY KEY AUTOINCREMENT,"
    " queued_us INTEGER NOT NULL, payload TEXT NOT NULL);"
    "CREATE TABLE watchdog(name TEXT NOT NULL, pid INTEGER NOT NULL,"
    " period INTEGER NOT NULL, last_ping_us INTEGER NOT NULL,"
    " PRIMARY KEY(name, pid)) WITHOUT ROWID;"
    "CREATE TABLE syslog(id INTEGER PRIMARY KEY, time_us INTEGER NOT NULL,"
    " level INTEGER NOT NULL, message TEXT NOT NULL);" TOOLKIT_STRUCTURE_TABLE
    "INSERT INTO meta VALUES('security_generation', 0);"
    "INSERT INTO node(id, path, parent, name) VALUES(1, '/', NULL, '');";

// One integer from a one-row query, or `fallback`.
long long query_integer(sqlite3* db, const char* sql, long long fallback) {
  sqlite3_stmt* stmt = nullptr;
  long long value = fallback;
  if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) == SQLITE_OK &&
      sqlite3_step(stmt) == SQLITE_ROW) {
    value = sqlite3_column_int64(stmt, 0);
  }
  sqlite3_finalize(stmt);
  return value;
}

bool is_wal(sqlite3* db) {
  sqlite3_stmt* stmt = nullptr;
  bool wal = false;
  if (sqlite3_prepare_v2(db, "PRAGMA journal_mode", -1, &stmt, nullptr) ==
          SQLITE_OK &&
      sqlite3_step(stmt) == SQLITE_ROW) {
    const unsigned char* mode = sqlite3_column_text(stmt, 0);
    wal = mode != nullptr &&
          strcmp(reinterpret_cast<const char*>(mode), "wal") == 0;
  }
  sqlite3_finalize(stmt);
  return wal;
}


bool file_exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

void remove_store_files(const std::string& path) {
  unlink(path.c_str());
  // A stale WAL would be replayed onto the new file: always remove it.
  unlink((path + "-wal").c_str());
  unlink((path + "-shm").c_str());
}

// Build the schema in `path`, which must not exist yet.
int write_new_store(const std::string& path) {
  sqlite3* db = nullptr;
  int rc = sqlite3_open_v2(path.c_str(), &db,
                           SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (rc == SQLITE_OK) {
    rc = sqlite3_exec(db, "PRAGMA journal_mode = WAL", nullptr, nullptr,
                      nullptr);
  }
  if (rc == SQLITE_OK) {
    const std::string script =
        std::string("BEGIN;") + kSchema +
        "INSERT INTO meta VALUES('schema_version', " +
        std::to_string(kSchemaVersion) + ");COMMIT;";
    rc = sqlite3_exec(db, script.c_str(), nullptr, nullptr, nullptr);
  }
  if (rc == SQLITE_OK && !is_wal(db)) rc = SQLITE_ERROR;
  if (sqlite3_close(db) != SQLITE_OK && rc == SQLITE_OK) rc = SQLITE_ERROR;
  return rc == SQLITE_OK ? 0 : -1;
}

// ---------------------------------------------------------------------------
// cds_keys(?): a table-valued function over a LeafKeys array, one row per
// key, rowid = position in the array. Eponymous only (no xCreate), so it
// never appears in the schema and other SQLite clients can open the file.

const char kKeysPointerType[] = "cds_keys";

struct KeysCursor {
  sqlite3_vtab_cursor base;  // first: SQLite casts between the two
  const LeafKeys* keys;
  size_t row;
};

int keys_connect(sqlite3* db, void*, int, const char* const*,
                 sqlite3_vtab** table, char**) {
  const int rc = sqlite3_declare_vtab(
      db, "CREATE TABLE x(node TEXT, attr TEXT, keys HIDDEN)");
  if (rc != SQLITE_OK) return rc;
  *table = static_cast<sqlite3_vtab*>(sqlite3_malloc(sizeof(sqlite3_vtab)));
  if (*table == nullptr) return SQLITE_NOMEM;
  memset(*table, 0, sizeof(sqlite3_vtab));
  return SQLITE_OK;
}

int keys_disconnect(sqlite3_vtab* table) {
  sqlite3_free(table);
  return SQLITE_OK;
}

// The only usable plan reads the array bound to the hidden `keys` column.
int keys_best_index(sqlite3_vtab*, sqlite3_index_info* info) {
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& constraint = info->aConstraint[i];
    if (constraint.iColumn != 2 ||
        constraint.op != SQLITE_INDEX_CONSTRAINT_EQ) {
      continue;
    }
    if (!constraint.usable) return SQLITE_CONSTRAINT;
    info->aConstraintUsage[i].argvIndex = 1;
    info->aConstraintUsage[i].omit = 1;
    info->estimatedCost = 1000;
    info->estimatedRows = 1000;
    return SQLITE_OK;
  }
  return SQLITE_CONSTRAINT;
}

int keys_open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
  auto* c = static_cast<KeysCursor*>(sqlite3_malloc(sizeof(KeysCursor)));
  if (c == nullptr) return SQLITE_NOMEM;
  memset(c, 0, sizeof(KeysCursor));
  *cursor = &c->base;
  return SQLITE_OK;
}

int keys_close(sqlite3_vtab_cursor* cursor) {
  sqlite3_free(cursor);
  return SQLITE_OK;
}

int keys_filter(sqlite3_vtab_cursor* cursor, int, const char*, int argc,
                sqlite3_value** argv) {
  auto* c = reinterpret_cast<KeysCursor*>(cursor);
  c->row = 0;
  c->keys = argc < 1 ? nullptr
                     : static_cast<const LeafKeys*>(
                           sqlite3_value_pointer(argv[0], kKeysPointerType));
  return SQLITE_OK;
}

int keys_next(sqlite3_vtab_cursor* cursor) {
  ++reinterpret_cast<KeysCursor*>(cursor)->row;
  return SQLITE_OK;
}

int keys_eof(sqlite3_vtab_cursor* cursor) {
  const auto* c = reinterpret_cast<KeysCursor*>(cursor);
  return c->keys == nullptr || c->row >= c->keys->count;
}

int keys_column(sqlite3_vtab_cursor* cursor, sqlite3_context* context,
                int column) {
  const auto* c = reinterpret_cast<KeysCursor*>(cursor);
  const LeafKey& key = c->keys->keys[c->row];
  if (column == 0) {
    sqlite3_result_text(context, key.node, key.node_size, SQLITE_STATIC);
  } else if (column == 1) {
    sqlite3_result_text(context, key.attr, key.attr_size, SQLITE_STATIC);
  }
  return SQLITE_OK;
}

int keys_rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* rowid) {
  *rowid = static_cast<sqlite3_int64>(
      reinterpret_cast<KeysCursor*>(cursor)->row);
  return SQLITE_OK;
}

sqlite3_module make_keys_module() {
  sqlite3_module module;
  memset(&module, 0, sizeof(module));
  module.xConnect = keys_connect;
  module.xBestIndex = keys_best_index;
  module.xDisconnect = keys_disconnect;
  module.xOpen = keys_open;
  module.xClose = keys_close;
  module.xFilter = keys_filter;
  module.xNext = keys_next;
  module.xEof = keys_eof;
  module.xColumn = keys_column;
  module.xRowid = keys_rowid;
  return module;
}

const sqlite3_module kKeysModule = make_keys_module();

}  // namespace

void bind_keys(sqlite3_stmt* stmt, int index, const LeafKeys* keys) {
  sqlite3_bind_pointer(stmt, index, const_cast<LeafKeys*>(keys),
                       kKeysPointerType, nullptr);
}

}  // namespace store
}  // namespace toolkit

sqlite3_stmt* pcd_connection::stmt(toolkit::store::StmtId id, int* rc) {
  sqlite3_stmt*& slot = stmts[id];
  if (slot == nullptr) {
    *rc = sqlite3_prepare_v3(db, toolkit::store::kSql[id], -1,
                             SQLITE_PREPARE_PERSISTENT, &slot, nullptr);
    if (*rc != SQLITE_OK) {
      sqlite3_finalize(slot);
      slot = nullptr;
    }
  }
  return slot;
}

namespace toolkit {
namespace store {

namespace {

// Per-connection settings; WAL itself is a property of the file, set when
// the store is created.
bool configure(sqlite3* db) {
  sqlite3_busy_timeout(db, busy_ms());
  return sqlite3_exec(db, "PRAGMA synchronous = NORMAL", nullptr, nullptr,
                      nullptr) == SQLITE_OK &&
         sqlite3_create_module(db, "cds_keys", &kKeysModule, nullptr) ==
             SQLITE_OK;
}

}  // namespace

namespace {

// The previous schema kept one watchdog row per name; rows are now per
// process, so that two processes of one name cannot take each other's.
const char kUpgradeFromVersion2[] =
    "BEGIN IMMEDIATE;"
    "CREATE TABLE watchdog_new(name TEXT NOT NULL, pid INTEGER NOT NULL,"
    " period INTEGER NOT NULL, last_ping_us INTEGER NOT NULL,"
    " PRIMARY KEY(name, pid)) WITHOUT ROWID;"
    "INSERT INTO watchdog_new SELECT name, pid, period, last_ping_us"
    " FROM watchdog;"
    "DROP TABLE watchdog;"
    "ALTER TABLE watchdog_new RENAME TO watchdog;"
    "UPDATE meta SET value = 3 WHERE key = 'schema_version';"
    "COMMIT;";

// Version 3 had no journal of structure changes.
const char kUpgradeFromVersion3[] =
    "BEGIN IMMEDIATE;" TOOLKIT_STRUCTURE_TABLE
    "UPDATE meta SET value = 4 WHERE key = 'schema_version';"
    "COMMIT;";

bool writable_or_absent(const std::string& path) {
  return access(path.c_str(), W_OK) == 0 || errno == ENOENT;
}

// The file of the store that this process cannot write, or nullptr. SQLite
// maps the shared-memory file into memory and would die of SIGBUS on one it
// cannot extend; a store it cannot write would fail every write later.
const char* unwritable_file(const std::string& path) {
  if (access(path.c_str(), W_OK) != 0) return errno == ENOENT ? nullptr : "";
  if (!writable_or_absent(path + "-wal")) return "-wal";
  if (!writable_or_absent(path + "-shm")) return "-shm";
  return nullptr;
}

// The schema version, after bringing a store of the previous one up to
// date; -1 when the file is no store.
long long current_version(sqlite3* db) {
  const char* const sql = "SELECT value FROM meta WHERE key = 'schema_version'";
  long long version = query_integer(db, sql, -1);
  for (const auto& upgrade : {std::make_pair(2LL, kUpgradeFromVersion2),
                              std::make_pair(3LL, kUpgradeFromVersion3)}) {
    if (version != upgrade.first) continue;
    if (sqlite3_exec(db, upgrade.second, nullptr, nullptr, nullptr) !=
        SQLITE_OK) {
      sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
      return version;
    }
    version = query_integer(db, sql, -1);
  }
  return version;
}

// A configured database of the store at `path`, or nullptr.
sqlite3* open_database(const std::string& path) {
  if (const char* file = unwritable_file(path)) {
    if (g_syslog != nullptr) {
      g_syslog->err(0, "store %s%s cannot be written: %s", path.c_str(), file,
                    strerror(errno));
    }
    return nullptr;
  }
  sqlite3* db = nullptr;
  // Never SQLITE_OPEN_CREATE: a missing store is an error, not an empty one.
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(path.c_str(), &db, flags, nullptr) != SQLITE_OK ||
      !configure(db) || current_version(db) != kSchemaVersion ||
      !is_wal(db)) {
    sqlite3_close(db);
    return nullptr;
  }
  return db;
}

// Make `c` use `db`, whose file now has the identity `st`. The old
// database is closed keeping its write-ahead files: SQLite would otherwise
// delete "<path>-wal" and "<path>-shm" by name, and by now those names
// belong to the store that replaced it.
void adopt_database(pcd_connection* c, sqlite3* db, const struct stat& st) {
  for (sqlite3_stmt*& stmt : c->stmts) {
    sqlite3_finalize(stmt);
    stmt = nullptr;
  }
  int persist = 1;
  sqlite3_file_control(c->db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
  sqlite3_close(c->db);
  c->db = db;
  c->device = st.st_dev;
  c->inode = st.st_ino;
  c->gone_reported = false;
}

// The store at the connection's path was replaced: go over to the new file
// with the connection's own state (read-only flag, watchdog) and make sure
// everything cached from the old file is read again.
api_status_t reopen(pcd_connection* c, const struct stat& st) {
  sqlite3* db = open_database(c->path);
  if (db == nullptr) return API_STATUS_NOT_OPEN;
  // The change counter must move past every value it had on the old file.
  const unsigned long long before = pcd_change_counter(c);
  adopt_database(c, db, st);
  c->own_writes = before + 1;
  c->security.reset();
  c->security_generation = -1;
  if (g_syslog != nullptr) {
    g_syslog->notice(0, "store %s was replaced; reopened it", c->path.c_str());
  }
  if (!c->watchdog_name.empty()) return write_watchdog_row(c);
  return API_STATUS_OK;
}

}  // namespace

int busy_ms() {
  const char* text = getenv("TOOLKIT_CDS_BUSY_MS");
  if (text == nullptr || *text == '\0') return kDefaultBusyMs;
  char* end = nullptr;
  const long ms = strtol(text, &end, 10);
  if (*end != '\0' || ms < 0 || ms > 3600 * 1000) return kDefaultBusyMs;
  return static_cast<int>(ms);
}

pcd_connection* open_connection(const char* path) {
  if (path == nullptr || *path == '\0') return nullptr;
  struct stat st;
  if (stat(path, &st) != 0) return nullptr;
  sqlite3* db = open_database(path);
  if (db == nullptr) return nullptr;
  pcd_connection* c = new pcd_connection;
  c->db = db;
  c->path = path;
  c->device = st.st_dev;
  c->inode = st.st_ino;
  return c;
}

api_status_t ensure_current(pcd_connection* c) {
  if (c->in_group || c->in_snapshot || !sqlite3_get_autocommit(c->db)) {
    return API_STATUS_OK;
  }
  struct stat st;
  if (stat(c->path.c_str(), &st) != 0) {
    if (!c->gone_reported && g_syslog != nullptr) {
      g_syslog->err(0, "store %s is gone: calls fail until it is back",
                    c->path.c_str());
    }
    c->gone_reported = true;
    return API_STATUS_NOT_OPEN;
  }
  if (st.st_dev == c->device && st.st_ino == c->inode) return API_STATUS_OK;
  return reopen(c, st);
}

api_status_t write_watchdog_row(pcd_connection* c) {
  StmtScope s(c, kStmtRegisterWatchdog);
  if (!s.ok()) return s.error();
  s.bind(1, c->watchdog_name);
  s.bind(2, static_cast<long long>(getpid()));
  s.bind(3, static_cast<long long>(c->watchdog_period));
  s.bind(4, now_us());
  const int rc = s.step();
  if (rc != SQLITE_DONE) return status_from_sqlite(rc);
  c->watchdog_written_us = now_us();
  return API_STATUS_OK;
}

void close_connection(pcd_connection* c) {
  if (c == nullptr) return;
  if (c->in_group) sqlite3_exec(c->db, "ROLLBACK", nullptr, nullptr, nullptr);
  for (sqlite3_stmt*& stmt : c->stmts) {
    sqlite3_finalize(stmt);
    stmt = nullptr;
  }
  sqlite3_close(c->db);
  delete c;
}

int create_store(const std::string& path, bool replace) {
  if (path.empty()) return -1;
  if (file_exists(path) && !replace) return -1;
  // Built under a temporary name and renamed into place, so that no other
  // process ever opens a half-made store.
  const std::string temp = path + ".new." + std::to_string(getpid());
  remove_store_files(temp);
  if (write_new_store(temp) != 0) {
    remove_store_files(temp);
    return -1;
  }
  if (replace) {
    unlink((path + "-wal").c_str());
    unlink((path + "-shm").c_str());
  }
  if (rename(temp.c_str(), path.c_str()) != 0) {
    remove_store_files(temp);
    return -1;
  }
  return 0;
}

api_status_t status_from_sqlite(int rc) {
  switch (rc & 0xff) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return API_STATUS_OK;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return API_STATUS_BUSY;
    case SQLITE_READONLY:
      return API_STATUS_READ_ONLY;
    default:
      return API_STATUS_IO_ERROR;
  }
}

bool is_call_failure(api_status_t status) {
  return status == API_STATUS_BUSY || status == API_STATUS_IO_ERROR ||
         status == API_STATUS_NOT_OPEN || status == API_STATUS_READ_ONLY;
}

api_status_t run_simple(pcd_connection* c, StmtId id) {
  StmtScope s(c, id);
  if (!s.ok()) return s.error();
  const int rc = s.step();
  return rc == SQLITE_DONE || rc == SQLITE_ROW ? API_STATUS_OK
                                               : status_from_sqlite(rc);
}

ReadScope::~ReadScope() {
  if (active_) run_simple(c_, kStmtCommit);
}

api_status_t ReadScope::begin() {
  // Inside a group, or inside the snapshot of a larger read (get_leaves
  // reading a computed attribute), the open transaction already is one.
  if (!sqlite3_get_autocommit(c_->db)) return API_STATUS_OK;
  const api_status_t status = run_simple(c_, kStmtBeginRead);
  active_ = status == API_STATUS_OK;
  return status;
}

WriteScope::~WriteScope() { rollback(); }

api_status_t WriteScope::begin() {
  const api_status_t status =
      run_simple(c_, c_->in_group ? kStmtSavepoint : kStmtBeginWrite);
  active_ = status == API_STATUS_OK;
  return status;
}

api_status_t WriteScope::commit() {
  if (!active_) return API_STATUS_IO_ERROR;
  const api_status_t status =
      run_simple(c_, c_->in_group ? kStmtRelease : kStmtCommit);
  if (status != API_STATUS_OK) return status;  // the destructor rolls back
  active_ = false;
  ++c_->own_writes;
  return API_STATUS_OK;
}

void WriteScope::rollback() {
  if (!active_) return;
  active_ = false;
  if (c_->in_group) {
    // ROLLBACK TO keeps the savepoint open; RELEASE ends it.
    run_simple(c_, kStmtRollbackTo);
    run_simple(c_, kStmtRelease);
  } else {
    run_simple(c_, kStmtRollback);
  }
}

void bind_element(sqlite3_stmt* stmt, int first, const CElement& element,
                  const timeval& time) {
  const data_type_t type = element.get_type();
  sqlite3_bind_int(stmt, first, type);
  switch (type) {
    case PCD_TYPE_BOOL:
      sqlite3_bind_int(stmt, first + 1, element.to_bool() ? 1 : 0);
      break;
    case PCD_TYPE_INT:
      sqlite3_bind_int64(stmt, first + 1, element.to_int());
      break;
    case PCD_TYPE_UINT:
      sqlite3_bind_int64(stmt, first + 1, element.to_uint());
      break;
    case PCD_TYPE_REAL:
      sqlite3_bind_double(stmt, first + 1, element.to_double());
      break;
    case PCD_TYPE_STRING: {
      const std::string text = element.to_string();
      sqlite3_bind_text(stmt, first + 1, text.data(),
                        static_cast<int>(text.size()), SQLITE_TRANSIENT);
      break;
    }
    case PCD_TYPE_TIMEVAL: {
      const timeval tv = element.to_timeval();
      sqlite3_bind_int64(stmt, first + 1,
                         static_cast<long long>(tv.tv_sec) * 1000000 +
                             tv.tv_usec);
      break;
    }
    default:
      sqlite3_bind_null(stmt, first + 1);
      break;
  }
  sqlite3_bind_int64(stmt, first + 2, time.tv_sec);
  sqlite3_bind_int64(stmt, first + 3, time.tv_usec);
}

namespace {

timeval timeval_from_us(long long us) {
  timeval tv;
  qrx_QRXtoUNIXtime64(us, &tv);  // the store keeps qrx times
  return tv;
}

}  // namespace

void column_element(sqlite3_stmt* stmt, int first, CElement& element) {
  const int value = first + 1;
  switch (sqlite3_column_int(stmt, first)) {
    case PCD_TYPE_BOOL:
      element.set_bool(sqlite3_column_int64(stmt, value) != 0);
      break;
    case PCD_TYPE_INT:
      element.set_int(static_cast<int32_t>(sqlite3_column_int64(stmt, value)));
      break;
    case PCD_TYPE_UINT:
      element.set_uint(
          static_cast<uint32_t>(sqlite3_column_int64(stmt, value)));
      break;
    case PCD_TYPE_REAL:
      element.set_real(sqlite3_column_type(stmt, value) == SQLITE_NULL
                           ? std::nan("")
                           : sqlite3_column_double(stmt, value));
      break;
    case PCD_TYPE_STRING: {
      const unsigned char* text = sqlite3_column_text(stmt, value);
      const int size = sqlite3_column_bytes(stmt, value);
      element.set_string(
          text == nullptr
              ? std::string()
              : std::string(reinterpret_cast<const char*>(text), size));
      break;
    }
    case PCD_TYPE_TIMEVAL:
      element.set_timeval(timeval_from_us(sqlite3_column_int64(stmt, value)));
      break;
    default:
      element.clear();
      break;
  }
  timeval time;
  time.tv_sec = static_cast<time_t>(sqlite3_column_int64(stmt, first + 2));
  time.tv_usec =
      static_cast<suseconds_t>(sqlite3_column_int64(stmt, first + 3));
  element.set_time(time);
}

AttrClass classify_attribute(const std::string& name) {
  // Built once from the attribute table; a hash lookup per path is far
  // cheaper than a linear search of the table.
  static const std::unordered_map<std::string, AttrClass>* const table = [] {
    auto* map = new std::unordered_map<std::string, AttrClass>;
    for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
      const AttributeInfo* info = pcd_attr_info(code);
      if (info != nullptr && info->name != nullptr) {
        (*map)[info->name] = AttrClass{code, info->flags};
      }
    }
    return map;
  }();
  const auto it = table->find(name);
  return it == table->end() ? AttrClass{PCD_ATTR_UNKNOWN, 0u} : it->second;
}

bool path_covers(const std::string& ancestor, const std::string& path) {
  if (ancestor == "/") return !path.empty() && path[0] == '/';
  if (path.size() < ancestor.size()) return false;
  if (path.compare(0, ancestor.size(), ancestor) != 0) return false;
  return path.size() == ancestor.size() || path[ancestor.size()] == '/';
}

bool touches_security(const std::string& node_path, bool with_descendants) {
  if (path_covers(kSecurityRoot, node_path)) return true;
  return with_descendants && path_covers(node_path, kSecurityRoot);
}

api_status_t bump_security_generation(pcd_connection* c) {
  return run_simple(c, kStmtBumpSecurityGeneration);
}

long long security_generation(pcd_connection* c) {
  StmtScope s(c, kStmtSecurityGeneration);
  if (!s.ok() || s.step() != SQLITE_ROW) return -1;
  return sqlite3_column_int64(s.get(), 0);
}

timeval now_timeval() {
  timeval tv;
  qrx_QRXtoUNIXtime64(qrx_UTCtime64(), &tv);
  return tv;
}

long long now_us() { return qrx_UTCtime64(); }

}  // namespace store
}  // namespace toolkit
