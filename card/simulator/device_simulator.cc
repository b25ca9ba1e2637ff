// The field-device simulator (device_simulator.h).

#include "card/simulator/device_simulator.h"

#include <algorithm>
#include <cmath>

#include "common/log.h"
#include "platform/cds.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int32_t kGoodQuality = 192;
const char* const kSource = "Device Simulator";
const char* const kMeter = "/Devices/Meter1/";
const char* const kUps = "/Devices/UPS1/";
const char* const kBreaker = "/Devices/Breaker1/";
const char* const kPhases[3] = {"L1", "L2", "L3"};
// Steps an incident lasts.
constexpr int kSagSteps = 3, kBatteryTestSteps = 20, kTripSteps = 10;

// Load as a fraction of the meter's full load over a day: low at night,
// a morning and a higher evening peak.
double dailyLoad(double hour) {
  const double morning = std::exp(-std::pow((hour - 9) / 2.5, 2));
  const double evening = std::exp(-std::pow((hour - 19) / 2.0, 2));
  return 0.35 + 0.35 * morning + 0.5 * evening;
}

std::string fixed(double value, int digits) {
  char text[64];
  snprintf(text, sizeof(text), "%.*f", digits, value);
  return text;
}

}  // namespace

DeviceSimulator::DeviceSimulator(QrxClock clock)
    : clock_(clock ? std::move(clock) : QrxClock(qrx_UTCtime64)),
      random_(std::random_device{}()) {}

std::string DeviceSimulator::usage() const {
  return "  --step-seconds S         seconds between writes (default 2)\n"
         "  --incident-minutes M     mean minutes between incidents: sags,\n"
         "                           battery tests, breaker trips (default "
         "15)\n"
         "  --seed N                 repeat the same random draws each run\n";
}

bool DeviceSimulator::configure(const std::vector<std::string>& args,
                                std::string* error) {
  return parseCompanionOptions(
      args,
      {{"--step-seconds",
        [this](const std::string& v) { return parseSeconds(v, &stepSeconds_); }},
       {"--incident-minutes",
        [this](const std::string& v) {
          return parseSeconds(v, &incidentMinutes_);
        }},
       {"--seed",
        [this](const std::string& v) {
          long seed = 0;
          if (!parseInteger(v, 0, 2147483647L, &seed)) return false;
          random_.seed(static_cast<uint64_t>(seed));
          seeded_ = true;
          return true;
        }}},
      error);
}

double DeviceSimulator::uniform(double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random_);
}

double DeviceSimulator::noise(double spread) {
  return std::normal_distribution<double>(0, spread)(random_);
}

// Which simulated leaves the store has, and the counters to go on from.
bool DeviceSimulator::start(toolkit::CCds& store) {
  const std::vector<std::string> counters = {
      std::string(kMeter) + "ActiveEnergy", std::string(kMeter) + "ReactiveEnergy",
      std::string(kUps) + "BatteryCharge", std::string(kUps) + "Service/OperatingHours",
      std::string(kBreaker) + "TripCount"};
  double* const into[] = {&activeEnergy_, &reactiveEnergy_, &batteryCharge_,
                          &operatingHours_, nullptr};
  for (size_t i = 0; i < counters.size(); ++i) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement value;
    element_property_t property = PCD_PROP_NORMAL;
    if (store.get_leaf(counters[i] + "/Value", status, value, property) != 0) {
      logError(kLogAlways, "cannot read the store");
      return false;
    }
    if (status != API_STATUS_OK) continue;
    if (into[i] != nullptr) *into[i] = value.to_double();
    if (into[i] == nullptr) tripCount_ = value.to_uint();
  }
  nowUs_ = clock_();
  listed_ = false;
  advance(0, 0);  // lists every leaf a step writes
  listed_ = true;
  known_.clear();
  for (size_t i = 0; i < paths_.size(); i += 2) {
    api_status_t status = API_STATUS_UNKNOWN;
    store.test_node(paths_[i], status);
    if (status == API_STATUS_OK) known_.push_back(paths_[i]);
  }
  logNotice(kLogAlways, "simulating %zu points every %g s%s", known_.size(),
            stepSeconds_, seeded_ ? " (seeded)" : "");
  return true;
}

void DeviceSimulator::put(const std::string& point,
                          const toolkit::CElement& value) {
  if (listed_ &&
      std::find(known_.begin(), known_.end(), point + "/Value") ==
          known_.end()) {
    return;
  }
  timeval time{};
  qrx_QRXtoUNIXtime64(nowUs_, &time);
  paths_.push_back(point + "/Value");
  values_.push_back(value);
  values_.back().set_time(time);
  paths_.push_back(point + "/.Quality");
  values_.push_back(toolkit::CElement(kGoodQuality));
  values_.back().set_time(time);
}

