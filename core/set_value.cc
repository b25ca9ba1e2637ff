// nsc1:setValue: one write by path.
//
// Failures travel in the result text (common/write_path.h), except refused
// write rights: the operation then returns kWriteNotAuthorized and the
// engine answers HTTP 401 without a response.

#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "soapH.h"

using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsc1__setValue(struct soap* soap, struct _nsc1__setValue* request,
                     struct _nsc1__setValueResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  return wsgated::writeValue(context, false, options, request->path,
                             request->value, response.setValueResult);
}
