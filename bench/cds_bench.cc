// cds_bench: how fast the store client reads and writes leaves.
//
// Creates its own store in a temporary folder, fills it with 50 devices of
// 20 points (each point: NodeType, ValueType, Units, Value; 4000 leaves),
// then times lone get_leaf calls, get_leaves of 1, 10, 100 and 1000 leaves,
// set_leaves of 100 leaves and a cached read authorization, and prints one
// table row per case. Every call gets fresh output vectors, as a request of
// the web service does.
//
// Usage: cds_bench [scale]   (scale multiplies the repetitions; default 1)

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"

namespace {

using toolkit::CCds;
using toolkit::CElement;

constexpr int kDevices = 50;
constexpr int kPointsPerDevice = 20;
constexpr int kPoints = kDevices * kPointsPerDevice;

std::string pointPath(int point) {
  return "/Devices/Meter" + std::to_string(point / kPointsPerDevice) +
         "/Point" + std::to_string(point % kPointsPerDevice);
}

// `status` by reference: it is read after the call has filled it.
bool check(int rc, const api_status_t& status, const char* what) {
  if (rc == 0 && (status == API_STATUS_OK || status == API_STATUS_EXISTS)) {
    return true;
  }
  fprintf(stderr, "cds_bench: %s failed: %s\n", what, pcd_status_name(status));
  return false;
}

// One set_leaves per device, as a device handler writes its points.
bool populate(CCds& cds) {
  api_status_t status;
  for (int point = 0; point < kPoints; ++point) {
    if (!check(cds.add_node(pointPath(point), status, "bench"), status,
               "add_node")) {
      return false;
    }
  }
  for (int device = 0; device < kDevices; ++device) {
    std::vector<std::string> paths;
    std::vector<CElement> values;
    for (int i = 0; i < kPointsPerDevice; ++i) {
      const std::string node = pointPath(device * kPointsPerDevice + i);
      paths.insert(paths.end(), {node + "/NodeType", node + "/ValueType",
                                 node + "/Units", node + "/Value"});
      values.insert(values.end(), {CElement("Point"), CElement("Real"),
                                   CElement("V"), CElement(230.0 + i)});
    }
    std::vector<api_status_t> statuses;
    if (cds.set_leaves(paths, values, {}, statuses, "bench") != 0) {
      fprintf(stderr, "cds_bench: set_leaves failed\n");
      return false;
    }
  }
  const std::string user = "/Software/Security/Users/operator";
  return check(cds.add_node(user, status, "bench"), status, "add_node") &&
         check(cds.set_leaf(user + "/Value", CElement("Operator"), status,
                            PCD_TRIBOOL_TRUE, "bench"),
               status, "set_leaf");
}

// Microseconds per call of `body(i)` over `calls` calls, after a warm-up.
template <typename Body>
double microsPerCall(int calls, Body&& body) {
  for (int i = 0; i < calls / 10 + 1; ++i) body(i);
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < calls; ++i) body(i);
  const std::chrono::duration<double, std::micro> spent =
      std::chrono::steady_clock::now() - start;
  return spent.count() / calls;
}

void printRow(const char* name, int leaves, int calls, double us_per_call) {
  const double us_per_leaf = us_per_call / leaves;
  printf("%-26s %11d %10d %11.2f %9.3f %12.0f\n", name, leaves, calls,
         us_per_call, us_per_leaf, 1e6 / us_per_leaf);
}

// get_leaves of `leaves` distinct leaves per call; time per call.
double benchGetLeaves(CCds& cds, const std::vector<std::string>& values,
                      int leaves, int calls, bool* ok) {
  // The request's path list is the caller's, built before the clock runs.
  std::vector<std::vector<std::string>> batches(values.size() / leaves);
  for (size_t b = 0; b < batches.size(); ++b) {
    batches[b].assign(values.begin() + b * leaves,
                      values.begin() + (b + 1) * leaves);
  }
  const double us = microsPerCall(calls, [&](int i) {
    std::vector<api_status_t> statuses;
    std::vector<CElement> elements;
    std::vector<element_property_t> properties;
    if (cds.get_leaves(batches[i % batches.size()], statuses, elements,
                       properties) != 0 ||
        statuses.back() != API_STATUS_OK) {
      *ok = false;
    }
  });
  printRow("get_leaves", leaves, calls, us);
  return us;
}

