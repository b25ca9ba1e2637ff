// The field-device simulator on a store of the sample devices' points and
// a clock the test moves: seeded runs repeat, values stay plausible,
// energies only count up, and incidents come with their conditions.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/simulator/device_simulator.h"
#include "platform/qrxtime.h"
#include "platform/seed.h"
#include "tests/platform/temp_store.h"

namespace wsgated {
namespace {

const char kSeed[] =
    "[/Devices/Meter1/VoltageL1N]\nValue = 230.4\n"
    "[/Devices/Meter1/PowerFactor]\nValue = 0.9\n"
    "[/Devices/Meter1/ActiveEnergy]\nValue = 1000.5\n"
    "[/Devices/Breaker1/Position]\nValue = true\n"
    "[/Devices/Breaker1/TripCount]\nValue:Unsigned = 4\n";
const std::vector<std::string> kPoints = {
    "/Devices/Meter1/VoltageL1N", "/Devices/Meter1/PowerFactor",
    "/Devices/Meter1/ActiveEnergy", "/Devices/Breaker1/Position",
    "/Devices/Breaker1/TripCount"};

struct Outcome {
  std::vector<std::vector<double>> values;  // per step, per point
  size_t conditions = 0, trips = 0;
};

// `steps` steps of 60 s, incidents every `minutes` on average.
Outcome Simulate(const char* seed, const char* minutes, int steps) {
  testing_store::TempStore store;
  auto cds = store.Open();
  std::string error;
  EXPECT_EQ(0, toolkit::cds_load_seed(*cds, kSeed, error)) << error;
  int64_t nowUs = 1800000000LL * 1000000;
  DeviceSimulator simulator([&nowUs] { return nowUs; });
  EXPECT_TRUE(simulator.configure(
      {"--seed", seed, "--incident-minutes", minutes, "--step-seconds", "60"},
      &error));
  EXPECT_TRUE(simulator.start(*cds));
  EXPECT_EQ(2 * kPoints.size(), simulator.leavesPerStep());
  Outcome run;
  long long queueId = 0;
  for (int s = 0; s < steps; ++s) {
    nowUs += 60 * 1000000LL;
    simulator.step(*cds);
    std::vector<api_status_t> statuses;
    std::vector<toolkit::CElement> values;
    std::vector<element_property_t> properties;
    std::vector<std::string> paths;
    for (const std::string& p : kPoints) paths.push_back(p + "/Value");
    cds->get_leaves(paths, statuses, values, properties);
    run.values.emplace_back();
    for (const toolkit::CElement& v : values) {
      run.values.back().push_back(v.to_double());
    }
    std::vector<CdsQueuedEvent> queued;
    cds_events_read(cds->handle, queueId, 100, queued);
    for (const CdsQueuedEvent& entry : queued) {
      toolkit::CEvent event;
      EXPECT_TRUE(event.deserialize(entry.payload));
      EXPECT_EQ(toolkit::EVENT_KIND_DEVICE_CONDITION, event.kind);
      EXPECT_TRUE(event.severity >= 1 && event.severity <= 3);
      EXPECT_NE(std::string::npos, event.description.find(" :  "));
      run.trips += event.description.rfind("Breaker tripped", 0) == 0;
      ++run.conditions;
      queueId = entry.queue_id;
    }
  }
  EXPECT_EQ(static_cast<uint64_t>(steps), simulator.stepsWritten());
  return run;
}

TEST(DeviceSimulator, SeededRunsRepeatAndStayPlausible) {
  const Outcome quiet = Simulate("5", "1000", 30);
  EXPECT_EQ(quiet.values, Simulate("5", "1000", 30).values);
  EXPECT_NE(quiet.values, Simulate("6", "1000", 30).values);
  EXPECT_EQ(0u, quiet.conditions);
  for (size_t s = 0; s < quiet.values.size(); ++s) {
    const std::vector<double>& v = quiet.values[s];
    EXPECT_NEAR(230, v[0], 5) << s;
    EXPECT_TRUE(v[1] >= 0.8 && v[1] <= 0.99) << s;
    EXPECT_GE(v[2], s == 0 ? 1000.5 : quiet.values[s - 1][2]) << s;
    EXPECT_EQ(1, v[3]) << s;
  }
  // Incidents every few minutes: conditions, and trips that open the
  // breaker and count.
  const Outcome busy = Simulate("5", "3", 200);
  EXPECT_GT(busy.conditions, 10u);
  ASSERT_GT(busy.trips, 0u);
  EXPECT_EQ(4 + busy.trips, busy.values.back()[4]);
  bool opened = false;
  for (const std::vector<double>& v : busy.values) opened |= v[3] == 0;
  EXPECT_TRUE(opened);
}

}  // namespace
}  // namespace wsgated
