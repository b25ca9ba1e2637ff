// Engine I/O hooks over FCGX streams.

#include "host/fcgi_io.h"

#include <fcgiapp.h>
#include <stdsoap2.h>

#include <climits>

#include "common/service_context.h"

namespace wsgated {

namespace {

// The daemon serves one request at a time on one thread.
size_t g_bytesSent = 0;
InputGuard g_inputGuard;

FCGX_Request* currentRequest(struct soap* soap) {
  ServiceContext* ctx = serviceContext(soap);
  return ctx ? ctx->request : nullptr;
}

// FCGX takes int lengths; larger blocks are never asked for by the engine,
// but are clamped rather than truncated to a negative value.
int clampLength(size_t length) {
  return length > INT_MAX ? INT_MAX : static_cast<int>(length);
}

}  // namespace

size_t fcgiReceive(struct soap* soap, char* buffer, size_t length) {
  FCGX_Request* request = currentRequest(soap);
  if (request == nullptr || request->in == nullptr || buffer == nullptr ||
      length == 0) {
    return 0;
  }
  if (g_inputGuard.refused()) return 0;
  int got = FCGX_GetStr(buffer, clampLength(length), request->in);
  return got > 0 ? g_inputGuard.admit(buffer, static_cast<size_t>(got)) : 0;
}

int fcgiSend(struct soap* soap, const char* data, size_t length) {
  FCGX_Request* request = currentRequest(soap);
  if (request == nullptr || request->out == nullptr || data == nullptr ||
      length == 0) {
    return SOAP_EOF;
  }
  while (length > 0) {
    int chunk = clampLength(length);
    if (FCGX_PutStr(data, chunk, request->out) != chunk) return SOAP_EOF;
    g_bytesSent += static_cast<size_t>(chunk);
    data += chunk;
    length -= static_cast<size_t>(chunk);
  }
  return SOAP_OK;
}

void installFcgiHooks(struct soap* soap) {
  soap->frecv = fcgiReceive;
  soap->fsend = fcgiSend;
}

void beginFcgiRequest() {
  g_bytesSent = 0;
  g_inputGuard.reset();
}

size_t fcgiBytesSent() { return g_bytesSent; }

const InputGuard& fcgiInputGuard() { return g_inputGuard; }

}  // namespace wsgated
