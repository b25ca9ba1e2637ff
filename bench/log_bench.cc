// log_bench: how fast a log database fills and answers retrievals.
//
// Creates a log in a temporary folder and appends one million value-change
// records in batches of 1000 (one transaction each, as a logger flushes its
// buffer): 50 devices of 20 points, one record per millisecond, mostly real
// values with some booleans and multistates. Then times retrievals as a web
// service request makes them (open, retrieve, close) of 10000 and 2500
// records, newest or oldest first, without a path filter, with one that
// matches a device (a fiftieth of the log) and with one that matches every
// record (the reader then walks the time index instead of the path index),
// and prints the file size.
//
// Usage: log_bench [records]   (default 1000000)

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/log.h"

namespace {

using toolkit::CElement;
using toolkit::CEvent;

constexpr int kBatch = 1000;
constexpr int kDevices = 50;
constexpr int kPointsPerDevice = 20;
constexpr long long kStartUs = 1700000000LL * 1000000;

double SecondsSince(std::chrono::steady_clock::time_point start) {
  const std::chrono::duration<double> spent =
      std::chrono::steady_clock::now() - start;
  return spent.count();
}

CEvent MakeRecord(long long i) {
  const int point = static_cast<int>(i % (kDevices * kPointsPerDevice));
  CEvent record;
  record.kind = toolkit::EVENT_KIND_VALUE_CHANGE;
  record.source_path = "/Devices/Meter" +
                       std::to_string(point / kPointsPerDevice) + "/Point" +
                       std::to_string(point % kPointsPerDevice) + "/Value";
  const long long us = kStartUs + i * 1000;
  record.time.tv_sec = static_cast<time_t>(us / 1000000);
  record.time.tv_usec = static_cast<suseconds_t>(us % 1000000);
  record.sequence_index = static_cast<uint32_t>(i % 4);
  if (point % 10 == 0) {
    record.value = CElement(i % 2 == 0);
  } else if (point % 10 == 1) {
    record.value = CElement(static_cast<int32_t>(i % 5));
  } else {
    record.value = CElement(230.0 + static_cast<double>(i % 100) / 10);
  }
  record.value.set_time(record.time);
  return record;
}

// Appends `count` records; false when an append fails.
bool Fill(pcd_log_writer_t writer, long long count) {
  std::vector<CEvent> batch;
  for (long long i = 0; i < count; i += kBatch) {
    batch.clear();
    for (long long k = i; k < i + kBatch && k < count; ++k) {
      batch.push_back(MakeRecord(k));
    }
    const int status = pcd_log_append(writer, batch);
    if (status != 0) {
      fprintf(stderr, "log_bench: append failed: %s\n",
              pcd_log_status_name(status));
      return false;
    }
  }
  return true;
}

long long FileBytes(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 ? static_cast<long long>(info.st_size)
                                        : 0;
}

// One request's retrieval: open, retrieve, close. Returns the records
// found, -1 on failure.
long long Retrieve(const std::string& path, const char* filter, int max,
                   bool latest) {
  pcd_log_handle_t log = nullptr;
  if (pcd_log_init(path.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, &log) != 0) {
    return -1;
  }
  std::vector<CEvent> records;
  const int status = toolkit::CLog(log).retrieve(
      records, filter, nullptr, nullptr, max, latest, false, 0);
  pcd_log_close(log);
  return status == 0 ? static_cast<long long>(records.size()) : -1;
}

bool BenchRetrieve(const std::string& path, const char* filter, int max,
                   bool latest) {
  constexpr int kCalls = 20;
  Retrieve(path, filter, max, latest);  // warm-up: the file's pages cached
  long long found = 0;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCalls; ++i) {
    found = Retrieve(path, filter, max, latest);
    if (found != max) {
      fprintf(stderr, "log_bench: retrieval found %lld records\n", found);
      return false;
    }
  }
  const double ms = SecondsSince(start) * 1000 / kCalls;
  printf("%-18s %-8s %-12s %8d %10.2f %12.0f\n",
         filter == nullptr ? "(none)" : filter, latest ? "newest" : "oldest",
         "open+retrieve", max, ms, found / (ms / 1000));
  return true;
}

int Run(const std::string& path, long long count) {
  pcd_log_writer_settings settings{count + kBatch, 0, 0, 0};
  pcd_log_writer_t writer = nullptr;
  int status = pcd_log_open_writer(path.c_str(), &settings, &writer);
  if (status != 0) {
    fprintf(stderr, "log_bench: cannot create %s: %s\n", path.c_str(),
            pcd_log_status_name(status));
    return 1;
  }
  const auto start = std::chrono::steady_clock::now();
  const bool filled = Fill(writer, count);
  const double seconds = SecondsSince(start);
  pcd_log_close_writer(writer);  // checkpoints the WAL into the file
  if (!filled) return 1;
  const long long bytes = FileBytes(path) + FileBytes(path + "-wal");
  printf("log_bench: %lld records in batches of %d\n", count, kBatch);
  printf("append: %.1f s, %.0f records/s\n", seconds, count / seconds);
  printf("file: %.1f MB, %.1f MB per million records, %.0f bytes/record\n\n",
         bytes / 1e6, bytes / 1e6 * 1e6 / count,
         static_cast<double>(bytes) / count);
  printf("%-18s %-8s %-12s %8s %10s %12s\n", "filter", "kept", "call",
         "records", "ms/call", "records/s");
  bool ok = true;
  for (const char* filter :
       {static_cast<const char*>(nullptr), "/Devices/Meter7", "/Devices"}) {
    for (int max : {10000, 2500}) {
      for (bool latest : {true, false}) {
        ok = BenchRetrieve(path, filter, max, latest) && ok;
      }
    }
  }
  return ok ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const long long count = argc > 1 ? atoll(argv[1]) : 1000000;
  if (count < 50 * 10000) {
    fprintf(stderr, "usage: log_bench [records]   (at least 500000)\n");
    return 1;
  }
  char dir[] = "/tmp/log_bench.XXXXXX";
  if (mkdtemp(dir) == nullptr) {
    perror("log_bench: mkdtemp");
    return 1;
  }
  const int rc = Run(std::string(dir) + "/bench.db", count);
  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
  return rc;
}
