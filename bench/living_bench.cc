// The living device's companions at full speed, without the daemon: how
// many Delta records a second the Delta logger appends when every logged
// point moves at every sample, and how many leaves a second the field-device
// simulator writes into the store when it steps without pause.
//
//   living_bench [POINTS] [ROUNDS] [SEED_FILE]
//
// POINTS logged points (default 200) move at each of ROUNDS samples
// (default 200); the values are written before each sample, untimed, so
// the figure is the logger's own: its read of every point, the batch and
// its commit. The simulator runs ROUNDS steps on the sample store
// (SEED_FILE, default deploy/seed/sample-device.seed). Both work in a
// temporary folder that is removed at the end.

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "card/deltalog/delta_logger.h"
#include "card/simulator/device_simulator.h"
#include "platform/cds.h"
#include "platform/seed.h"

namespace {

double seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

bool makeStore(const std::string& path, const std::string& seed,
               toolkit::CCds& cds) {
  std::string error;
  if (cds_create(path, true) != 0) return false;
  cds.handle = pcd_open(path.c_str());
  if (toolkit::cds_load_seed(cds, seed, error) != 0) {
    fprintf(stderr, "seed: %s\n", error.c_str());
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const int points = argc > 1 ? atoi(argv[1]) : 200;
  const int rounds = argc > 2 ? atoi(argv[2]) : 200;
  const std::string seedFile =
      argc > 3 ? argv[3] : "deploy/seed/sample-device.seed";
  char folder[] = "/tmp/living_bench.XXXXXX";
  if (points < 1 || rounds < 1 || mkdtemp(folder) == nullptr) return 2;
  const std::string dir = folder;

  std::string seed;
  std::vector<std::string> paths;
  for (int p = 0; p < points; ++p) {
    const std::string node = "/Devices/Bench/P" + std::to_string(p);
    seed += "[" + node + "]\nValueType = Real\nValue = 0\n.LogInterval = "
            "3600\n.Deadband:Real = 0.5\n";
    paths.push_back(node + "/Value");
  }
  toolkit::CCds store(nullptr);
  wsgated::DeltaLogger logger;
  std::string error;
  if (!makeStore(dir + "/bench.db", seed, store) ||
      !logger.configure({"--delta-log", dir + "/delta.db"}, &error) ||
      !logger.start(store)) {
    return 1;
  }
  logger.step(store);  // every point's first record
  const uint64_t before = logger.appended();
  std::chrono::steady_clock::duration logging{};
  for (int r = 1; r <= rounds; ++r) {
    std::vector<toolkit::CElement> values(points,
                                          toolkit::CElement(double(r)));
    std::vector<api_status_t> statuses;
    store.set_leaves(paths, values, {}, statuses, "bench");
    const auto started = std::chrono::steady_clock::now();
    logger.step(store);
    logging += std::chrono::steady_clock::now() - started;
  }
  const uint64_t records = logger.appended() - before;
  logger.stop(store);

  std::ifstream in(seedFile);
  std::stringstream sample;
  sample << in.rdbuf();
  toolkit::CCds simulated(nullptr);
  wsgated::DeviceSimulator simulator;
  if (!makeStore(dir + "/sample.db", sample.str(), simulated) ||
      !simulator.configure({"--seed", "1"}, &error) ||
      !simulator.start(simulated)) {
    fprintf(stderr, "cannot simulate the sample store %s\n", seedFile.c_str());
    return 1;
  }
  const auto started = std::chrono::steady_clock::now();
  for (int r = 0; r < rounds; ++r) simulator.step(simulated);
  const double simulating = seconds(std::chrono::steady_clock::now() - started);
  std::filesystem::remove_all(dir);

  printf("%-28s %10s %10s %12s\n", "what", "count", "seconds", "per second");
  printf("%-28s %10llu %10.3f %12.0f\n", "Delta records appended",
         static_cast<unsigned long long>(records), seconds(logging),
         records / seconds(logging));
  printf("%-28s %10llu %10.3f %12.0f\n", "simulator steps",
         static_cast<unsigned long long>(simulator.stepsWritten()), simulating,
         simulator.stepsWritten() / simulating);
  printf("%-28s %10llu %10.3f %12.0f\n", "leaves written by simulator",
         static_cast<unsigned long long>(simulator.stepsWritten() *
                                         simulator.leavesPerStep()),
         simulating,
         simulator.stepsWritten() * simulator.leavesPerStep() / simulating);
  return records == static_cast<uint64_t>(points) * rounds ? 0 : 1;
}
