// Logging of the service code: one call per line, gated by the verbosity.
//
// The daemon's verbosity (-D) decides which lines are written: a line of
// level L appears when the verbosity is at least L. The levels have names
// so that a reader sees why a line is where it is; the calls check the
// verbosity (and that a log exists at all) themselves, so code never
// guards them.
//
//   logError(kLogErrors, "Failed to open database %s", path);

#ifndef COMMON_LOG_H_
#define COMMON_LOG_H_

namespace wsgated {

enum LogLevel : int {
  kLogAlways = 0,    // start-up, shutdown, requests that failed
  kLogErrors = 1,    // errors and exceptions inside operations, error results
  kLogActivity = 2,  // sockets, connections, locales, writes
  kLogDetail = 5,    // what an operation fetched, missing request variables
  kLogDump = 6,      // environment dumps, routine misses (error 9 results)
};

// Whether a line of `level` would be written now.
bool logEnabled(LogLevel level);

// printf-style, one line each, at the syslog priority the name says.
void logError(LogLevel level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void logWarning(LogLevel level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void logNotice(LogLevel level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
void logInfo(LogLevel level, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace wsgated

#endif  // COMMON_LOG_H_
