// Operations of this folder that are not served yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsqv__getTrendPeriods(struct soap* soap, struct _nsqv__getTrendPeriods*,
                            struct _nsqv__getTrendPeriodsResponse&) {
  return wsgated::operationNotAvailable(soap, "getTrendPeriods");
}

int __nsqv__getDeviceTrendParams(struct soap* soap,
                                 struct _nsqv__getDeviceTrendParams*,
                                 struct _nsqv__getDeviceTrendParamsResponse&) {
  return wsgated::operationNotAvailable(soap, "getDeviceTrendParams");
}

int __nsqv__getTrendData(struct soap* soap, struct _nsqv__getTrendData*,
                         struct _nsqv__getTrendDataResponse&) {
  return wsgated::operationNotAvailable(soap, "getTrendData");
}
