// The common options of card processes: both value forms, limits, and
// what is left for the companion.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/common/card_options.h"

namespace wsgated {
namespace {

using Args = std::vector<std::string>;

struct OptionsCase {
  Args args;
  OptionsOutcome outcome;
  std::string store;
  int verbosity;
  int watchdogSeconds;
  Args rest;
  std::string error;  // a part of it
};

TEST(CardOptionsTest, ParsesCommonOptionsAndLeavesTheRest) {
  const OptionsCase cases[] = {
      {{}, OptionsOutcome::kRun, "", 0, 90, {}, ""},
      {{"--store", "/s", "-D", "2"}, OptionsOutcome::kRun, "/s", 2, 90, {}, ""},
      {{"--store=/s", "-D5", "--watchdog-seconds=3"},
       OptionsOutcome::kRun,
       "/s",
       5,
       3,
       {},
       ""},
      {{"--pid-file", "/p", "-D", "1", "x"},
       OptionsOutcome::kRun,
       "",
       1,
       90,
       {"--pid-file", "/p", "x"},
       ""},
      {{"--watchdog-seconds", "86400"},
       OptionsOutcome::kRun,
       "",
       0,
       86400,
       {},
       ""},
      {{"x", "--help", "--bad"}, OptionsOutcome::kHelp, "", 0, 90, {"x"}, ""},
      {{"--store"}, OptionsOutcome::kRefused, "", 0, 90, {}, "needs a value"},
      {{"--store="}, OptionsOutcome::kRefused, "", 0, 90, {}, "needs a value"},
      {{"--store", ""},
       OptionsOutcome::kRefused,
       "",
       0,
       90,
       {},
       "needs a path"},
      {{"-D", "10"}, OptionsOutcome::kRefused, "", 0, 90, {}, "0..9"},
      {{"-D", "-1"}, OptionsOutcome::kRefused, "", 0, 90, {}, "0..9"},
      {{"--watchdog-seconds", "0"},
       OptionsOutcome::kRefused,
       "",
       0,
       90,
       {},
       "1..86400"},
      {{"--watchdog-seconds", "2.5"},
       OptionsOutcome::kRefused,
       "",
       0,
       90,
       {},
       "1..86400"},
  };
  for (const OptionsCase& c : cases) {
    CardOptions options;
    Args rest;
    std::string error;
    const std::string label = ::testing::PrintToString(c.args);
    EXPECT_EQ(c.outcome, parseCardOptions(c.args, &options, &rest, &error))
        << label;
    EXPECT_NE(std::string::npos, error.find(c.error)) << label << ": " << error;
    if (c.outcome != OptionsOutcome::kRun) continue;
    EXPECT_EQ(c.store, options.storePath) << label;
    EXPECT_EQ(c.verbosity, options.verbosity) << label;
    EXPECT_EQ(c.watchdogSeconds, options.watchdogSeconds) << label;
    EXPECT_EQ(c.rest, rest) << label;
  }
}

TEST(CardOptionsTest, SecondsAreDecimalsAboveZeroUpToADay) {
  const struct {
    const char* text;
    bool accepted;
    double seconds;
  } cases[] = {
      {"2", true, 2},   {"0.5", true, 0.5}, {"86400", true, 86400},
      {"0", false, 0},  {"0.0", false, 0},  {"86401", false, 0},
      {"", false, 0},   {"1e3", false, 0},  {"inf", false, 0},
      {" 1", false, 0}, {"-1", false, 0},   {"1.2.3", false, 0},
  };
  for (const auto& c : cases) {
    double seconds = -1;
    EXPECT_EQ(c.accepted, parseSeconds(c.text, &seconds)) << c.text;
    if (c.accepted) {
      EXPECT_DOUBLE_EQ(c.seconds, seconds) << c.text;
    }
  }
}

}  // namespace
}  // namespace wsgated
