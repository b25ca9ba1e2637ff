// Helpers shared by the SOAP operations.

#include "contract/operation.h"

#include <string>

#include "soapH.h"

namespace wsgated {

int operationNotAvailable(struct soap* soap, const char* operation) {
  std::string reason = std::string(operation) + ": operation not available yet";
  // The engine keeps only the pointer; the text must live in its own memory
  // until the fault has been sent, which is after we return.
  return soap_receiver_fault(soap, soap_strdup(soap, reason.c_str()), nullptr);
}

int clientFault(struct soap* soap, const std::string& reason) {
  soap_sender_fault(soap, soap_strdup(soap, reason.c_str()), nullptr);
  return SOAP_CLI_FAULT;
}

}  // namespace wsgated
