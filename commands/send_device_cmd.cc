// nsk7:sendDeviceCmd: a command checked against what the device supports,
// numbered from the shared counter and queued for the device's handler.
//
// Each check answers with an error result of its own, in this order:
// the command area (29 with devPath), the caller's write rights on the
// device (HTTP 401), the schema version (9, 30), the command (29), the
// queue and its capacity (9, 31), the counter (9), the write (16).

#include <string>
#include <vector>

#include "commands/command_queue.h"
#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "common/write_path.h"
#include "contract/command_xml.h"
#include "contract/operation.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"
#include "soapH.h"

namespace wsgated {

namespace {

const char* const kNoSupport = "No command support for this type";

bool nodeExists(toolkit::CCds& cds, const std::string& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  return cds.test_node(path, status) == 0 && status == API_STATUS_OK;
}

// A command acts on the device: the caller needs write rights on it.
bool mayCommand(ServiceContext* context, const std::string& devPath) {
  toolkit::CPath device(devPath);
  if (device.normalize() == 0) {
    toolkit::CPath value(device.getNodePath());
    if (value.normalize() == 0 &&
        callerMay(context, toolkit::PCD_ACCESS_WRITE, value)) {
      return true;
    }
  }
  logNotice(kLogErrors, "Unauthorized command attempted on %s",
            devPath.c_str());
  return false;
}

bool versionAccepted(ServiceContext* context, const ServiceOptions& options,
                     const std::string& leaf, int requested,
                     std::string& result) {
  toolkit::CElement version;
  if (!readGoodLeaf(context->cds, leaf, version)) {
    logInfo(kLogErrors, "No WSDL Version found %s", leaf.c_str());
    setBnwsError(kBnwsNodeNotFound, leaf.c_str(), result, &options);
    return false;
  }
  if (version.get_type() != PCD_TYPE_INT || version.to_int() < requested) {
    logInfo(kLogErrors, "Wrong WSDL Version requested %s", leaf.c_str());
    setBnwsError(kBnwsWrongVersion, "Wrong WSDL Version requested", result,
                 &options);
    return false;
  }
  return true;
}

// The support path of `command` in the device's command list and the text
// the log names it by; false for kinds that are never supported.
bool supportPath(const std::string& list, const nsk7__sendCmd_s& command,
                 std::string& path, std::string& what) {
  CommandNames names;
  if (!commandNames(command, names)) return false;
  what = std::string(names.kind) + ": " + names.name;
  path = list + "/" + names.kind + "/" + names.name;
  if (names.hasParam) path += "/" + names.param;
  return true;
}

// Names and parameters must each be one node of the list: with a "/", a
// ":" or an attribute's name ("Value") the path would name another node
// (or an attribute of one) and pass for a command the device lists.
bool commandSupported(ServiceContext* context, const ServiceOptions& options,
                      const std::string& area,
                      const nsk7__sendCmd_s* command, std::string& what,
                      std::string& result) {
  std::string support = area + "/WsdlVersion/Value";  // the path last used
  const bool listed =
      command != nullptr &&
      supportPath(area + "/cmdList", *command, support, what) &&
      toolkit::CPath::IsNodePath(support) && nodeExists(context->cds, support);
  if (listed) return true;
  logInfo(kLogErrors, "No command support for %s", support.c_str());
  setBnwsError(kBnwsCommandNotSupported, kNoSupport, result, &options);
  return false;
}

// The queue's children count its capacity leaf: a queue holding only that
// takes a command without reading it. A capacity that is not a number
// tells as little as a missing one.
bool queueHasRoom(ServiceContext* context, const ServiceOptions& options,
                  const std::string& queue, std::string& result) {
  std::vector<std::string> children;
  if (toolkit::CPath::getAttributeList(queue, context->cds, "Children",
                                       children) != 0 ||
      children.empty()) {
    logInfo(kLogErrors, "No Input Queue length found at %s", queue.c_str());
    setBnwsError(kBnwsNodeNotFound, queue.c_str(), result, &options);
    return false;
  }
  if (children.size() == 1) return true;
  const std::string leaf = queue + "/maxCount/Value";
  toolkit::CElement capacity;
  if (!readGoodLeaf(context->cds, leaf, capacity) ||
      capacity.convert_type(PCD_TYPE_UINT) != 0) {
    logInfo(kLogErrors, "No Input Queue length found at %s", leaf.c_str());
    setBnwsError(kBnwsNodeNotFound, leaf.c_str(), result, &options);
    return false;
  }
  if (capacity.to_uint() < children.size()) {
    logInfo(kLogErrors, "Input Queue already full");
    setBnwsError(kBnwsDeviceBusyOrNotAvailable, "Input Queue already full",
                 result, &options);
    return false;
  }
  return true;
}

// The counter is read, incremented and written back in one store
// transaction, so that every process queueing commands gets a number of
// its own; it is written back Unsigned and persistent.
bool takeNumber(ServiceContext* context, const ServiceOptions& options,
                int32_t& number, std::string& result) {
  api_status_t status = API_STATUS_UNKNOWN;
  if (context->cds.fetch_increment_leaf(
          kNextCommandIdLeaf, status, number, PCD_TYPE_UINT, PCD_TRIBOOL_TRUE,
          changeSource(context->caller)) == 0 &&
      status == API_STATUS_OK) {
    return true;
  }
  logInfo(kLogErrors, "No Command Counter found at %s", kNextCommandIdLeaf);
  setBnwsError(kBnwsNodeNotFound, kNextCommandIdLeaf, result, &options);
  return false;
}

void queueCommand(ServiceContext* context, const ServiceOptions& options,
                  const nsk7__sendCmd_s& command, const std::string& entry,
                  const std::string& what, std::string& result) {
  CommandXml xml;
  std::string text;
  api_status_t status = API_STATUS_UNKNOWN;
  if (xml.write(command, text) &&
      context->cds.set_leaf(entry, toolkit::CElement(text), status,
                            PCD_TRIBOOL_FALSE, changeSource(context->caller),
                            PCD_WRITE_CREATE_DYNAMIC_NODE) == 0 &&
      status == API_STATUS_OK) {
    logInfo(kLogActivity, "Queued command %s to %s", what.c_str(),
            entry.c_str());
    return;
  }
  logInfo(kLogErrors, "Failed to Queue command %s to %s", what.c_str(),
          entry.c_str());
  setBnwsError(kBnwsWriteFailed, entry.c_str(), result, &options);
}

}  // namespace

int sendDeviceCmd(ServiceContext* context, const std::string* optionsText,
                  const std::string* devPath, const nsk7__sendCmd_s* command,
                  _nsk7__sendDeviceCmdResponse& response) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  response.result.clear();
  response.cmdHandle = 0;
  std::string& result = response.result;
  const std::string& device = optionalText(devPath);
  const std::string area = commandArea(device);
  if (!nodeExists(context->cds, area + "/WsdlVersion")) {
    logInfo(kLogErrors, "No command support for %s/WsdlVersion", area.c_str());
    setBnwsError(kBnwsCommandNotSupported, device.c_str(), result, &options);
    return 0;
  }
  if (!mayCommand(context, device)) return kWriteNotAuthorized;
  std::string what;
  if (!versionAccepted(context, options, area + "/WsdlVersion/Value",
                       command != nullptr ? command->cmdVersion : 0,
                       result) ||
      !commandSupported(context, options, area, command, what, result)) {
    return 0;
  }
  const std::string queue = area + "/inpQueue";
  int32_t number = 0;
  if (!queueHasRoom(context, options, queue, result) ||
      !takeNumber(context, options, number, result)) {
    return 0;
  }
  response.cmdHandle = number;
  queueCommand(context, options, *command,
               queue + "/" + std::to_string(number) + "/Value", what, result);
  return 0;
}

}  // namespace wsgated

int __nsk7__sendDeviceCmd(struct soap* soap,
                          struct _nsk7__sendDeviceCmd* request,
                          struct _nsk7__sendDeviceCmdResponse& response) {
  return wsgated::sendDeviceCmd(wsgated::serviceContext(soap),
                                request->options, request->devPath,
                                request->command, response);
}
