// wsgated-supervisor: the card's programs started, watched and restarted.
//
// A Companion (card/common/card_process.h) whose step is one check of
// every program it was given (--program, supervisor_options.h):
//   1. it reaps every child that ended; it is the subreaper of its
//      descendants, so a program that daemonises stays its child;
//   2. it reads the store's watchdog rows. When they cannot be read (a hung
//      program may hold the store) it logs that and decides nothing until
//      the next check: no restart rests on rows it could not see;
//   3. it removes the rows of the programs' processes that are gone, and
//      of pids that now belong to another program;
//   4. it judges each running program (restart_rules.h) and restarts those
//      that need it: SIGTERM and SIGCONT to the program's processes (its
//      rows' pids and the child it started), SIGKILL to what is left after
//      the stop grace, then a new start, at once or after the back-off;
//   5. it starts the programs whose back-off ended.
// A program's processes are its child and the pids of its rows whose
// kernel name (/proc/PID/comm) is that of its command's file; any other
// pid in a row with its name is a row left behind, never signalled.
//
// At start it adopts a program that already runs (a row of its name with a
// live pid of its own) instead of starting a second one. On stop it ends
// every program (SIGTERM, SIGKILL after the stop grace), removes the rows
// they left and its pid file.

#ifndef CARD_SUPERVISOR_SUPERVISOR_H_
#define CARD_SUPERVISOR_SUPERVISOR_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "card/supervisor/restart_rules.h"
#include "card/supervisor/supervisor_options.h"

namespace wsgated {

// One program and what the supervisor knows of it.
struct SupervisedProgram {
  enum class Phase { kWaiting, kRunning, kStopping };

  ProgramSpec spec;
  std::string kernelName;  // of its command's file
  Phase phase = Phase::kWaiting;
  double startAt = 0;        // kWaiting: when to start it
  pid_t child = 0;           // the process started, until reaped
  bool childFailed = false;  // it ended with a failure
  int childStatus = 0;       // how it ended, as waitpid() gave it
  bool hadRow = false;
  double startedAt = 0;
  std::vector<pid_t> pids;    // its live rows' pids at the last check
  std::vector<pid_t> ending;  // kStopping: what must end before a start
  double stopDeadline = 0;    // kStopping: SIGKILL, then give up waiting
  bool killed = false;
  int quickFailures = 0;
  double restartDelay = 0;
};

class Supervisor : public Companion {
 public:
  // `ownName` is the supervisor's watchdog row, taken by no program.
  explicit Supervisor(const std::string& ownName);

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override;
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

 private:
  void noteEndedChildren();
  std::vector<RowView> liveRows(toolkit::CCds& store,
                                const std::vector<CdsWatchdog>& rows,
                                SupervisedProgram* program, double now);
  void judge(toolkit::CCds& store, const std::vector<CdsWatchdog>& rows,
             double now);
  void beginRestart(SupervisedProgram* program, const ProgramView& view,
                    Verdict verdict, double now);
  void progressStop(SupervisedProgram* program, double now);
  void launch(SupervisedProgram* program, double now);
  void waitToStart(SupervisedProgram* program, double now);
  void endAll(std::vector<pid_t> pids);
  bool waitForEnd(std::vector<pid_t>* pids);
  void removeLeftRows(toolkit::CCds& store);
  bool writePidFile();
  void removePidFile();

  std::string ownName_;
  SupervisorSettings settings_;
  std::vector<SupervisedProgram> programs_;
  PingAges ages_;
  bool wrotePidFile_ = false;
};

}  // namespace wsgated

#endif  // CARD_SUPERVISOR_SUPERVISOR_H_
