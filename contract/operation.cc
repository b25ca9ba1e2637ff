// Helpers shared by the SOAP operations.

#include "contract/operation.h"

#include <string>

#include "soapH.h"

namespace wsgated {

int clientFault(struct soap* soap, const std::string& reason) {
  soap_sender_fault(soap, soap_strdup(soap, reason.c_str()), nullptr);
  return SOAP_CLI_FAULT;
}

}  // namespace wsgated
