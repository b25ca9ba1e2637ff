// nsc1:getArraySize: the number of items of a list attribute (arrays.h).

#include <string>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "core/arrays.h"
#include "soapH.h"

using wsgated::ServiceOptions;

int __nsc1__getArraySize(struct soap* soap, struct _nsc1__getArraySize* request,
                         struct _nsc1__getArraySizeResponse& response) {
  ServiceOptions options;
  const std::vector<std::string> items = wsgated::readRequestedArray(
      wsgated::serviceContext(soap), request->options, request->path, options);
  response.getArraySizeResult = wsgated::arraySizeResult(items, options);
  return SOAP_OK;
}
