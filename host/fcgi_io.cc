// Engine I/O hooks over FCGX streams.

#include "host/fcgi_io.h"

#include <fcgiapp.h>
#include <stdsoap2.h>

#include <climits>

#include "host/service_context.h"

namespace {

// The daemon serves one request at a time on one thread.
size_t g_bytes_sent = 0;

FCGX_Request* CurrentRequest(struct soap* soap) {
  ServiceContext* ctx = service_context(soap);
  return ctx ? ctx->request : nullptr;
}

// FCGX takes int lengths; larger blocks are never asked for by the engine,
// but are clamped rather than truncated to a negative value.
int ClampLength(size_t length) {
  return length > INT_MAX ? INT_MAX : static_cast<int>(length);
}

}  // namespace

size_t FcgiReceive(struct soap* soap, char* buffer, size_t length) {
  FCGX_Request* request = CurrentRequest(soap);
  if (request == nullptr || request->in == nullptr || buffer == nullptr ||
      length == 0) {
    return 0;
  }
  int got = FCGX_GetStr(buffer, ClampLength(length), request->in);
  return got > 0 ? static_cast<size_t>(got) : 0;
}

int FcgiSend(struct soap* soap, const char* data, size_t length) {
  FCGX_Request* request = CurrentRequest(soap);
  if (request == nullptr || request->out == nullptr || data == nullptr ||
      length == 0) {
    return SOAP_EOF;
  }
  while (length > 0) {
    int chunk = ClampLength(length);
    if (FCGX_PutStr(data, chunk, request->out) != chunk) return SOAP_EOF;
    g_bytes_sent += static_cast<size_t>(chunk);
    data += chunk;
    length -= static_cast<size_t>(chunk);
  }
  return SOAP_OK;
}

void InstallFcgiHooks(struct soap* soap) {
  soap->frecv = FcgiReceive;
  soap->fsend = FcgiSend;
}

size_t FcgiBytesSent() { return g_bytes_sent; }
void ResetFcgiBytesSent() { g_bytes_sent = 0; }
