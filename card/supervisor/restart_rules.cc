// The restart rules (restart_rules.h).

#include "card/supervisor/restart_rules.h"

#include <algorithm>
#include <cmath>

namespace wsgated {

namespace {

// The oldest stored ping among a program's stale rows.
long long stalestPing(const ProgramView& view) {
  long long oldest = 0;
  bool found = false;
  for (const RowView& row : view.rows) {
    if (row.ageSeconds > row.periodSeconds &&
        (!found || row.lastPingUs < oldest)) {
      oldest = row.lastPingUs;
      found = true;
    }
  }
  return oldest;
}

Verdict judgeOne(const ProgramView& view, double startGraceSeconds) {
  for (const RowView& row : view.rows) {
    if (row.ageSeconds > row.periodSeconds) return Verdict::kHung;
  }
  if (!view.rows.empty()) return Verdict::kHealthy;
  const bool inGrace = view.upSeconds < startGraceSeconds;
  if (view.childAlive) return inGrace ? Verdict::kStarting : Verdict::kNoRow;
  if (view.childFailed) return Verdict::kExited;
  if (view.hadRow) return Verdict::kGone;
  return inGrace ? Verdict::kStarting : Verdict::kNoRow;
}

}  // namespace

std::vector<Verdict> judgePrograms(const std::vector<ProgramView>& views,
                                   double startGraceSeconds) {
  std::vector<Verdict> verdicts;
  size_t first = views.size();
  for (size_t i = 0; i < views.size(); ++i) {
    verdicts.push_back(judgeOne(views[i], startGraceSeconds));
    if (verdicts[i] != Verdict::kHung) continue;
    if (first == views.size() ||
        stalestPing(views[i]) < stalestPing(views[first])) {
      first = i;
    }
  }
  for (size_t i = 0; i < views.size(); ++i) {
    if (verdicts[i] == Verdict::kHung && i != first) {
      verdicts[i] = Verdict::kHungBehind;
    }
  }
  return verdicts;
}

bool needsRestart(Verdict verdict) {
  return verdict == Verdict::kHung || verdict == Verdict::kExited ||
         verdict == Verdict::kGone || verdict == Verdict::kNoRow;
}

const char* verdictText(Verdict verdict) {
  switch (verdict) {
    case Verdict::kHealthy:
      return "its watchdog row is fresh";
    case Verdict::kStarting:
      return "it is starting";
    case Verdict::kHung:
      return "its watchdog row is older than its period";
    case Verdict::kHungBehind:
      return "its watchdog row is older than its period, but another "
             "program's is older still";
    case Verdict::kExited:
      return "it failed and left no watchdog row";
    case Verdict::kGone:
      return "its process and its watchdog row are gone";
    case Verdict::kNoRow:
      return "it registered no watchdog row within the start-up grace";
  }
  return "?";
}

bool isQuickFailure(const ProgramView& view, double startGraceSeconds) {
  return !view.hadRow || view.upSeconds < startGraceSeconds;
}

double restartDelay(int quickFailures, double backoffSeconds,
                    double backoffMaxSeconds) {
  if (quickFailures <= 0) return 0;
  // Capped before the power grows past anything a double holds exactly.
  const int doublings = std::min(quickFailures - 1, 62);
  return std::min(backoffSeconds * std::ldexp(1.0, doublings),
                  backoffMaxSeconds);
}

void PingAges::update(const std::vector<CdsWatchdog>& rows, double now) {
  std::map<std::pair<std::string, int>, Seen> current;
  for (const CdsWatchdog& row : rows) {
    const auto key = std::make_pair(row.name, row.pid);
    const auto known = seen_.find(key);
    Seen seen{row.last_ping_us, now};
    if (known != seen_.end() && known->second.lastPingUs == row.last_ping_us) {
      seen.changedAt = known->second.changedAt;
    }
    current[key] = seen;
  }
  seen_.swap(current);
}

double PingAges::age(const CdsWatchdog& row, double now) const {
  const auto known = seen_.find(std::make_pair(row.name, row.pid));
  return known == seen_.end() ? 0 : now - known->second.changedAt;
}

}  // namespace wsgated
