// The supervisor's own options, after the common ones (card_options.h).
//
//   --program NAME=COMMAND        a program to run and watch; at least one,
//                                 names unique (program_list.h)
//   --check-seconds S             how often the programs are checked (2)
//   --start-grace-seconds S       how long a started program has to
//                                 register its watchdog row (30)
//   --stop-grace-seconds S        how long a program has to end after
//                                 SIGTERM before it gets SIGKILL (10)
//   --backoff-seconds S           the wait before the second start of a
//                                 program that failed at once (1); it
//                                 doubles with every further failure ...
//   --backoff-max-seconds S       ... up to this (60)
//   --pid-file PATH               record the supervisor's pid here
//
// Seconds may have decimals ("0.5"); tests run on seconds where a card
// runs on minutes.

#ifndef CARD_SUPERVISOR_SUPERVISOR_OPTIONS_H_
#define CARD_SUPERVISOR_SUPERVISOR_OPTIONS_H_

#include <string>
#include <vector>

#include "card/supervisor/program_list.h"

namespace wsgated {

struct SupervisorSettings {
  std::vector<ProgramSpec> programs;
  double checkSeconds = 2;
  double startGraceSeconds = 30;
  double stopGraceSeconds = 10;
  double backoffSeconds = 1;
  double backoffMaxSeconds = 60;
  std::string pidFile;
};

// Reads `args` into `settings`; false with the reason in *error. `ownName`
// is the supervisor's own watchdog row, which no program may take.
bool parseSupervisorOptions(const std::vector<std::string>& args,
                            const std::string& ownName,
                            SupervisorSettings* settings, std::string* error);

// The usage lines of these options.
const char* supervisorUsage();

}  // namespace wsgated

#endif  // CARD_SUPERVISOR_SUPERVISOR_OPTIONS_H_
