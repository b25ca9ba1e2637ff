// log-history: writes a made-up but plausible history of the store's points
// into the card's three logs (week.h), so that the demo, the end-to-end
// tests and the benchmarks have logs to read before a Delta logger has run.
// The same store, options and seed give the same logs.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/log.h"
#include "tools/history/logged_points.h"
#include "tools/history/week.h"

namespace wsgated {
namespace {

const char kUsage[] =
    "usage: log-history --delta-log FILE --event-log FILE --system-log FILE\n"
    "                   [--store PATH] [--days N] [--end SECONDS] [--seed N]\n"
    "                   [--conditions-per-day N] [--cap ROWS] [--replace]\n"
    "\n"
    "Writes the history of the store's Delta-logged points (.LogInterval)\n"
    "over N days (7) ending at SECONDS (UNIX time; now) into the Delta, the\n"
    "alarm/event and the system log. The store is PATH, else\n"
    "$TOOLKIT_CDS_PATH. Logs that exist are refused unless --replace is\n"
    "given; new logs keep ROWS records at most (else the logs' default).\n"
    "\n"
    "Exit status: 0 done, 1 bad usage, 2 store cannot be read, 3 a log could\n"
    "not be written.\n";

constexpr size_t kBatch = 10000;

struct Options {
  std::string store, deltaLog, eventLog, systemLog;
  long long days = 7, end = 0, seed = 1, conditionsPerDay = 12, cap = 0;
  bool replace = false;
};

bool number(const char* text, long long low, long long high, long long& value) {
  char* end = nullptr;
  errno = 0;
  value = std::strtoll(text, &end, 10);
  return errno == 0 && end != text && *end == '\0' && value >= low &&
         value <= high;
}

// Takes the value of option `name` into `o`; false (with the reason
// printed) for an unknown option or a bad value.
bool take(Options& o, const std::string& name, const char* value) {
  const struct {
    const char* name;
    std::string* text;
  } texts[] = {{"--store", &o.store},
               {"--delta-log", &o.deltaLog},
               {"--event-log", &o.eventLog},
               {"--system-log", &o.systemLog}};
  const struct {
    const char* name;
    long long low, high;
    long long* number;
  } numbers[] = {{"--days", 1, 3660, &o.days},
                 {"--end", 86400LL * 3660, 1LL << 40, &o.end},
                 {"--seed", 0, INT64_MAX, &o.seed},
                 {"--conditions-per-day", 0, 1000000, &o.conditionsPerDay},
                 {"--cap", 1, INT64_MAX, &o.cap}};
  for (const auto& option : texts) {
    if (name != option.name) continue;
    *option.text = value;
    return true;
  }
  for (const auto& option : numbers) {
    if (name != option.name) continue;
    if (number(value, option.low, option.high, *option.number)) return true;
    fprintf(stderr, "log-history: bad value '%s' for %s\n", value,
            name.c_str());
    return false;
  }
  fprintf(stderr, "log-history: unknown option %s\n", name.c_str());
  return false;
}

// False (with the reason printed) on a bad command line.
bool parse(int argc, char** argv, Options& o) {
  o.end = static_cast<long long>(time(nullptr));
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    if (name == "--replace") {
      o.replace = true;
    } else if (i + 1 >= argc) {
      fprintf(stderr, "log-history: %s needs a value\n", name.c_str());
      return false;
    } else if (!take(o, name, argv[++i])) {
      return false;
    }
  }
  if (o.deltaLog.empty() || o.eventLog.empty() || o.systemLog.empty()) {
    fprintf(stderr, "log-history: the three logs must be named\n");
    return false;
  }
  return true;
}

// A log file and what SQLite keeps beside it.
void removeLog(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm"})
    unlink((path + suffix).c_str());
}

bool writeLog(const Options& o, const std::string& path,
              std::vector<toolkit::CEvent>& records) {
  if (o.replace) {
    removeLog(path);
  } else if (access(path.c_str(), F_OK) == 0) {
    fprintf(stderr, "log-history: %s exists (use --replace)\n", path.c_str());
    return false;
  }
  pcd_log_writer_settings settings{o.cap, 0, 0, 0};
  pcd_log_writer_t writer = nullptr;
  int status = pcd_log_open_writer(path.c_str(), &settings, &writer);
  for (size_t at = 0; status == 0 && at < records.size(); at += kBatch) {
    std::vector<toolkit::CEvent> batch(
        records.begin() + static_cast<long>(at),
        records.begin() +
            static_cast<long>(std::min(records.size(), at + kBatch)));
    status = pcd_log_append(writer, batch);
  }
  pcd_log_close_writer(writer);
  if (status != 0) {
    fprintf(stderr, "log-history: %s: %s\n", path.c_str(),
            pcd_log_status_name(status));
    return false;
  }
  printf("%s: %zu records\n", path.c_str(), records.size());
  return true;
}

int run(int argc, char** argv) {
  Options o;
  if (argc > 1 && strcmp(argv[1], "--help") == 0) {
    fputs(kUsage, stdout);
    return 0;
  }
  if (!parse(argc, argv, o)) {
    fputs(kUsage, stderr);
    return 1;
  }
  const std::string store = o.store.empty() ? pcd_default_path() : o.store;
  toolkit::CCds cds(pcd_open(store.c_str()));
  std::vector<LoggedPoint> points;
  std::vector<ActiveAlarm> alarms;
  if (!cds.is_open() || !findLoggedPoints(cds, points)) {
    fprintf(stderr, "log-history: cannot read the store %s\n", store.c_str());
    return 2;
  }
  findActiveAlarms(cds, alarms);
  HistorySettings settings;
  settings.endSeconds = o.end;
  settings.days = static_cast<int>(o.days);
  settings.seed = static_cast<uint64_t>(o.seed);
  settings.conditionsPerDay = static_cast<int>(o.conditionsPerDay);
  History history;
  makeHistory(points, alarms, settings, history);
  const bool written = writeLog(o, o.deltaLog, history.delta) &&
                       writeLog(o, o.eventLog, history.events) &&
                       writeLog(o, o.systemLog, history.system);
  return written ? 0 : 3;
}

}  // namespace
}  // namespace wsgated

int main(int argc, char** argv) { return wsgated::run(argc, argv); }
