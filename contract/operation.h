// Helpers shared by the SOAP operations of every subsystem.
//
// An operation is the plain function that soapcpp2 declares for it in
// soapStub.h (for example __nsc1__getValue); it returns SOAP_OK or an
// engine error code, and a non-zero code makes the dispatcher answer with
// a SOAP fault instead of the response.

#ifndef CONTRACT_OPERATION_H_
#define CONTRACT_OPERATION_H_

#include <string>

struct soap;

namespace wsgated {

// An optional text field of a request: the engine leaves an element the
// client did not send as a null pointer. Operations that treat a missing
// text exactly like an empty one read it through this.
inline const std::string& optionalText(const std::string* text) {
  static const std::string kEmpty;
  return text != nullptr ? *text : kEmpty;
}

// Answers a request that the operation refuses as the client's mistake:
// sets a SOAP client fault (Sender in SOAP 1.2, "SOAP-ENV:Client" in SOAP
// 1.1) whose reason is `reason`, and returns the engine's client-fault code
// (1), which the operation returns.
//
//   return clientFault(soap, "No such subscriptionId to cancel");
int clientFault(struct soap* soap, const std::string& reason);

}  // namespace wsgated

#endif  // CONTRACT_OPERATION_H_
