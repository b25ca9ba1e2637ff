// The process's log on syslog and its own file (process_log.h).

#include "card/common/process_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace wsgated {

namespace {

const mode_t kLogFileMode = 0640;

// Creates the file with its final mode before the system log opens it for
// appending; the system log would create it with the umask's mode.
void createLogFile(const std::string& file) {
  const int fd =
      open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kLogFileMode);
  if (fd < 0) return;  // exists already, or cannot be made: the log says so
  fchmod(fd, kLogFileMode);
  close(fd);
}

}  // namespace

ProcessLog::ProcessLog(const std::string& name, const std::string& file,
                       int verbosity) {
  if (!file.empty()) createLogFile(file);
  // An empty name here would make the system log fall back to
  // TOOLKIT_LOG_FILE; "" as the file keeps it to syslog alone.
  log_.reset(new toolkit::CSysLog(name.c_str(), verbosity, false, true, true,
                                  file.c_str()));
  toolkit::g_syslog = log_.get();
}

ProcessLog::~ProcessLog() {
  if (toolkit::g_syslog == log_.get()) toolkit::g_syslog = nullptr;
}

}  // namespace wsgated
