// The daemon's command line.
//
// The parser is pure: it fills a CommandLine record and writes its messages
// to the streams it is given, and returns what the caller must do next, so
// that tests can drive it without exiting the process.

#ifndef HOST_COMMAND_LINE_H_
#define HOST_COMMAND_LINE_H_

#include <cstdint>
#include <cstdio>
#include <string>

namespace wsgated {

// Everything the command line can change. Start from the defaults, then
// parse; the caller copies the result into the ServiceContext.
struct CommandLine {
  std::string deltaLog = "./deadband.db";         // -h
  std::string eventLog = "./alarms.db";           // -a
  std::string systemLog = "./system.db";          // -s
  std::string trendLog = "./interval-trends.db";  // -t
  int32_t maxDeltaRecords = 10000;                // -m
  int32_t sqlitePageSize = 0;                     // -p, bytes
  int32_t sqliteCacheSize = 0;  // -c, kB on the line, bytes here
  int32_t sqliteHeapLimit = 0;  // -l, kB on the line, bytes here
  std::string waveFolder;       // -w
  int verbosity = 0;            // -D
  bool fork = true;             // -d clears it
};

enum class CommandLineOutcome {
  kRun,          // go on starting
  kExitSuccess,  // -v printed the version: exit 0
  kExitFailure,  // an error was reported with the usage text: exit 1
};

// Parse argv[1..argc-1] into `line`. Messages and the usage text go to
// `out`, the page/cache/heap/verbosity complaints to `err`.
CommandLineOutcome parseCommandLine(int argc, char* const* argv,
                                    CommandLine* line, FILE* out, FILE* err);

// The usage text, exactly as -? style errors print it.
void printUsage(FILE* out);

// The -v text: program name, version, gSOAP version, build date.
void printVersion(const char* program, FILE* out);

}  // namespace wsgated

#endif  // HOST_COMMAND_LINE_H_
