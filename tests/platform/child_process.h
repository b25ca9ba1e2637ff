// A forked child process for the tests of several processes on one store
// or log. The child reports progress by writing one byte per step into a
// pipe; the parent waits for steps, polls for the child's end, or stops it
// by its pid (the destructor kills a child still running). A hang guard
// (alarm) ends a child after five seconds, ten times what the longest run
// here takes.

#ifndef TESTS_PLATFORM_CHILD_PROCESS_H_
#define TESTS_PLATFORM_CHILD_PROCESS_H_

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace testing_child {

class ChildProcess {
 public:
  using Step = std::function<void()>;
  // `body` gets the function that reports one step; what it returns is the
  // child's exit status.
  explicit ChildProcess(const std::function<int(const Step&)>& body) {
    int fds[2];
    if (pipe(fds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(fds[0]);
      alarm(5);
      const int out = fds[1];
      _exit(body([out] {
        const char byte = 1;
        if (write(out, &byte, 1) != 1) _exit(3);
      }));
    }
    close(fds[1]);
    progress_ = fds[0];
  }
  ~ChildProcess() {
    if (pid_ > 0 && !reaped_) Kill();
    if (progress_ >= 0) close(progress_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool started() const { return pid_ > 0; }
  // Blocks until the child reported `steps` more steps; false when it
  // ended first.
  bool AwaitSteps(int steps) {
    for (char byte; steps > 0; --steps) {
      if (read(progress_, &byte, 1) != 1) return false;
    }
    return true;
  }
  // True once the child ended; exit_code() is then its status (-1 when a
  // signal ended it).
  bool Finished() {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) != pid_) return false;
    reaped_ = true;
    exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return true;
  }
  int exit_code() const { return exit_code_; }
  void Kill() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    reaped_ = true;
  }

 private:
  pid_t pid_ = -1;
  int progress_ = -1;
  bool reaped_ = false;
  int exit_code_ = -1;
};

}  // namespace testing_child

#endif  // TESTS_PLATFORM_CHILD_PROCESS_H_
