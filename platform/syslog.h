// CSysLog: the process's system log, gated by a verbosity level.
//
// A message of level L is written only when `level` (the verbosity) is at
// least L. Messages go to syslog(3) under the ident, and are echoed to
// standard error while the process runs in the foreground (its standard
// error is not /dev/null). When the environment variable TOOLKIT_LOG_FILE
// names a file (or a file is given to the constructor), every written line
// is also appended there with a time stamp; tests read daemon logs that way.

#ifndef PLATFORM_SYSLOG_H_
#define PLATFORM_SYSLOG_H_

#include <cstdarg>
#include <string>

namespace toolkit {

class CSysLog {
 public:
  // ident       syslog ident, also the prefix of echoed lines
  // level       initial verbosity
  // perror      always copy messages to standard error (LOG_PERROR)
  // pid         include the pid in syslog lines (LOG_PID)
  // echo        copy messages to standard error while it is not /dev/null
  // log_file    extra file to append to; nullptr: TOOLKIT_LOG_FILE if set
  CSysLog(const char* ident, int level, bool perror, bool pid, bool echo,
          const char* log_file);
  ~CSysLog();
  CSysLog(const CSysLog&) = delete;
  CSysLog& operator=(const CSysLog&) = delete;

  // The verbosity. First member and public: the command line writes it.
  int level;

  // printf-style; each writes one line at its syslog priority when
  // level <= this->level.
  void err(int level, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  void warn(int level, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  void notice(int level, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  void info(int level, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  // Priority given explicitly (LOG_CRIT for back traces, ...); not gated.
  void write(int priority, const char* format, ...)
      __attribute__((format(printf, 3, 4)));

  bool enabled(int message_level) const { return level >= message_level; }

  // The extra log file's descriptor, -1 without one. A crash handler
  // writes its back trace there with write(2), which is safe in a signal
  // handler where the calls above are not.
  int file_descriptor() const { return file_fd_; }

  // One line at syslog `priority` from a va_list; not gated (the callers
  // above, and wrappers of their own, check enabled() first).
  void vlog(int priority, const char* format, va_list args);

 private:

  std::string ident_;
  bool perror_;
  bool echo_;
  int file_fd_;
};

// The process's log object, set by the program at start-up (may be null).
extern CSysLog* g_syslog;

}  // namespace toolkit

#endif  // PLATFORM_SYSLOG_H_
