// RemoveNode: a node with its subtree, or one leaf.

#include <string>

#include "admin/node_admin.h"
#include "contract/operation.h"
#include "core/bnws_error.h"
#include "core/service_options.h"
#include "core/write_path.h"
#include "host/service_context.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

int removeNode(ServiceContext* context, const std::string* optionsText,
               const std::string* basePath, std::string& result) {
  ServiceOptions options;
  parseServiceOptions(context, optionsText, options);
  const std::string& given = OptionalText(basePath);
  toolkit::CPath path(given);
  const std::string source = changeSourceText();
  if (path.normalize() != 0) {
    if (g_syslog) g_syslog->info(1, "Error in supplied path %s", given.c_str());
    setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path", result,
                 &options);
    return 0;
  }
  if (!path.is_remove_authorized(context->cds)) {
    if (g_syslog) {
      g_syslog->notice(1, "Unauthorized node removal attempted on %s",
                       given.c_str());
    }
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
  if (g_syslog) g_syslog->info(1, "Error removing node %s", given.c_str());
  setBnwsError(kBnwsNodeNotFound, "CDS Error removing node", result, &options);
  return 0;
}
