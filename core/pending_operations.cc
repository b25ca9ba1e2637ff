// pending_operations.cc - Core data access operations not provided yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsc1__setValue(struct soap* soap, struct _nsc1__setValue*,
    struct _nsc1__setValueResponse&) {
  return operation_not_available(soap, "setValue");
}

int __nsc1__setValues(struct soap* soap, struct _nsc1__setValues*,
    struct _nsc1__setValuesResponse&) {
  return operation_not_available(soap, "setValues");
}

