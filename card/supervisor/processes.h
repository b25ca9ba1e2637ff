// The supervisor's dealings with processes: starting programs, probing and
// signalling pids, reaping what ended.

#ifndef CARD_SUPERVISOR_PROCESSES_H_
#define CARD_SUPERVISOR_PROCESSES_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace wsgated {

// Starts argv[0] with `argv` in a child of its own session, its signals at
// their defaults, without the supervisor's NOTIFY_SOCKET (its notifications
// would be taken for the supervisor's). Returns the child's pid, or -1 when
// no child could be made. An exec that fails ends the child with status
// 127 and a line on standard error.
pid_t spawnProgram(const std::vector<std::string>& argv);

// The process exists and has not ended (a zombie has).
bool processAlive(pid_t pid);

// Its name as the kernel keeps it (/proc/PID/comm); "" when there is none.
std::string processName(pid_t pid);

// Makes the supervisor the parent of orphans among its descendants: a
// program that daemonises stays its child, so it is reaped here (no
// zombies) and its end is seen at once.
bool becomeSubreaper();

struct EndedProcess {
  pid_t pid;
  int status;  // as waitpid() gives it
};

// Every child that ended since the last call; never waits.
std::vector<EndedProcess> reapChildren();

// "exit status 1", "signal 9 (Killed)".
std::string describeStatus(int status);

// SIGTERM then SIGCONT: a stopped process acts on the SIGTERM only once it
// runs again.
void askToEnd(pid_t pid);

// SIGKILL.
void forceToEnd(pid_t pid);

}  // namespace wsgated

#endif  // CARD_SUPERVISOR_PROCESSES_H_
