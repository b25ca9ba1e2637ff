// The supervisor's restart rules, case by case: verdicts from rows, child
// and clock; which hung program goes first; back-off; row ages.

#include <gtest/gtest.h>

#include <vector>

#include "card/supervisor/restart_rules.h"

namespace wsgated {
namespace {

const double kGrace = 10;

RowView row(double ageSeconds, long long lastPingUs = 0) {
  return RowView{100, 5, ageSeconds, lastPingUs};
}

ProgramView program(double upSeconds, bool childAlive, bool childFailed,
                    bool hadRow, std::vector<RowView> rows) {
  ProgramView view;
  view.upSeconds = upSeconds;
  view.childAlive = childAlive;
  view.childFailed = childFailed;
  view.hadRow = hadRow;
  view.rows = rows;
  return view;
}

TEST(RestartRulesTest, JudgesOneProgram) {
  const struct {
    const char* what;
    ProgramView view;
    Verdict verdict;
  } cases[] = {
      {"fresh row", program(60, false, false, true, {row(4)}),
       Verdict::kHealthy},
      {"row exactly one period old", program(60, false, false, true, {row(5)}),
       Verdict::kHealthy},
      {"row older than its period", program(60, false, false, true, {row(5.1)}),
       Verdict::kHung},
      {"one of two rows stale",
       program(60, true, false, true, {row(1), row(9)}), Verdict::kHung},
      {"hung while still in the grace", program(1, true, false, true, {row(6)}),
       Verdict::kHung},
      {"child runs, no row yet", program(9, true, false, false, {}),
       Verdict::kStarting},
      {"child runs, grace over", program(10, true, false, false, {}),
       Verdict::kNoRow},
      {"daemonised, no row yet", program(9, false, false, false, {}),
       Verdict::kStarting},
      {"daemonised, grace over", program(11, false, false, false, {}),
       Verdict::kNoRow},
      {"child failed at once", program(0.1, false, true, false, {}),
       Verdict::kExited},
      {"failed child, daemon row fresh",
       program(30, false, true, true, {row(1)}), Verdict::kHealthy},
      {"row and process gone", program(30, false, false, true, {}),
       Verdict::kGone},
      {"row gone within the grace", program(2, false, false, true, {}),
       Verdict::kGone},
      {"row cleared, child still runs", program(30, true, false, true, {}),
       Verdict::kNoRow},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.verdict, judgePrograms({c.view}, kGrace)[0]) << c.what;
  }
}

TEST(RestartRulesTest, OnlyTheProgramWithTheOldestStalePingIsRestarted) {
  const std::vector<ProgramView> views = {
      program(60, false, false, true, {row(7, 3000)}),
      program(60, false, false, true, {row(1, 9000), row(9, 1000)}),
      program(60, false, false, true, {row(8, 2000)}),
      program(60, false, false, false, {}),
  };
  const std::vector<Verdict> expected = {Verdict::kHungBehind, Verdict::kHung,
                                         Verdict::kHungBehind, Verdict::kNoRow};
  EXPECT_EQ(expected, judgePrograms(views, kGrace));
  for (Verdict verdict : expected) {
    EXPECT_EQ(verdict == Verdict::kHung || verdict == Verdict::kNoRow,
              needsRestart(verdict));
  }
}

TEST(RestartRulesTest, QuickFailuresBackOffDoublingUpToTheLimit) {
  EXPECT_TRUE(isQuickFailure(program(60, false, true, false, {}), kGrace));
  EXPECT_TRUE(isQuickFailure(program(9, false, false, true, {}), kGrace));
  EXPECT_FALSE(isQuickFailure(program(10, false, false, true, {}), kGrace));
  const double expected[] = {0, 0.5, 1, 2, 4, 6, 6};
  for (int failures = 0; failures < 7; ++failures) {
    EXPECT_DOUBLE_EQ(expected[failures], restartDelay(failures, 0.5, 6))
        << failures;
  }
  EXPECT_DOUBLE_EQ(6, restartDelay(5000, 0.5, 6));
}

TEST(RestartRulesTest, AgesCountFromTheLastChangeSeenNotTheStoredTime) {
  PingAges ages;
  // Stored times far from the clock: as after a wall-clock jump.
  CdsWatchdog a{"a", 1, 5, 999999999999LL};
  CdsWatchdog b{"b", 2, 5, 1};
  EXPECT_DOUBLE_EQ(0, ages.age(a, 100));
  ages.update({a, b}, 100);
  ages.update({a, b}, 103);
  EXPECT_DOUBLE_EQ(4, ages.age(a, 104));
  b.last_ping_us = 2;
  ages.update({a, b}, 106);
  EXPECT_DOUBLE_EQ(7, ages.age(a, 107));
  EXPECT_DOUBLE_EQ(1, ages.age(b, 107));
  // A row that went away and came back (same name, same pid) starts anew.
  ages.update({b}, 108);
  ages.update({a, b}, 109);
  EXPECT_DOUBLE_EQ(1, ages.age(a, 110));
  // A new pid under the same name is another row.
  CdsWatchdog a2{"a", 3, 5, 999999999999LL};
  EXPECT_DOUBLE_EQ(0, ages.age(a2, 110));
}

}  // namespace
}  // namespace wsgated
