// The supervisor's rules: which program is restarted, and how soon.
//
// Pure functions of what one check saw (watchdog rows, processes, the
// monotonic clock) and of the settings, so that every rule is tested case
// by case without processes.
//
// A program is restarted when
//   - one of its rows is older than the row's period (kHung). Ages are
//     measured on the supervisor's monotonic clock from the moment a row's
//     ping was last seen to change (PingAges), not from the stored time:
//     a card sets its wall clock from the network after boot, and that jump
//     must not make every row look dead or alive;
//   - the process it started failed and no row is left (kExited);
//   - it had a row and now neither row nor process is left (kGone);
//   - the start-up grace passed without a row (kNoRow).
// A program that daemonises (its started process exits 0 and a grandchild
// registers) counts as starting until the grace ends.
//
// Only one hung program is restarted per check, the one whose stored ping
// is oldest: a program that hangs while it holds the store's lock stops
// every other program's pings too, and its own row went stale first. The
// others are looked at again at the next check (kHungBehind).
//
// A restart of an instance that never had a row, or that ended within the
// start-up grace, is a quick failure. After n quick failures in a row the
// program waits backoff * 2^(n-1) seconds, at most backoffMax, before it
// is started again; any other restart starts it again at once and clears
// the count.

#ifndef CARD_SUPERVISOR_RESTART_RULES_H_
#define CARD_SUPERVISOR_RESTART_RULES_H_

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/cds.h"

namespace wsgated {

// A watchdog row of a program whose process is alive and the program's.
struct RowView {
  int pid = 0;
  int periodSeconds = 0;
  double ageSeconds = 0;     // since its ping last changed (PingAges)
  long long lastPingUs = 0;  // as stored; orders rows that went stale
};

// A running program at one check.
struct ProgramView {
  double upSeconds = 0;      // since this instance was started or adopted
  bool childAlive = false;   // the process the supervisor started runs
  bool childFailed = false;  // it ended with a non-zero status or a signal
  bool hadRow = false;       // a row of this instance was seen, now or before
  std::vector<RowView> rows;
};

enum class Verdict {
  kHealthy,     // its rows are fresh
  kStarting,    // no row yet, within the start-up grace
  kHung,        // a row older than its period: restart
  kHungBehind,  // stale too, but another program's row is older: wait
  kExited,      // its process failed and left no row: restart
  kGone,        // it had a row; neither row nor process is left: restart
  kNoRow,       // no row within the start-up grace: restart
};

// One verdict per view, in order.
std::vector<Verdict> judgePrograms(const std::vector<ProgramView>& views,
                                   double startGraceSeconds);

bool needsRestart(Verdict verdict);

// Why, for the log: "its watchdog row is older than its period".
const char* verdictText(Verdict verdict);

// Whether restarting the instance `view` shows counts as a quick failure.
bool isQuickFailure(const ProgramView& view, double startGraceSeconds);

// Seconds to wait before the next start after `quickFailures` in a row.
double restartDelay(int quickFailures, double backoffSeconds,
                    double backoffMaxSeconds);

// When each row's ping was last seen to change, on the monotonic clock.
class PingAges {
 public:
  // Takes the rows read at `now`; rows no longer present are forgotten.
  void update(const std::vector<CdsWatchdog>& rows, double now);
  // Seconds from the last change update() saw of `row` to `now`; 0 for a
  // row it has not seen.
  double age(const CdsWatchdog& row, double now) const;

 private:
  struct Seen {
    long long lastPingUs;
    double changedAt;
  };
  std::map<std::pair<std::string, int>, Seen> seen_;
};

}  // namespace wsgated

#endif  // CARD_SUPERVISOR_RESTART_RULES_H_
