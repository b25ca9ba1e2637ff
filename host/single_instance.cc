// Finding a running instance of the daemon (single_instance.h).

#include "host/single_instance.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "platform/cds.h"

namespace wsgated {

namespace {

// The name the kernel keeps for `pid` (at most 15 characters), "" when
// there is no such process.
std::string processName(pid_t pid) {
  std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  std::getline(comm, name);
  return name;
}

bool isInstance(pid_t pid, const std::string& program) {
  if (pid <= 0 || pid == getpid()) return false;
  if (kill(pid, 0) != 0 && errno != EPERM) return false;
  return processName(pid) == program.substr(0, 15);
}

// The pid of the process listening on the socket: -1 when nothing answers,
// 0 when something does but cannot say who it is.
pid_t socketListener(const std::string& path) {
  sockaddr_un address;
  memset(&address, 0, sizeof address);
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return -1;
  memcpy(address.sun_path, path.data(), path.size());
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  pid_t pid = -1;
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address),
              sizeof address) == 0) {
    ucred peer;
    socklen_t size = sizeof peer;
    pid = getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0
              ? peer.pid
              : 0;
  }
  close(fd);
  return pid;
}

pid_t watchdogHolder(toolkit::CCds& cds, const std::string& program) {
  std::vector<CdsWatchdog> rows;
  if (!cds.is_open() || cds_watchdogs_read(cds.handle, rows) != 0) return 0;
  for (const CdsWatchdog& row : rows) {
    if (row.name == program && isInstance(row.pid, program)) return row.pid;
  }
  return 0;
}

}  // namespace

bool findRunningInstance(const std::string& socketPath, toolkit::CCds& cds,
                         const std::string& program, pid_t* pid) {
  const pid_t listener = socketListener(socketPath);
  *pid = listener > 0 ? listener : watchdogHolder(cds, program);
  // Something that answers without saying who it is is still not ours.
  return *pid > 0 || listener == 0;
}

}  // namespace wsgated
