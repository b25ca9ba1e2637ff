// card-alarms: the alarm handler, a companion process of the card
// (alarm_handler.h).

#include "card/alarms/alarm_handler.h"
#include "card/common/card_process.h"

int main(int argc, char** argv) {
  wsgated::AlarmHandler handler;
  return wsgated::CardProcess("alarms", &handler).run(argc, argv);
}
