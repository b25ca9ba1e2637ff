// The device command queue's messages as the store holds them: a queued
// command is the XML element "nsk7:sendCmd-s", a device handler's answer
// the element "nsk7:getDeviceCmdResultResponse" (docs/commands.md).
//
// Both sides (the daemon's command operations and the card's device
// handlers) write and read them here, with the contract's generated
// serializers: one fresh engine per message, in graph mode
// (SOAP_XML_GRAPH) on the side it is used for, over an in-memory stream.
// The records it reads belong to the CommandXml object and live as long as
// it does.
//
// A queue entry is small; a text longer than kMaxCommandXmlBytes is not
// parsed at all, so that a handler (or anything else writing the store)
// cannot make a reader spend its memory or time on it.

#ifndef CONTRACT_COMMAND_XML_H_
#define CONTRACT_COMMAND_XML_H_

#include <cstddef>
#include <string>

#include "soapH.h"

namespace wsgated {

constexpr size_t kMaxCommandXmlBytes = 1024 * 1024;

class CommandXml {
 public:
  CommandXml();
  ~CommandXml();
  CommandXml(const CommandXml&) = delete;
  CommandXml& operator=(const CommandXml&) = delete;

  // The engine that owns what read() returned (to build records with).
  struct soap* engine() { return soap_; }

  // `command` / `result` as its element's XML text. False (and "") when the
  // engine could not write it.
  bool write(const nsk7__sendCmd_s& command, std::string& xml);
  bool write(const _nsk7__getDeviceCmdResultResponse& result,
             std::string& xml);

  // The element read from `xml`, or null when `xml` is not that element
  // (not XML, another element, a bad value) or is too long.
  nsk7__sendCmd_s* readCommand(const std::string& xml);
  _nsk7__getDeviceCmdResultResponse* readResult(const std::string& xml);

 private:
  struct soap* soap_;
};

// What names a command in the device's command list: its kind as the list
// spells it ("cmdLine", "cmdBasic", "cmdIval"), its name and, for the kinds
// that have one, its parameter.
struct CommandNames {
  const char* kind = "";
  std::string name;
  bool hasParam = false;
  std::string param;
};

// The names of `command`; false for a kind without them (cmdText, none) or
// a kind whose record is missing.
bool commandNames(const nsk7__sendCmd_s& command, CommandNames& names);

// A copy of `results` (may be null) in memory that `soap` owns.
nsk7__cmdResult_s* copyCommandResults(struct soap* soap,
                                      const nsk7__cmdResult_s* results);

}  // namespace wsgated

#endif  // CONTRACT_COMMAND_XML_H_
