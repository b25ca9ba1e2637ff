// The caller of one request: connection tracking and the request's locale.
//
// Only a caller's first request (its address is new to the connection
// table) is served in the language its Accept-Language header negotiates;
// every later request from that address is served in en_US.UTF-8. Clients
// of the device rely on this: they ask for translated texts once, when a
// session starts, and parse untranslated ones afterwards.

#ifndef HOST_REQUEST_CONTEXT_H_
#define HOST_REQUEST_CONTEXT_H_

#include <string>

struct ServiceContext;

// What the loop knows of the caller of the request being served.
struct RequestIdentity {
  std::string address;    // REMOTE_ADDR, at most 64 characters
  std::string user;       // REMOTE_USER, at most 64 characters
  bool https = false;     // HTTPS == "on"
  std::string languages;  // HTTP_ACCEPT_LANGUAGE or "en_US.UTF-8"
};

// The exported identity of the request being served, "" when it has none
// (the web server sent no user, or no request is being served).
const char* RequestUser();     // REMOTE_USER
const char* RequestAddress();  // REMOTE_ADDR

// Record the caller in ctx->connxns and set ctx->current_locale (only when
// locale support is set up).
void SetupRequestContext(ServiceContext* ctx, const RequestIdentity& caller);

#endif  // HOST_REQUEST_CONTEXT_H_
