// nsc1:cancelSubscription: a subscription removed, and the publisher told
// by SubUpdateCount. An unknown identifier is the client's mistake: a SOAP
// client fault.

#include <string>

#include "common/log.h"
#include "common/service_context.h"
#include "common/write_path.h"
#include "contract/operation.h"
#include "platform/cds.h"
#include "publish/subscriptions.h"
#include "soapH.h"

namespace wsgated {

int cancelSubscription(ServiceContext* context, const std::string* id,
                       std::string& fault) {
  const std::string& given = optionalText(id);
  std::string path;
  toolkit::CCds& cds = context->cds;
  // The removal and the counter's change are seen together.
  toolkit::CCdsGroup group(cds);
  if (subscriptionPath(given, path) && nodeExists(cds, path)) {
    if (!mayChangeSubscription(context, path)) return kWriteNotAuthorized;
    logInfo(kLogActivity, "Canceling subscriptionId = %s", given.c_str());
    api_status_t status = API_STATUS_UNKNOWN;
    cds.remove_node(path, status, changeSource(context->caller));
    bumpSubUpdateCount(context);
    if (group.Commit() == 0) return 0;
    logError(kLogErrors, "cancelSubscription: could not commit %s",
             path.c_str());
    fault = "The store refused the cancellation";
    return kSubscriptionClientFault;
  }
  logInfo(kLogErrors, "cancelSubscription: No such Subscription ID to cancel as %s",
          given.c_str());
  logInfo(kLogActivity, "The Missing Subscription's Path is %s/%s",
          kSubscriptionsNode, given.c_str());
  fault = "No such subscriptionId to cancel";
  return kSubscriptionClientFault;
}

}  // namespace wsgated

int __nsc1__cancelSubscription(struct soap* soap,
                               struct _nsc1__cancelSubscription* request,
                               struct _nsc1__cancelSubscriptionResponse&) {
  std::string fault;
  const int rc = wsgated::cancelSubscription(wsgated::serviceContext(soap),
                                             request->subscriptionId, fault);
  return rc == wsgated::kSubscriptionClientFault
             ? wsgated::clientFault(soap, fault)
             : rc;
}
