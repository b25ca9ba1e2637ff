// nsc1:getValue: one attribute by path, as text.
//
// Every failure travels in the result text (common/read_path.h); the
// operation answers SOAP success whatever it reads.

#include "common/bnws_error.h"
#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "soapH.h"

using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsc1__getValue(struct soap* soap, struct _nsc1__getValue* request,
                     struct _nsc1__getValueResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  if (request->path == nullptr) {
    wsgated::setBnwsError(wsgated::kBnwsBadPathSyntax, "No Path provided",
                          response.getValueResult, &options);
  } else {
    wsgated::readValue(context, options, *request->path,
                       response.getValueResult);
  }
  return SOAP_OK;
}
