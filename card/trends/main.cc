// card-trends: the trend recorder, a companion process of the card
// (trend_recorder.h).

#include "card/common/card_process.h"
#include "card/trends/trend_recorder.h"

int main(int argc, char** argv) {
  wsgated::TrendRecorder recorder;
  return wsgated::CardProcess("trends", &recorder).run(argc, argv);
}
