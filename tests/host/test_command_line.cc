// The command line: values, messages, usage text and exit decisions.

#include "host/command_line.h"

#include <gtest/gtest.h>
#include <stdsoap2.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace wsgated {

namespace {

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

TEST(CommandLine, EveryValueOptionReachesItsField) {
  Parsed plain({});  // runs, forked, and says nothing
  EXPECT_EQ(CommandLineOutcome::kRun, plain.outcome);
  EXPECT_TRUE(plain.line.fork);
  EXPECT_EQ("", plain.out);
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
  // Trailing text after a number, zero records and negative verbosity
  // (which silences every message) are accepted.
  EXPECT_EQ(7, Parsed({"-m", "7x"}).line.maxDeltaRecords);
  EXPECT_EQ(0, Parsed({"-m", "0"}).line.maxDeltaRecords);
  EXPECT_EQ(-3, Parsed({"-D", "-3"}).line.verbosity);
  // Numbers beyond 32 bits stop at the device's limit (its long has 32
  // bits) rather than wrapping to negative values where long is wider.
  EXPECT_EQ(INT32_MAX, Parsed({"-m", "3000000000"}).line.maxDeltaRecords);
  EXPECT_EQ(INT32_MAX, Parsed({"-p", "4294967297"}).line.sqlitePageSize);
}

// Each refusal names the word, then prints the usage once and exits 1;
// sizes below one and bad levels also say why on standard error.
TEST(CommandLine, RefusalsNameTheWordThenTheUsage) {
  const struct {
    std::vector<std::string> args;
    std::string out;
    const char* err;
  } cases[] = {
      {{"-m", "-5"}, "Bad field: -5 \n", ""},
      {{"-m", "abc"}, "Bad field: abc \n", ""},
      {{"-m"}, "Missing field for: -m \n", ""},
      {{"-h", ""}, "Bad field:  \n", ""},
      {{"-c", "0"}, "Bad field: 0 \n", "Error: invalid cache size: 0\n"},
      {{"-p", "-2"}, "Bad field: -2 \n", "Error: invalid page size: -2\n"},
      {{"-l", "x"}, "Bad field: x \n", "Error: invalid heap limit: 0\n"},
      {{"-D", "2x"}, "Bad field: 2x \n", "Error: invalid syslog Level: "},
      {{"-D", "4294967297"}, "Bad field: 4294967297 \n",
       "Error: invalid syslog Level: Numerical result out of range"},
      {{"-p", "-4294967297"}, "Bad field: -4294967297 \n",
       "Error: invalid page size: -2147483648\n"},
      // All unknown words are named; -d after them is still read.
      {{"-x", "-d", "-y"},
       "Unknown parameter: -x \nUnknown parameter: -y \n", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.out);
    Parsed run(c.args);
    EXPECT_EQ(CommandLineOutcome::kExitFailure, run.outcome);
    const std::string usage = "Usage: wsgated [-h deltaLog]";
    EXPECT_EQ(c.out + usage, run.out.substr(0, c.out.size() + usage.size()));
    EXPECT_EQ(run.out.find(usage), run.out.rfind(usage));
    EXPECT_EQ(0u, run.err.find(c.err));
  }
  EXPECT_FALSE(Parsed({"-x", "-d"}).line.fork);
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
