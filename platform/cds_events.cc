// The store's append-only logs: the durable event queue (events_send,
// cds_events_read), the system event log (syslog_add, cds_syslog_read) and
// the journal of structure changes (written by add_node and remove_node,
// read with cds_structure_read).
//
// All are capped tables: every append also drops the rows that fell out of
// the newest kEventQueueCap / kSyslogCap, in the same transaction, so the
// file cannot grow without bound on the device's flash.

#include <syslog.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/cds_store.h"
#include "platform/event.h"

namespace toolkit {
namespace {

using store::StmtScope;
using store::WriteScope;

// Appends one row with a time and a text (the queue and the log share this
// shape); `id` receives its rowid.
api_status_t append_row(pcd_connection* c, store::StmtId insert,
                        long long time_us, const std::string& text,
                        long long* id) {
  StmtScope s(c, insert);
  if (!s.ok()) return s.error();
  s.bind(1, time_us);
  s.bind(2, text);
  const int rc = s.step();
  if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  *id = sqlite3_last_insert_rowid(c->db);
  return API_STATUS_OK;
}

// Drops the rows older than the newest `cap` ending at `last_id`.
api_status_t trim(pcd_connection* c, store::StmtId trim_stmt,
                  long long last_id, long long cap) {
  if (last_id <= cap) return API_STATUS_OK;
  StmtScope s(c, trim_stmt);
  if (!s.ok()) return s.error();
  s.bind(1, last_id - cap);
  const int rc = s.step();
  return rc == SQLITE_DONE ? API_STATUS_OK : store::status_from_sqlite(rc);
}

api_status_t queue_events(pcd_connection* c, std::vector<CEvent>& events,
                          std::vector<long long>& ids) {
  WriteScope txn(c);
  api_status_t status = txn.begin();
  const long long now = store::now_us();
  for (size_t i = 0; status == API_STATUS_OK && i < events.size(); ++i) {
    status = append_row(c, store::kStmtInsertEvent, now,
                        events[i].serialize(), &ids[i]);
  }
  if (status == API_STATUS_OK && !ids.empty()) {
    status = trim(c, store::kStmtTrimEvents, ids.back(),
                  store::kEventQueueCap);
  }
  return status == API_STATUS_OK ? txn.commit() : status;
}

api_status_t log_line(pcd_connection* c, int level,
                      const std::string& message) {
  WriteScope txn(c);
  api_status_t status = txn.begin();
  if (status != API_STATUS_OK) return status;
  long long id = 0;
  {
    StmtScope s(c, store::kStmtInsertSyslog);
    if (!s.ok()) return s.error();
    s.bind(1, store::now_us());
    s.bind(2, static_cast<long long>(level));
    s.bind(3, message);
    const int rc = s.step();
    if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
    id = sqlite3_last_insert_rowid(c->db);
  }
  status = trim(c, store::kStmtTrimSyslog, id, store::kSyslogCap);
  return status == API_STATUS_OK ? txn.commit() : status;
}

std::string column_text(sqlite3_stmt* stmt, int column) {
  const unsigned char* text = sqlite3_column_text(stmt, column);
  return text == nullptr
             ? std::string()
             : std::string(reinterpret_cast<const char*>(text),
                           sqlite3_column_bytes(stmt, column));
}

CdsSyslogLine syslog_line(sqlite3_stmt* stmt) {
  CdsSyslogLine line{sqlite3_column_int64(stmt, 0),
                     sqlite3_column_int(stmt, 1), column_text(stmt, 2)};
  line.id = sqlite3_column_int64(stmt, 3);
  return line;
}

}  // namespace

namespace store {

api_status_t journal_structure(pcd_connection* c, const char* action,
                               const std::string& node_path,
                               const std::string& source) {
  long long id = 0;
  const std::string action_text(action);
  {
    StmtScope s(c, kStmtInsertStructure);
    if (!s.ok()) return s.error();
    s.bind(1, now_us());
    s.bind(2, action_text);
    s.bind(3, node_path);
    s.bind(4, source);
    const int rc = s.step();
    if (rc != SQLITE_DONE) return status_from_sqlite(rc);
    id = sqlite3_last_insert_rowid(c->db);
  }
  return trim(c, kStmtTrimStructure, id, kStructureCap);
}

}  // namespace store

int CCds::events_send(std::vector<CEvent>& events,
                      std::vector<api_status_t>& statuses) {
  try {
    statuses.assign(events.size(), API_STATUS_NOT_OPEN);
    if (handle == nullptr) return -1;
    // Events act on the device (an acknowledgement closes an alarm), so a
    // read-only handle may not send them.
    api_status_t status = API_STATUS_READ_ONLY;
    std::vector<long long> ids(events.size(), 0);
    if (!handle->read_only) status = toolkit::store::ensure_current(handle);
    if (status == API_STATUS_OK) status = queue_events(handle, events, ids);
    statuses.assign(events.size(), status);
    if (status != API_STATUS_OK) return -1;
    for (size_t i = 0; i < events.size(); ++i) events[i].queue_id = ids[i];
    return 0;
  } catch (...) {
    statuses.assign(statuses.size(), API_STATUS_IO_ERROR);
    return -1;
  }
}

int CCds::syslog_add(int level, const std::string& message) {
  try {
    const int priority = std::min(std::max(level, LOG_EMERG), LOG_DEBUG);
    ::syslog(priority, "%s", message.c_str());
    // The log is the process's own record, not a change of the tree, so a
    // read-only handle still writes it.
    if (handle == nullptr ||
        toolkit::store::ensure_current(handle) != API_STATUS_OK) {
      return -1;
    }
    return log_line(handle, priority, message) == API_STATUS_OK ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

}  // namespace toolkit

int cds_events_read(pcd_handle_t handle, long long after_id, int max,
                    std::vector<CdsQueuedEvent>& out) {
  try {
    out.clear();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtReadEvents);
    if (!s.ok()) return -1;
    s.bind(1, after_id);
    s.bind(2, static_cast<long long>(std::max(max, 0)));
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      out.push_back(CdsQueuedEvent{sqlite3_column_int64(s.get(), 0),
                                   sqlite3_column_int64(s.get(), 1),
                                   toolkit::column_text(s.get(), 2)});
    }
    return rc == SQLITE_DONE ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

int cds_syslog_read(pcd_handle_t handle, int max,
                    std::vector<CdsSyslogLine>& out) {
  try {
    out.clear();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtReadSyslog);
    if (!s.ok()) return -1;
    s.bind(1, static_cast<long long>(std::max(max, 0)));
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      out.push_back(toolkit::syslog_line(s.get()));
    }
    std::reverse(out.begin(), out.end());  // read newest first, kept oldest
    return rc == SQLITE_DONE ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

int cds_syslog_read_after(pcd_handle_t handle, long long after_id, int max,
                          std::vector<CdsSyslogLine>& out) {
  try {
    out.clear();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle,
                                toolkit::store::kStmtReadSyslogAfter);
    if (!s.ok()) return -1;
    s.bind(1, after_id);
    s.bind(2, static_cast<long long>(std::max(max, 0)));
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      out.push_back(toolkit::syslog_line(s.get()));
    }
    return rc == SQLITE_DONE ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

int cds_structure_read(pcd_handle_t handle, long long after_id, int max,
                       std::vector<CdsStructureChange>& out) {
  try {
    out.clear();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtReadStructure);
    if (!s.ok()) return -1;
    s.bind(1, after_id);
    s.bind(2, static_cast<long long>(std::max(max, 0)));
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      out.push_back(CdsStructureChange{
          sqlite3_column_int64(s.get(), 0), sqlite3_column_int64(s.get(), 1),
          toolkit::column_text(s.get(), 2), toolkit::column_text(s.get(), 3),
          toolkit::column_text(s.get(), 4)});
    }
    return rc == SQLITE_DONE ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

int cds_last_ids(pcd_handle_t handle, CdsLastIds& out) {
  try {
    out = CdsLastIds();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtLastIds);
    if (!s.ok() || s.step() != SQLITE_ROW) return -1;
    out.event = sqlite3_column_int64(s.get(), 0);
    out.syslog = sqlite3_column_int64(s.get(), 1);
    out.structure = sqlite3_column_int64(s.get(), 2);
    return 0;
  } catch (...) {
    return -1;
  }
}
