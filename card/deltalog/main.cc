// card-deltalog: the Delta logger, a companion process of the card
// (delta_logger.h).

#include "card/common/card_process.h"
#include "card/deltalog/delta_logger.h"

int main(int argc, char** argv) {
  wsgated::DeltaLogger logger;
  return wsgated::CardProcess("deltalog", &logger).run(argc, argv);
}
