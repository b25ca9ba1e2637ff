// The demo's waveform records; see demo_records.h.
//
// Both are 50 Hz, 230/400 V systems. A fault current is the steady-state
// sine of the faulted circuit plus the decaying DC offset that keeps the
// current continuous at the instant of the fault (an inductive circuit's
// current cannot jump); a breaker or fuse ends a current only at its zero
// crossing. A little deterministic noise keeps the traces from looking
// drawn with a ruler.

#include "tools/waveforms/demo_records.h"

#include <cmath>
#include <cstdint>

namespace wsgated {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kOmega = 2.0 * kPi * 50.0;
constexpr double kPhaseVoltagePeak = 230.0 * 1.41421356237;
// Phase angles of A, B and C.
constexpr double kShift[3] = {0.0, -2.0 * kPi / 3.0, 2.0 * kPi / 3.0};

// Small, repeatable noise in [-1, 1].
class Noise {
 public:
  double next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<double>(state_ >> 11) / 4503599627370496.0 - 1.0;
  }

 private:
  uint64_t state_ = 0x5eed;
};

// The fault current's path: a sine of `peak` lagging the voltage by
// `lag`, started at `t0` with the DC offset that makes it 0 there
// (time constant `tau`).
double faultCurrent(double t, double t0, double peak, double shift, double lag,
                    double tau) {
  if (t < t0) return 0.0;
  const double angle = kOmega * t0 + shift - lag;
  return peak * (std::sin(kOmega * t + shift - lag) -
                 std::sin(angle) * std::exp(-(t - t0) / tau));
}

timeval at(long seconds, long micros) {
  timeval tv;
  tv.tv_sec = seconds;
  tv.tv_usec = micros;
  return tv;
}

timeval after(const timeval& start, double seconds) {
  const long long micros =
      static_cast<long long>(start.tv_usec) + std::llround(seconds * 1e6);
  return at(start.tv_sec + static_cast<long>(micros / 1000000),
            static_cast<long>(micros % 1000000));
}

RecordToWrite threePhaseRecord(const char* station, const char* device,
                               double rate) {
  RecordToWrite r;
  r.station = station;
  r.device = device;
  r.samplingRate = rate;
  const char* phases[3] = {"A", "B", "C"};
  for (int p = 0; p < 3; ++p)
    r.analog.push_back({std::string("V") + phases[p], phases[p], "V", {}});
  for (int p = 0; p < 3; ++p)
    r.analog.push_back({std::string("I") + phases[p], phases[p], "A", {}});
  r.analog.push_back({"IN", "N", "A", {}});
  return r;
}

// 2026-11-18 14:03:11.25 UTC; 64 samples a cycle for half a second. The
// fault starts on phase A at 0.1 s (the trigger, sample 320); the branch
// fuse clears it at the first current zero after 0.2 s. VA sags to 38 %
// while VB and VC swell a little; the load (12 A, power factor 0.9) goes on.
DemoRecord meterFault() {
  DemoRecord demo{"meter1-fault-2026-11-18",
                  threePhaseRecord("Plant", "Meter1", 3200.0)};
  RecordToWrite& r = demo.record;
  r.start = at(1795010591, 250000);
  const double faultAt = 0.1, clearFrom = 0.2, samples = 1600;
  r.trigger = after(r.start, faultAt);
  r.digital = {{"VA sag", 0, {}}, {"IA overcurrent", 0, {}}};
  Noise noise;
  const double loadPeak = 12.0 * 1.41421356237, loadLag = std::acos(0.9);
  bool cleared = false;
  double previous = 0.0;
  for (int n = 0; n < samples; ++n) {
    const double t = n / r.samplingRate;
    double fault = cleared ? 0.0
                           : faultCurrent(t, faultAt, 2100.0 * 1.41421356237,
                                          0.0, 1.22, 0.025);
    if (t >= clearFrom && !cleared && previous * fault <= 0.0) {
      cleared = true;
      fault = 0.0;
    }
    previous = fault;
    const bool faulted = t >= faultAt && !cleared;
    double sum = 0.0;
    for (int p = 0; p < 3; ++p) {
      const double depth = !faulted ? 1.0 : (p == 0 ? 0.38 : 1.06);
      r.analog[p].values.push_back(depth * kPhaseVoltagePeak *
                                       std::sin(kOmega * t + kShift[p]) +
                                   0.4 * noise.next());
      const double i = loadPeak * std::sin(kOmega * t + kShift[p] - loadLag) +
                       (p == 0 ? fault : 0.0) + 0.05 * noise.next();
      r.analog[3 + p].values.push_back(i);
      sum += i;
    }
    r.analog[6].values.push_back(sum);
    r.digital[0].values.push_back(faulted);
    r.digital[1].values.push_back(faulted && std::fabs(fault) > 100.0);
  }
  r.header =
      "Event: Phase A to ground fault on the Meter1 feeder, cleared in 5 "
      "cycles\r\nTrigger channel: IA\r\nTrigger index: 320\r\n\r\n"
      "Recorded by /Devices/Meter1 on a current rise above 100 A.\r\n"
      "Fault current 2.1 kA rms with DC offset; VA sagged to 38 %.\r\n"
      "The branch fuse cleared the fault; the load carried on.\r\n";
  return demo;
}

