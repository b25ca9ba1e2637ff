// nsk7:getDeviceCmdResult: a device handler's answer to one command, read
// from the device's output queue and passed on as the handler wrote it.
//
// The stored text is parsed by the contract's serializers in an engine of
// its own (contract/command_xml.h); an answer that does not parse, is too
// long, or is for another command is reported as no data.

#include <exception>
#include <string>

#include "commands/command_queue.h"
#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "contract/command_xml.h"
#include "contract/operation.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"
#include "soapH.h"

namespace wsgated {

namespace {

void answer(_nsk7__getDeviceCmdResultResponse& response,
            nsk7__cmdNumStatus status, const char* statusText) {
  response.numericStatus = status;
  response.cmdStatus = statusText;
}

// Reading an answer needs read rights on the device. A path that does not
// parse is not judged here: no device's area has its name.
bool readRefused(ServiceContext* context, const ServiceOptions& options,
                 const std::string& devPath, std::string& result) {
  toolkit::CPath device(devPath);
  if (device.normalize() != 0 ||
      callerMay(context, toolkit::PCD_ACCESS_READ, device)) {
    return false;
  }
  logNotice(kLogErrors, "Unauthorized read of %s", devPath.c_str());
  setBnwsError(kBnwsNotAuthorized, "Unauthorized read", result, &options);
  return true;
}

// Copies the stored answer when it is the one asked for.
bool takeStored(struct soap* soap, const std::string& text, int handle,
                _nsk7__getDeviceCmdResultResponse& response) {
  CommandXml xml;
  const _nsk7__getDeviceCmdResultResponse* stored = xml.readResult(text);
  if (stored == nullptr || stored->cmdHandle != handle) return false;
  response.result = stored->result;
  response.cmdHandle = stored->cmdHandle;
  response.numericStatus = stored->numericStatus;
  response.cmdStatus = stored->cmdStatus;
  response.cmdResults = copyCommandResults(soap, stored->cmdResults);
  return true;
}

}  // namespace

void getDeviceCmdResult(ServiceContext* context, struct soap* soap,
                        const _nsk7__getDeviceCmdResult& request,
                        _nsk7__getDeviceCmdResultResponse& response) {
  ServiceOptions options;
  parseServiceOptions(context, request.options, options);
  const std::string& device = optionalText(request.devPath);
  if (device.empty()) {
    answer(response, nsk7__cmdNumStatus__cmdFailInvalid,
           "No device path given");
    setBnwsError(kBnwsBadPathSyntax, "No device path given", response.result,
                 &options);
    return;
  }
  response.cmdHandle = request.cmdHandle;
  if (readRefused(context, options, device, response.result)) {
    answer(response, nsk7__cmdNumStatus__cmdFailInvalid,
           "Not authorized to read the device");
    return;
  }
  const std::string handle = std::to_string(request.cmdHandle);
  const std::string entry = commandArea(device) + "/outQueue/" + handle;
  api_status_t status = API_STATUS_UNKNOWN;
  if (context->cds.test_node(entry, status) != 0 || status != API_STATUS_OK) {
    const std::string what = device + " for cmd #" + handle;
    logInfo(kLogErrors, "No command response queued for %s", what.c_str());
    setBnwsError(kBnwsHandleInvalidOrExpired, what.c_str(), response.result,
                 &options);
    answer(response, nsk7__cmdNumStatus__cmdFailHandle,
           "No such cmdHandle exists, or its results were aged out");
    return;
  }
  toolkit::CElement text;
  if (!readGoodLeaf(context->cds, entry + "/Value", text)) {
    answer(response, nsk7__cmdNumStatus__cmdFailOther,
           "Could not read results");
    return;
  }
  try {
    if (takeStored(soap, text.to_string(), request.cmdHandle, response)) {
      logInfo(kLogActivity, "Response cmdStatus = %s,  Result = %s",
              response.cmdStatus.c_str(), response.result.c_str());
      return;
    }
    logInfo(kLogErrors, "Failed to deserialize K7 Command Response for %s",
            entry.c_str());
  } catch (const std::exception& e) {
    logError(kLogErrors,
             "Exception when trying to deserialize K7 Command Response for %s",
             entry.c_str());
    logError(kLogErrors, "Exception: %s", e.what());
  }
  response.cmdResults = nullptr;
  response.cmdHandle = request.cmdHandle;
  setBnwsError(kBnwsNoDataAvailable, entry.c_str(), response.result, &options);
  answer(response, nsk7__cmdNumStatus__cmdFailOther,
         "Could not deserialize results from device handler");
}

}  // namespace wsgated

int __nsk7__getDeviceCmdResult(
    struct soap* soap, struct _nsk7__getDeviceCmdResult* request,
    struct _nsk7__getDeviceCmdResultResponse& response) {
  wsgated::getDeviceCmdResult(wsgated::serviceContext(soap), soap, *request,
                              response);
  return SOAP_OK;
}
