// discovery_bench: the cost of the attribute search and of the device tree.
//
// Builds three stores of its own in a temporary folder:
//   - a tree of 10,000 nodes below /Plant (100 devices of 99 points, each
//     node with a DisplayName), searched recursively from "/" as an
//     Administrator, with the pattern compiled once per search and anew for
//     every node, and with an empty pattern (the reads alone); then the
//     same patterns over the same 10,000 texts without the store, which
//     shows the compilation cost alone;
//   - 100 nodes whose DisplayName is 20,000 characters, searched with the
//     catastrophic pattern "(a+)+$": the time the work limit allows;
//   - 1,000 devices with their four descriptor leaves, listed by the device
//     tree from "".
// Each case runs `3 * scale` times after one warm-up run; the table shows
// the median. The two compilation modes must return the same matches, or
// the bench says DIFFER.
//
// Usage: discovery_bench [scale]   (default 1)

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "discovery/attribute_search.h"
#include "discovery/device_tree.h"
#include "common/search_pattern.h"
#include "platform/cds.h"
#include "platform/seed.h"

namespace wsgated {

constexpr int kDevices = 100;
constexpr int kPointsPerDevice = 99;
constexpr int kTreeDevices = 1000;
constexpr int kRunawayNodes = 100;
constexpr size_t kRunawayLength = 20000;

const char kAdministrator[] =
    "[/Software/Security/Users/admin]\nValue = Administrator\n";

std::string searchTreeSeed() {
  std::string seed = kAdministrator;
  seed += "[/Plant]\nDisplayName = Plant\n";
  for (int d = 0; d < kDevices; ++d) {
    const std::string device = "/Plant/Device" + std::to_string(d);
    seed += "[" + device + "]\nNodeType = Device\nDisplayName = Device " +
            std::to_string(d) + "\n";
    for (int p = 0; p < kPointsPerDevice; ++p) {
      seed += "[" + device + "/Point" + std::to_string(p) +
              "]\nDisplayName = Point " + std::to_string(p) + " of device " +
              std::to_string(d) + "\n";
    }
  }
  return seed;
}

std::string deviceTreeSeed() {
  std::string seed = kAdministrator;
  for (int d = 0; d < kTreeDevices; ++d) {
    const std::string device = "/Devices/Device" + std::to_string(d);
    seed += "[" + device + "]\nNodeType = Device\nDisplayName = Device " +
            std::to_string(d) + "\n.Quality:Integer = 192\n[" + device +
            "/sDevChangeCount]\nValueType = Integer\nValue = 1\n";
  }
  return seed;
}

std::string runawaySeed() {
  std::string seed = kAdministrator;
  const std::string value(kRunawayLength, 'a');
  for (int n = 0; n < kRunawayNodes; ++n) {
    seed += "[/Runaway/Node" + std::to_string(n) + "]\nDisplayName = " +
            value + "!\n";
  }
  return seed;
}

// A fresh store at `path` loaded with `seed`, and a context over it.
std::unique_ptr<ServiceContext> openStore(const std::string& path,
                                          const std::string& seed) {
  if (cds_create(path, true) != 0) return nullptr;
  setenv("TOOLKIT_CDS_PATH", path.c_str(), 1);
  auto context = std::make_unique<ServiceContext>();
  context->caller.user = "admin";
  std::string error;
  if (!context->cds.is_open() ||
      toolkit::cds_load_seed(context->cds, seed, error) != 0) {
    fprintf(stderr, "discovery_bench: cannot fill %s: %s\n", path.c_str(),
            error.c_str());
    return nullptr;
  }
  return context;
}

// Median seconds of `runs` calls of `work`, after one warm-up call.
double medianSeconds(int runs, const std::function<void()>& work) {
  work();
  std::vector<double> seconds;
  for (int i = 0; i < runs; ++i) {
    const auto start = std::chrono::steady_clock::now();
    work();
    seconds.push_back(std::chrono::duration<double>(
                          std::chrono::steady_clock::now() - start)
                          .count());
  }
  std::sort(seconds.begin(), seconds.end());
  return seconds[seconds.size() / 2];
}

void printRow(const char* name, size_t items, size_t found, double seconds) {
  printf("%-34s %8zu %8zu %10.1f %12.0f\n", name, items, found,
         seconds * 1e3, static_cast<double>(items) / seconds);
}

AttributeMatches search(ServiceContext* context, const char* attribute,
                        const char* pattern, PatternCompilation compilation) {
  ServiceOptions options;
  parseServiceOptions(context, nullptr, options);
  AttributeQuery query;
  query.startingPath = "/";
  query.recursive = true;
  query.attribute = attribute;
  query.pattern = pattern;
  PatternSettings settings;
  settings.compilation = compilation;
  AttributeMatches matches;
  findAttributeMatches(context, options, query, matches, settings);
  return matches;
}

// Matches of `pattern` in `texts`, compiled as `compilation` says.
size_t countMatches(const std::vector<std::string>& texts,
                    const char* pattern, PatternCompilation compilation) {
  PatternSettings settings;
  settings.compilation = compilation;
  SearchPattern search(pattern, settings);
  size_t found = 0;
  std::string error;
  for (const std::string& text : texts) {
    if (search.search(text, error) == PatternResult::kFound) ++found;
  }
  return found;
}

// Times one pattern in both compilation modes, through the store and over
// `texts` alone; false when the modes disagree.
bool comparePattern(ServiceContext* context, int runs, size_t nodes,
                    const std::vector<std::string>& texts, const char* label,
                    const char* pattern) {
  AttributeMatches once, each;
  const double once_s = medianSeconds(runs, [&] {
    once = search(context, "DisplayName", pattern,
                  PatternCompilation::kOncePerSearch);
  });
  const double each_s = medianSeconds(runs, [&] {
    each = search(context, "DisplayName", pattern,
                  PatternCompilation::kPerText);
  });
  size_t once_found = 0, each_found = 0;
  const double once_alone = medianSeconds(runs, [&] {
    once_found = countMatches(texts, pattern,
                              PatternCompilation::kOncePerSearch);
  });
  const double each_alone = medianSeconds(runs, [&] {
    each_found = countMatches(texts, pattern, PatternCompilation::kPerText);
  });
  const std::string name(label);
  printRow((name + ", once per search").c_str(), nodes, once.nodes.size(),
           once_s);
  printRow((name + ", per node").c_str(), nodes, each.nodes.size(), each_s);
  printRow("  pattern alone, once", texts.size(), once_found, once_alone);
  printRow("  pattern alone, per text", texts.size(), each_found,
           each_alone);
  const bool same = once.nodes == each.nodes && once.data == each.data &&
                    once.result == each.result && once_found == each_found;
  printf("  per node/once: search %.2fx, pattern alone %.1fx; results %s\n",
         each_s / once_s, each_alone / once_alone,
         same ? "identical" : "DIFFER");
  return same;
}

// The search cases over the 10,000-node tree; false on failure.
bool runSearchCases(const std::string& folder, int runs) {
  std::unique_ptr<ServiceContext> store =
      openStore(folder + "/search.db", searchTreeSeed());
  if (!store) return false;
  ServiceContext* context = store.get();
  // Every node has a Name: an empty pattern over it counts the nodes.
  const size_t nodes =
      search(context, "Name", "", PatternCompilation::kOncePerSearch)
          .nodes.size();
  printf("%-34s %8s %8s %10s %12s\n", "findAttributeMatches from /",
         "nodes", "matches", "ms", "nodes/s");
  AttributeMatches all;
  const double reads = medianSeconds(runs, [&] {
    all = search(context, "DisplayName", "",
                 PatternCompilation::kOncePerSearch);
  });
  printRow("empty pattern (reads only)", nodes, all.nodes.size(), reads);
  const std::vector<std::string>& texts = all.data;
  return comparePattern(context, runs, nodes, texts, "^Point 4\\d of",
                        "^Point 4\\d of") &&
         comparePattern(context, runs, nodes, texts, "device (1|2)\\d$",
                        "device (1|2)\\d$") &&
         comparePattern(context, runs, nodes, texts, "invalid \"(\"", "(");
}

// The catastrophic pattern over long values; false on failure.
bool runRunawayCase(const std::string& folder) {
  std::unique_ptr<ServiceContext> store =
      openStore(folder + "/runaway.db", runawaySeed());
  if (!store) return false;
  AttributeMatches matches;
  const double seconds = medianSeconds(1, [&] {
    matches = search(store.get(), "DisplayName", "(a+)+$",
                     PatternCompilation::kOncePerSearch);
  });
  printRow("(a+)+$ over 100 values of 20000", kRunawayNodes,
           matches.nodes.size(), seconds);
  return matches.nodes.empty() && matches.result.empty();
}

// The device tree over 1,000 devices; false on failure.
bool runDeviceTreeCase(const std::string& folder, int runs) {
  std::unique_ptr<ServiceContext> store =
      openStore(folder + "/tree.db", deviceTreeSeed());
  if (!store) return false;
  size_t listed = 0;
  const double seconds = medianSeconds(runs, [&] {
    listed = listDeviceTree(store->cds, "", true).size();
  });
  printf("\n%-34s %8s %8s %10s %12s\n", "getDeviceTree from \"\"",
         "devices", "listed", "ms", "devices/s");
  printRow("1000 devices, recursive", kTreeDevices, listed, seconds);
  return listed == kTreeDevices;
}

}  // namespace wsgated

int main(int argc, char** argv) {
  const int runs = 3 * std::max(1, argc > 1 ? atoi(argv[1]) : 1);
  char folder[] = "/tmp/discovery_bench.XXXXXX";
  if (mkdtemp(folder) == nullptr) return 1;
  const bool ok = wsgated::runSearchCases(folder, runs) &&
                  wsgated::runRunawayCase(folder) &&
                  wsgated::runDeviceTreeCase(folder, runs);
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return ok ? 0 : 1;
}
