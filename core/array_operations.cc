// nsc1:getArray, nsc1:getArrayRange and nsc1:getArraySize: list attributes
// read whole, as a stretch, or counted (arrays.h).

#include <cstdint>
#include <string>
#include <vector>

#include "contract/string_lists.h"
#include "core/arrays.h"
#include "core/service_options.h"
#include "host/service_context.h"
#include "soapH.h"

namespace {

// What the three operations begin with: their options, then the items of
// the array at `path` (or the one error item).
std::vector<std::string> readRequestedArray(struct soap* soap,
                                            const std::string* optionsText,
                                            const std::string* path,
                                            ServiceOptions& options) {
  ServiceContext* context = service_context(soap);
  parseServiceOptions(context, optionsText, options);
  std::vector<std::string> items;
  readArray(context, options, path, items);
  return items;
}

}  // namespace

int __nsc1__getArray(struct soap* soap, struct _nsc1__getArray* request,
                     struct _nsc1__getArrayResponse& response) {
  ServiceOptions options;
  std::vector<std::string> items =
      readRequestedArray(soap, request->options, request->path, options);
  return StringsToSoap(soap, std::move(items), response.__sizegetArrayResult,
                       response.getArrayResult) ? SOAP_OK : SOAP_EOM;
}

// Only the low 32 bits of index and count count, as on the device.
int __nsc1__getArrayRange(struct soap* soap,
                          struct _nsc1__getArrayRange* request,
                          struct _nsc1__getArrayRangeResponse& response) {
  ServiceOptions options;
  std::vector<std::string> items =
      readRequestedArray(soap, request->options, request->path, options);
  selectArrayRange(items, static_cast<uint32_t>(request->index),
                   static_cast<uint32_t>(request->count), options);
  return StringsToSoap(soap, std::move(items),
                       response.__sizegetArrayRangeResult,
                       response.getArrayRangeResult) ? SOAP_OK : SOAP_EOM;
}

int __nsc1__getArraySize(struct soap* soap, struct _nsc1__getArraySize* request,
                         struct _nsc1__getArraySizeResponse& response) {
  ServiceOptions options;
  const std::vector<std::string> items =
      readRequestedArray(soap, request->options, request->path, options);
  response.getArraySizeResult = arraySizeResult(items, options);
  return SOAP_OK;
}
