// The system logger: hands what the card's processes report through the
// store on to the two event logs that getEventLog reads.
//
// Into the alarm/event log:
//   - device conditions: the events of kind 256 in the store's event queue
//     (device handlers and the simulator send them), as they were sent;
//   - configuration changes: every node created or removed (the store's
//     journal of structure changes) outside the areas whose nodes come and
//     go as the card runs ("/Software/Data Servers", "/Software/Commands",
//     "/Alarms"), as a record of the path
//     "/Software/System Settings/Configuration Changed/Value" with the value
//     true, described "Node created :  <node>" or "Node removed :  <node>"
//     and carrying the change source.
// Into the system event log, all on the source path "/" (kind 32):
//   - every line of the store's system event log (CCds::syslog_add: the web
//     services' Reset, for one), its text as the description;
//   - the card's processes as their watchdog rows show them: a row that
//     appears is a process started ("Web services started :  pid N" for
//     wsgated, "Process started :  NAME, pid N" for the others), a row that
//     goes is one that stopped, a row older than its period is a watchdog
//     that expired (once per row, severity 3).
// Descriptions are "what :  detail", the form whose parts readers translate.
//
// Progress (the last queue, journal and system-log ids, the rows seen) is
// kept as a mark in each log (pcd_log_append_marked) and commits with the
// records, so a logger killed at any point neither loses nor repeats a
// record. Without a mark (a new log), it begins with every queued event and
// system-log line the store still holds and every row present, but with
// the journal's end: the nodes a store is built from are no changes.

#ifndef CARD_SYSLOG_SYSTEM_LOGGER_H_
#define CARD_SYSLOG_SYSTEM_LOGGER_H_

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "card/common/card_process.h"
#include "platform/cds.h"
#include "platform/event.h"
#include "platform/log.h"

namespace wsgated {

class SystemLogger : public Companion {
 public:
  explicit SystemLogger(QrxClock clock = nullptr);
  ~SystemLogger() override;

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return checkSeconds_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

 private:
  // A watchdog row as last seen: (name, pid) and whether it expired.
  using Rows = std::map<std::pair<std::string, int>, bool>;

  bool openLog(const std::string& path, pcd_log_writer_t* writer);
  bool readMarks(toolkit::CCds& store);
  void handEvents(toolkit::CCds& store);
  void handSystem(toolkit::CCds& store, bool stopping);
  void compareRows(const std::vector<CdsWatchdog>& rows, bool stopping,
                   Rows& seen, std::vector<toolkit::CEvent>& records);
  std::string systemMark(long long syslogId, const Rows& rows) const;

  QrxClock clock_;
  std::string eventLogPath_;
  std::string systemLogPath_;
  double checkSeconds_ = 1;
  pcd_log_writer_t eventLog_ = nullptr;
  pcd_log_writer_t systemLog_ = nullptr;
  long long eventId_ = 0;
  long long structureId_ = 0;
  long long syslogId_ = 0;
  Rows rows_;
};

}  // namespace wsgated

#endif  // CARD_SYSLOG_SYSTEM_LOGGER_H_
