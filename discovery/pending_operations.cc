// pending_operations.cc - Device discovery operations not provided yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsqv__findAttributeMatches(struct soap* soap, struct _nsqv__findAttributeMatches*,
    struct _nsqv__findAttributeMatchesResponse&) {
  return operation_not_available(soap, "findAttributeMatches");
}
