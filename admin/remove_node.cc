// RemoveNode: a node with its subtree, or one leaf.

#include <string>

#include "admin/node_admin.h"
#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "contract/operation.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "soapH.h"

namespace wsgated {

int removeNode(ServiceContext* context, const std::string* optionsText,
               const std::string* basePath, std::string& result) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  const std::string& given = optionalText(basePath);
  toolkit::CPath path(given);
  const std::string source = changeSource(context->caller);
  if (path.normalize() != 0) {
    logInfo(kLogErrors, "Error in supplied path %s", given.c_str());
    setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path", result,
                 &options);
    return 0;
  }
  if (!callerMay(context, toolkit::PCD_ACCESS_REMOVE, path)) {
    logNotice(kLogErrors, "Unauthorized node removal attempted on %s",
              given.c_str());
    return kWriteNotAuthorized;
  }
  // "<node>:<attribute>" names one leaf; the store takes the path as given.
  api_status_t status = API_STATUS_UNKNOWN;
  const int rc = given.find(':') != std::string::npos
                     ? context->cds.clear_leaf(given, status, source)
                     : context->cds.remove_node(given, status, source);
  if (rc == 0 && status == API_STATUS_OK) {
    result.clear();
    return 0;
  }
  logInfo(kLogErrors, "Error removing node %s", given.c_str());
  setBnwsError(kBnwsNodeNotFound, "CDS Error removing node", result, &options);
  return 0;
}

}  // namespace wsgated

int __nst1__RemoveNode(struct soap* soap, struct _nst1__RemoveNode* request,
                       struct _nst1__RemoveNodeResponse& response) {
  return wsgated::removeNode(wsgated::serviceContext(soap), request->options,
                             request->basePath, response.RemoveNodeResult);
}
