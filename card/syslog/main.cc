// card-syslog: the system logger, a companion process of the card
// (system_logger.h).

#include "card/common/card_process.h"
#include "card/syslog/system_logger.h"

int main(int argc, char** argv) {
  wsgated::SystemLogger logger;
  return wsgated::CardProcess("syslog", &logger).run(argc, argv);
}
