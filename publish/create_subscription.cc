// nsc1:createSubscription: a subscription node written from its template,
// then the request's values, the counter and the real-time nodes.
//
// The whole subscription is one store transaction: the publisher sees the
// old subscription or the new one, never a mix, and a refused or failed
// request leaves the store as it was. Inside it the writes keep the order
// the publisher's contract names (docs/publish.md).

#include <exception>
#include <string>

#include "common/log.h"
#include "common/service_context.h"
#include "common/write_path.h"
#include "contract/operation.h"
#include "platform/cds.h"
#include "platform/element.h"
#include "platform/qrxtime.h"
#include "publish/subscriptions.h"
#include "soapH.h"

namespace wsgated {

namespace {

const char* const kRefusedByStore = "The store refused the subscription";

// Step by step after the old subscription is gone: template, values,
// counter, real-time nodes. Returns what createSubscription returns.
int writeSubscription(ServiceContext* context, const NewSubscription& request,
                      const std::string& path, RealTimeNodeResults& results,
                      std::string& fault) {
  toolkit::CCds& cds = context->cds;
  const std::string source = changeSource(context->caller);
  if (loadNodeLeaves(cds, path, kSubscriptionTemplate, 6, source) != 0) {
    fault = kRefusedByStore;
    return kSubscriptionClientFault;
  }
  if (!context->caller.address.empty()) {
    logInfo(kLogActivity, "New subscription from remote address of %s",
            context->caller.address.c_str());
  }
  api_status_t status = API_STATUS_UNKNOWN;
  cds.set_leaf(path + "/ReplyURI/Value", toolkit::CElement(request.replyUri),
               status, PCD_TRIBOOL_FALSE, source);
  toolkit::CCds_SwInfo info(&cds, path);
  info.SetIntValue(path, "/LeaseDuration", request.leaseDuration, source);
  timeval since{};
  qrx_QRXtoUNIXtime64(request.logSinceTime, &since);
  const toolkit::CElement sinceElement(since);
  cds.set_leaf(path + "/LogSinceTime/Value", sinceElement, status,
               PCD_TRIBOOL_FALSE, source);
  logInfo(kLogActivity, "timeSince set into CDS as %s",
          sinceElement.to_string().c_str());
  info.SetIntValue(path, "/LogOptions", request.logOptions, source);
  // Without the counter's change the publisher would not look: the
  // subscription stays written, but nothing is answered for its nodes.
  if (bumpSubUpdateCount(context) != 0) return 0;
  registerRealTimeNodes(context, request.realTimeNodes, path, results);
  if (results) {
    info.SetIntValue(path, "/RTNodeCount", static_cast<int>(results->size()),
                     source);
  }
  return 0;
}

int createInGroup(ServiceContext* context, const NewSubscription& request,
                  const std::string& path, RealTimeNodeResults& results,
                  std::string& fault) {
  toolkit::CCds& cds = context->cds;
  toolkit::CCdsGroup group(cds);
  context->swinfo.SetAppStatus(toolkit::APP_STATUS_UPDATING);
  if (nodeExists(cds, path)) {
    if (!mayChangeSubscription(context, path)) return kWriteNotAuthorized;
    logInfo(kLogActivity, "Removing previous subscriptionId = %s",
            request.id.c_str());
    api_status_t status = API_STATUS_UNKNOWN;
    cds.remove_node(path, status, changeSource(context->caller));
  }
  const int rc = writeSubscription(context, request, path, results, fault);
  if (rc != 0) {
    results.reset();
    return rc;
  }
  if (group.Commit() != 0) {
    logError(kLogErrors, "createSubscription: could not commit %s",
             path.c_str());
    results.reset();
    fault = kRefusedByStore;
    return kSubscriptionClientFault;
  }
  return 0;
}

}  // namespace

int createSubscription(ServiceContext* context, const NewSubscription& request,
                       RealTimeNodeResults& results, std::string& fault) {
  results.reset();
  if (request.id.empty()) {
    logInfo(kLogErrors, "createSubscription: No SubscriptionID provided");
    return 0;
  }
  try {
    logInfo(kLogActivity, "createSubscription for subscriptionId = %s",
            request.id.c_str());
    std::string path;
    if (!subscriptionPath(request.id, path)) {
      logInfo(kLogErrors, "createSubscription: unusable subscriptionId %s",
              request.id.c_str());
      fault = "The subscriptionId cannot name a subscription";
      return kSubscriptionClientFault;
    }
    return createInGroup(context, request, path, results, fault);
  } catch (const std::exception& e) {
    logError(kLogErrors, "Exception: %s", e.what());
    results.reset();
    return 0;
  }
}

}  // namespace wsgated

int __nsc1__createSubscription(struct soap* soap,
                               struct _nsc1__createSubscription* request,
                               struct _nsc1__createSubscriptionResponse& response) {
  wsgated::NewSubscription subscription;
  subscription.id = wsgated::optionalText(request->subscriptionId);
  subscription.replyUri = wsgated::optionalText(request->replyUri);
  subscription.leaseDuration = request->leaseDuration;
  subscription.realTimeNodes =
      wsgated::nodeSubscriptionsFromSoap(request->realTimeNodes);
  subscription.logSinceTime = request->logSinceTime;
  subscription.logOptions = static_cast<int>(request->subscribeLogOptions);
  wsgated::RealTimeNodeResults results;
  std::string fault;
  const int rc = wsgated::createSubscription(wsgated::serviceContext(soap),
                                             subscription, results, fault);
  return wsgated::answerResults(soap, rc, fault, results,
                                response.createSubscriptionResult);
}
