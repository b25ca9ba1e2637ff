// Operations of this folder that are not served yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsk7__sendDeviceCmd(struct soap* soap, struct _nsk7__sendDeviceCmd*,
                          struct _nsk7__sendDeviceCmdResponse&) {
  return wsgated::operationNotAvailable(soap, "sendDeviceCmd");
}

int __nsk7__getDeviceCmdResult(struct soap* soap,
                               struct _nsk7__getDeviceCmdResult*,
                               struct _nsk7__getDeviceCmdResultResponse&) {
  return wsgated::operationNotAvailable(soap, "getDeviceCmdResult");
}
