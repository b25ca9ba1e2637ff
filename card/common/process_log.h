// The log of a card process.
//
// Lines are written with common/log.h (logError, logInfo, ... gated by the
// verbosity) onto a system log (platform/syslog.h) whose ident is the
// process's name. When a file is named (--log-file, else TOOLKIT_LOG_FILE)
// every line is also appended there with a time stamp. A log file the
// process creates is readable by its owner and group only (0640), whatever
// the umask: its lines name users, paths and processes of the card. An
// existing file keeps the mode its owner gave it.

#ifndef CARD_COMMON_PROCESS_LOG_H_
#define CARD_COMMON_PROCESS_LOG_H_

#include <memory>
#include <string>

#include "platform/syslog.h"

namespace wsgated {

class ProcessLog {
 public:
  // Becomes the process's log (toolkit::g_syslog) until destroyed. `file`
  // empty: no file of its own (TOOLKIT_LOG_FILE is resolved by the caller).
  ProcessLog(const std::string& name, const std::string& file, int verbosity);
  ~ProcessLog();
  ProcessLog(const ProcessLog&) = delete;
  ProcessLog& operator=(const ProcessLog&) = delete;

 private:
  std::unique_ptr<toolkit::CSysLog> log_;
};

}  // namespace wsgated

#endif  // CARD_COMMON_PROCESS_LOG_H_
