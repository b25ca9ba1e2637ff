// Operations of this folder that are not served yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsqv__getWaveformConfig(struct soap* soap,
                              struct _nsqv__getWaveformConfig*,
                              struct _nsqv__getWaveConfigResponse&) {
  return wsgated::operationNotAvailable(soap, "getWaveformConfig");
}

int __nsqv__getWaveformData(struct soap* soap, struct _nsqv__getWaveformData*,
                            struct _nsqv__getWaveDataResponse&) {
  return wsgated::operationNotAvailable(soap, "getWaveformData");
}
