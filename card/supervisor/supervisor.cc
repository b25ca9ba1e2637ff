// Checks, restarts and the orderly stop of the card's programs
// (supervisor.h).

#include "card/supervisor/supervisor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "card/common/signals.h"
#include "card/supervisor/processes.h"
#include "common/log.h"

namespace wsgated {

namespace {

// How often the orderly stop looks whether the programs have ended.
const double kStopPollSeconds = 0.05;

using Phase = SupervisedProgram::Phase;

bool contains(const std::vector<pid_t>& pids, pid_t pid) {
  return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

void addUnique(std::vector<pid_t>* pids, pid_t pid) {
  if (pid > 0 && !contains(*pids, pid)) pids->push_back(pid);
}

std::string pidList(const std::vector<pid_t>& pids) {
  std::string text;
  for (pid_t pid : pids) {
    text += (text.empty() ? "" : ", ") + std::to_string(pid);
  }
  return text.empty() ? "none" : text;
}

void dropEnded(std::vector<pid_t>* pids) {
  pids->erase(std::remove_if(pids->begin(), pids->end(),
                             [](pid_t pid) { return !processAlive(pid); }),
              pids->end());
}

// What the log adds to a restart's reason.
std::string restartDetail(const SupervisedProgram& program,
                          const ProgramView& view, Verdict verdict) {
  char text[160];
  text[0] = '\0';
  if (verdict == Verdict::kHung) {
    for (const RowView& row : view.rows) {
      if (row.ageSeconds <= row.periodSeconds) continue;
      snprintf(text, sizeof text, "pid %d: no ping for %.1f s, period %d s",
               row.pid, row.ageSeconds, row.periodSeconds);
    }
  } else if (verdict == Verdict::kExited) {
    snprintf(text, sizeof text, "%s",
             describeStatus(program.childStatus).c_str());
  } else {
    snprintf(text, sizeof text, "started %.1f s ago", view.upSeconds);
  }
  return text;
}

}  // namespace

Supervisor::Supervisor(const std::string& ownName) : ownName_(ownName) {}

std::string Supervisor::usage() const { return supervisorUsage(); }

bool Supervisor::configure(const std::vector<std::string>& args,
                           std::string* error) {
  if (!parseSupervisorOptions(args, ownName_, &settings_, error)) return false;
  for (const ProgramSpec& spec : settings_.programs) {
    SupervisedProgram program;
    program.spec = spec;
    program.kernelName = kernelName(spec.argv[0]);
    programs_.push_back(program);
  }
  return true;
}

double Supervisor::paceSeconds() const { return settings_.checkSeconds; }

bool Supervisor::start(toolkit::CCds& store) {
  if (!settings_.pidFile.empty() && !writePidFile()) return false;
  if (!becomeSubreaper()) {
    logWarning(kLogAlways,
               "Cannot adopt orphaned descendants (%s): programs that "
               "daemonise are reaped by init",
               strerror(errno));
  }
  std::vector<CdsWatchdog> rows;
  const bool rowsRead = cds_watchdogs_read(store.handle, rows) == 0;
  const double now = monotonicSeconds();
  if (rowsRead) ages_.update(rows, now);
  for (SupervisedProgram& program : programs_) {
    if (rowsRead && !liveRows(store, rows, &program, now).empty()) {
      program.phase = Phase::kRunning;
      program.hadRow = true;
      program.startedAt = now;
      logNotice(kLogAlways, "%s runs already as pid %s: supervising it",
                program.spec.name.c_str(), pidList(program.pids).c_str());
    } else {
      launch(&program, now);
    }
  }
  return true;
}

void Supervisor::step(toolkit::CCds& store) {
  noteEndedChildren();
  const double now = monotonicSeconds();
  std::vector<CdsWatchdog> rows;
  if (cds_watchdogs_read(store.handle, rows) == 0) {
    ages_.update(rows, now);
    judge(store, rows, now);
  } else {
    logWarning(kLogErrors,
               "Cannot read the watchdog rows; deciding nothing until the "
               "next check in %.1f s",
               settings_.checkSeconds);
  }
  for (SupervisedProgram& program : programs_) {
    if (program.phase == Phase::kStopping) progressStop(&program, now);
    if (program.phase == Phase::kWaiting && now >= program.startAt) {
      launch(&program, now);
    }
  }
}

void Supervisor::stop(toolkit::CCds& store) {
  noteEndedChildren();
  std::vector<CdsWatchdog> rows;
  if (cds_watchdogs_read(store.handle, rows) == 0) {
    for (SupervisedProgram& program : programs_) {
      liveRows(store, rows, &program, monotonicSeconds());
    }
  }
  std::vector<pid_t> pids;
  for (const SupervisedProgram& program : programs_) {
    for (pid_t pid : program.pids) addUnique(&pids, pid);
    for (pid_t pid : program.ending) addUnique(&pids, pid);
    addUnique(&pids, program.child);
  }
  dropEnded(&pids);
  endAll(pids);
  removeLeftRows(store);
  removePidFile();
}

void Supervisor::noteEndedChildren() {
  for (const EndedProcess& ended : reapChildren()) {
    const std::string how = describeStatus(ended.status);
    const bool failed =
        !WIFEXITED(ended.status) || WEXITSTATUS(ended.status) != 0;
    const char* name = "a descendant";
    for (SupervisedProgram& program : programs_) {
      if (program.child == ended.pid) {
        program.child = 0;
        program.childFailed = failed;
        program.childStatus = ended.status;
      } else if (!contains(program.pids, ended.pid) &&
                 !contains(program.ending, ended.pid)) {
        continue;
      }
      name = program.spec.name.c_str();
    }
    if (failed) {
      logWarning(kLogErrors, "%s, pid %d, ended: %s", name, ended.pid,
                 how.c_str());
    } else {
      logInfo(kLogActivity, "%s, pid %d, ended: %s", name, ended.pid,
              how.c_str());
    }
  }
}

// The program's rows whose processes are its own and alive; the others
// are removed from the store.
std::vector<RowView> Supervisor::liveRows(toolkit::CCds& store,
                                          const std::vector<CdsWatchdog>& rows,
                                          SupervisedProgram* program,
                                          double now) {
  std::vector<RowView> live;
  program->pids.clear();
  for (const CdsWatchdog& row : rows) {
    if (row.name != program->spec.name) continue;
    const bool own =
        processAlive(row.pid) && (row.pid == program->child ||
                                  processName(row.pid) == program->kernelName);
    if (own) {
      live.push_back(RowView{row.pid, row.period_seconds, ages_.age(row, now),
                             row.last_ping_us});
      program->pids.push_back(row.pid);
    } else if (cds_watchdog_remove(store.handle, row.name, row.pid) == 0) {
      logInfo(kLogActivity, "Removed the watchdog row of %s, pid %d: %s",
              row.name.c_str(), row.pid,
              processAlive(row.pid) ? "the pid runs another program"
                                    : "the process is gone");
    }
  }
  return live;
}

void Supervisor::judge(toolkit::CCds& store,
                       const std::vector<CdsWatchdog>& rows, double now) {
  std::vector<SupervisedProgram*> running;
  std::vector<ProgramView> views;
  for (SupervisedProgram& program : programs_) {
    std::vector<RowView> live = liveRows(store, rows, &program, now);
    if (program.phase != Phase::kRunning) continue;
    ProgramView view;
    view.upSeconds = now - program.startedAt;
    view.childAlive = program.child != 0 && processAlive(program.child);
    view.childFailed = program.childFailed;
    view.hadRow = program.hadRow || !live.empty();
    view.rows = live;
    if (!program.hadRow && view.hadRow) {
      logInfo(kLogActivity, "%s registered its watchdog row: pid %s",
              program.spec.name.c_str(), pidList(program.pids).c_str());
    }
    program.hadRow = view.hadRow;
    running.push_back(&program);
    views.push_back(view);
  }
  const std::vector<Verdict> verdicts =
      judgePrograms(views, settings_.startGraceSeconds);
  for (size_t i = 0; i < running.size(); ++i) {
    if (needsRestart(verdicts[i])) {
      beginRestart(running[i], views[i], verdicts[i], now);
    } else if (verdicts[i] == Verdict::kHungBehind) {
      logWarning(kLogErrors, "%s: %s; that one is restarted first",
                 running[i]->spec.name.c_str(), verdictText(verdicts[i]));
    }
  }
}

void Supervisor::beginRestart(SupervisedProgram* program,
                              const ProgramView& view, Verdict verdict,
                              double now) {
  const bool quick = isQuickFailure(view, settings_.startGraceSeconds);
  program->quickFailures = quick ? program->quickFailures + 1 : 0;
  program->restartDelay =
      restartDelay(program->quickFailures, settings_.backoffSeconds,
                   settings_.backoffMaxSeconds);
  logError(kLogAlways, "Restarting %s: %s (%s)", program->spec.name.c_str(),
           verdictText(verdict),
           restartDetail(*program, view, verdict).c_str());
  program->ending = program->pids;
  if (view.childAlive) addUnique(&program->ending, program->child);
  for (pid_t pid : program->ending) askToEnd(pid);
  program->phase = Phase::kStopping;
  program->stopDeadline = now + settings_.stopGraceSeconds;
  program->killed = false;
}

// SIGKILL after the stop grace; a start once everything ended, or after a
// second grace when something outlives even SIGKILL (a process stuck in
// the kernel cannot be helped by waiting longer).
void Supervisor::progressStop(SupervisedProgram* program, double now) {
  // Reaped first: a new wsgated takes an unreaped one for a running daemon.
  noteEndedChildren();
  dropEnded(&program->ending);
  const std::string name = program->spec.name;
  if (program->ending.empty()) {
    waitToStart(program, now);
  } else if (now < program->stopDeadline) {
    return;
  } else if (!program->killed) {
    logWarning(kLogAlways,
               "%s: pid %s still runs %.1f s after SIGTERM: SIGKILL",
               name.c_str(), pidList(program->ending).c_str(),
               settings_.stopGraceSeconds);
    for (pid_t pid : program->ending) forceToEnd(pid);
    program->killed = true;
    program->stopDeadline = now + settings_.stopGraceSeconds;
  } else {
    logError(kLogAlways, "%s: pid %s outlived SIGKILL; starting it anyway",
             name.c_str(), pidList(program->ending).c_str());
    program->ending.clear();
    waitToStart(program, now);
  }
}

void Supervisor::waitToStart(SupervisedProgram* program, double now) {
  program->phase = Phase::kWaiting;
  program->startAt = now + program->restartDelay;
  if (program->restartDelay > 0) {
    logNotice(kLogAlways,
              "Starting %s again in %.1f s (quick failures in a row: %d)",
              program->spec.name.c_str(), program->restartDelay,
              program->quickFailures);
  }
}

void Supervisor::launch(SupervisedProgram* program, double now) {
  const pid_t pid = spawnProgram(program->spec.argv);
  if (pid < 0) {
    logError(kLogAlways, "Cannot start %s: %s", program->spec.name.c_str(),
             strerror(errno));
    program->quickFailures += 1;
    program->restartDelay =
        restartDelay(program->quickFailures, settings_.backoffSeconds,
                     settings_.backoffMaxSeconds);
    waitToStart(program, now);
    return;
  }
  program->phase = Phase::kRunning;
  program->child = pid;
  program->childFailed = false;
  program->hadRow = false;
  program->startedAt = now;
  program->pids.clear();
  logNotice(kLogAlways, "Started %s as pid %d: %s", program->spec.name.c_str(),
            pid, program->spec.argv[0].c_str());
}

// SIGTERM to everything, SIGKILL to what is left after the stop grace.
void Supervisor::endAll(std::vector<pid_t> pids) {
  if (pids.empty()) return;
  logNotice(kLogAlways, "Stopping the programs: pid %s", pidList(pids).c_str());
  for (pid_t pid : pids) askToEnd(pid);
  if (waitForEnd(&pids)) return;
  logWarning(kLogAlways, "pid %s still runs %.1f s after SIGTERM: SIGKILL",
             pidList(pids).c_str(), settings_.stopGraceSeconds);
  for (pid_t pid : pids) forceToEnd(pid);
  if (!waitForEnd(&pids)) {
    logError(kLogAlways, "pid %s outlived SIGKILL", pidList(pids).c_str());
  }
}

// Waits up to the stop grace for `pids` to end, reaping them; true when
// all did.
bool Supervisor::waitForEnd(std::vector<pid_t>* pids) {
  const double deadline = monotonicSeconds() + settings_.stopGraceSeconds;
  for (;;) {
    noteEndedChildren();
    dropEnded(pids);
    if (pids->empty()) return true;
    if (monotonicSeconds() >= deadline) return false;
    pauseSeconds(kStopPollSeconds);
  }
}

void Supervisor::removeLeftRows(toolkit::CCds& store) {
  std::vector<CdsWatchdog> rows;
  if (cds_watchdogs_read(store.handle, rows) != 0) return;
  for (SupervisedProgram& program : programs_) {
    liveRows(store, rows, &program, monotonicSeconds());
  }
}

bool Supervisor::writePidFile() {
  // Written whole under another name, then renamed: a reader never sees a
  // half-written pid.
  const std::string temporary = settings_.pidFile + ".new";
  FILE* file = fopen(temporary.c_str(), "w");
  const bool written =
      file != nullptr && fprintf(file, "%d\n", static_cast<int>(getpid())) > 0;
  if ((file == nullptr || fclose(file) != 0 || !written) ||
      rename(temporary.c_str(), settings_.pidFile.c_str()) != 0) {
    logError(kLogAlways, "Cannot write the pid file %s: %s",
             settings_.pidFile.c_str(), strerror(errno));
    return false;
  }
  wrotePidFile_ = true;
  return true;
}

// Only our own pid: a second supervisor may have taken the file since.
void Supervisor::removePidFile() {
  if (!wrotePidFile_) return;
  std::ifstream file(settings_.pidFile);
  int pid = 0;
  if (file >> pid && pid == static_cast<int>(getpid())) {
    unlink(settings_.pidFile.c_str());
  }
}

}  // namespace wsgated
