// command_queue_bench: what the device command queue costs in the store.
//
// Command numbers come from one counter that several processes may take
// from at once; the daemon takes them with CCds::fetch_increment_leaf (read,
// increment and write in one transaction). This program times that against
// a plain read and write of the counter, lets two processes take numbers
// at once each way and counts the numbers both took, and times a queue
// entry written with the node it creates against a node and a write of
// their own.
//
//   build/bench/command_queue_bench [numbers]    (default 3000)
//
// It works in a store of its own in a temporary folder, removed at the end.

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/seed.h"

namespace {

using toolkit::CCds;
using toolkit::CElement;

const char kCounter[] = "/Commands/nextCommandID/Value";

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() -
                                       start)
      .count();
}

// One number, the way the daemon takes it.
int32_t takeAtomically(CCds& cds) {
  api_status_t status;
  int32_t taken = -1;
  cds.fetch_increment_leaf(kCounter, status, taken, PCD_TYPE_UINT,
                           PCD_TRIBOOL_TRUE, "bench");
  return taken;
}

// One number as two separate calls: another process may take the same.
int32_t takePlainly(CCds& cds) {
  api_status_t status;
  CElement value;
  element_property_t property;
  cds.get_leaf(kCounter, status, value, property);
  const int32_t taken = value.to_int();
  cds.set_leaf(kCounter, CElement(static_cast<uint32_t>(taken + 1)), status,
               PCD_TRIBOOL_TRUE, "bench");
  return taken;
}

// Two processes take `count` numbers each at once; returns how many numbers
// both took, and the seconds the pair needed in `seconds`.
int sharedNumbers(const std::string& store, const std::string& dir, int count,
                  int32_t (*take)(CCds&), double* seconds) {
  std::vector<pid_t> children;
  *seconds = secondsOf([&] {
    for (int child = 0; child < 2; ++child) {
      const pid_t pid = fork();
      if (pid == 0) {
        CCds cds(pcd_open(store.c_str()));
        std::ofstream out(dir + "/taken" + std::to_string(child));
        for (int i = 0; i < count; ++i) out << take(cds) << "\n";
        out.close();
        _exit(0);
      }
      children.push_back(pid);
    }
    for (pid_t pid : children) waitpid(pid, nullptr, 0);
  });
  std::map<int32_t, int> seen;
  for (int child = 0; child < 2; ++child) {
    std::ifstream in(dir + "/taken" + std::to_string(child));
    for (int32_t number; in >> number;) ++seen[number];
  }
  int both = 0;
  for (const auto& entry : seen) both += entry.second > 1 ? 1 : 0;
  return both;
}

void row(const char* what, int count, double seconds, const char* shared) {
  printf("%-48s %7d %10.1f %8s\n", what, count, 1e6 * seconds / count, shared);
}

}  // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? atoi(argv[1]) : 3000;
  char dirTemplate[] = "/tmp/command_queue_bench.XXXXXX";
  const char* made = mkdtemp(dirTemplate);
  if (made == nullptr || count < 1) {
    fprintf(stderr, "usage: command_queue_bench [numbers above 0]\n");
    return 1;
  }
  const std::string dir = made;
  const std::string store = dir + "/cds.db";
  CCds cds(nullptr);
  std::string error;
  if (cds_create(store, false) != 0 ||
      (cds.handle = pcd_open(store.c_str())) == nullptr ||
      toolkit::cds_load_seed(cds,
                             "[/Commands/nextCommandID]\nValue:Unsigned = 1\n"
                             "[/Commands/Queue]\nHasDynamicChildren = true\n"
                             "[/Commands/Nodes]\n",
                             error) != 0) {
    fprintf(stderr, "cannot make the store in %s: %s\n", dir.c_str(),
            error.c_str());
    return 1;
  }
  printf("%-48s %7s %10s %8s\n", "", "numbers", "us/number", "shared");
  row("one process, fetch_increment_leaf", count, secondsOf([&] {
        for (int i = 0; i < count; ++i) takeAtomically(cds);
      }), "-");
  row("one process, get_leaf + set_leaf", count, secondsOf([&] {
        for (int i = 0; i < count; ++i) takePlainly(cds);
      }), "-");
  for (auto take : {&takeAtomically, &takePlainly}) {
    double seconds = 0;
    const int shared = sharedNumbers(store, dir, count, take, &seconds);
    row(take == &takeAtomically ? "two processes, fetch_increment_leaf"
                                : "two processes, get_leaf + set_leaf",
        2 * count, seconds, std::to_string(shared).c_str());
  }
  api_status_t status;
  row("queue entry: set_leaf creating its node", count, secondsOf([&] {
        for (int i = 0; i < count; ++i) {
          cds.set_leaf("/Commands/Queue/" + std::to_string(i) + "/Value",
                       CElement("<cmd/>"), status, PCD_TRIBOOL_FALSE, "bench",
                       PCD_WRITE_CREATE_DYNAMIC_NODE);
        }
      }), "-");
  row("queue entry: add_node, then set_leaf", count, secondsOf([&] {
        for (int i = 0; i < count; ++i) {
          const std::string node = "/Commands/Nodes/" + std::to_string(i);
          cds.add_node(node, status, "bench");
          cds.set_leaf(node + "/Value", CElement("<cmd/>"), status,
                       PCD_TRIBOOL_FALSE, "bench");
        }
      }), "-");
  pcd_close(cds.handle);
  cds.handle = nullptr;
  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
  return 0;
}
