// card-commands: the sample device's command handler (docs/commands.md).
//
// The daemon queues a device's commands in the store, each numbered, as
// the XML element nsk7:sendCmd-s below "/Software/Commands/<N>/inpQueue";
// this companion takes them in number order (removing each entry it
// takes), carries them out on the device's points and answers each with
// nsk7:getDeviceCmdResultResponse under ".../outQueue/<number>", where
// getDeviceCmdResult finds it. Answers older than the result age are
// removed; the client is then told its handle expired.
//
// The commands of the sample power meter, relative to its device node:
//   cmdLine "RESET ENERGY", cmdBasic ResetEnergy/All
//                       ActiveEnergy and ReactiveEnergy set to 0
//   cmdBasic ResetPeakDemand/None          PeakDemand set to 0
//   cmdIval SetDemandInterval/Minutes      DemandInterval set to iValue
//   cmdLine "READ HARMONICS"   a resHarms record of the points below
//                       Harmonics; a reading takes --harmonics-seconds, so
//                       the answer is cmdPending until it is done
// Anything else is answered cmdFailInvalid.
//
// Options (besides the common ones, card_options.h):
//   --device PATH             the device (default /Devices/Meter1); its
//                             command area is named by its last component
//   --every S                 pace of the steps (default 0.5)
//   --result-seconds S        age after which answers are removed (600)
//   --harmonics-seconds S     how long a harmonics reading takes (2)

#ifndef CARD_COMMANDS_COMMAND_HANDLER_H_
#define CARD_COMMANDS_COMMAND_HANDLER_H_

#include <sys/time.h>

#include <map>
#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "soapH.h"

namespace wsgated {

class CommandHandler : public Companion {
 public:
  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return every_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds&) override {}

  // One step as if the wall clock showed `now`: the readings due by then
  // are finished, queued commands taken, answers older than the result age
  // removed. step() is stepAt() with the present time.
  void stepAt(toolkit::CCds& store, const timeval& now);

  // At most this many commands are taken in one step, so that a step stays
  // short whatever the queue holds.
  static constexpr int kCommandsPerStep = 16;

 private:
  // A reading under way: when it is done.
  struct Reading {
    timeval due;
  };

  // Write the answer to command `number` into the output queue: its
  // status, and a text or a harmonic record (either may be null).
  bool answer(toolkit::CCds& store, long number, nsk7__cmdNumStatus status,
              const std::string& statusText, std::string* text,
              nsk7__harmonicResponse* harmonics);
  void takeCommands(toolkit::CCds& store, const timeval& now);
  void execute(toolkit::CCds& store, long number,
               const nsk7__sendCmd_s* command, const timeval& now);
  void finishReadings(toolkit::CCds& store, const timeval& now);
  void ageResults(toolkit::CCds& store, const timeval& now);

  std::string device_ = "/Devices/Meter1";
  std::string area_;    // "/Software/Commands/<N>"
  std::string source_;  // the change source of the handler's writes
  double every_ = 0.5;
  double resultSeconds_ = 600;
  double harmonicsSeconds_ = 2;
  std::map<long, Reading> readings_;
};

}  // namespace wsgated

#endif  // CARD_COMMANDS_COMMAND_HANDLER_H_
