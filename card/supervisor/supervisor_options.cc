// The supervisor's options (supervisor_options.h).

#include "card/supervisor/supervisor_options.h"

#include "card/common/card_options.h"

namespace wsgated {

namespace {

const char kUsage[] =
    "  --program NAME=COMMAND  run COMMAND, watched by its watchdog row NAME\n"
    "                          (repeat for each program; no shell: words\n"
    "                          split at blanks, '...' and \"...\" quote,\n"
    "                          \\ escapes one character)\n"
    "  --check-seconds S       check the programs every S seconds (2)\n"
    "  --start-grace-seconds S time to register after a start (30)\n"
    "  --stop-grace-seconds S  time to end after SIGTERM before SIGKILL (10)\n"
    "  --backoff-seconds S     first wait before restarting a program that\n"
    "                          failed at once; doubles each time (1)\n"
    "  --backoff-max-seconds S longest such wait (60)\n"
    "  --pid-file PATH         record the supervisor's pid in PATH\n";

struct SecondsOption {
  const char* name;
  double SupervisorSettings::*field;
};

const SecondsOption kSecondsOptions[] = {
    {"--check-seconds", &SupervisorSettings::checkSeconds},
    {"--start-grace-seconds", &SupervisorSettings::startGraceSeconds},
    {"--stop-grace-seconds", &SupervisorSettings::stopGraceSeconds},
    {"--backoff-seconds", &SupervisorSettings::backoffSeconds},
    {"--backoff-max-seconds", &SupervisorSettings::backoffMaxSeconds},
};

bool addProgram(const std::string& text, const std::string& ownName,
                SupervisorSettings* settings, std::string* error) {
  ProgramSpec spec;
  if (!parseProgram(text, &spec, error)) return false;
  if (spec.name == ownName) {
    *error = "\"" + ownName + "\" is the supervisor's own watchdog";
    return false;
  }
  for (const ProgramSpec& other : settings->programs) {
    if (other.name == spec.name) {
      *error = "two programs are named \"" + spec.name + "\"";
      return false;
    }
  }
  settings->programs.push_back(spec);
  return true;
}

// One option at args[*index]; false with *error set when it is refused.
bool takeOption(const std::vector<std::string>& args, size_t* index,
                const std::string& ownName, SupervisorSettings* settings,
                std::string* error) {
  std::string value;
  OptionMatch match = matchOption(args, index, "--program", &value);
  if (match == OptionMatch::kValue) {
    return addProgram(value, ownName, settings, error);
  }
  if (match == OptionMatch::kOther) {
    match = matchOption(args, index, "--pid-file", &value);
    if (match == OptionMatch::kValue && value.empty()) {
      *error = "--pid-file needs a path";
      return false;
    }
    if (match == OptionMatch::kValue) settings->pidFile = value;
  }
  for (const SecondsOption& option : kSecondsOptions) {
    if (match != OptionMatch::kOther) break;
    match = matchOption(args, index, option.name, &value);
    if (match == OptionMatch::kValue &&
        !parseSeconds(value, &(settings->*option.field))) {
      *error = std::string(option.name) +
               " takes seconds above 0, at most 86400, not \"" + value + "\"";
      return false;
    }
  }
  if (match == OptionMatch::kOther) *error = "unknown option " + args[*index];
  if (match == OptionMatch::kMissing) *error = args[*index] + " needs a value";
  return match == OptionMatch::kValue;
}

}  // namespace

bool parseSupervisorOptions(const std::vector<std::string>& args,
                            const std::string& ownName,
                            SupervisorSettings* settings, std::string* error) {
  error->clear();
  for (size_t i = 0; i < args.size(); ++i) {
    if (!takeOption(args, &i, ownName, settings, error)) return false;
  }
  if (settings->programs.empty()) {
    *error = "no --program to run";
  } else if (settings->backoffMaxSeconds < settings->backoffSeconds) {
    *error = "--backoff-max-seconds is below --backoff-seconds";
  }
  return error->empty();
}

const char* supervisorUsage() { return kUsage; }

}  // namespace wsgated
