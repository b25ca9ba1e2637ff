// Command-line parsing. Options are whole words; each option that takes a
// value consumes the next argument. Unknown words are reported and parsing
// goes on, so that every unknown word is named before the usage text.

#include "host/command_line.h"

#include <stdsoap2.h>  // GSOAP_VERSION: the engine we were built against

#include <cerrno>
#include <cstring>

#include "platform/element.h"  // pcd_strtol32: the device's strtol

namespace wsgated {

namespace {

const char* const kVersion = "2.0.0";

// The usage text in three runs around its two formatted lines.
const char* const kUsageHead[] = {
    "Usage: wsgated [-h deltaLog]  [-a eventLog] ",
    "               [-s systemLog] [-t trendLog] [-m maxRecords] ",
    "               [-p pageSize] [-c cacheSize] [-l heapLimit] ",
    "               [-w waveFolder] [-D n] [-d] ",
    "\t -h: Location of the historical (Delta) data log",
    "\t -a: Location of the alarm/event log",
    "\t -s: Location of the System event log",
    "\t -t: Location of the Trend data log",
    "\t -m: Maximum allowed size for Delta record requests",
    "\t     Maximum records for Events and Trends based on this; default ",
};
const char* const kUsageMiddle[] = {
    "\t -p: Use the given SQLite page size (in bytes)",
    "\t -c: Use the given SQLite cache size (in kB)",
    "\t -l: Use the given size (in kB) as a heap usage soft-limit for SQLite",
    "\t -w: Location of the COMTRADE waveform files",
};
const char* const kUsageTail[] = {
    "\t -d: Debug mode (don't fork a child process)",
    "Usage: wsgated -v ",
    "\t -v: Print version information to stdout and exit",
    "",
};

template <size_t N>
void printLines(const char* const (&lines)[N], FILE* out) {
  for (const char* line : lines) fprintf(out, "%s\n", line);
}

// A value check: true when `value` is acceptable (it has been stored).
typedef bool (*ValueHandler)(const char* value, CommandLine* line, FILE* err);

bool setDeltaLog(const char* v, CommandLine* l, FILE*) {
  l->deltaLog = v;
  return true;
}
bool setEventLog(const char* v, CommandLine* l, FILE*) {
  l->eventLog = v;
  return true;
}
bool setSystemLog(const char* v, CommandLine* l, FILE*) {
  l->systemLog = v;
  return true;
}
bool setTrendLog(const char* v, CommandLine* l, FILE*) {
  l->trendLog = v;
  return true;
}
bool setWaveFolder(const char* v, CommandLine* l, FILE*) {
  l->waveFolder = v;
  return true;
}

// Numbers follow the device's strtol and atoi, whose long has 32 bits:
// "3000000000" is 2147483647 there, and must not wrap to a negative int
// where long is wider.

// Trailing characters are tolerated ("12abc" is 12): older start scripts
// pass values with units attached.
bool setMaxRecords(const char* v, CommandLine* l, FILE*) {
  size_t used = 0;
  const int32_t n = toolkit::pcd_strtol32(v, &used);
  if (used == 0 || n < 0) return false;
  l->maxDeltaRecords = n;
  return true;
}

// Positive size; `scale` converts the unit on the line into bytes.
bool setSize(const char* v, const char* what, int scale, int32_t* target,
             FILE* err) {
  const int n = toolkit::pcd_strtol32(v, nullptr);  // atoi
  if (n < 1) {
    fprintf(err, "Error: invalid %s: %d\n", what, n);
    return false;
  }
  *target = n * scale;
  return true;
}
bool setPageSize(const char* v, CommandLine* l, FILE* e) {
  return setSize(v, "page size", 1, &l->sqlitePageSize, e);
}
bool setCacheSize(const char* v, CommandLine* l, FILE* e) {
  return setSize(v, "cache size", 1024, &l->sqliteCacheSize, e);
}
bool setHeapLimit(const char* v, CommandLine* l, FILE* e) {
  return setSize(v, "heap limit", 1024, &l->sqliteHeapLimit, e);
}

// errno is deliberately not cleared first: a stale error from start-up
// rejects the level, as it always has on the device.
bool setVerbosity(const char* v, CommandLine* l, FILE* err) {
  size_t used = 0;
  const int32_t n = toolkit::pcd_strtol32(v, &used);
  if (used == 0 || v[used] != '\0' || errno != 0) {
    fprintf(err, "Error: invalid syslog Level: %s\n", strerror(errno));
    return false;
  }
  l->verbosity = n;
  return true;
}

struct ValueOption {
  const char* name;
  ValueHandler handler;
};

const ValueOption kValueOptions[] = {
    {"-h", setDeltaLog},  {"-a", setEventLog},   {"-s", setSystemLog},
    {"-t", setTrendLog},  {"-m", setMaxRecords}, {"-p", setPageSize},
    {"-c", setCacheSize}, {"-l", setHeapLimit},  {"-w", setWaveFolder},
    {"-D", setVerbosity},
};

const ValueOption* findValueOption(const char* word) {
  for (const ValueOption& option : kValueOptions) {
    if (strcmp(word, option.name) == 0) return &option;
  }
  return nullptr;
}

CommandLineOutcome failWithUsage(FILE* out) {
  printUsage(out);
  return CommandLineOutcome::kExitFailure;
}

}  // namespace

void printUsage(FILE* out) {
  const int max = CommandLine().maxDeltaRecords;
  printLines(kUsageHead, out);
  fprintf(
      out,
      "\t     maximums are Deltas:%d, Events:%d, and Trend snapshots:%d \n\n",
      max, max / 4, max / 12);
  printLines(kUsageMiddle, out);
  fprintf(out, "\t -D: Set the Syslog verbosity level to 'n' (default: %d)\n\n",
          CommandLine().verbosity);
  printLines(kUsageTail, out);
}

void printVersion(const char* program, FILE* out) {
  fprintf(out, "%s: version %s\n", program, kVersion);
  fprintf(out, "gsoap: version %d\n", GSOAP_VERSION);
  fprintf(out, "Build date: %s %s\n", __DATE__, __TIME__);
  fprintf(out, "%s\n", "$Revision: 66949 $\n");
}

CommandLineOutcome parseCommandLine(int argc, char* const* argv,
                                    CommandLine* line, FILE* out, FILE* err) {
  bool unknown = false;
  for (int i = 1; i < argc; ++i) {
    const char* word = argv[i];
    if (strcmp(word, "-d") == 0) {
      line->fork = false;
    } else if (const ValueOption* option = findValueOption(word)) {
      if (i + 1 >= argc) {
        fprintf(out, "Missing field for: %s \n", word);
        return failWithUsage(out);
      }
      const char* value = argv[++i];
      if (value[0] == '\0' || !option->handler(value, line, err)) {
        fprintf(out, "Bad field: %s \n", value);
        return failWithUsage(out);
      }
    } else if (strcmp(word, "-v") == 0) {
      printVersion(argv[0], out);
      return CommandLineOutcome::kExitSuccess;
    } else {
      fprintf(out, "Unknown parameter: %s \n", word);
      unknown = true;
    }
  }
  return unknown ? failWithUsage(out) : CommandLineOutcome::kRun;
}

}  // namespace wsgated
