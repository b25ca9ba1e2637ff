// nsc1:getValues: many attributes by path in one store call.
//
// Every failure travels in the result texts (common/read_path.h); only an
// engine that cannot allocate the response list fails the call (SOAP_EOM).

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "soapH.h"

using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsc1__getValues(struct soap* soap, struct _nsc1__getValues* request,
                      struct _nsc1__getValuesResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  std::vector<std::string> results(1);
  if (request->paths == nullptr) {
    wsgated::setBnwsError(wsgated::kBnwsNoPathsProvided, "No Paths provided",
                          results[0], &options);
  } else {
    wsgated::readValues(context, options,
                        wsgated::stringsFromSoap(request->paths->__sizestring,
                                                 request->paths->string),
                        results);
  }
  return wsgated::stringsToSoap(soap, std::move(results),
                                response.__sizegetValuesResult,
                                response.getValuesResult)
             ? SOAP_OK
             : SOAP_EOM;
}
