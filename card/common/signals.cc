// Stop flag and the waits that end on it (signals.h).

#include "card/common/signals.h"

#include <poll.h>
#include <signal.h>
#include <time.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>

namespace wsgated {

namespace {

volatile sig_atomic_t g_stop = 0;

const int kStopSignals[] = {SIGTERM, SIGINT, SIGHUP};

void onStop(int) { g_stop = 1; }

sigset_t stopSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int signalNumber : kStopSignals) sigaddset(&set, signalNumber);
  return set;
}

timespec toTimespec(double seconds) {
  if (!(seconds > 0)) seconds = 0;
  timespec span;
  span.tv_sec = static_cast<time_t>(seconds);
  span.tv_nsec = static_cast<long>((seconds - std::floor(seconds)) * 1e9);
  return span;
}

}  // namespace

void installCardSignals() {
  struct sigaction action;
  memset(&action, 0, sizeof action);
  action.sa_handler = onStop;
  sigemptyset(&action.sa_mask);
  for (int signalNumber : kStopSignals)
    sigaction(signalNumber, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);
  const sigset_t blocked = stopSignals();
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
}

bool stopRequested() { return g_stop != 0; }

bool waitForStop(double seconds) {
  if (g_stop) return true;
  // ppoll lets the stop signals in for exactly the length of the wait.
  sigset_t during;
  sigprocmask(SIG_SETMASK, nullptr, &during);
  for (int signalNumber : kStopSignals) sigdelset(&during, signalNumber);
  const timespec span = toTimespec(seconds);
  ppoll(nullptr, 0, &span, &during);
  return g_stop != 0;
}

void pauseSeconds(double seconds) {
  timespec left = toTimespec(seconds);
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

void resetSignalsForExec() {
  for (int signalNumber = 1; signalNumber < NSIG; ++signalNumber) {
    signal(signalNumber, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace wsgated
