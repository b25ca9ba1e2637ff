// The supervisor's options: programs, periods and what is refused.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/supervisor/supervisor_options.h"

namespace wsgated {
namespace {

using Args = std::vector<std::string>;

TEST(SupervisorOptionsTest, ReadsProgramsPeriodsAndThePidFile) {
  SupervisorSettings settings;
  std::string error;
  ASSERT_TRUE(parseSupervisorOptions(
      {"--program", "wsgated=/b/wsgated -D 2", "--program=alarms=/b/a",
       "--check-seconds", "0.5", "--start-grace-seconds=3",
       "--stop-grace-seconds", "1", "--backoff-seconds", "0.25",
       "--backoff-max-seconds", "4", "--pid-file", "/run/s.pid"},
      "supervisor", &settings, &error))
      << error;
  ASSERT_EQ(2u, settings.programs.size());
  EXPECT_EQ("wsgated", settings.programs[0].name);
  EXPECT_EQ((Args{"/b/wsgated", "-D", "2"}), settings.programs[0].argv);
  EXPECT_EQ("alarms", settings.programs[1].name);
  EXPECT_DOUBLE_EQ(0.5, settings.checkSeconds);
  EXPECT_DOUBLE_EQ(3, settings.startGraceSeconds);
  EXPECT_DOUBLE_EQ(1, settings.stopGraceSeconds);
  EXPECT_DOUBLE_EQ(0.25, settings.backoffSeconds);
  EXPECT_DOUBLE_EQ(4, settings.backoffMaxSeconds);
  EXPECT_EQ("/run/s.pid", settings.pidFile);
}

TEST(SupervisorOptionsTest, RefusesWhatCannotBeRun) {
  const struct {
    Args args;
    const char* error;
  } cases[] = {
      {{}, "no --program"},
      {{"--check-seconds", "1"}, "no --program"},
      {{"--program", "a=x", "--program", "a=y"},
       "two programs are named \"a\""},
      {{"--program", "supervisor=x"}, "supervisor's own"},
      {{"--program", "a='x"}, "unterminated"},
      {{"--program"}, "--program needs a value"},
      {{"--program", "a=x", "--check-seconds", "0"}, "--check-seconds takes"},
      {{"--program", "a=x", "--stop-grace-seconds=x"}, "--stop-grace-seconds"},
      {{"--program", "a=x", "--pid-file", ""}, "--pid-file needs a path"},
      {{"--program", "a=x", "--backoff-seconds", "5", "--backoff-max-seconds",
        "4"},
       "below"},
      {{"--program", "a=x", "--frobnicate"}, "unknown option --frobnicate"},
  };
  for (const auto& c : cases) {
    SupervisorSettings settings;
    std::string error;
    const std::string label = ::testing::PrintToString(c.args);
    EXPECT_FALSE(
        parseSupervisorOptions(c.args, "supervisor", &settings, &error))
        << label;
    EXPECT_NE(std::string::npos, error.find(c.error)) << label << ": " << error;
  }
}

}  // namespace
}  // namespace wsgated
