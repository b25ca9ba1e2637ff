// The common options of card processes (card_options.h).

#include "card/common/card_options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace wsgated {

namespace {

const double kMaxSeconds = 86400;
const long kMaxVerbosity = 9;

const char kUsage[] =
    "  --store PATH            the data store (default: TOOLKIT_CDS_PATH)\n"
    "  --log-file PATH         also append the log to PATH "
    "(default: TOOLKIT_LOG_FILE)\n"
    "  -D LEVEL                verbosity 0..9 (default 0)\n"
    "  --watchdog-seconds N    watchdog period (default 90)\n"
    "  -h, --help              this text\n";

// One common option with a value: false when args[*index] is another one.
bool takeCommon(const std::vector<std::string>& args, size_t* index,
                CardOptions* options, std::string* error) {
  std::string value;
  OptionMatch match = OptionMatch::kOther;
  const char* name = nullptr;
  for (const char* candidate :
       {"--store", "--log-file", "-D", "--watchdog-seconds"}) {
    match = matchOption(args, index, candidate, &value);
    name = candidate;
    if (match != OptionMatch::kOther) break;
  }
  if (match == OptionMatch::kOther) return false;
  long number = 0;
  const std::string option(name);
  if (match == OptionMatch::kMissing) {
    *error = option + " needs a value";
  } else if (option == "--store" || option == "--log-file") {
    if (value.empty()) *error = option + " needs a path";
    (option == "--store" ? options->storePath : options->logFile) = value;
  } else if (option == "-D") {
    if (!parseInteger(value, 0, kMaxVerbosity, &number)) {
      *error = "-D takes a level 0..9, not \"" + value + "\"";
    }
    options->verbosity = static_cast<int>(number);
  } else if (!parseInteger(value, 1, static_cast<long>(kMaxSeconds), &number)) {
    *error = "--watchdog-seconds takes 1..86400, not \"" + value + "\"";
  } else {
    options->watchdogSeconds = static_cast<int>(number);
  }
  return true;
}

}  // namespace

OptionsOutcome parseCardOptions(const std::vector<std::string>& args,
                                CardOptions* options,
                                std::vector<std::string>* rest,
                                std::string* error) {
  rest->clear();
  error->clear();
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-h" || args[i] == "--help") return OptionsOutcome::kHelp;
    if (!takeCommon(args, &i, options, error)) rest->push_back(args[i]);
    if (!error->empty()) return OptionsOutcome::kRefused;
  }
  return OptionsOutcome::kRun;
}

const char* cardOptionsUsage() { return kUsage; }

OptionMatch matchOption(const std::vector<std::string>& args, size_t* index,
                        const std::string& name, std::string* value) {
  const std::string& arg = args[*index];
  if (arg == name) {
    if (*index + 1 >= args.size()) return OptionMatch::kMissing;
    *value = args[++*index];
    return OptionMatch::kValue;
  }
  // "-D2" for the one-letter option, "--name=value" for the long ones.
  const bool shortForm = name.size() == 2;
  const std::string prefix = shortForm ? name : name + "=";
  if (arg.size() <= prefix.size() || arg.compare(0, prefix.size(), prefix)) {
    return arg == prefix ? OptionMatch::kMissing : OptionMatch::kOther;
  }
  *value = arg.substr(prefix.size());
  return OptionMatch::kValue;
}

bool parseInteger(const std::string& text, long low, long high, long* value) {
  if (text.empty() || text.size() > 18) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  const long number = strtol(text.c_str(), nullptr, 10);
  if (number < low || number > high) return false;
  *value = number;
  return true;
}

bool parseSeconds(const std::string& text, double* seconds) {
  // strtod also takes "inf", "nan", hex and leading blanks: none of those
  // is a period anyone means on a command line.
  if (text.empty() ||
      text.find_first_not_of("0123456789.") != std::string::npos) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  const double number = strtod(text.c_str(), &end);
  if (errno != 0 || *end != '\0' || !(number > 0) || number > kMaxSeconds) {
    return false;
  }
  *seconds = number;
  return true;
}

bool parseCompanionOptions(const std::vector<std::string>& args,
                           const std::vector<CompanionOption>& options,
                           std::string* error) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string given = args[i];
    const CompanionOption* found = nullptr;
    std::string value;
    OptionMatch match = OptionMatch::kOther;
    for (const CompanionOption& option : options) {
      match = matchOption(args, &i, option.name, &value);
      found = &option;
      if (match != OptionMatch::kOther) break;
    }
    if (match == OptionMatch::kOther) {
      *error = "unknown option '" + given + "'";
      return false;
    }
    if (match == OptionMatch::kMissing) {
      *error = std::string(found->name) + " needs a value";
      return false;
    }
    if (!found->take(value)) {
      *error = "bad value '" + value + "' of " + found->name;
      return false;
    }
  }
  return true;
}

std::string pathFromEnvironment(const char* name, const char* fallback) {
  const char* value = getenv(name);
  return value != nullptr && *value != '\0' ? value : fallback;
}

}  // namespace wsgated
