// CSysLog: syslog(3) plus an echo on standard error and an optional file.
//
// Every line is formatted once into a bounded stack buffer and handed to each
// sink with a single write(2), so lines from several processes sharing a
// terminal or a log file never interleave mid-line.

#include "platform/syslog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace toolkit {

CSysLog* g_syslog = nullptr;

namespace {

// Longest message kept; the rest is cut. Generous for one log line, small
// enough for the stack of any thread.
constexpr size_t kMaxMessage = 2048;
// Room for the time stamp, ident and pid in front of the message.
constexpr size_t kMaxPrefix = 192;

// Device number of /dev/null, looked up once per process. 0 when it cannot
// be found, which disables the /dev/null test (we then always echo).
dev_t DevNullRdev() {
  static const dev_t rdev = [] {
    struct stat st;
    if (stat("/dev/null", &st) == 0 && S_ISCHR(st.st_mode)) return st.st_rdev;
    return static_cast<dev_t>(0);
  }();
  return rdev;
}

// A daemon points fd 2 at /dev/null; anything else (a terminal, a pipe, a
// file) means someone may be reading. fstat on every line is cheap next to
// the syslog call and follows dup2() onto fd 2 at any time.
bool StderrIsLive() {
  struct stat st;
  if (fstat(STDERR_FILENO, &st) != 0) return false;  // closed
  if (S_ISCHR(st.st_mode)) {
    dev_t devnull = DevNullRdev();
    if (devnull != 0 && st.st_rdev == devnull) return false;
  }
  return true;
}

// Write all of `len` bytes, retrying on EINTR and short writes. A failing
// sink is given up silently: logging must never stop the program.
void WriteAll(int fd, const char* data, size_t len) {
  while (len > 0) {
    ssize_t n = ::write(fd, data, len);
    if (n < 0) {
      if (errno == EINTR) continue;
      return;
    }
    data += n;
    len -= static_cast<size_t>(n);
  }
}

// Append `text` to out[*used .. cap-2], always leaving room for "\n".
void Append(char* out, size_t cap, size_t* used, const char* text) {
  size_t room = cap - 1 - *used;
  size_t n = strnlen(text, room);
  memcpy(out + *used, text, n);
  *used += n;
}

// "2026-11-22T10:15:00.250Z" in UTC.
void FormatNow(char* out, size_t cap) {
  timeval now;
  gettimeofday(&now, nullptr);
  struct tm tm;
  time_t seconds = now.tv_sec;
  gmtime_r(&seconds, &tm);
  char date[32];
  strftime(date, sizeof(date), "%Y-%m-%dT%H:%M:%S", &tm);
  snprintf(out, cap, "%s.%03dZ", date, static_cast<int>(now.tv_usec / 1000));
}

}  // namespace

CSysLog::CSysLog(const char* ident, int level_in, bool perror, bool pid,
                 bool echo, const char* log_file)
    : level(level_in),
      ident_(ident ? ident : ""),
      perror_(perror),
      echo_(echo),
      file_fd_(-1) {
  int options = (pid ? LOG_PID : 0) | (perror ? LOG_PERROR : 0);
  // openlog keeps the pointer: ident_ lives as long as this object.
  openlog(ident_.c_str(), options, LOG_DAEMON);
  const char* file = log_file ? log_file : getenv("TOOLKIT_LOG_FILE");
  if (file && *file) {
    // Readable by its owner and group only: requests leave user names and
    // addresses in the log.
    file_fd_ = open(file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640);
    if (file_fd_ < 0) {
      syslog(LOG_WARNING, "cannot open log file %s: %s", file, strerror(errno));
    }
  }
}

CSysLog::~CSysLog() {
  if (file_fd_ >= 0) close(file_fd_);
  closelog();
  if (g_syslog == this) g_syslog = nullptr;
}

void CSysLog::vlog(int priority, const char* format, va_list args) {
  char message[kMaxMessage];
  int n = vsnprintf(message, sizeof(message), format ? format : "", args);
  if (n < 0) message[0] = '\0';
  // Callers often end messages with "\n"; each sink adds its own.
  size_t len = strlen(message);
  while (len > 0 && message[len - 1] == '\n') message[--len] = '\0';

  syslog(priority, "%s", message);

  char who[kMaxPrefix];
  snprintf(who, sizeof(who), "%.128s[%ld]: ", ident_.c_str(),
           static_cast<long>(getpid()));
  char line[kMaxPrefix + kMaxMessage + 2];
  // LOG_PERROR already copies the line to standard error.
  if (echo_ && !perror_ && StderrIsLive()) {
    size_t used = 0;
    Append(line, sizeof(line), &used, who);
    Append(line, sizeof(line), &used, message);
    line[used++] = '\n';
    WriteAll(STDERR_FILENO, line, used);
  }
  if (file_fd_ >= 0) {
    char stamp[48];
    FormatNow(stamp, sizeof(stamp));
    size_t used = 0;
    Append(line, sizeof(line), &used, stamp);
    Append(line, sizeof(line), &used, " ");
    Append(line, sizeof(line), &used, who);
    Append(line, sizeof(line), &used, message);
    line[used++] = '\n';
    WriteAll(file_fd_, line, used);
  }
}

// The four gated calls differ only in priority.
#define TOOLKIT_SYSLOG_GATED(name, priority)                  \
  void CSysLog::name(int message_level, const char* format, ...) { \
    if (!enabled(message_level)) return;                      \
    va_list args;                                             \
    va_start(args, format);                                   \
    vlog(priority, format, args);                             \
    va_end(args);                                             \
  }

TOOLKIT_SYSLOG_GATED(err, LOG_ERR)
TOOLKIT_SYSLOG_GATED(warn, LOG_WARNING)
TOOLKIT_SYSLOG_GATED(notice, LOG_NOTICE)
TOOLKIT_SYSLOG_GATED(info, LOG_INFO)

#undef TOOLKIT_SYSLOG_GATED

void CSysLog::write(int priority, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vlog(priority, format, args);
  va_end(args);
}

}  // namespace toolkit
