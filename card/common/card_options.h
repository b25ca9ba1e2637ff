// The options every card process takes, and the readers its own use.
//
//   --store PATH             the data store; default TOOLKIT_CDS_PATH, else
//                            the platform's default. The process exports it,
//                            made absolute, as TOOLKIT_CDS_PATH, so what it
//                            starts uses the same store.
//   --log-file PATH          also append every log line to PATH; default
//                            TOOLKIT_LOG_FILE (process_log.h)
//   -D LEVEL                 verbosity 0..9 (common/log.h); default 0
//   --watchdog-seconds N     the period of the process's watchdog row,
//                            1..86400; default 90. It pings every third.
//   -h, --help               usage, exit 0
//
// A value may follow its option as the next argument or after "=":
// "--store PATH", "--store=PATH", "-D 2", "-D2". Everything else is left,
// in order, for the companion's own options.

#ifndef CARD_COMMON_CARD_OPTIONS_H_
#define CARD_COMMON_CARD_OPTIONS_H_

#include <functional>
#include <string>
#include <vector>

namespace wsgated {

const int kDefaultWatchdogSeconds = 90;

struct CardOptions {
  std::string storePath;  // empty: TOOLKIT_CDS_PATH or the default
  std::string logFile;    // empty: TOOLKIT_LOG_FILE or none
  int verbosity = 0;
  int watchdogSeconds = kDefaultWatchdogSeconds;
};

enum class OptionsOutcome {
  kRun,      // go on
  kHelp,     // usage asked for: print it, exit 0
  kRefused,  // the reason is in *error: print it and the usage, exit 1
};

// Takes the common options out of `args` (the arguments after the
// program's name) into `options`; the others go to `rest`.
OptionsOutcome parseCardOptions(const std::vector<std::string>& args,
                                CardOptions* options,
                                std::vector<std::string>* rest,
                                std::string* error);

// The usage lines of the common options.
const char* cardOptionsUsage();

enum class OptionMatch {
  kOther,    // args[*index] is not this option
  kValue,    // it is; its value is in *value, *index on its last argument
  kMissing,  // it is, but no value follows
};

// Matches args[*index] against the option `name` ("--store", "-D") in
// both forms the header describes.
OptionMatch matchOption(const std::vector<std::string>& args, size_t* index,
                        const std::string& name, std::string* value);

// A whole decimal number within [low, high].
bool parseInteger(const std::string& text, long low, long high, long* value);

// A number of seconds, decimals allowed ("0.5"), above 0 and at most a day.
bool parseSeconds(const std::string& text, double* seconds);

// One option of a companion's own: its name and what takes its value
// (false refuses the value).
struct CompanionOption {
  const char* name;
  std::function<bool(const std::string& value)> take;
};
// Reads `args` (what the common options left) against `options`; an
// unknown option, a missing or a refused value fails with the reason in
// *error.
bool parseCompanionOptions(const std::vector<std::string>& args,
                           const std::vector<CompanionOption>& options,
                           std::string* error);
// The value of the environment variable `name` when it is set and not
// empty, else `fallback`: the card's file locations (deploy/paths.env).
std::string pathFromEnvironment(const char* name, const char* fallback);

}  // namespace wsgated

#endif  // CARD_COMMON_CARD_OPTIONS_H_
