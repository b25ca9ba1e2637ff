// The service's log calls, on the process's system log (platform/syslog.h).

#include "common/log.h"

#include <syslog.h>

#include <cstdarg>

#include "platform/syslog.h"

namespace wsgated {

namespace {

void logAt(int priority, LogLevel level, const char* format, va_list args) {
  if (logEnabled(level)) toolkit::g_syslog->vlog(priority, format, args);
}

}  // namespace

bool logEnabled(LogLevel level) {
  return toolkit::g_syslog != nullptr && toolkit::g_syslog->enabled(level);
}

#define WSGATED_LOG_CALL(name, priority)               \
  void name(LogLevel level, const char* format, ...) { \
    va_list args;                                      \
    va_start(args, format);                            \
    logAt(priority, level, format, args);              \
    va_end(args);                                      \
  }

WSGATED_LOG_CALL(logError, LOG_ERR)
WSGATED_LOG_CALL(logWarning, LOG_WARNING)
WSGATED_LOG_CALL(logNotice, LOG_NOTICE)
WSGATED_LOG_CALL(logInfo, LOG_INFO)

#undef WSGATED_LOG_CALL

}  // namespace wsgated