double benchGetLeaf(CCds& cds, const std::vector<std::string>& values,
                    int calls, bool* ok) {
  const double us = microsPerCall(calls, [&](int i) {
    api_status_t status;
    CElement element;
    element_property_t property;
    if (cds.get_leaf(values[i % values.size()], status, element, property) !=
            0 ||
        status != API_STATUS_OK) {
      *ok = false;
    }
  });
  printRow("get_leaf", 1, calls, us);
  return us;
}

void benchSetLeaves(CCds& cds, const std::vector<std::string>& values,
                    int calls, bool* ok) {
  constexpr int kLeaves = 100;
  const double us = microsPerCall(calls, [&](int i) {
    std::vector<std::string> paths;
    std::vector<CElement> elements;
    for (int k = 0; k < kLeaves; ++k) {
      paths.push_back(values[(i * kLeaves + k) % values.size()]);
      elements.emplace_back(static_cast<double>(i + k));
    }
    std::vector<api_status_t> statuses;
    if (cds.set_leaves(paths, elements, {}, statuses, "bench") != 0 ||
        statuses.back() != API_STATUS_OK) {
      *ok = false;
    }
  });
  printRow("set_leaves", kLeaves, calls, us);
}

void benchAuthorize(CCds& cds, const std::vector<std::string>& values,
                    int calls, bool* ok) {
  std::vector<toolkit::CPath> paths;
  for (size_t i = 0; i < 100; ++i) {
    paths.emplace_back(values[i]);
    paths.back().normalize();
  }
  const double us = microsPerCall(calls, [&](int i) {
    if (!paths[i % paths.size()].is_read_authorized(cds, "operator")) *ok = false;
  });
  printRow("is_read_authorized", 1, calls, us);
}

void printAims(double lone_us, double batch_us) {
  const double batch_ms = batch_us / 1000.0;
  const double ratio = lone_us / (batch_us / 1000.0);
  printf("\naims:\n");
  printf("  get_leaves of 1000 leaves: %.3f ms (aim: under 2 ms) %s\n",
         batch_ms, batch_ms < 2.0 ? "met" : "MISSED");
  printf("  lone get_leaf / per-leaf cost in get_leaves(1000): %.1fx "
         "(aim: at least 10x) %s\n",
         ratio, ratio >= 10.0 ? "met" : "MISSED");
}

int run(const std::string& path, int scale) {
  CCds cds(pcd_open(path.c_str()));
  if (!cds.is_open()) {
    fprintf(stderr, "cds_bench: cannot open %s\n", path.c_str());
    return 1;
  }
  if (!populate(cds)) return 1;
  std::vector<std::string> values;
  for (int point = 0; point < kPoints; ++point) {
    values.push_back(pointPath(point) + "/Value");
  }
  printf("cds_bench: %d points, %d leaves, store %s\n\n", kPoints,
         kPoints * 4, path.c_str());
  printf("%-26s %11s %10s %11s %9s %12s\n", "operation", "leaves/call",
         "calls", "us/call", "us/leaf", "leaves/s");
  bool ok = true;
  const double lone = benchGetLeaf(cds, values, 20000 * scale, &ok);
  double batch = 0;
  for (int leaves : {1, 10, 100, 1000}) {
    const int calls = std::max(50, 20000 / leaves) * scale;
    batch = benchGetLeaves(cds, values, leaves, calls, &ok);
  }
  benchSetLeaves(cds, values, 200 * scale, &ok);
  benchAuthorize(cds, values, 100000 * scale, &ok);
  printAims(lone, batch);
  if (!ok) fprintf(stderr, "cds_bench: some calls failed\n");
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const int scale = argc > 1 ? std::max(1, atoi(argv[1])) : 1;
  char folder[] = "/tmp/cds_bench.XXXXXX";
  if (mkdtemp(folder) == nullptr) {
    perror("cds_bench: mkdtemp");
    return 1;
  }
  const std::string path = std::string(folder) + "/cds.db";
  int rc = 1;
  if (cds_create(path, false) == 0) {
    rc = run(path, scale);
  } else {
    fprintf(stderr, "cds_bench: cannot create %s\n", path.c_str());
  }
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return rc;
}
