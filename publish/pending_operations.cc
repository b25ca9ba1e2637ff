// Operations of this folder that are not served yet.
//
// Each answers a SOAP server fault naming itself, so a client can tell a
// missing operation from a failed one.  An operation moves out of this
// file into its own source when it is implemented.

#include "contract/operation.h"
#include "soapH.h"

int __nsc1__createSubscription(struct soap* soap,
                               struct _nsc1__createSubscription*,
                               struct _nsc1__createSubscriptionResponse&) {
  return wsgated::operationNotAvailable(soap, "createSubscription");
}

int __nsc1__updateSubscriptionRealTimeNodes(
    struct soap* soap, struct _nsc1__updateSubscriptionRealTimeNodes*,
    struct _nsc1__updateSubscriptionRealTimeNodesResponse&) {
  return wsgated::operationNotAvailable(soap,
                                        "updateSubscriptionRealTimeNodes");
}

int __nsc1__cancelSubscription(struct soap* soap,
                               struct _nsc1__cancelSubscription*,
                               struct _nsc1__cancelSubscriptionResponse&) {
  return wsgated::operationNotAvailable(soap, "cancelSubscription");
}

int __nst1__getSubscribedNodes(struct soap* soap,
                               struct _nst1__getSubscribedNodes*,
                               struct _nst1__getSubscribedNodesResponse&) {
  return wsgated::operationNotAvailable(soap, "getSubscribedNodes");
}
