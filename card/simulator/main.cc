// card-simulator: the simulator of the sample field devices, a companion
// process of the card (device_simulator.h).

#include "card/common/card_process.h"
#include "card/simulator/device_simulator.h"

int main(int argc, char** argv) {
  wsgated::DeviceSimulator simulator;
  return wsgated::CardProcess("simulator", &simulator).run(argc, argv);
}
