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

// Everything the command line can change. Start from the defaults, then
// parse; the caller copies the result into the ServiceContext.
struct CommandLine {
  std::string delta_log = "./deadband.db";          // -h
  std::string event_log = "./alarms.db";            // -a
  std::string system_log = "./system.db";           // -s
  std::string trend_log = "./interval-trends.db";   // -t
  int32_t max_delta_records = 10000;                // -m
  int32_t sqlite_page_size = 0;                     // -p, bytes
  int32_t sqlite_cache_size = 0;                    // -c, kB on the line, bytes here
  int32_t sqlite_heap_limit = 0;                    // -l, kB on the line, bytes here
  std::string wave_folder;                          // -w
  int verbosity = 0;                                // -D
  bool fork = true;                                 // -d clears it
};

enum class CommandLineOutcome {
  kRun,          // go on starting
  kExitSuccess,  // -v printed the version: exit 0
  kExitFailure,  // an error was reported with the usage text: exit 1
};

// Parse argv[1..argc-1] into `line`. Messages and the usage text go to
// `out`, the page/cache/heap/verbosity complaints to `err`.
CommandLineOutcome ParseCommandLine(int argc, char* const* argv,
                                    CommandLine* line, FILE* out, FILE* err);

// The usage text, exactly as -? style errors print it.
void PrintUsage(FILE* out);

// The -v text: program name, version, gSOAP version, build date.
void PrintVersion(const char* program, FILE* out);

#endif  // HOST_COMMAND_LINE_H_