// 2026-11-19 06:41:52.5 UTC; 80 samples a cycle for 0.4 s. A ground fault
// on phase B at 0.06 s (6 kA rms); the protection trips at 0.08 s (the
// trigger, sample 320), the contacts part at 0.095 s and each phase's
// current ends at its next zero crossing. The bus voltages stay; VB
// recovers once the fault is cut off.
DemoRecord breakerTrip() {
  DemoRecord demo{"breaker1-trip-2026-11-19",
                  threePhaseRecord("Plant", "Breaker1", 4000.0)};
  RecordToWrite& r = demo.record;
  r.start = at(1795070512, 500000);
  const double faultAt = 0.06, tripAt = 0.08, partAt = 0.095, samples = 1600;
  r.trigger = after(r.start, tripAt);
  r.digital = {{"TRIP", 0, {}}, {"52a", 1, {}}, {"52b", 0, {}}};
  Noise noise;
  const double loadPeak = 420.0 * 1.41421356237, loadLag = std::acos(0.92);
  bool open[3] = {false, false, false};
  double previous[3] = {0.0, 0.0, 0.0};
  for (int n = 0; n < samples; ++n) {
    const double t = n / r.samplingRate;
    double sum = 0.0;
    for (int p = 0; p < 3; ++p) {
      double i = loadPeak * std::sin(kOmega * t + kShift[p] - loadLag);
      if (p == 1)
        i += faultCurrent(t, faultAt, 6000.0 * 1.41421356237, kShift[1], 1.3,
                          0.03);
      if (!open[p] && t >= partAt && previous[p] * i <= 0.0) open[p] = true;
      previous[p] = i;
      if (open[p]) i = 0.0;
      i += 0.5 * noise.next();
      const bool sagging = p == 1 && t >= faultAt && !open[1];
      r.analog[p].values.push_back((sagging ? 0.55 : 1.0) * kPhaseVoltagePeak *
                                       std::sin(kOmega * t + kShift[p]) +
                                   0.4 * noise.next());
      r.analog[3 + p].values.push_back(i);
      sum += i;
    }
    r.analog[6].values.push_back(sum);
    const bool closed = t < partAt;
    r.digital[0].values.push_back(t >= tripAt && t < 0.15);
    r.digital[1].values.push_back(closed);
    r.digital[2].values.push_back(!closed);
  }
  r.header =
      "Event: Breaker1 tripped on a phase B ground fault\r\n"
      "Trigger channel: TRIP\r\nTrigger index: 320\r\n\r\n"
      "Ground fault on phase B at 60 ms (6 kA rms); trip command after "
      "20 ms.\r\nContacts parted at 95 ms; every phase interrupted at its "
      "current zero.\r\nTrip cause: Ground Fault.\r\n";
  return demo;
}

}  // namespace

std::vector<DemoRecord> demoRecords() { return {meterFault(), breakerTrip()}; }

bool writeDemoRecords(const std::string& folder, std::string& error) {
  for (const DemoRecord& demo : demoRecords())
    if (!writeComtradeRecord(folder + "/" + demo.name, demo.record, error))
      return false;
  return true;
}

}  // namespace wsgated
