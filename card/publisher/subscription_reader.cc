#include "card/publisher/subscription_reader.h"

#include "common/log.h"
#include "common/publisher_area.h"
#include "common/value_conversion.h"
#include "platform/event.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

const char* const kWebServicesOrigin = "Web-Services";

std::string subscriptionPath(const std::string& id) {
  return std::string(kSubscriptionsNode) + "/" + id;
}

// The subscription's own leaves, in the order `readSubscription` reads them.
const char* const kLeaves[] = {"/ReplyURI/Value", "/LeaseDuration/Value",
                               "/LogSinceTime/Value", "/LogOptions/Value"};

// The leaves of the real-time nodes named in `names`, read in one call;
// a node whose leaves are gone (removed while we looked) is left out.
void readNodes(toolkit::CCds& store, const std::string& base,
               const std::vector<std::string>& names,
               std::vector<RealTimeNode>& nodes) {
  std::vector<std::string> paths;
  for (const std::string& name : names) {
    paths.push_back(base + "/RTNodes/" + name + "/RqstdFreshness/Value");
    paths.push_back(base + "/RTNodes/" + name + "/Deadband/Value");
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  if (paths.empty() ||
      store.get_leaves(paths, statuses, elements, properties) != 0) {
    return;
  }
  for (size_t i = 0; i < names.size(); ++i) {
    if (statuses[2 * i] != API_STATUS_OK ||
        statuses[2 * i + 1] != API_STATUS_OK) {
      logNotice(kLogActivity, "Publisher: real-time node %s of %s is gone",
                names[i].c_str(), base.c_str());
      continue;
    }
    RealTimeNode node;
    node.path = toolkit::CPath::DottedPathToNodePath(names[i]);
    node.freshnessMs = elements[2 * i].to_int();
    node.deadbandPercent = elements[2 * i + 1].to_double();
    nodes.push_back(node);
  }
}

}  // namespace

int64_t readSubUpdateCount(toolkit::CCds& store) {
  toolkit::CElement element;
  return readGoodLeaf(store, std::string(kSubUpdateCountPath) + "/Value",
                      element)
             ? element.to_int()
             : -1;
}

std::vector<std::string> listSubscriptions(toolkit::CCds& store) {
  std::vector<std::string> names;
  toolkit::CPath::getAttributeList(kSubscriptionsNode, store, "Children",
                                   names);
  return names;
}

bool readNodeNames(toolkit::CCds& store, const std::string& id,
                   std::string& names) {
  toolkit::CElement element;
  if (!readGoodLeaf(store, subscriptionPath(id) + "/RTNodes:Children",
                    element)) {
    return false;
  }
  names = element.to_string();
  return true;
}

bool readSubscription(toolkit::CCds& store, const std::string& id,
                      Subscription& subscription) {
  const std::string base = subscriptionPath(id);
  std::vector<std::string> paths;
  for (const char* leaf : kLeaves) paths.push_back(base + leaf);
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, elements, properties) != 0) {
    return false;
  }
  for (size_t i = 0; i < paths.size(); ++i) {
    if (statuses[i] != API_STATUS_OK) {
      logNotice(kLogActivity, "Publisher: %s cannot be read (status %d)",
                paths[i].c_str(), static_cast<int>(statuses[i]));
      return false;
    }
  }
  subscription = Subscription();
  subscription.id = id;
  subscription.replyUri = elements[0].to_string();
  subscription.createdUs = qrx_UNIXtoQRXtime64(&elements[0].get_time());
  subscription.leaseMs = elements[1].to_int();
  const timeval since = elements[2].to_timeval();
  subscription.logSinceUs = qrx_UNIXtoQRXtime64(&since);
  subscription.logOptions = elements[3].to_int();

  api_status_t status = API_STATUS_UNKNOWN;
  std::string writer, origin, address;
  if (store.get_leaf_writer(paths[0], status, writer) != 0 ||
      status != API_STATUS_OK ||
      !toolkit::CEvent::parse_source_string(writer, origin,
                                            subscription.owner, address) ||
      origin != kWebServicesOrigin) {
    // Without a known owner nothing may be read for it.
    logNotice(kLogErrors, "Publisher: subscription %s has no owner (%s)",
              id.c_str(), writer.c_str());
    subscription.owner.clear();
  }
  if (!readNodeNames(store, id, subscription.nodeNames)) return false;
  readNodes(store, base,
            toolkit::CElement::split_string(subscription.nodeNames, ';'),
            subscription.nodes);
  return true;
}

bool readCreatedUs(toolkit::CCds& store, const std::string& id,
                   int64_t& createdUs) {
  toolkit::CElement element;
  if (!readGoodLeaf(store, subscriptionPath(id) + "/ReplyURI/Value",
                    element)) {
    return false;
  }
  createdUs = qrx_UNIXtoQRXtime64(&element.get_time());
  return true;
}

int64_t leaseEndUs(const Subscription& subscription) {
  if (subscription.leaseMs <= 0) return 0;
  return subscription.createdUs + subscription.leaseMs * 1000;
}

}  // namespace wsgated