void DeviceSimulator::condition(const std::string& point, int severity,
                                const std::string& description) {
  toolkit::CEvent event;
  event.kind = toolkit::EVENT_KIND_DEVICE_CONDITION;
  event.source_path = point + "/Value";
  qrx_QRXtoUNIXtime64(nowUs_, &event.time);
  event.value = values_.empty() ? toolkit::CElement() : values_.front();
  for (size_t i = 0; i < paths_.size(); ++i) {
    if (paths_[i] == event.source_path) event.value = values_[i];
  }
  event.value.set_time(event.time);
  event.severity = severity;
  event.description = description;
  event.quality = kGoodQuality;
  event.source = kSource;
  conditions_.push_back(event);
}

void DeviceSimulator::maybeStartIncident(double dt) {
  if (incident_ != Incident::kNone || dt <= 0) return;
  const double chance = 1 - std::exp(-dt / (incidentMinutes_ * 60));
  if (uniform(0, 1) >= chance) return;
  const double pick = uniform(0, 1);
  if (pick < 0.5) {
    incident_ = Incident::kSag;
    incidentSteps_ = kSagSteps;
    sagPhase_ = static_cast<int>(uniform(0, 3)) % 3;
  } else if (pick < 0.8) {
    incident_ = Incident::kBatteryTest;
    incidentSteps_ = kBatteryTestSteps;
  } else {
    incident_ = Incident::kTrip;
    incidentSteps_ = kTripSteps;
    tripCause_ = 1 + static_cast<int32_t>(uniform(0, 3)) % 3;
    ++tripCount_;
  }
}

// The plant one step of `dt` seconds further, at `hourOfDay`, and this
// step's writes (all of them when dt is 0: the list of leaves).
void DeviceSimulator::advance(double hourOfDay, double dt) {
  paths_.clear();
  values_.clear();
  const double load = dailyLoad(hourOfDay) * (1 + noise(0.02));
  double apparent = 0;
  for (int p = 0; p < 3; ++p) {
    voltage_[p] = 230 + 1.2 * std::sin(2 * kPi * hourOfDay / 24 + p) +
                  noise(0.3);
    if (incident_ == Incident::kSag && p == sagPhase_) voltage_[p] *= 0.8;
    current_[p] = std::max(0.0, 20 * load * (1 + 0.05 * (p - 1)) + noise(0.2));
    if (incident_ == Incident::kTrip) current_[p] = 0;
    apparent += voltage_[p] * current_[p] / 1000;
  }
  frequency_ = std::min(50.1, std::max(49.9, 50 + noise(0.01)));
  powerFactor_ = std::min(0.99, std::max(0.8, 0.93 + noise(0.008)));
  const double active = apparent * powerFactor_;
  const double reactive = std::sqrt(std::max(0.0, apparent * apparent -
                                                      active * active));
  activeEnergy_ += active * dt / 3600;
  reactiveEnergy_ += reactive * dt / 3600;
  operatingHours_ += dt / 3600;
  const bool onBattery = incident_ == Incident::kBatteryTest;
  batteryCharge_ = std::min(100.0, std::max(5.0, batteryCharge_ +
                                                      (onBattery ? -1.0 : 0.2) *
                                                          dt / 2));
  const double upsLoad = std::min(100.0, 25 + 30 * load + noise(0.5));

  for (int p = 0; p < 3; ++p) {
    const std::string phase = kPhases[p];
    put(kMeter + std::string("Voltage") + phase + "N",
        toolkit::CElement(std::round(voltage_[p] * 10) / 10));
    put(kMeter + std::string("Current") + phase,
        toolkit::CElement(std::round(current_[p] * 100) / 100));
  }
  put(std::string(kMeter) + "Frequency",
      toolkit::CElement(std::round(frequency_ * 1000) / 1000));
  put(std::string(kMeter) + "ActivePower",
      toolkit::CElement(std::round(active * 100) / 100));
  put(std::string(kMeter) + "ReactivePower",
      toolkit::CElement(std::round(reactive * 100) / 100));
  put(std::string(kMeter) + "ApparentPower",
      toolkit::CElement(std::round(apparent * 100) / 100));
  put(std::string(kMeter) + "PowerFactor",
      toolkit::CElement(std::round(powerFactor_ * 1000) / 1000));
  put(std::string(kMeter) + "ActiveEnergy",
      toolkit::CElement(std::round(activeEnergy_ * 1000) / 1000));
  put(std::string(kMeter) + "ReactiveEnergy",
      toolkit::CElement(std::round(reactiveEnergy_ * 1000) / 1000));
  put(std::string(kMeter) + "Status",
      toolkit::CElement(incident_ == Incident::kSag ? int32_t{1} : int32_t{0}));
  put(std::string(kUps) + "InputVoltage",
      toolkit::CElement(std::round((voltage_[0] + noise(0.2)) * 10) / 10));
  put(std::string(kUps) + "OutputVoltage",
      toolkit::CElement(std::round((230 + noise(0.15)) * 10) / 10));
  put(std::string(kUps) + "Load", toolkit::CElement(std::round(upsLoad * 10) / 10));
  put(std::string(kUps) + "BatteryCharge",
      toolkit::CElement(std::round(batteryCharge_ * 10) / 10));
  put(std::string(kUps) + "Runtime",
      toolkit::CElement(static_cast<int32_t>(batteryCharge_ * 2500 / upsLoad)));
  put(std::string(kUps) + "OperatingMode",
      toolkit::CElement(onBattery ? int32_t{1} : int32_t{0}));
  put(std::string(kUps) + "Service/OperatingHours",
      toolkit::CElement(static_cast<uint32_t>(operatingHours_)));
  put(std::string(kBreaker) + "Position",
      toolkit::CElement(incident_ != Incident::kTrip));
  put(std::string(kBreaker) + "TripCause",
      toolkit::CElement(incident_ == Incident::kTrip ? tripCause_ : int32_t{0}));
  put(std::string(kBreaker) + "TripCount", toolkit::CElement(tripCount_));
}

