// Detaching from the starting process.

#ifndef HOST_DAEMON_H_
#define HOST_DAEMON_H_

namespace wsgated {

// Double fork: the caller's process waits for the first child and exits 0
// when it succeeded; the first child starts a new session and forks the
// daemon, so the daemon can never reacquire a controlling terminal. Returns
// 0 in the daemon (working directory "/", standard descriptors on
// /dev/null, umask 022) and non-zero in the caller's process when a fork or
// the first child failed.
int daemonize();

}  // namespace wsgated

#endif  // HOST_DAEMON_H_
