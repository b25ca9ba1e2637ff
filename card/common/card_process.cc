// The life of a card process (card_process.h).

#include "card/common/card_process.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "card/common/process_log.h"
#include "card/common/signals.h"
#include "common/log.h"

namespace wsgated {

namespace {

void printUsage(FILE* out, const std::string& program,
                const Companion& companion) {
  fprintf(out, "Usage: %s [options]\n%s%s", program.c_str(), cardOptionsUsage(),
          companion.usage().c_str());
}

// Returns -1 to go on, else the exit status.
int readOptions(int argc, char** argv, Companion* companion,
                CardOptions* options) {
  const std::string file = argc > 0 ? argv[0] : "?";
  const std::string program = file.substr(file.rfind('/') + 1);
  const std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
  std::vector<std::string> rest;
  std::string error;
  const OptionsOutcome outcome = parseCardOptions(args, options, &rest, &error);
  if (outcome == OptionsOutcome::kHelp) {
    printUsage(stdout, program, *companion);
    return 0;
  }
  if (outcome == OptionsOutcome::kRun && companion->configure(rest, &error)) {
    return -1;
  }
  fprintf(stderr, "%s: %s\n", program.c_str(), error.c_str());
  printUsage(stderr, program, *companion);
  return 1;
}

// The store and log file named on the command line, else in the
// environment. The store is exported, absolute, for what this process
// starts: a program that daemonises works in "/".
void resolvePaths(CardOptions* options) {
  if (options->storePath.empty()) options->storePath = pcd_default_path();
  if (options->storePath[0] != '/') {
    char* cwd = getcwd(nullptr, 0);
    if (cwd != nullptr) options->storePath = cwd + ("/" + options->storePath);
    free(cwd);
  }
  setenv("TOOLKIT_CDS_PATH", options->storePath.c_str(), 1);
  const char* logFile = getenv("TOOLKIT_LOG_FILE");
  if (options->logFile.empty() && logFile != nullptr) {
    options->logFile = logFile;
  }
}

}  // namespace

double monotonicSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

CardProcess::CardProcess(const std::string& name, Companion* companion)
    : name_(name), companion_(companion) {}

int CardProcess::run(int argc, char** argv) {
  const int status = readOptions(argc, argv, companion_, &options_);
  if (status >= 0) return status;
  installCardSignals();
  resolvePaths(&options_);
  ProcessLog log(name_, options_.logFile, options_.verbosity);
  logNotice(kLogAlways, "Starting %s (store %s, watchdog %d s)", name_.c_str(),
            options_.storePath.c_str(), options_.watchdogSeconds);
  const bool oneShot = companion_->oneShot();
  if (!openStore(!oneShot)) return 1;
  const bool started = companion_->start(store_);
  if (started && !oneShot) loop();
  companion_->stop(store_);
  finish();
  logNotice(kLogAlways, "Exiting %s", name_.c_str());
  return started ? 0 : 1;
}

bool CardProcess::openStore(bool registerRow) {
  store_.handle = pcd_init();
  if (!store_.is_open()) {
    logError(kLogAlways, "Cannot open the store %s",
             options_.storePath.c_str());
    return false;
  }
  if (!registerRow) return true;
  api_status_t status = API_STATUS_UNKNOWN;
  if (store_.watchdog_register(status, name_, options_.watchdogSeconds, true) !=
      0) {
    logError(kLogAlways, "Cannot register the watchdog %s (status %d)",
             name_.c_str(), static_cast<int>(status));
    return false;
  }
  registered_ = true;
  return true;
}

// Steps at the companion's pace, pings every third of the period, whichever
// comes first; a long step is followed by a ping check before the next one.
void CardProcess::loop() {
  const double pingEvery = options_.watchdogSeconds / 3.0;
  double nextPing = monotonicSeconds() + pingEvery;
  double nextStep = monotonicSeconds();
  while (!stopRequested()) {
    const double now = monotonicSeconds();
    if (now >= nextPing) {
      ping();
      nextPing = now + pingEvery;
    }
    if (now >= nextStep) {
      companion_->step(store_);
      nextStep = monotonicSeconds() + companion_->paceSeconds();
      continue;
    }
    waitForStop(std::min(nextPing, nextStep) - now);
  }
}

// A failed ping is logged and the row written anew at the next one: a row
// someone removed is registered again, a busy store gets another chance.
void CardProcess::ping() {
  api_status_t status = API_STATUS_UNKNOWN;
  if (registered_ && store_.watchdog_ping(status) == 0) return;
  logWarning(kLogErrors, "Watchdog ping of %s failed (status %d)",
             name_.c_str(), static_cast<int>(status));
  registered_ = store_.watchdog_register(status, name_,
                                         options_.watchdogSeconds, true) == 0;
}

void CardProcess::finish() {
  api_status_t status = API_STATUS_UNKNOWN;
  if (store_.is_open()) store_.watchdog_clear(status);
  registered_ = false;
  pcd_close(store_.handle);
  store_.handle = nullptr;
}

}  // namespace wsgated
