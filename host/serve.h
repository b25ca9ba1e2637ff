// One SOAP exchange, step by step.
//
// This is the engine's own serve sequence written out, so that a failure
// is logged with the step and the engine's code: begin, receive, envelope,
// header, body, dispatch (soap_serve_request, generated from the contract).

#ifndef HOST_SERVE_H_
#define HOST_SERVE_H_

struct soap;

#include "host/input_guard.h"

namespace wsgated {

// Parse the request on the engine's input, dispatch it and send the
// response or a fault. Always returns 0: failures are logged and answered.
// A message that `guard` stopped is answered with HTTP 400 and the
// guard's reason. The engine's per-request memory is released before
// returning.
int serveSoapMessage(struct soap* soap, const InputGuard& guard);

}  // namespace wsgated

#endif  // HOST_SERVE_H_
