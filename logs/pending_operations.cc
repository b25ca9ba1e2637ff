// Operations of this folder that are not served yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsqv__getActiveAlarms(struct soap* soap, struct _nsqv__getActiveAlarms*,
                            struct _nsqv__getActiveAlarmsResponse&) {
  return wsgated::operationNotAvailable(soap, "getActiveAlarms");
}
