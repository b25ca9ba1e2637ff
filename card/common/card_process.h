// A card process: everything that runs around a companion's own work.
//
// A companion process of the card (alarm handler, logger, publisher, ...)
// is a Companion, the work it does in steps, and a main() that hands it to
// a CardProcess:
//
//   int main(int argc, char** argv) {
//     wsgated::AlarmHandler alarms;
//     return wsgated::CardProcess("alarms", &alarms).run(argc, argv);
//   }
//
// run() is the whole life of the process:
//   1. the common options (card_options.h) are read and the rest handed to
//      the companion's configure(), so that a usage error ends the process
//      (exit 1) before it touches the store; --help prints both usages;
//   2. the stop signals (signals.h) and the log (process_log.h) are set up;
//   3. the store is opened and the watchdog row `name` registered with the
//      process's pid and period (under systemd this also tells it READY=1);
//   4. the companion's start(), then its step() at its pace until a stop
//      signal arrives. Between steps the row is pinged every third of the
//      period, so a step must return well within a third of the period: a
//      process whose row goes a whole period without a ping counts as hung
//      and is restarted by its supervisor;
//   5. on stop: the companion's stop(), the row cleared, exit 0.
// A store that cannot be opened, a failed registration or a start() that
// fails end the process with 1, and its supervisor starts it again.
//
// Card processes never fork into the background: whoever starts them (the
// supervisor, systemd, a shell's "&") decides where they run, and the
// watchdog row carries the pid they were started with.

#ifndef CARD_COMMON_CARD_PROCESS_H_
#define CARD_COMMON_CARD_PROCESS_H_

#include <string>
#include <vector>

#include "card/common/card_options.h"
#include "platform/cds.h"

namespace wsgated {

// The work of one companion process. Its calls all run on the process's
// one thread, between watchdog pings.
class Companion {
 public:
  virtual ~Companion() = default;

  // Usage lines of the companion's own options ("" when it has none).
  virtual std::string usage() const = 0;

  // The arguments the common options left, in order; false refuses them
  // with the reason in *error.
  virtual bool configure(const std::vector<std::string>& args,
                         std::string* error) = 0;

  // Seconds from the end of one step to the start of the next.
  virtual double paceSeconds() const = 0;

  // True when the options asked for a one-shot run, a tool mode of the
  // program (the trend recorder's back-fill): the process then registers
  // no watchdog row, since no supervisor runs it, and runs no steps:
  // start() does the whole work, and the exit status is 0 when it
  // succeeded, else 1.
  virtual bool oneShot() const { return false; }

  // Once the store is open and the row registered; false ends the process
  // with exit status 1 (after the row is cleared).
  virtual bool start(toolkit::CCds& store) = 0;

  // One round of the companion's work.
  virtual void step(toolkit::CCds& store) = 0;

  // At the end: after the last step, or after a start() that failed;
  // before the row is cleared.
  virtual void stop(toolkit::CCds& store) = 0;
};

// Seconds of the monotonic clock the run loop paces by (never goes back,
// unaffected when the wall clock is set).
double monotonicSeconds();

class CardProcess {
 public:
  // `name` is the watchdog row's name and the log's ident.
  CardProcess(const std::string& name, Companion* companion);

  // The process's life as the header describes; returns the exit status.
  int run(int argc, char** argv);

 private:
  bool openStore(bool registerRow);
  void loop();
  void ping();
  void finish();

  std::string name_;
  Companion* companion_;
  CardOptions options_;
  toolkit::CCds store_{nullptr};
  bool registered_ = false;
};

}  // namespace wsgated

#endif  // CARD_COMMON_CARD_PROCESS_H_
