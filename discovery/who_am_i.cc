// nsqv:whoAmI - the name under which the web server authenticated the
// caller.
//
// The request loop exports the request's REMOTE_USER into the environment
// for the length of the request; without authentication it is unset and
// the answer is empty. The options are accepted and not used.

#include "host/request_context.h"
#include "soapH.h"

int __nsqv__whoAmI(struct soap*, struct _nsqv__whoAmI*,
                   struct _nsqv__whoAmIResponse& response) {
  response.result = RequestUser();
  return SOAP_OK;
}
