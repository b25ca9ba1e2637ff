// Subcommands that read the store's queues and logs: events, watchdogs,
// syslog. Output is one record per line, fields separated by tabs.

#include <iostream>

#include "platform/cds.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

// Takes the numeric options of a log command; false after a usage error.
bool LogOptions(const Invocation& invocation, const char* command,
                long long max_default, long long* after, long long* max,
                int* rc) {
  std::vector<std::string> args = invocation.args;
  std::string error;
  if ((after != nullptr &&
       !TakeNumberOption(&args, "--after", 0, after, &error)) ||
      !TakeNumberOption(&args, "--max", max_default, max, &error)) {
    *rc = UsageError(error);
    return false;
  }
  if (!args.empty()) {
    *rc = UsageError(std::string(command) + ": unexpected '" + args[0] + "'");
    return false;
  }
  return true;
}

}  // namespace

int CmdEvents(const Invocation& invocation) {
  long long after = 0, max = 0;
  int rc = kExitOk;
  if (!LogOptions(invocation, "events", 100, &after, &max, &rc)) return rc;
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<CdsQueuedEvent> events;
  if (cds_events_read(cds->handle, after, static_cast<int>(max), events) !=
      0) {
    return FailedMessage("events: the event queue could not be read");
  }
  if (events.empty()) ReportEmpty("events");
  for (const CdsQueuedEvent& event : events) {
    std::cout << event.queue_id << "\t" << FormatQrxTime(event.queued_us)
              << "\t" << event.payload << "\n";
  }
  return kExitOk;
}

int CmdWatchdogs(const Invocation& invocation) {
  if (!invocation.args.empty()) return UsageError("watchdogs takes no arguments");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<CdsWatchdog> watchdogs;
  if (cds_watchdogs_read(cds->handle, watchdogs) != 0) {
    return FailedMessage("watchdogs: the store could not be read");
  }
  if (watchdogs.empty()) ReportEmpty("watchdogs");
  for (const CdsWatchdog& dog : watchdogs) {
    std::cout << dog.name << "\tpid " << dog.pid << "\tperiod "
              << dog.period_seconds << "s\tlast ping "
              << FormatQrxTime(dog.last_ping_us) << "\n";
  }
  return kExitOk;
}

int CmdSyslog(const Invocation& invocation) {
  long long max = 0;
  int rc = kExitOk;
  if (!LogOptions(invocation, "syslog", 50, nullptr, &max, &rc)) return rc;
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<CdsSyslogLine> lines;
  if (cds_syslog_read(cds->handle, static_cast<int>(max), lines) != 0) {
    return FailedMessage("syslog: the store could not be read");
  }
  if (lines.empty()) ReportEmpty("syslog");
  for (const CdsSyslogLine& line : lines) {
    std::cout << FormatQrxTime(line.time_us) << "\t" << line.level << "\t"
              << line.message << "\n";
  }
  return kExitOk;
}

}  // namespace cdsctl
