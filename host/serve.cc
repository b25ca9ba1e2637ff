// The logged serve sequence.

#include "host/serve.h"

#include <stdsoap2.h>

#include <exception>
#include <string>

#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "contract/tracked_blocks.h"
#include "host/engine_setup.h"

// Generated from the contract: dispatch by the body's first element.
SOAP_FMAC5 int SOAP_FMAC6 soap_serve_request(struct soap* soap);

namespace wsgated {

namespace {

// Codes above 999 are the engine's stop codes: the exchange is over and no
// reply may follow; lower ones (engine errors, HTTP statuses) get a fault.
const int kLastFaultCode = 999;

int releaseRequestMemory(struct soap* soap) {
  endAbandonedBlocks(soap);  // before the engine frees them without care
  soap_destroy(soap);
  soap_end(soap);
  return 0;
}

// `operation` gets the body's first element as the client wrote it
// ("nsc1:getValue"), once the body is reached: the name a fault's log line
// gives. Peeking is what the dispatcher does first anyway, and a second
// peek returns the element already read.
int parseAndDispatch(struct soap* soap, std::string* operation) {
  if (soap_envelope_begin_in(soap) || soap_recv_header(soap) ||
      soap_body_begin_in(soap)) {
    return soap->error;
  }
  if (soap_peek_element(soap) == SOAP_OK) *operation = soap->tag;
  if (soap_serve_request(soap)) return soap->error;
  if (soap->fserveloop && soap->fserveloop(soap)) return soap->error;
  return SOAP_OK;
}

// The fault for a failed message: the guard's reason when the guard
// stopped it (a client fault), else the engine's own.
void sendFault(struct soap* soap, const InputGuard& guard) {
  if (guard.refused()) {
    logError(kLogAlways, "Refused the request: %s", guard.refusal().c_str());
    soap_sender_fault(soap, guard.refusal().c_str(), nullptr);
  }
  soap_send_fault(soap);
}

// One line that says what went wrong and to whom, for people reading the
// log at the verbosity that shows errors: the operation, the caller, the
// engine's code and the fault's own words, as the client received them.
void logFaultReason(struct soap* soap, const std::string& operation) {
  const RequestCaller& caller = serviceContext(soap)->caller;
  const char* reason = soap_fault_string(soap);
  const char* detail = soap_fault_detail(soap);
  logNotice(kLogErrors, "Fault for %s by %s@%s: %s%s%s (engine code %d)",
            operation.empty() ? "(no operation)" : operation.c_str(),
            caller.user.empty() ? "(anonymous)" : caller.user.c_str(),
            caller.address.c_str(), reason != nullptr ? reason : "no reason",
            detail != nullptr && *detail != '\0' ? ": " : "",
            detail != nullptr ? detail : "", soap->error);
}

}  // namespace

int serveSoapMessage(struct soap* soap, const InputGuard& guard) {
  try {
    soap_begin(soap);
    useAuthenticationRealm(soap);  // soap_begin clears it
    if (soap_begin_recv(soap)) {
      logError(kLogAlways, "Failed on soap_begin_recv, soap->error = 0x%X; ",
               static_cast<unsigned>(soap->error));
      if (soap->error <= kLastFaultCode || guard.refused()) {
        sendFault(soap, guard);
      }
      soap_closesock(soap);
      return releaseRequestMemory(soap);
    }
    std::string operation;
    clearRefusals(serviceContext(soap));
    if (parseAndDispatch(soap, &operation) != SOAP_OK) {
      const int code = soap->error;
      logError(kLogAlways, "Failed in soap processing; ");
      sendFault(soap, guard);
      soap->error = code;  // sending may reset it; the line names the cause
      logFaultReason(soap, operation);
    }
    logRefusals(serviceContext(soap), operation);
    return releaseRequestMemory(soap);
  } catch (const std::exception& e) {
    logError(kLogAlways, "Exception in soap_serve processing: %s", e.what());
    // A throw can leave the engine without an error, and the engine sends
    // no fault for "no error": the caller would get no answer at all.
    if (soap->error == SOAP_OK) soap->error = SOAP_SVR_FAULT;
    soap_send_fault(soap);
    return releaseRequestMemory(soap);
  }
}

}  // namespace wsgated
