// The software watchdog: a row per supervised process in the store, and
// the same news told to systemd when the process runs under it.
//
// A supervisor of the device reads the rows (cds_watchdogs_read) and
// restarts a process whose last ping is older than its period. Under
// systemd the datagrams "READY=1", "WATCHDOG=1" and "STOPPING=1" go to
// $NOTIFY_SOCKET; the protocol is a single datagram on a Unix socket, so it
// needs no library.
//
// Watchdog calls work on a read-only handle: a daemon whose data the device
// has frozen must still be supervised.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/cds_store.h"

namespace toolkit {
namespace {

using store::StmtScope;

// Sends one notification to systemd; silently nothing when not under it.
// A failed notification is not the store's failure: the row is what the
// device's own supervisor reads.
void notify_systemd(const char* message) {
  const char* socket_path = getenv("NOTIFY_SOCKET");
  if (socket_path == nullptr || socket_path[0] == '\0') return;
  sockaddr_un address;
  memset(&address, 0, sizeof(address));
  address.sun_family = AF_UNIX;
  const size_t length = strlen(socket_path);
  if (length >= sizeof(address.sun_path)) return;
  memcpy(address.sun_path, socket_path, length);
  // "@name" is a name in the abstract namespace, spelt with a leading NUL.
  if (address.sun_path[0] == '@') address.sun_path[0] = '\0';
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return;
  const socklen_t size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length);
  sendto(fd, message, strlen(message), MSG_NOSIGNAL,
         reinterpret_cast<const sockaddr*>(&address), size);
  close(fd);
}

// How long a ping waits for a lock another process holds. A ping is a sign
// of life, not a change that must win now: when the store is busy it is
// written at the next ping instead.
constexpr int kPingBusyMs = 250;

// Runs a watchdog statement whose parameter 1 is the name, 2 the present
// time and 3 our pid; `changed` tells whether a row matched.
api_status_t touch_row(pcd_connection* c, store::StmtId id, bool* changed) {
  StmtScope s(c, id);
  if (!s.ok()) return s.error();
  s.bind(1, c->watchdog_name);
  s.bind(2, store::now_us());
  s.bind(3, static_cast<long long>(getpid()));
  const int rc = s.step();
  if (rc != SQLITE_DONE) return store::status_from_sqlite(rc);
  *changed = sqlite3_changes(c->db) > 0;
  return API_STATUS_OK;
}

// A ping's write, waiting at most kPingBusyMs for a lock.
api_status_t ping_row(pcd_connection* c, bool* changed) {
  sqlite3_busy_timeout(c->db, kPingBusyMs);
  const api_status_t status = touch_row(c, store::kStmtPingWatchdog, changed);
  sqlite3_busy_timeout(c->db, store::busy_ms());
  return status;
}

// Has no ping reached the store for a whole period?
bool ping_overdue(const pcd_connection* c) {
  const long long period_us = 1000000LL * c->watchdog_period;
  return store::now_us() - c->watchdog_written_us >= period_us;
}

// Frame of the three calls: the handle, a registration when one is needed,
// and the exception boundary.
template <typename Body>
int watchdog_call(pcd_connection* c, api_status_t& status,
                  bool needs_registration, Body&& body) {
  try {
    if (c == nullptr) {
      status = API_STATUS_NOT_OPEN;
    } else if (needs_registration && c->watchdog_name.empty()) {
      status = API_STATUS_NO_NODE;
    } else if ((status = store::ensure_current(c)) == API_STATUS_OK) {
      status = body();
    }
  } catch (...) {
    status = API_STATUS_IO_ERROR;
  }
  return status == API_STATUS_OK ? 0 : -1;
}

}  // namespace

int CCds::watchdog_register(api_status_t& status, const std::string& name,
                            int period_seconds, bool notify) {
  return watchdog_call(handle, status, false, [&] {
    if (name.empty() || period_seconds <= 0) return API_STATUS_BAD_PATH;
    const std::string previous = handle->watchdog_name;
    handle->watchdog_name = name;
    handle->watchdog_period = period_seconds;
    const api_status_t result = store::write_watchdog_row(handle);
    if (result != API_STATUS_OK) {
      handle->watchdog_name = previous;
      return result;
    }
    handle->watchdog_notify = notify;
    // MAINPID: a daemon that forked is not the process systemd started.
    if (notify) {
      notify_systemd(("READY=1\nMAINPID=" + std::to_string(getpid())).c_str());
    }
    return API_STATUS_OK;
  });
}

int CCds::watchdog_ping(api_status_t& status) {
  return watchdog_call(handle, status, true, [&] {
    bool changed = false;
    const api_status_t result = ping_row(handle, &changed);
    if (result == API_STATUS_BUSY && !ping_overdue(handle)) {
      if (handle->watchdog_notify) notify_systemd("WATCHDOG=1");
      return API_STATUS_OK;
    }
    if (result != API_STATUS_OK) return result;
    // Someone removed our row: the supervisor no longer expects us.
    if (!changed) return API_STATUS_NO_NODE;
    handle->watchdog_written_us = store::now_us();
    if (handle->watchdog_notify) notify_systemd("WATCHDOG=1");
    return API_STATUS_OK;
  });
}

int CCds::watchdog_clear(api_status_t& status) {
  return watchdog_call(handle, status, true, [&] {
    bool changed = false;
    const api_status_t result =
        touch_row(handle, store::kStmtClearWatchdog, &changed);
    if (result != API_STATUS_OK) return result;
    if (handle->watchdog_notify) notify_systemd("STOPPING=1");
    handle->watchdog_name.clear();
    handle->watchdog_notify = false;
    return changed ? API_STATUS_OK : API_STATUS_NO_NODE;
  });
}

}  // namespace toolkit

int cds_watchdogs_read(pcd_handle_t handle, std::vector<CdsWatchdog>& out) {
  try {
    out.clear();
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtReadWatchdogs);
    if (!s.ok()) return -1;
    int rc;
    while ((rc = s.step()) == SQLITE_ROW) {
      const unsigned char* name = sqlite3_column_text(s.get(), 0);
      out.push_back(CdsWatchdog{
          name == nullptr ? "" : reinterpret_cast<const char*>(name),
          sqlite3_column_int(s.get(), 1), sqlite3_column_int(s.get(), 2),
          sqlite3_column_int64(s.get(), 3)});
    }
    return rc == SQLITE_DONE ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

int cds_watchdog_remove(pcd_handle_t handle, const std::string& name, int pid) {
  try {
    if (handle == nullptr) return -1;
    toolkit::store::StmtScope s(handle, toolkit::store::kStmtRemoveWatchdog);
    if (!s.ok()) return -1;
    s.bind(1, name);
    s.bind(2, static_cast<long long>(pid));
    return s.step() == SQLITE_DONE && sqlite3_changes(handle->db) > 0 ? 0 : -1;
  } catch (...) {
    return -1;
  }
}
