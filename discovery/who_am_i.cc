// nsqv:whoAmI - the name under which the web server authenticated the
// caller.
//
// Without authentication the web server names no user and the answer is
// empty. The options are accepted and not used.

#include "common/service_context.h"
#include "soapH.h"

int __nsqv__whoAmI(struct soap* soap, struct _nsqv__whoAmI*,
                   struct _nsqv__whoAmIResponse& response) {
  response.result = wsgated::serviceContext(soap)->caller.user;
  return SOAP_OK;
}
