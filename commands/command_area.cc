// Where a device's commands live (command_queue.h).

#include "commands/command_queue.h"
#include "platform/path.h"

namespace wsgated {

const char* const kCommandsNode = "/Software/Commands";
const char* const kNextCommandIdLeaf = "/Software/Commands/nextCommandID/Value";

std::string commandArea(const std::string& devPath) {
  return std::string(kCommandsNode) + "/" +
         toolkit::CPath::LastNodeName(devPath);
}

}  // namespace wsgated
