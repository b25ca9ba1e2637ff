// nsc1:getArray: a list attribute read whole (arrays.h).

#include <string>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "core/arrays.h"
#include "soapH.h"

using wsgated::ServiceOptions;

int __nsc1__getArray(struct soap* soap, struct _nsc1__getArray* request,
                     struct _nsc1__getArrayResponse& response) {
  ServiceOptions options;
  std::vector<std::string> items = wsgated::readRequestedArray(
      wsgated::serviceContext(soap), request->options, request->path, options);
  return wsgated::stringsToSoap(soap, std::move(items),
                                response.__sizegetArrayResult,
                                response.getArrayResult)
             ? SOAP_OK
             : SOAP_EOM;
}
