// CreateNode: a node (if it is new) and its first leaves.

#include <cstddef>
#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "contract/string_lists.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "soapH.h"

namespace wsgated {

namespace {

// The node to create: the base path without one trailing ":" or "/".
std::string nodePathOf(const std::string& basePath) {
  if (!basePath.empty() && (basePath.back() == ':' || basePath.back() == '/')) {
    return basePath.substr(0, basePath.size() - 1);
  }
  return basePath;
}

// Administering the store includes creating nodes in it. The leaves are
// checked by the write itself, which refuses the whole call when one may
// not be written.
bool mayCreate(ServiceContext* context, const std::string& nodePath) {
  toolkit::CPath node(nodePath);
  // A node path that does not parse is refused by the store itself.
  if (node.normalize() != 0 ||
      callerMay(context, toolkit::PCD_ACCESS_ADMIN, node)) {
    return true;
  }
  logNotice(kLogErrors, "Unauthorized node creation attempted on %s",
            nodePath.c_str());
  return false;
}

// Make sure the node exists; an existing node is left as it is.
bool ensureNode(ServiceContext* context, const std::string& nodePath) {
  toolkit::CCds& cds = context->cds;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds.test_node(nodePath, status) == 0 && status == API_STATUS_OK) {
    return true;
  }
  const int rc = cds.add_node(nodePath, status, changeSource(context->caller));
  return rc == 0 && status == API_STATUS_OK;
}

// The entry whose result answers the call: the last one that is exactly
// "Value", the first one when none is.
size_t answeringEntry(const std::vector<std::string>& paths) {
  size_t index = 0;
  for (size_t i = 0; i < paths.size(); ++i) {
    if (paths[i] == "Value") index = i;
  }
  return index;
}

}  // namespace

int createNode(ServiceContext* context, const std::string* optionsText,
               const std::string* basePath,
               const std::vector<std::string>& paths,
               const std::vector<std::string>& values, std::string& result) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  if (basePath == nullptr) {
    setBnwsError(kBnwsBadPathSyntax, "No node path provided", result, &options);
    return 0;
  }
  // Lists that do not pair up would leave leaves without values; a node
  // without leaves (no paths) is a normal request.
  std::vector<std::string> listError;
  if (!paths.empty() && !checkWriteLists(paths, values, options, listError)) {
    result = listError.front();
    return 0;
  }
  const std::string nodePath = nodePathOf(*basePath);
  std::vector<std::string> leafPaths;
  for (const std::string& entry : paths) leafPaths.push_back(*basePath + entry);
  // Refuse before the node is added: a refused call creates nothing.
  if (!mayCreate(context, nodePath)) return kWriteNotAuthorized;
  if (!ensureNode(context, nodePath)) {
    logInfo(kLogErrors, "Failed to create node %s", basePath->c_str());
    setBnwsError(kBnwsWriteFailed, "CreateNode()", result, &options);
    return 0;
  }
  std::vector<std::string> results;
  const int rc =
      writeValues(context, true, options, leafPaths, values, results);
  if (rc != 0) return rc;
  const size_t index = answeringEntry(paths);
  result = index < results.size() ? results[index] : std::string();
  return 0;
}

}  // namespace wsgated

int __nst1__CreateNode(struct soap* soap, struct _nst1__CreateNode* request,
                       struct _nst1__CreateNodeResponse& response) {
  return wsgated::createNode(
      wsgated::serviceContext(soap), request->options, request->basePath,
      wsgated::stringsFromList(request->paths),
      wsgated::stringsFromList(request->values), response.CreateNodeResult);
}
