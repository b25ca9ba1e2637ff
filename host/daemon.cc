// Double fork into the background.

#include "host/daemon.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace wsgated {

namespace {

// The daemon's standard descriptors all refer to /dev/null, so stray writes
// of libraries cannot reach a terminal or a closed descriptor's successor.
int redirectStandardDescriptors() {
  close(0);
  close(1);
  close(2);
  int fd = open("/dev/null", O_RDWR);
  if (fd != 0) return -1;
  if (dup(0) != 1 || dup(0) != 2) return -1;
  return 0;
}

}  // namespace

int daemonize() {
  // Pending output would otherwise be written once per process.
  fflush(nullptr);
  pid_t child = fork();
  if (child < 0) return -1;
  if (child > 0) {
    int status = 0;
    if (waitpid(child, &status, 0) != child) return -1;
    if (WIFSIGNALED(status) || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      return -1;
    }
    _exit(0);
  }
  setsid();
  pid_t grandchild = fork();
  if (grandchild < 0) _exit(1);
  if (grandchild > 0) _exit(0);
  if (chdir("/") != 0) return -1;
  if (redirectStandardDescriptors() != 0) return -1;
  umask(022);
  return 0;
}

}  // namespace wsgated
