// Starting, probing, signalling and reaping processes (processes.h).

#include "card/supervisor/processes.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "card/common/signals.h"

namespace wsgated {

namespace {

const int kExecFailed = 127;

// The state letter of /proc/PID/stat: "123 (name) S ...". The name may
// hold ") ", so the state follows the last ")".
char processState(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(stat, text);
  const size_t close = text.rfind(')');
  return close == std::string::npos || close + 2 >= text.size()
             ? '\0'
             : text[close + 2];
}

}  // namespace

pid_t spawnProgram(const std::vector<std::string>& argv) {
  std::vector<char*> pointers;
  for (const std::string& word : argv) {
    pointers.push_back(const_cast<char*>(word.c_str()));
  }
  pointers.push_back(nullptr);
  fflush(nullptr);
  const pid_t pid = fork();
  if (pid != 0) return pid;
  // The child. The supervisor has a single thread, so every call is safe
  // here before the exec.
  setsid();
  resetSignalsForExec();
  unsetenv("NOTIFY_SOCKET");
  execvp(pointers[0], pointers.data());
  const int error = errno;
  fprintf(stderr, "cannot run %s: %s\n", pointers[0], strerror(error));
  _exit(kExecFailed);
}

bool processAlive(pid_t pid) {
  if (pid <= 0) return false;
  if (kill(pid, 0) != 0 && errno != EPERM) return false;
  const char state = processState(pid);
  return state != '\0' && state != 'Z' && state != 'X';
}

std::string processName(pid_t pid) {
  std::ifstream comm("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  std::getline(comm, name);
  return name;
}

bool becomeSubreaper() { return prctl(PR_SET_CHILD_SUBREAPER, 1) == 0; }

std::vector<EndedProcess> reapChildren() {
  std::vector<EndedProcess> ended;
  int status = 0;
  pid_t pid;
  while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
    ended.push_back(EndedProcess{pid, status});
  }
  return ended;
}

std::string describeStatus(int status) {
  if (WIFEXITED(status)) {
    return "exit status " + std::to_string(WEXITSTATUS(status));
  }
  if (WIFSIGNALED(status)) {
    return "signal " + std::to_string(WTERMSIG(status)) + " (" +
           strsignal(WTERMSIG(status)) + ")";
  }
  return "wait status " + std::to_string(status);
}

void askToEnd(pid_t pid) {
  kill(pid, SIGTERM);
  kill(pid, SIGCONT);
}

void forceToEnd(pid_t pid) { kill(pid, SIGKILL); }

}  // namespace wsgated
