// nsc1:getArrayRange: a stretch of a list attribute (arrays.h).

#include <cstdint>
#include <string>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "core/arrays.h"
#include "soapH.h"

using wsgated::ServiceOptions;

// Only the low 32 bits of index and count count, as on the device.
int __nsc1__getArrayRange(struct soap* soap,
                          struct _nsc1__getArrayRange* request,
                          struct _nsc1__getArrayRangeResponse& response) {
  ServiceOptions options;
  std::vector<std::string> items = wsgated::readRequestedArray(
      wsgated::serviceContext(soap), request->options, request->path, options);
  wsgated::selectArrayRange(items, static_cast<uint32_t>(request->index),
                            static_cast<uint32_t>(request->count), options);
  return wsgated::stringsToSoap(soap, std::move(items),
                                response.__sizegetArrayRangeResult,
                                response.getArrayRangeResult)
             ? SOAP_OK
             : SOAP_EOM;
}
