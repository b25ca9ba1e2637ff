// pending_operations.cc - Device discovery operations not provided yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsqv__getDeviceTree(struct soap* soap, struct _nsqv__getDeviceTree*,
    struct _nsqv__getDeviceTreeResponse&) {
  return operation_not_available(soap, "getDeviceTree");
}

int __nsqv__getLeafDescriptors(struct soap* soap, struct _nsqv__getLeafDescriptors*,
    struct _nsqv__getLeafDescriptorsResponse&) {
  return operation_not_available(soap, "getLeafDescriptors");
}

int __nsqv__whoAmI(struct soap* soap, struct _nsqv__whoAmI*,
    struct _nsqv__whoAmIResponse&) {
  return operation_not_available(soap, "whoAmI");
}

int __nsqv__getLocalAndUtcTime(struct soap* soap, struct _nsqv__getLocalAndUtcTime*,
    struct _nsqv__getLocalAndUtcTimeResponse&) {
  return operation_not_available(soap, "getLocalAndUtcTime");
}

int __nsqv__findAttributeMatches(struct soap* soap, struct _nsqv__findAttributeMatches*,
    struct _nsqv__findAttributeMatchesResponse&) {
  return operation_not_available(soap, "findAttributeMatches");
}
