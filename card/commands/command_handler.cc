// The sample device's command handler (command_handler.h).

#include "card/commands/command_handler.h"

#include <algorithm>
#include <cstdint>

#include "card/common/card_options.h"
#include "common/log.h"
#include "common/value_conversion.h"
#include "contract/command_xml.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/event.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

const char kUsage[] =
    "  --device PATH           the device whose commands are handled\n"
    "                          (/Devices/Meter1)\n"
    "  --every S               seconds between steps (0.5)\n"
    "  --result-seconds S      answers are removed after S seconds (600)\n"
    "  --harmonics-seconds S   a harmonics reading takes S seconds (2)\n";

enum class Action { kClear, kSet, kHarmonics };

// A command of the sample meter: what the request names, what is done,
// and on which points (relative to the device node, at most two).
struct MeterCommand {
  int kind;  // the request's union selector
  const char* name;
  const char* param;
  Action action;
  const char* points[2];
  const char* done;
};

const MeterCommand kMeterCommands[] = {
    {SOAP_UNION__nsk7__union_sendCmd_s_cmdLine, "RESET ENERGY", "",
     Action::kClear, {"ActiveEnergy", "ReactiveEnergy"},
     "Energy counters cleared"},
    {SOAP_UNION__nsk7__union_sendCmd_s_cmdBasic, "ResetEnergy", "All",
     Action::kClear, {"ActiveEnergy", "ReactiveEnergy"},
     "Energy counters cleared"},
    {SOAP_UNION__nsk7__union_sendCmd_s_cmdBasic, "ResetPeakDemand", "None",
     Action::kClear, {"PeakDemand", nullptr}, "Peak demand cleared"},
    {SOAP_UNION__nsk7__union_sendCmd_s_cmdIval, "SetDemandInterval",
     "Minutes", Action::kSet, {"DemandInterval", nullptr},
     "Demand interval set"},
    {SOAP_UNION__nsk7__union_sendCmd_s_cmdLine, "READ HARMONICS", "",
     Action::kHarmonics, {"Harmonics", nullptr}, "Harmonics read"},
};

struct SecondsOption {
  const char* name;
  double CommandHandler::*field;
};

const MeterCommand* findCommand(const nsk7__sendCmd_s& command) {
  CommandNames names;
  if (!commandNames(command, names)) return nullptr;
  for (const MeterCommand& known : kMeterCommands) {
    if (known.kind == command.__union_cmd && names.name == known.name &&
        names.param == known.param) {
      return &known;
    }
  }
  return nullptr;
}

// Queue entries are named by their number in decimal, without leading
// zeros, and fit a command handle.
bool isCommandNumber(const std::string& name) {
  return !name.empty() && name.size() <= 9 && name[0] != '0' &&
         name.find_first_not_of("0123456789") == std::string::npos;
}

double secondsBetween(const timeval& from, const timeval& to) {
  return static_cast<double>(to.tv_sec - from.tv_sec) +
         static_cast<double>(to.tv_usec - from.tv_usec) / 1e6;
}

timeval later(const timeval& time, double seconds) {
  const int64_t us = qrx_UNIXtoQRXtime64(&time) +
                     static_cast<int64_t>(seconds * 1e6);
  timeval result{};
  qrx_QRXtoUNIXtime64(us, &result);
  return result;
}

// Write `text` to a point's Value in the type the point has.
bool writePoint(toolkit::CCds& store, const std::string& point,
                const std::string& text, const std::string& source) {
  toolkit::CElement value;
  if (!readGoodLeaf(store, point + "/Value", value)) return false;
  toolkit::CElement written(text);
  if (written.convert_type(value.get_type()) != 0) return false;
  api_status_t status = API_STATUS_UNKNOWN;
  return store.set_leaf(point + "/Value", written, status,
                        PCD_TRIBOOL_UNKNOWN, source) == 0 &&
         status == API_STATUS_OK;
}

