// The engine's subscription records and the plain records of
// subscriptions.h, converted at the operations' edges.

#include "contract/operation.h"
#include "publish/subscriptions.h"
#include "soapH.h"

namespace wsgated {

std::vector<NodeSubscription> nodeSubscriptionsFromSoap(
    const nsc1__ArrayOfNodeSubscription* array) {
  std::vector<NodeSubscription> nodes;
  if (array == nullptr || array->NodeSubscription == nullptr) return nodes;
  for (int i = 0; i < array->__sizeNodeSubscription; ++i) {
    const nsc1__NodeSubscription& given = array->NodeSubscription[i];
    NodeSubscription node;
    if (given.Path != nullptr) node.path = *given.Path;
    node.requestedFreshness = given.RequestedFreshness;
    node.deadbandPercent = given.DeadbandPercent;
    nodes.push_back(std::move(node));
  }
  return nodes;
}

bool resultsToSoap(struct soap* soap, const RealTimeNodeResults& results,
                   nsc1__ArrayOfRealTimeNodeSubscriptionResult*& array) {
  array = nullptr;
  if (!results) return true;
  array = soap_new_nsc1__ArrayOfRealTimeNodeSubscriptionResult(soap);
  if (array == nullptr) return false;
  array->__sizeRealTimeNodeSubscriptionResult = 0;
  array->RealTimeNodeSubscriptionResult = nullptr;
  if (results->empty()) return true;
  const int count = static_cast<int>(results->size());
  nsc1__RealTimeNodeSubscriptionResult* items =
      soap_new_nsc1__RealTimeNodeSubscriptionResult(soap, count);
  if (items == nullptr) return false;
  for (int i = 0; i < count; ++i) {
    const RealTimeNodeResult& result = (*results)[i];
    items[i].Value = soap_new_std__string(soap);
    items[i].NumericValue = soap_new_std__string(soap);
    if (items[i].Value == nullptr || items[i].NumericValue == nullptr) {
      return false;
    }
    *items[i].Value = result.value;
    *items[i].NumericValue = result.numericValue;
    items[i].Quality = result.quality;
    items[i].Time = result.time;
  }
  array->__sizeRealTimeNodeSubscriptionResult = count;
  array->RealTimeNodeSubscriptionResult = items;
  return true;
}

int answerResults(struct soap* soap, int rc, const std::string& fault,
                  const RealTimeNodeResults& results,
                  nsc1__ArrayOfRealTimeNodeSubscriptionResult*& array) {
  if (rc == kSubscriptionClientFault) return clientFault(soap, fault);
  if (rc != 0) return rc;
  return resultsToSoap(soap, results, array) ? SOAP_OK : SOAP_EOM;
}

}  // namespace wsgated
