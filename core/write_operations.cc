// nsc1:setValue and nsc1:setValues: writes by path.
//
// Failures travel in the result texts (write_path.h), except refused write
// rights: the operation then returns kWriteNotAuthorized and the engine
// answers HTTP 401 without a response. An engine that cannot allocate the
// response list fails the call too (SOAP_EOM).

#include <string>
#include <utility>
#include <vector>

#include "contract/string_lists.h"
#include "core/service_options.h"
#include "core/write_path.h"
#include "host/service_context.h"
#include "soapH.h"

int __nsc1__setValue(struct soap* soap, struct _nsc1__setValue* request,
                     struct _nsc1__setValueResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  return writeValue(context, false, options, request->path, request->value,
                    response.setValueResult);
}

int __nsc1__setValues(struct soap* soap, struct _nsc1__setValues* request,
                      struct _nsc1__setValuesResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  const std::vector<std::string> paths =
      StringsFromSoap(request->__sizepaths, request->paths);
  const std::vector<std::string> values =
      StringsFromSoap(request->__sizevalues, request->values);
  std::vector<std::string> results;
  if (checkWriteLists(paths, values, options, results) == 1) {
    const int refused =
        writeValues(context, false, options, paths, values, results);
    if (refused != 0) return refused;
  }
  return StringsToSoap(soap, std::move(results),
                       response.__sizesetValuesResult,
                       response.setValuesResult) ? SOAP_OK : SOAP_EOM;
}
