// Termination flag and crash back trace.

#include "host/signals.h"

#include <cxxabi.h>
#include <execinfo.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/syslog.h"

namespace wsgated {

volatile sig_atomic_t g_terminate = 0;

namespace {

// Bits 1, 2, 3 and 15: SIGHUP, SIGINT, SIGQUIT, SIGTERM.
const unsigned long kTerminationMask = 0x800e;
const int kTerminationSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};
const int kCrashSignals[] = {SIGQUIT, SIGILL, SIGTRAP, SIGABRT,
                             SIGBUS,  SIGFPE, SIGSEGV, SIGSTKFLT};
const int kMaxFrames = 512;
const size_t kMaxFrameText = 384;

void onTermination(int signalNumber) {
  if (signalNumber > 0 && signalNumber < 32 &&
      ((kTerminationMask >> signalNumber) & 1) != 0) {
    g_terminate = 1;
  }
}

// Names of the fault signals for the handler, which may not call
// strsignal (it may allocate).
const char* crashSignalName(int signalNumber) {
  switch (signalNumber) {
    case SIGQUIT: return "SIGQUIT";
    case SIGILL: return "SIGILL";
    case SIGTRAP: return "SIGTRAP";
    case SIGABRT: return "SIGABRT";
    case SIGBUS: return "SIGBUS";
    case SIGFPE: return "SIGFPE";
    case SIGSEGV: return "SIGSEGV";
    case SIGSTKFLT: return "SIGSTKFLT";
    default: return "signal";
  }
}

void writeText(int fd, const char* text) {
  size_t length = strlen(text);
  while (length > 0) {
    const ssize_t written = write(fd, text, length);
    if (written <= 0) return;
    text += written;
    length -= static_cast<size_t>(written);
  }
}

// The raw frames, with async-signal-safe calls only, to `fd`: whatever the
// fault broke (the heap, stdio's locks), this part reaches the file.
void writeRawBackTrace(int fd, const char* signalName) {
  if (fd < 0) return;
  void* frames[kMaxFrames];
  const int count = backtrace(frames, kMaxFrames);
  writeText(fd, "###### BACK TRACE START (");
  writeText(fd, signalName);
  writeText(fd, ") ######\n");
  backtrace_symbols_fd(frames, count, fd);
  writeText(fd, "###### BACK TRACE END (");
  writeText(fd, signalName);
  writeText(fd, ") ######\n");
}

void onCrash(int signalNumber, siginfo_t*, void*) {
  const char* name = crashSignalName(signalNumber);
  toolkit::CSysLog* log = toolkit::g_syslog;
  writeRawBackTrace(log != nullptr ? log->file_descriptor() : -1, name);
  writeRawBackTrace(STDERR_FILENO, name);
  // Then the demangled form, to standard error and syslog(3): more
  // readable, but it allocates, so it comes last.
  writeBackTrace(name);
  _exit(signalNumber);
}

void setDisposition(int signalNumber, void (*handler)(int)) {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(signalNumber, &action, nullptr);
}

// The mangled symbol of a frame text "file(symbol+0x12) [0x...]": after the
// first "(" up to the next "+" or ")". Empty when there is none.
void extractSymbol(const char* frame, char* symbol, size_t size) {
  symbol[0] = '\0';
  const char* open = strchr(frame, '(');
  if (open == nullptr) return;
  size_t length = strcspn(open + 1, "+)");
  if (length >= size) length = size - 1;
  memcpy(symbol, open + 1, length);
  symbol[length] = '\0';
}

void writeFrame(long index, const char* frame) {
  if (strstr(frame, " [0x") == nullptr) {
    fprintf(stderr, "[%ld] %s \n", index, frame);
    syslog(LOG_CRIT, "[%ld] %s ", index, frame);
    return;
  }
  char text[kMaxFrameText + 1];
  snprintf(text, sizeof text, "%s", frame);
  char symbol[kMaxFrameText + 1];
  extractSymbol(text, symbol, sizeof symbol);
  int status = -1;
  char* demangled = abi::__cxa_demangle(symbol, nullptr, nullptr, &status);
  if (status == 0 && demangled != nullptr) {
    if (demangled[0] != '?') {
      fprintf(stderr, "[%ld] %s \n", index, demangled);
      syslog(LOG_CRIT, "[%ld] %s %s", index, demangled, text);
    }
  } else {
    fprintf(stderr, "[%ld] %s", index, text);
    syslog(LOG_CRIT, "[%ld] %s", index, text);
  }
  free(demangled);
}

}  // namespace

void installTerminationHandler() {
  for (int signalNumber : kTerminationSignals) {
    setDisposition(signalNumber, onTermination);
  }
}

void installCrashHandler() {
  // backtrace() loads its unwinder on first use, which allocates: do it now
  // rather than inside the handler.
  void* frame = nullptr;
  backtrace(&frame, 1);
  // Blocked while being replaced, so a fault between two sigaction calls
  // cannot reach a half-installed set.
  sigset_t blocked;
  sigemptyset(&blocked);
  for (int signalNumber : kCrashSignals) sigaddset(&blocked, signalNumber);
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
  for (int signalNumber : kCrashSignals) {
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_sigaction = onCrash;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(signalNumber, &action, nullptr);
  }
  sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
}

void restoreTerminationDefaults() {
  for (int signalNumber : kTerminationSignals) {
    setDisposition(signalNumber, SIG_DFL);
  }
}

void writeBackTrace(const char* signalName) {
  void* frames[kMaxFrames];
  int count = backtrace(frames, kMaxFrames);
  char** texts = backtrace_symbols(frames, count);
  fprintf(stderr, "\n###### BACK TRACE START (%s) ######\n", signalName);
  syslog(LOG_CRIT, "###### BACK TRACE START (%s) ######", signalName);
  for (int i = 0; texts != nullptr && i < count; ++i) {
    writeFrame(i, texts[i]);
  }
  fprintf(stderr, "###### BACK TRACE END (%s) ######\n", signalName);
  syslog(LOG_CRIT, "###### BACK TRACE END (%s) ######", signalName);
  fflush(stderr);
  free(texts);
}

}  // namespace wsgated
