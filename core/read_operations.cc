// nsc1:getValue, nsc1:getValues and nsc1:getRelativeValues: reads by path.
//
// Every failure travels in the result texts (read_path.h); the operations
// answer SOAP success whatever they read. Only an engine that cannot
// allocate the response list makes them fail (SOAP_EOM).

#include <string>
#include <vector>

#include "contract/string_lists.h"
#include "core/bnws_error.h"
#include "core/read_path.h"
#include "core/service_options.h"
#include "host/service_context.h"
#include "soapH.h"

int __nsc1__getValue(struct soap* soap, struct _nsc1__getValue* request,
                     struct _nsc1__getValueResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  if (request->path == nullptr) {
    setBnwsError(kBnwsBadPathSyntax, "No Path provided",
                 response.getValueResult, &options);
  } else {
    readValue(context, options, *request->path, response.getValueResult);
  }
  return SOAP_OK;
}

int __nsc1__getValues(struct soap* soap, struct _nsc1__getValues* request,
                      struct _nsc1__getValuesResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  std::vector<std::string> results(1);
  if (request->paths == nullptr) {
    setBnwsError(kBnwsNoPathsProvided, "No Paths provided", results[0],
                 &options);
  } else {
    readValues(context, options,
               StringsFromSoap(request->paths->__sizestring,
                               request->paths->string),
               results);
  }
  return StringsToSoap(soap, std::move(results),
                       response.__sizegetValuesResult,
                       response.getValuesResult) ? SOAP_OK : SOAP_EOM;
}

int __nsc1__getRelativeValues(
    struct soap* soap, struct _nsc1__getRelativeValues* request,
    struct _nsc1__getRelativeValuesResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  std::vector<std::string> results;
  readRelativeValues(context, options, request->basePath,
                     StringsFromSoap(request->__sizepaths, request->paths),
                     results);
  return StringsToSoap(soap, std::move(results),
                       response.__sizegetRelativeValuesResult,
                       response.getRelativeValuesResult) ? SOAP_OK : SOAP_EOM;
}