// The harmonics below `node`: one harmonic per child with the points
// Frequency, Magnitude and Phase; the sample's time is the newest
// magnitude's. False when there is none.
bool readHarmonics(toolkit::CCds& store, const std::string& node,
                   std::vector<nsk7__harmonic_s>& data,
                   nsk7__harmonicResponse& record) {
  std::vector<std::string> children;
  if (toolkit::CPath::getChildPaths(store, node, children) != 0) return false;
  record.cdsName = node;
  toolkit::CElement label;
  record.displayName = readGoodLeaf(store, node + "/DisplayName", label)
                           ? label.to_string()
                           : std::string();
  record.timeSample = 0;
  for (const std::string& child : children) {
    std::vector<api_status_t> statuses;
    std::vector<toolkit::CElement> values;
    std::vector<element_property_t> properties;
    if (store.get_leaves({child + "/Frequency/Value",
                          child + "/Magnitude/Value", child + "/Phase/Value"},
                         statuses, values, properties) != 0 ||
        std::count(statuses.begin(), statuses.end(), API_STATUS_OK) != 3) {
      continue;
    }
    nsk7__harmonic_s harmonic;
    harmonic.frequency = values[0].to_int();
    harmonic.magnitude = static_cast<float>(values[1].to_double());
    harmonic.phase = static_cast<float>(values[2].to_double());
    data.push_back(harmonic);
    record.timeSample =
        std::max(record.timeSample, qrx_UNIXtoQRXtime64(&values[1].get_time()));
  }
  record.__sizehData = static_cast<int>(data.size());
  record.hData = data.data();
  return !data.empty();
}

}  // namespace

std::string CommandHandler::usage() const { return kUsage; }

bool CommandHandler::configure(const std::vector<std::string>& args,
                               std::string* error) {
  static const SecondsOption kSeconds[] = {
      {"--every", &CommandHandler::every_},
      {"--result-seconds", &CommandHandler::resultSeconds_},
      {"--harmonics-seconds", &CommandHandler::harmonicsSeconds_},
  };
  for (size_t i = 0; i < args.size(); ++i) {
    std::string value;
    OptionMatch match = matchOption(args, &i, "--device", &value);
    if (match == OptionMatch::kValue) device_ = value;
    for (const SecondsOption& option : kSeconds) {
      if (match != OptionMatch::kOther) break;
      match = matchOption(args, &i, option.name, &value);
      if (match == OptionMatch::kValue &&
          !parseSeconds(value, &(this->*option.field))) {
        *error = std::string(option.name) + " takes seconds above 0, not \"" +
                 value + "\"";
        return false;
      }
    }
    if (match == OptionMatch::kOther) *error = "unknown option " + args[i];
    if (match == OptionMatch::kMissing) *error = args[i] + " needs a value";
    if (match != OptionMatch::kValue) return false;
  }
  const std::string name = toolkit::CPath::LastNodeName(device_);
  if (name.empty()) {
    *error = "--device needs a device's node path, not \"" + device_ + "\"";
    return false;
  }
  area_ = std::string("/Software/Commands/") + name;
  toolkit::CEvent::format_source_string(source_, "card-commands",
                                        name.c_str(), "local");
  return true;
}

bool CommandHandler::start(toolkit::CCds& store) {
  api_status_t status = API_STATUS_UNKNOWN;
  if (store.test_node(area_ + "/inpQueue", status) != 0 ||
      status != API_STATUS_OK) {
    logWarning(kLogAlways, "No command queue at %s yet", area_.c_str());
  }
  logNotice(kLogAlways, "Handling the commands of %s in %s", device_.c_str(),
            area_.c_str());
  return true;
}

void CommandHandler::step(toolkit::CCds& store) {
  timeval now{};
  gettimeofday(&now, nullptr);
  stepAt(store, now);
}

void CommandHandler::stepAt(toolkit::CCds& store, const timeval& now) {
  finishReadings(store, now);
  takeCommands(store, now);
  ageResults(store, now);
}

bool CommandHandler::answer(toolkit::CCds& store, long number,
                            nsk7__cmdNumStatus status,
                            const std::string& statusText,
                            std::string* text,
                            nsk7__harmonicResponse* harmonics) {
  nsk7__cmdResult_s results{};
  results.cmdVersion = nsk7__cmdSchemaVersion__1;
  if (text != nullptr) {
    results.__union_res = SOAP_UNION__nsk7__union_cmdResult_s_resText;
    results.res.resText = text;
  } else if (harmonics != nullptr) {
    results.__union_res = SOAP_UNION__nsk7__union_cmdResult_s_resHarms;
    results.res.resHarms = harmonics;
  }
  _nsk7__getDeviceCmdResultResponse response{};
  response.cmdHandle = static_cast<int>(number);
  response.numericStatus = status;
  response.cmdStatus = statusText;
  response.cmdResults =
      text != nullptr || harmonics != nullptr ? &results : nullptr;
  CommandXml xml;
  std::string written;
  api_status_t stored = API_STATUS_UNKNOWN;
  const std::string entry =
      area_ + "/outQueue/" + std::to_string(number) + "/Value";
  if (xml.write(response, written) &&
      store.set_leaf(entry, toolkit::CElement(written), stored,
                     PCD_TRIBOOL_FALSE, source_,
                     PCD_WRITE_CREATE_DYNAMIC_NODE) == 0 &&
      stored == API_STATUS_OK) {
    logInfo(kLogActivity, "Answered command %ld: %s", number,
            statusText.c_str());
    return true;
  }
  logError(kLogErrors, "Cannot answer command %ld at %s (status %d)", number,
           entry.c_str(), static_cast<int>(stored));
  return false;
}

