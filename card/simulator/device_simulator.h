// The simulator of the sample field devices: makes the meter, the UPS and
// the breaker of the sample store (deploy/seed/sample-device.seed) live,
// writing their values through the store as their handlers would.
//
// At each step (every --step-seconds) it writes, in one transaction, every
// simulated point's Value stamped with the step's time and its .Quality
// (192, good), with the change source "Device Simulator":
//   - the meter: phase voltages around 230 V with noise, currents following
//     a daily load curve (low at night, peaks in the morning and evening),
//     frequency, active, reactive and apparent power and power factor
//     computed from them, energies that count up, its Status;
//   - the UPS: input voltage following the meter, output voltage, load,
//     battery charge and runtime, operating mode and operating hours;
//   - the breaker: position, trip cause and trip count.
// Now and then (on average every --incident-minutes) an incident starts:
// a voltage sag on one phase for a few steps, a battery test (the UPS on
// battery, its charge falling, then recharging) or a breaker trip (open
// with a cause, closed again some steps later). Each incident's start and
// end is queued as a device condition event (kind 256, severity 1 to 3,
// "what :  detail"), which the system logger puts into the alarm/event log.
//
// A point the store lacks is left out (the store may hold other devices);
// a step whose write fails is logged and the next one tries again.
// With --seed N the random draws repeat from run to run; together with a
// clock of the test's own the values are then the same every time.

#ifndef CARD_SIMULATOR_DEVICE_SIMULATOR_H_
#define CARD_SIMULATOR_DEVICE_SIMULATOR_H_

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "platform/element.h"
#include "platform/event.h"

namespace wsgated {

class DeviceSimulator : public Companion {
 public:
  explicit DeviceSimulator(QrxClock clock = nullptr);

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return stepSeconds_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds&) override {}

  // Leaves written per step, and steps whose write succeeded.
  size_t leavesPerStep() const { return 2 * known_.size(); }
  uint64_t stepsWritten() const { return stepsWritten_; }

 private:
  enum class Incident { kNone, kSag, kBatteryTest, kTrip };

  double uniform(double low, double high);
  double noise(double spread);
  void advance(double hourOfDay, double dt);
  void maybeStartIncident(double dt);
  void endIncident();
  void condition(const std::string& point, int severity,
                 const std::string& description);
  void put(const std::string& point, const toolkit::CElement& value);

  QrxClock clock_;
  double stepSeconds_ = 2;
  double incidentMinutes_ = 15;
  bool seeded_ = false;
  std::mt19937_64 random_;
  int64_t lastUs_ = 0;

  // The plant's state.
  double voltage_[3] = {230.4, 229.8, 231.1};
  double current_[3] = {12.5, 11.9, 13.2};
  double frequency_ = 50.0, powerFactor_ = 0.93;
  double activeEnergy_ = 0, reactiveEnergy_ = 0;
  double batteryCharge_ = 98.5, operatingHours_ = 0;
  uint32_t tripCount_ = 0;
  Incident incident_ = Incident::kNone;
  int incidentSteps_ = 0;  // steps left
  int sagPhase_ = 0;
  int32_t tripCause_ = 0;

  // This step's writes and events.
  std::vector<std::string> paths_;
  std::vector<toolkit::CElement> values_;
  std::vector<toolkit::CEvent> conditions_;
  std::vector<std::string> known_;  // the simulated leaves the store has
  bool listed_ = false;             // known_ is filled
  int64_t nowUs_ = 0;
  uint64_t stepsWritten_ = 0;
};

}  // namespace wsgated

#endif  // CARD_SIMULATOR_DEVICE_SIMULATOR_H_
