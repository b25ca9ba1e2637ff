// The gSOAP engine's transport: the streams of the current FastCGI request.
//
// The engine reads the request body with frecv and writes the whole reply
// (CGI "Status:" and header lines, then the envelope) with fsend. Both read
// the request from the ServiceContext, so the loop only has to keep
// ctx->request pointing at the request being served.

#ifndef HOST_FCGI_IO_H_
#define HOST_FCGI_IO_H_

#include <cstddef>

#include "host/input_guard.h"

struct soap;

namespace wsgated {

// Install the receive and send hooks in `soap`.
void installFcgiHooks(struct soap* soap);

// The engine's receive hook: up to `length` bytes of the request body, as
// far as the input guard admits them; 0 at its end, after a refusal, or
// when there is no current request, buffer or length.
size_t fcgiReceive(struct soap* soap, char* buffer, size_t length);
// The engine's send hook: 0 on success, -1 (EOF) on failure or without an
// output stream or data.
int fcgiSend(struct soap* soap, const char* data, size_t length);

// Start a new request: no bytes sent, a fresh input guard.
void beginFcgiRequest();

// Bytes sent since the request began: the loop checks after each request
// that something was answered, because nginx turns a silent request into a
// 502.
size_t fcgiBytesSent();

// The guard the request body passes on its way to the engine.
const InputGuard& fcgiInputGuard();

}  // namespace wsgated

#endif  // HOST_FCGI_IO_H_