void CommandHandler::execute(toolkit::CCds& store, long number,
                             const nsk7__sendCmd_s* command,
                             const timeval& now) {
  if (command == nullptr) {
    answer(store, number, nsk7__cmdNumStatus__cmdFailInvalid,
           "The command could not be read", nullptr, nullptr);
    return;
  }
  const MeterCommand* known = findCommand(*command);
  if (known == nullptr) {
    answer(store, number, nsk7__cmdNumStatus__cmdFailInvalid,
           "Command not supported by " + device_, nullptr, nullptr);
    return;
  }
  if (known->action == Action::kHarmonics) {
    std::string text = "Reading harmonics";
    if (answer(store, number, nsk7__cmdNumStatus__cmdPending, text, &text,
               nullptr)) {
      readings_[number] = Reading{later(now, harmonicsSeconds_)};
    }
    return;
  }
  const std::string value =
      known->action == Action::kSet
          ? std::to_string(command->cmd.cmdIval->iValue)
          : std::string("0");
  bool done = true;
  for (const char* point : known->points) {
    if (point != nullptr) {
      done = writePoint(store, device_ + "/" + point, value, source_) && done;
    }
  }
  std::string text = done ? known->done : "The device refused the command";
  answer(store, number,
         done ? nsk7__cmdNumStatus__cmdSuccess
              : nsk7__cmdNumStatus__cmdFailUnable,
         done ? "Done" : "Failed", &text, nullptr);
}

void CommandHandler::finishReadings(toolkit::CCds& store, const timeval& now) {
  for (auto it = readings_.begin(); it != readings_.end();) {
    if (secondsBetween(it->second.due, now) < 0) {
      ++it;
      continue;
    }
    std::vector<nsk7__harmonic_s> data;
    nsk7__harmonicResponse record{};
    if (readHarmonics(store, device_ + "/Harmonics", data, record)) {
      answer(store, it->first, nsk7__cmdNumStatus__cmdSuccess, "Done",
             nullptr, &record);
    } else {
      std::string text = "No harmonics available";
      answer(store, it->first, nsk7__cmdNumStatus__cmdFailUnable, "Failed",
             &text, nullptr);
    }
    it = readings_.erase(it);
  }
}

// Each entry is read and removed in one transaction: a command is taken
// once or not at all, also when the handler dies between the two.
void CommandHandler::takeCommands(toolkit::CCds& store, const timeval& now) {
  const std::string queue = area_ + "/inpQueue";
  std::vector<std::string> names;
  if (toolkit::CPath::getAttributeList(queue, store, "Children", names) != 0) {
    return;
  }
  std::vector<long> numbers;
  for (const std::string& name : names) {
    if (isCommandNumber(name)) numbers.push_back(std::stol(name));
  }
  std::sort(numbers.begin(), numbers.end());
  if (numbers.size() > kCommandsPerStep) numbers.resize(kCommandsPerStep);
  for (long number : numbers) {
    const std::string entry = queue + "/" + std::to_string(number);
    toolkit::CCdsGroup group(store);
    toolkit::CElement text;
    readGoodLeaf(store, entry + "/Value", text);
    api_status_t status = API_STATUS_UNKNOWN;
    if (store.remove_node(entry, status, source_) != 0 ||
        status != API_STATUS_OK || group.Commit() != 0) {
      logError(kLogErrors, "Cannot take command %s", entry.c_str());
      continue;
    }
    logInfo(kLogActivity, "Took command %ld", number);
    CommandXml xml;
    execute(store, number, xml.readCommand(text.to_string()), now);
  }
}

void CommandHandler::ageResults(toolkit::CCds& store, const timeval& now) {
  const std::string queue = area_ + "/outQueue";
  std::vector<std::string> names;
  if (toolkit::CPath::getAttributeList(queue, store, "Children", names) != 0) {
    return;
  }
  for (const std::string& name : names) {
    const std::string entry = queue + "/" + name;
    toolkit::CElement value;
    if (!readGoodLeaf(store, entry + "/Value", value) ||
        secondsBetween(value.get_time(), now) <= resultSeconds_) {
      continue;
    }
    api_status_t status = API_STATUS_UNKNOWN;
    store.remove_node(entry, status, source_);
    logInfo(kLogActivity, "Aged out the answer %s", entry.c_str());
  }
}

}  // namespace wsgated
