// The command line: values, messages, usage text and exit decisions.

#include "host/command_line.h"

#include <gtest/gtest.h>
#include <stdsoap2.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

namespace wsgated {

namespace {

const char kUsage[] =
    "Usage: wsgated [-h deltaLog]  [-a eventLog] \n"
    "               [-s systemLog] [-t trendLog] [-m maxRecords] \n"
    "               [-p pageSize] [-c cacheSize] [-l heapLimit] \n"
    "               [-w waveFolder] [-D n] [-d] \n"
    "\t -h: Location of the historical (Delta) data log\n"
    "\t -a: Location of the alarm/event log\n"
    "\t -s: Location of the System event log\n"
    "\t -t: Location of the Trend data log\n"
    "\t -m: Maximum allowed size for Delta record requests\n"
    "\t     Maximum records for Events and Trends based on this; default \n"
    "\t     maximums are Deltas:10000, Events:2500, and Trend snapshots:833 \n\n"
    "\t -p: Use the given SQLite page size (in bytes)\n"
    "\t -c: Use the given SQLite cache size (in kB)\n"
    "\t -l: Use the given size (in kB) as a heap usage soft-limit for SQLite\n"
    "\t -w: Location of the COMTRADE waveform files\n"
    "\t -D: Set the Syslog verbosity level to 'n' (default: 0)\n\n"
    "\t -d: Debug mode (don't fork a child process)\n"
    "Usage: wsgated -v \n"
    "\t -v: Print version information to stdout and exit\n"
    "\n";

std::string ReadAll(FILE* file) {
  std::string text;
  rewind(file);
  char buffer[512];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, n);
  fclose(file);
  return text;
}

// Runs the parser on "wsgated <args>" and keeps what it wrote.
struct Parsed {
  explicit Parsed(std::vector<std::string> args) {
    args.insert(args.begin(), "wsgated");
    std::vector<char*> argv;
    for (std::string& arg : args) argv.push_back(&arg[0]);
    FILE* out_file = tmpfile();
    FILE* err_file = tmpfile();
    errno = 0;
    outcome = parseCommandLine(static_cast<int>(argv.size()), argv.data(),
                               &line, out_file, err_file);
    out = ReadAll(out_file);
    err = ReadAll(err_file);
  }
  CommandLine line;
  CommandLineOutcome outcome;
  std::string out;
  std::string err;
};

TEST(CommandLine, NoArgumentsKeepsDefaultsAndRuns) {
  Parsed run({});
  EXPECT_EQ(CommandLineOutcome::kRun, run.outcome);
  EXPECT_EQ("", run.out);
  EXPECT_EQ(10000, run.line.maxDeltaRecords);
  EXPECT_EQ("./deadband.db", run.line.deltaLog);
  EXPECT_EQ("./interval-trends.db", run.line.trendLog);
  EXPECT_TRUE(run.line.fork);
}

TEST(CommandLine, EveryValueOptionReachesItsField) {
  Parsed run({"-h", "d.db", "-a", "a.db", "-s", "s.db", "-t", "t.db", "-w", "/w",
           "-m", "50", "-p", "4096", "-c", "8", "-l", "2", "-D", "5", "-d"});
  ASSERT_EQ(CommandLineOutcome::kRun, run.outcome) << run.out;
  EXPECT_EQ("d.db", run.line.deltaLog);
  EXPECT_EQ("a.db", run.line.eventLog);
  EXPECT_EQ("s.db", run.line.systemLog);
  EXPECT_EQ("t.db", run.line.trendLog);
  EXPECT_EQ("/w", run.line.waveFolder);
  EXPECT_EQ(50, run.line.maxDeltaRecords);
  EXPECT_EQ(4096, run.line.sqlitePageSize);
  EXPECT_EQ(8192, run.line.sqliteCacheSize);  // kB on the line
  EXPECT_EQ(2048, run.line.sqliteHeapLimit);
  EXPECT_EQ(5, run.line.verbosity);
  EXPECT_FALSE(run.line.fork);
}

TEST(CommandLine, MaxRecordsToleratesTrailingTextAndZero) {
  EXPECT_EQ(7, Parsed({"-m", "7x"}).line.maxDeltaRecords);
  Parsed zero({"-m", "0"});
  EXPECT_EQ(CommandLineOutcome::kRun, zero.outcome);
  EXPECT_EQ(0, zero.line.maxDeltaRecords);
}

TEST(CommandLine, NegativeOrNonNumericMaxRecordsIsABadField) {
  Parsed negative({"-m", "-5"});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, negative.outcome);
  EXPECT_EQ(std::string("Bad field: -5 \n") + kUsage, negative.out);
  EXPECT_EQ("Bad field: abc \n", Parsed({"-m", "abc"}).out.substr(0, 16));
}

TEST(CommandLine, OptionWithoutValueIsAMissingField) {
  Parsed run({"-m"});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, run.outcome);
  EXPECT_EQ(std::string("Missing field for: -m \n") + kUsage, run.out);
}

TEST(CommandLine, EmptyValueIsABadField) {
  Parsed run({"-h", ""});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, run.outcome);
  EXPECT_EQ(std::string("Bad field:  \n") + kUsage, run.out);
}

TEST(CommandLine, SizesBelowOneComplainOnStandardError) {
  Parsed cache({"-c", "0"});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, cache.outcome);
  EXPECT_EQ("Error: invalid cache size: 0\n", cache.err);
  EXPECT_EQ(std::string("Bad field: 0 \n") + kUsage, cache.out);
  EXPECT_EQ("Error: invalid page size: -2\n", Parsed({"-p", "-2"}).err);
  EXPECT_EQ("Error: invalid heap limit: 0\n", Parsed({"-l", "x"}).err);
}

TEST(CommandLine, VerbosityMustBeAWholeNumber) {
  Parsed run({"-D", "2x"});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, run.outcome);
  EXPECT_EQ(0u, run.err.find("Error: invalid syslog Level: "));
  EXPECT_EQ(std::string("Bad field: 2x \n") + kUsage, run.out);
  // Negative levels are accepted: they silence every message.
  Parsed negative({"-D", "-3"});
  EXPECT_EQ(CommandLineOutcome::kRun, negative.outcome);
  EXPECT_EQ(-3, negative.line.verbosity);
}

TEST(CommandLine, UnknownWordsAreAllNamedThenUsageOnce) {
  Parsed run({"-x", "-d", "-y"});
  EXPECT_EQ(CommandLineOutcome::kExitFailure, run.outcome);
  EXPECT_EQ(std::string("Unknown parameter: -x \nUnknown parameter: -y \n") +
                kUsage,
            run.out);
  EXPECT_FALSE(run.line.fork);  // -d after the unknown word is still read
}

TEST(CommandLine, VersionPrintsFourLinesAndWinsOverLaterOptions) {
  Parsed run({"-m", "5", "-v", "-x"});
  EXPECT_EQ(CommandLineOutcome::kExitSuccess, run.outcome);
  const std::string head = "wsgated: version 2.0.0\ngsoap: version " +
                           std::to_string(GSOAP_VERSION) +
                           "\nBuild date: ";
  EXPECT_EQ(0u, run.out.find(head)) << run.out;
  const std::string tail = "\n$Revision: 66949 $\n\n";
  ASSERT_GE(run.out.size(), tail.size());
  EXPECT_EQ(tail, run.out.substr(run.out.size() - tail.size()));
  EXPECT_EQ(std::string::npos, run.out.find("Unknown"));
}

}  // namespace

}  // namespace wsgated
