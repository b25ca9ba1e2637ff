// nsc1:updateSubscriptionRealTimeNodes: real-time nodes added to and
// removed from an existing subscription, and its RTNodeCount recounted.
//
// RTNodeCount here is the number of real-time nodes present afterwards
// (createSubscription counts the results it answered), and SubUpdateCount
// is left alone: the publisher's contract has it so (docs/publish.md).

#include <string>
#include <vector>

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/write_path.h"
#include "contract/string_lists.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "publish/subscriptions.h"
#include "soapH.h"

namespace wsgated {

namespace {

// Remove the real-time node of each path; a path that has none is no error.
void removeRealTimeNodes(ServiceContext* context,
                         const std::vector<std::string>& paths,
                         const std::string& subscription) {
  const std::string source = changeSource(context->caller);
  for (const std::string& point : paths) {
    const std::string name = toolkit::CPath::PathToNodeName(point);
    // Without a name the path would be RTNodes itself.
    if (name.empty()) continue;
    api_status_t status = API_STATUS_UNKNOWN;
    context->cds.remove_node(subscription + "/RTNodes/" + name, status,
                             source);
  }
}

// RTNodeCount := the children RTNodes has now. The store's own list, not
// the caller's read: the count must not depend on who asks.
void recount(ServiceContext* context, const std::string& subscription) {
  std::vector<std::string> children;
  if (toolkit::CPath::getAttributeList(subscription + "/RTNodes",
                                       context->cds, "Children",
                                       children) != 0) {
    return;
  }
  toolkit::CCds_SwInfo info(&context->cds, subscription);
  info.SetIntValue(subscription, "/RTNodeCount",
                   static_cast<int>(children.size()),
                   changeSource(context->caller));
}

}  // namespace

int updateSubscriptionRealTimeNodes(
    ServiceContext* context, const std::string* id,
    const std::vector<NodeSubscription>& nodesToAdd,
    const std::vector<std::string>& pathsToRemove,
    RealTimeNodeResults& results, std::string& fault) {
  results.reset();
  ServiceOptions options;
  parseServiceOptions(context, nullptr, options);
  if (id == nullptr || id->empty()) {
    logInfo(kLogErrors,
            "updateSubscriptionRealTimeNodes: NULL Subscription ID provided");
    fault = "No subscriptionId given";
    return kSubscriptionClientFault;
  }
  std::string path;
  toolkit::CCds& cds = context->cds;
  toolkit::CCdsGroup group(cds);
  if (subscriptionPath(*id, path) && nodeExists(cds, path) &&
      nodeExists(cds, path + "/RTNodes")) {
    if (!mayChangeSubscription(context, path)) return kWriteNotAuthorized;
    registerRealTimeNodes(context, nodesToAdd, path, results);
    removeRealTimeNodes(context, pathsToRemove, path);
    recount(context, path);
    if (group.Commit() == 0) return 0;
    logError(kLogErrors, "updateSubscriptionRealTimeNodes: could not commit %s",
             path.c_str());
    results.reset();
    fault = "The store refused the update";
    return kSubscriptionClientFault;
  }
  logInfo(kLogErrors, "No such Subscription (%s) to update", id->c_str());
  RealTimeNodeResult missing;
  setBnwsError(kBnwsNoMatchForSubscriberId,
               "updateSubscriptionRealTimeNodes() failed", missing.value,
               &options);
  missing.time = qrx_UTCtime64();
  results.emplace(1, missing);
  return 0;
}

}  // namespace wsgated

int __nsc1__updateSubscriptionRealTimeNodes(
    struct soap* soap, struct _nsc1__updateSubscriptionRealTimeNodes* request,
    struct _nsc1__updateSubscriptionRealTimeNodesResponse& response) {
  wsgated::RealTimeNodeResults results;
  std::string fault;
  const int rc = wsgated::updateSubscriptionRealTimeNodes(
      wsgated::serviceContext(soap), request->subscriptionId,
      wsgated::nodeSubscriptionsFromSoap(request->realTimeNodesToAdd),
      wsgated::stringsFromList(request->realTimeNodesToRemove), results,
      fault);
  return wsgated::answerResults(
      soap, rc, fault, results, response.updateSubscriptionRealTimeNodesResult);
}
