// The gSOAP engine's transport: the streams of the current FastCGI request.
//
// The engine reads the request body with frecv and writes the whole reply
// (CGI "Status:" and header lines, then the envelope) with fsend. Both read
// the request from the ServiceContext, so the loop only has to keep
// ctx->request pointing at the request being served.

#ifndef HOST_FCGI_IO_H_
#define HOST_FCGI_IO_H_

#include <cstddef>

struct soap;

namespace wsgated {

// Install the receive and send hooks in `soap`.
void installFcgiHooks(struct soap* soap);

// The engine's receive hook: up to `length` bytes of the request body;
// 0 at its end or when there is no current request, buffer or length.
size_t fcgiReceive(struct soap* soap, char* buffer, size_t length);
// The engine's send hook: 0 on success, -1 (EOF) on failure or without an
// output stream or data.
int fcgiSend(struct soap* soap, const char* data, size_t length);

// Bytes sent since the last reset: the loop checks after each request that
// something was answered, because nginx turns a silent request into a 502.
size_t fcgiBytesSent();
void resetFcgiBytesSent();

}  // namespace wsgated

#endif  // HOST_FCGI_IO_H_
