// nst1:getSubscribedNodes (a test operation): the point paths of a
// subscription's real-time nodes, read back from their node names.

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/read_array.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "platform/path.h"
#include "publish/subscriptions.h"
#include "soapH.h"

namespace wsgated {

namespace {

std::vector<std::string> noMatch(const char* detail,
                                 const ServiceOptions& options) {
  std::vector<std::string> answer(1);
  setBnwsError(kBnwsNoMatchForSubscriberId, detail, answer[0], &options);
  return answer;
}

}  // namespace

std::vector<std::string> getSubscribedNodes(ServiceContext* context,
                                            const std::string* id) {
  ServiceOptions options;
  parseServiceOptions(context, nullptr, options);
  if (id == nullptr) return noMatch("No subscriptionId given", options);
  std::string path;
  if (!subscriptionPath(*id, path) ||
      !nodeExists(context->cds, path + "/RTNodes")) {
    return noMatch(id->c_str(), options);
  }
  // Read as the caller: a caller who may not read the area gets nothing.
  const std::string children = path + "/RTNodes:Children";
  std::vector<std::string> names;
  readArray(context, options, &children, names);
  std::vector<std::string> paths;
  if (names.empty() || names[0].compare(0, 2, "? ") == 0) return paths;
  for (const std::string& name : names) {
    if (name.empty()) break;
    paths.push_back(name[0] == '?'
                        ? name
                        : toolkit::CPath::DottedPathToNodePath(name));
  }
  return paths;
}

}  // namespace wsgated

int __nst1__getSubscribedNodes(
    struct soap* soap, struct _nst1__getSubscribedNodes* request,
    struct _nst1__getSubscribedNodesResponse& response) {
  return wsgated::stringsToSoap(
             soap,
             wsgated::getSubscribedNodes(wsgated::serviceContext(soap),
                                         request->subscriptionId),
             response.getSubscribedNodesResult.__sizestring,
             response.getSubscribedNodesResult.string)
             ? SOAP_OK
             : SOAP_EOM;
}
