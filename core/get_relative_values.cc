// nsc1:getRelativeValues: many attributes by paths relative to a base path,
// joined without a separator (common/read_path.h).

#include <string>
#include <vector>

#include "common/read_path.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "soapH.h"

using wsgated::ServiceContext;
using wsgated::ServiceOptions;

int __nsc1__getRelativeValues(
    struct soap* soap, struct _nsc1__getRelativeValues* request,
    struct _nsc1__getRelativeValuesResponse& response) {
  ServiceContext* context = wsgated::serviceContext(soap);
  ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  std::vector<std::string> results;
  wsgated::readRelativeValues(
      context, options, request->basePath,
      wsgated::stringsFromSoap(request->__sizepaths, request->paths), results);
  return wsgated::stringsToSoap(soap, std::move(results),
                                response.__sizegetRelativeValuesResult,
                                response.getRelativeValuesResult)
             ? SOAP_OK
             : SOAP_EOM;
}
