// The reboot program, its environment override and the requested flag.

#include "admin/reboot.h"

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

namespace wsgated {

const char* const kDefaultRebootCommand = "/sbin/reboot";
const char* const kRebootCommandVariable = "WSGATED_REBOOT_CMD";

namespace {

// One process, one thread: a plain flag is enough.
bool g_rebootRequested = false;

}  // namespace

std::string rebootCommand() {
  const char* chosen = getenv(kRebootCommandVariable);
  return chosen != nullptr && *chosen != '\0' ? chosen : kDefaultRebootCommand;
}

void setRebootRequested() { g_rebootRequested = true; }

bool rebootRequested() { return g_rebootRequested; }

int execReboot() {
  const std::string command = rebootCommand();
  // execv takes non-const strings; the program owns its copy after exec.
  std::string force = "-f";
  char* plain[] = {const_cast<char*>(command.c_str()), nullptr};
  execv(command.c_str(), plain);
  char* forced[] = {const_cast<char*>(command.c_str()), &force[0], nullptr};
  execv(command.c_str(), forced);
  return errno;
}

}  // namespace wsgated
