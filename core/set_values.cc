// nsc1:setValues: many writes by path, stored all together or not at all.
//
// Failures travel in the result texts (common/write_path.h), except refused
// write rights on any one path: the engine then answers HTTP 401. An engine
// that cannot allocate the response list fails the call too (SOAP_EOM).

#include <string>
#include <utility>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "contract/string_lists.h"
#include "soapH.h"

using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsc1__setValues(struct soap* soap, struct _nsc1__setValues* request,
                      struct _nsc1__setValuesResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  const std::vector<std::string> paths =
      wsgated::stringsFromSoap(request->__sizepaths, request->paths);
  const std::vector<std::string> values =
      wsgated::stringsFromSoap(request->__sizevalues, request->values);
  std::vector<std::string> results;
  if (wsgated::checkWriteLists(paths, values, options, results)) {
    const int refused =
        wsgated::writeValues(context, false, options, paths, values, results);
    if (refused != 0) return refused;
  }
  return wsgated::stringsToSoap(soap, std::move(results),
                                response.__sizesetValuesResult,
                                response.setValuesResult)
             ? SOAP_OK
             : SOAP_EOM;
}
