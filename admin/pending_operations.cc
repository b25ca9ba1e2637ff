// pending_operations.cc - Node administration operations not provided yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nst1__CreateNode(struct soap* soap, struct _nst1__CreateNode*,
    struct _nst1__CreateNodeResponse&) {
  return operation_not_available(soap, "CreateNode");
}

int __nst1__SetLeaf(struct soap* soap, struct _nst1__SetLeaf*,
    struct _nst1__SetLeafResponse&) {
  return operation_not_available(soap, "SetLeaf");
}

int __nst1__SetLeaves(struct soap* soap, struct _nst1__SetLeaves*,
    struct _nst1__SetLeavesResponse&) {
  return operation_not_available(soap, "SetLeaves");
}

int __nst1__Reset(struct soap* soap, struct _nst1__Reset*,
    struct _nst1__ResetResponse&) {
  return operation_not_available(soap, "Reset");
}

int __nst1__RemoveNode(struct soap* soap, struct _nst1__RemoveNode*,
    struct _nst1__RemoveNodeResponse&) {
  return operation_not_available(soap, "RemoveNode");
}
