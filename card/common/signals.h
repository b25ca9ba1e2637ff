// Signals of a card process: an orderly stop on request, nothing else.
//
// SIGTERM, SIGINT and SIGHUP only set a flag that the run loop reads
// between steps, so a step is never cut in half. They stay blocked except
// while the loop waits (waitForStop), which makes the wait and the signal
// one atomic step: a stop that arrives just before a wait still ends it at
// once instead of after a whole pace. SIGPIPE is ignored: a peer that went
// away is a failed write, not the end of the process.

#ifndef CARD_COMMON_SIGNALS_H_
#define CARD_COMMON_SIGNALS_H_

namespace wsgated {

// Installs the handlers, ignores SIGPIPE and blocks the stop signals
// outside waitForStop.
void installCardSignals();

// True once SIGTERM, SIGINT or SIGHUP arrived.
bool stopRequested();

// Sleeps up to `seconds`, or less when a stop signal arrives; returns
// stopRequested().
bool waitForStop(double seconds);

// Sleeps `seconds` whatever arrives (stop signals stay pending).
void pauseSeconds(double seconds);

// For a freshly forked child before it execs: every signal back to its
// default disposition and none blocked, so that the program it runs starts
// as it would from a shell (an ignored SIGPIPE or a blocked SIGTERM would
// otherwise be inherited through exec).
void resetSignalsForExec();

}  // namespace wsgated

#endif  // CARD_COMMON_SIGNALS_H_
