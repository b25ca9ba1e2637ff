// card-publisher: delivers the web services' subscriptions, a companion
// process of the card (publisher.h).

#include "card/common/card_process.h"
#include "card/publisher/publisher.h"

int main(int argc, char** argv) {
  wsgated::Publisher publisher;
  return wsgated::CardProcess("publisher", &publisher).run(argc, argv);
}
