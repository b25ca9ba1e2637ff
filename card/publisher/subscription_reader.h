// Reading the publisher's area (docs/publish.md): the subscriptions the
// web services wrote, each with its owner, lease and real-time nodes.
//
// The area changes under the reader: a subscription may vanish or be
// replaced between two looks, and its leaves may be half removed. Reading
// never fails as a whole for that: a subscription whose leaves cannot all
// be read is left out (and logged), and the next look sees it again.

#ifndef CARD_PUBLISHER_SUBSCRIPTION_READER_H_
#define CARD_PUBLISHER_SUBSCRIPTION_READER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/cds.h"

namespace wsgated {

// One subscribed point: its path and what its real-time node asks.
struct RealTimeNode {
  std::string path;          // the point's node path, "/Devices/Meter1/X"
  int freshnessMs = 0;       // RqstdFreshness
  double deadbandPercent = 0;  // Deadband
};

struct Subscription {
  std::string id;
  std::string replyUri;
  std::string owner;         // the user of ReplyURI's writer; "" unknown
  int64_t createdUs = 0;     // ReplyURI's time stamp, qrx time
  int64_t leaseMs = 0;       // 0 or less: no lease
  int64_t logSinceUs = 0;    // qrx time
  int logOptions = 0;        // SubscribeLogOptions bits
  std::vector<RealTimeNode> nodes;
  // The RTNodes child list as read: a change of it (an update of the
  // subscription, which does not bump SubUpdateCount) means a new look.
  std::string nodeNames;
};

// SubUpdateCount, or -1 when it cannot be read.
int64_t readSubUpdateCount(toolkit::CCds& store);

// The names of the subscriptions below the area (none when it is missing).
std::vector<std::string> listSubscriptions(toolkit::CCds& store);

// "<id>/RTNodes:Children" of subscription `id`; false when it is gone.
bool readNodeNames(toolkit::CCds& store, const std::string& id,
                   std::string& names);

// Subscription `id` whole: false when it vanished or a leaf it needs is
// missing or of the wrong kind (the reason is logged). A real-time node
// whose own leaves are gone is left out, the others kept.
bool readSubscription(toolkit::CCds& store, const std::string& id,
                      Subscription& subscription);

// The time stamp of subscription `id`'s ReplyURI leaf (when it was last
// created), qrx time. False when the leaf cannot be read.
bool readCreatedUs(toolkit::CCds& store, const std::string& id,
                   int64_t& createdUs);

// The lease's end in qrx time, or 0 for a subscription without lease.
int64_t leaseEndUs(const Subscription& subscription);

}  // namespace wsgated

#endif  // CARD_PUBLISHER_SUBSCRIPTION_READER_H_