// The conditions of an incident that starts or ends at this step.
void DeviceSimulator::endIncident() {
  static const char* const kCauses[] = {"None", "Overload", "Short Circuit",
                                        "Ground Fault"};
  const bool starting =
      (incident_ == Incident::kSag && incidentSteps_ == kSagSteps) ||
      (incident_ == Incident::kBatteryTest &&
       incidentSteps_ == kBatteryTestSteps) ||
      (incident_ == Incident::kTrip && incidentSteps_ == kTripSteps);
  const std::string phase = kPhases[sagPhase_];
  const std::string sagPoint = kMeter + std::string("Voltage") + phase + "N";
  if (incident_ == Incident::kSag && starting) {
    condition(sagPoint, 2,
              "Voltage sag :  " + phase + " at " +
                  fixed(voltage_[sagPhase_], 1) + " V");
  } else if (incident_ == Incident::kBatteryTest && starting) {
    condition(std::string(kUps) + "OperatingMode", 1,
              "Battery test started :  load on battery");
  } else if (incident_ == Incident::kTrip && starting) {
    condition(std::string(kBreaker) + "Position", 3,
              std::string("Breaker tripped :  ") + kCauses[tripCause_]);
  }
  if (incident_ == Incident::kNone || --incidentSteps_ > 0) return;
  if (incident_ == Incident::kSag) {
    condition(sagPoint, 1, "Voltage restored :  " + phase);
  } else if (incident_ == Incident::kBatteryTest) {
    condition(std::string(kUps) + "OperatingMode", 1,
              "Battery test passed :  charge " + fixed(batteryCharge_, 1) +
                  " %");
  } else {
    condition(std::string(kBreaker) + "Position", 1,
              "Breaker closed :  after a trip");
  }
  incident_ = Incident::kNone;
}

void DeviceSimulator::step(toolkit::CCds& store) {
  nowUs_ = clock_();
  const double dt =
      lastUs_ == 0 ? stepSeconds_
                   : std::min(3600.0, std::max(0.0, (nowUs_ - lastUs_) / 1e6));
  const double hour =
      static_cast<double>(((nowUs_ / 1000000) % 86400 + 86400) % 86400) / 3600;
  conditions_.clear();
  maybeStartIncident(dt);
  advance(hour, dt);
  endIncident();
  std::vector<api_status_t> statuses;
  if (store.set_leaves(paths_, values_, {}, statuses, kSource) != 0 ||
      std::count(statuses.begin(), statuses.end(), API_STATUS_OK) !=
          static_cast<long>(statuses.size())) {
    logWarning(kLogErrors, "cannot write the simulated values; next step");
    return;
  }
  lastUs_ = nowUs_;
  ++stepsWritten_;
  if (!conditions_.empty()) store.events_send(conditions_, statuses);
}

}  // namespace wsgated
