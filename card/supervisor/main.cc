// wsgated-supervisor: starts the card's programs and restarts those whose
// watchdog row goes stale or whose process is gone (supervisor.h).

#include "card/common/card_process.h"
#include "card/supervisor/supervisor.h"

int main(int argc, char** argv) {
  const char* const kName = "supervisor";
  wsgated::Supervisor supervisor(kName);
  return wsgated::CardProcess(kName, &supervisor).run(argc, argv);
}
