// The caller of one request: connection tracking and the request's locale.
//
// Only a caller's first request (its address is new to the connection
// table) is served in the language its Accept-Language header negotiates;
// every later request from that address is served in en_US.UTF-8. Clients
// of the device rely on this: they ask for translated texts once, when a
// session starts, and parse untranslated ones afterwards.

#ifndef HOST_REQUEST_CONTEXT_H_
#define HOST_REQUEST_CONTEXT_H_

namespace wsgated {

struct ServiceContext;

// The connection table's node: ".../Connections/BACnet WebServices".
extern const char* const kConnxnsNode;

// Record ctx->caller in ctx->connxns and set ctx->currentLocale (only when
// locale support is set up).
void setupRequestContext(ServiceContext* ctx);

}  // namespace wsgated

#endif  // HOST_REQUEST_CONTEXT_H_
