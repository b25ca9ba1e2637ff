// The device command queue: where a device's commands and results live in
// the store, and the two operations that use it (docs/commands.md).
//
// A device whose command area's node name is N (its path's last component,
// CPath::LastNodeName) has its area at "/Software/Commands/N": the schema
// version it accepts, the commands it supports, an input queue the daemon
// writes numbered commands into and an output queue its handler answers
// in. The numbers come from one counter for all devices. The daemon never
// removes queue entries: the handler takes commands and ages results out.

#ifndef COMMANDS_COMMAND_QUEUE_H_
#define COMMANDS_COMMAND_QUEUE_H_

#include <string>

struct soap;
struct nsk7__sendCmd_s;
struct _nsk7__sendDeviceCmdResponse;
struct _nsk7__getDeviceCmdResult;
struct _nsk7__getDeviceCmdResultResponse;

namespace wsgated {

struct ServiceContext;

// "/Software/Commands", and the counter's leaf below it
// ("/Software/Commands/nextCommandID/Value").
extern const char* const kCommandsNode;
extern const char* const kNextCommandIdLeaf;

// "/Software/Commands/<N>" for the device at `devPath` ("" gives
// "/Software/Commands/", which no device's area is).
std::string commandArea(const std::string& devPath);

// Queue `command` for the device at `devPath`: `response` gets the command
// number and, when it was not queued, an error result. Returns 0, or
// kWriteNotAuthorized (nothing queued) when the caller may not write the
// device.
int sendDeviceCmd(ServiceContext* context, const std::string* optionsText,
                  const std::string* devPath, const nsk7__sendCmd_s* command,
                  _nsk7__sendDeviceCmdResponse& response);

// The handler's answer to command `request.cmdHandle`, copied into
// `response` in memory that `soap` owns.
void getDeviceCmdResult(ServiceContext* context, struct soap* soap,
                        const _nsk7__getDeviceCmdResult& request,
                        _nsk7__getDeviceCmdResultResponse& response);

}  // namespace wsgated

#endif  // COMMANDS_COMMAND_QUEUE_H_
