// card-commands: the sample device's command handler (command_handler.h).

#include "card/commands/command_handler.h"

int main(int argc, char** argv) {
  wsgated::CommandHandler handler;
  return wsgated::CardProcess("commands", &handler).run(argc, argv);
}
