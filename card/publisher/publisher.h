// The publisher: delivers the subscriptions the web services write into the
// publisher's area (docs/publish.md).
//
// Each step:
//   1. notices changes: a new SubUpdateCount means the set of
//      subscriptions changed and all are read again; otherwise each
//      subscription's real-time node list is compared with the one last
//      read (an update of the nodes leaves the counter alone) and a
//      subscription whose list changed, or that vanished, is read again;
//   2. ends leases: a subscription whose lease passed (LeaseDuration
//      milliseconds after its ReplyURI was last written, which a
//      createSubscription of the same identifier does again) is removed
//      and SubUpdateCount bumped;
//   3. reads the real-time nodes that are due (each no more often than its
//      RqstdFreshness) and queues, per subscription, one message with the
//      first value of each new node and every value that moved past its
//      dead band since the one last sent, and the log records its
//      LogOptions ask for that were not sent yet (log_feed.h).
// Values are read with the rights of the subscription's owner: a point the
// owner may not read is never sent. Limits per owner (subscriptions, and
// real-time nodes over all of them) keep one user from taking the card's
// time; what is beyond them is logged and left out.
//
// Delivery runs in one thread per subscription (delivery.h), so no
// subscriber delays the steps or the others.

#ifndef CARD_PUBLISHER_PUBLISHER_H_
#define CARD_PUBLISHER_PUBLISHER_H_

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "card/common/card_process.h"
#include "card/publisher/delivery.h"
#include "card/publisher/log_feed.h"
#include "card/publisher/subscription_reader.h"
#include "platform/cds.h"
#include "platform/element.h"

namespace wsgated {

// True when `now` is to be sent after `last` was: any change of a value
// without a dead band or of a non-number; a number's change of more than
// `deadbandPercent` percent of the last value sent.
bool movedPastDeadband(const toolkit::CElement& last,
                       const toolkit::CElement& now, double deadbandPercent);

class Publisher : public Companion {
 public:
  explicit Publisher(QrxClock clock = nullptr);
  ~Publisher() override;

  std::string usage() const override;
  bool configure(const std::vector<std::string>& args,
                 std::string* error) override;
  double paceSeconds() const override { return checkSeconds_; }
  bool start(toolkit::CCds& store) override;
  void step(toolkit::CCds& store) override;
  void stop(toolkit::CCds& store) override;

  // What the subscription `id` delivered so far (tests, the benchmark).
  DeliveryCounts counts(const std::string& id) const;

 private:
  struct NodeState {
    RealTimeNode node;
    bool readable = false;   // by the owner, when last judged
    bool overLimit = false;  // beyond its owner's nodes
    bool sent = false;
    toolkit::CElement last;
    int64_t dueUs = 0;
  };
  struct Tracked {
    Subscription subscription;
    std::vector<NodeState> nodes;
    std::unique_ptr<DeliveryQueue> queue;
    std::unique_ptr<LogFeed> logs;  // null without LogOptions
    bool overLimit = false;  // beyond its owner's subscriptions
  };

  void reloadAll(toolkit::CCds& store);
  void refreshNodes(toolkit::CCds& store);
  // Builds the tracked form of `subscription`, keeping the states of the
  // nodes `previous` (may be null) had already.
  std::unique_ptr<Tracked> track(toolkit::CCds& store,
                                 Subscription subscription,
                                 Tracked* previous);
  void applyLimits();
  void endLeases(toolkit::CCds& store, int64_t nowUs);
  // Removes `ended` and bumps the counter, unless it was created again
  // since it was read; false when it stays (renewed, or the store busy).
  bool removeEnded(toolkit::CCds& store, const Subscription& ended);
  // The values due now that moved, then the new log records, as one
  // message on the subscription's queue (none when there is nothing).
  void publish(toolkit::CCds& store, Tracked& tracked, int64_t nowUs,
               LogReaders& logs);
  void collectValues(toolkit::CCds& store, Tracked& tracked, int64_t nowUs,
                     Notification& notification);
  // Rights change while subscriptions last: when users, roles or rules
  // changed since the last look, every node is judged again, so that the
  // change holds from this look on at the cost of one store call a look.
  void judgeRightsIfChanged(toolkit::CCds& store);
  // Judges whether the owner may read the node; a change is logged once.
  static void judgeRights(toolkit::CCds& store, const std::string& owner,
                          NodeState& state);

  QrxClock clock_;
  double checkSeconds_ = 0.5;
  int maxSubscriptions_ = 10;  // per owner
  int maxNodes_ = 1000;        // per owner, over all their subscriptions
  DeliveryOptions delivery_;
  LogFiles logFiles_;
  int64_t lastCount_ = -2;     // -2: never read
  long long rightsGeneration_ = -1;  // of the rights last judged
  std::map<std::string, std::unique_ptr<Tracked>> tracked_;
};

}  // namespace wsgated

#endif  // CARD_PUBLISHER_PUBLISHER_H_
