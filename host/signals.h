// Signal dispositions of the daemon.
//
// Orderly termination (SIGHUP, SIGINT, SIGTERM) only sets a flag that the
// request loop reads between requests, so a request is never cut in half.
// Fault signals write a back trace to the daemon's log file and standard
// error (async-signal-safe calls only), then a demangled one to standard
// error and the system log, and end the process with the signal number as
// its exit status. SIGQUIT is
// installed by both; the crash handler comes second and wins, so SIGQUIT
// leaves a back trace of a hung daemon.

#ifndef HOST_SIGNALS_H_
#define HOST_SIGNALS_H_

#include <csignal>

namespace wsgated {

// Set by the termination handler; read by the request loop.
extern volatile sig_atomic_t g_terminate;

// SIGHUP, SIGINT, SIGQUIT, SIGTERM -> set g_terminate.
void installTerminationHandler();
// SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSTKFLT ->
// back trace and exit(signal number).
void installCrashHandler();
// Give SIGHUP, SIGINT, SIGQUIT and SIGTERM their default disposition again.
void restoreTerminationDefaults();

// Write the current back trace, framed by start/end lines naming
// `signalName`, to standard error and to syslog(3) at LOG_CRIT.
void writeBackTrace(const char* signalName);

}  // namespace wsgated

#endif  // HOST_SIGNALS_H_
