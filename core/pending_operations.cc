// pending_operations.cc - Core data access operations not provided yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsc1__getValue(struct soap* soap, struct _nsc1__getValue*,
    struct _nsc1__getValueResponse&) {
  return operation_not_available(soap, "getValue");
}

int __nsc1__getValues(struct soap* soap, struct _nsc1__getValues*,
    struct _nsc1__getValuesResponse&) {
  return operation_not_available(soap, "getValues");
}

int __nsc1__getRelativeValues(struct soap* soap, struct _nsc1__getRelativeValues*,
    struct _nsc1__getRelativeValuesResponse&) {
  return operation_not_available(soap, "getRelativeValues");
}

int __nsc1__getArray(struct soap* soap, struct _nsc1__getArray*,
    struct _nsc1__getArrayResponse&) {
  return operation_not_available(soap, "getArray");
}

int __nsc1__getArrayRange(struct soap* soap, struct _nsc1__getArrayRange*,
    struct _nsc1__getArrayRangeResponse&) {
  return operation_not_available(soap, "getArrayRange");
}

int __nsc1__getArraySize(struct soap* soap, struct _nsc1__getArraySize*,
    struct _nsc1__getArraySizeResponse&) {
  return operation_not_available(soap, "getArraySize");
}

int __nsc1__setValue(struct soap* soap, struct _nsc1__setValue*,
    struct _nsc1__setValueResponse&) {
  return operation_not_available(soap, "setValue");
}

int __nsc1__setValues(struct soap* soap, struct _nsc1__setValues*,
    struct _nsc1__setValuesResponse&) {
  return operation_not_available(soap, "setValues");
}

int __nsc1__getDefaultLocale(struct soap* soap, struct _nsc1__getDefaultLocale*,
    struct _nsc1__getDefaultLocaleResponse&) {
  return operation_not_available(soap, "getDefaultLocale");
}

int __nsc1__getSupportedLocales(struct soap* soap, struct _nsc1__getSupportedLocales*,
    struct _nsc1__getSupportedLocalesResponse&) {
  return operation_not_available(soap, "getSupportedLocales");
}
