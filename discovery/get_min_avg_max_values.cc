// nsqv:getMinAvgMaxValues.
//
// The operation is part of the published contract, but the device keeps
// no minimum/average/maximum statistics to answer it from.  Every call is
// therefore answered with the engine's generic fault: returning
// SOAP_SVR_FAULT (2) without a fault text makes the dispatcher send a
// well-formed fault with the reason "Server fault" under the code
// "Sender" and HTTP 400 ("SOAP-ENV:Client" and HTTP 500 in SOAP 1.1), and
// no field of the response is produced.  Clients rely on the fault, so it must stay a
// fault and not become an empty response.

#include "soapH.h"

int __nsqv__getMinAvgMaxValues(struct soap*, struct _nsqv__getMinAvgMaxValues*,
                               struct _nsqv__getMinAvgMaxValuesResponse&) {
  return SOAP_SVR_FAULT;
}
