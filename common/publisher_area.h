// Where the publisher's area lies in the store. The subscription operations
// write it and the card's publisher reads it (docs/publish.md describes
// its leaves, their order and whose a subscription is).

#ifndef COMMON_PUBLISHER_AREA_H_
#define COMMON_PUBLISHER_AREA_H_

namespace wsgated {

// "/Software/Data Servers/WS-Publisher" and its "/Subscriptions".
extern const char* const kPublisherNode;
extern const char* const kSubscriptionsNode;
// "<kPublisherNode>/SubUpdateCount": +1 whenever the set of subscriptions
// changes, so that the publisher notices it.
extern const char* const kSubUpdateCountPath;

}  // namespace wsgated

#endif  // COMMON_PUBLISHER_AREA_H_
