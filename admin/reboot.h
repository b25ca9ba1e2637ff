// Restarting the network card: the reboot program and the process-wide
// record that a restart was asked for.
//
// Reset hands the card to the system's reboot program by replacing this
// process with it (exec), so a successful call never returns. The program
// is "/sbin/reboot" unless the environment variable WSGATED_REBOOT_CMD names
// another one; tests and demos point it at a harmless script (or at a file
// that does not exist) so that nobody restarts the machine they run on.

#ifndef ADMIN_REBOOT_H_
#define ADMIN_REBOOT_H_

#include <string>

namespace wsgated {

extern const char* const kDefaultRebootCommand;   // "/sbin/reboot"
extern const char* const kRebootCommandVariable;  // "WSGATED_REBOOT_CMD"

// The program Reset runs: WSGATED_REBOOT_CMD when it is set and not empty,
// otherwise kDefaultRebootCommand.
std::string rebootCommand();

// Whether Reset asked for a restart in this process. Set just before the
// reboot program is started and never cleared: if the program cannot be
// started the card still owes its restart, and the request loop may look at
// the flag (for example to stop taking requests) while it waits for one.
void setRebootRequested();
bool rebootRequested();

// Replace this process with the reboot program, first without arguments and,
// should that fail, once more with "-f" (the forced restart that does not
// wait for the init system). Returns only when both fail, with the errno of
// the last attempt.
int execReboot();

}  // namespace wsgated

#endif  // ADMIN_REBOOT_H_
