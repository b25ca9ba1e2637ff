// nsqv:getLeafDescriptors - per leaf below a base path: the text a read of
// it gives, its change time and its leaf type (leaf_descriptors.h).
//
// Failures travel in the texts; only an engine that cannot allocate the
// descriptor list makes the call fail (SOAP_EOM).

#include <string>
#include <vector>

#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/operation.h"
#include "contract/string_lists.h"
#include "discovery/leaf_descriptors.h"
#include "soapH.h"

using wsgated::describeLeaves;
using wsgated::LeafDescriptor;
using wsgated::optionalText;
using wsgated::parseServiceOptions;
using wsgated::ServiceContext;
using wsgated::serviceContext;
using wsgated::ServiceOptions;
using wsgated::stringsFromSoap;

int __nsqv__getLeafDescriptors(
    struct soap* soap, struct _nsqv__getLeafDescriptors* request,
    struct _nsqv__getLeafDescriptorsResponse& response) {
  ServiceContext* context = serviceContext(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  std::vector<LeafDescriptor> leaves;
  describeLeaves(context, options, optionalText(request->basePath),
                 stringsFromSoap(request->__sizeleafPaths, request->leafPaths),
                 response.result, leaves);
  response.__sizedescriptors = 0;
  response.descriptors = nullptr;
  if (leaves.empty()) return SOAP_OK;
  const int count = static_cast<int>(leaves.size());
  nsqv__leafDescriptor* descriptors =
      soap_new_nsqv__leafDescriptor(soap, count);
  if (descriptors == nullptr) return SOAP_EOM;
  for (int i = 0; i < count; ++i) {
    descriptors[i].result = std::move(leaves[i].result);
    descriptors[i].leafChangeTime = leaves[i].changeTime;
    // The store's property codes are the LeafTypes values (Normal,
    // Persistent, Automatic, MPL = 0..3), passed through unchanged.
    descriptors[i].leafType = static_cast<nsqv__LeafTypes>(leaves[i].leafType);
  }
  response.__sizedescriptors = count;
  response.descriptors = descriptors;
  return SOAP_OK;
}
