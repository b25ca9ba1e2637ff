// Sending a subscriber its messages, in the order they were made, without
// holding up anyone else.
//
// Each subscription has a DeliveryQueue: a bounded queue and a thread of
// its own that posts one message at a time to the reply address. A
// subscriber that is slow, dead or answering errors fills only its own
// queue; when the queue is full the oldest message is dropped (and
// counted), so the newest values still arrive once it recovers.
//
// One post: the address is checked and resolved again (reply_address.h)
// and the transport pinned to the address checked; connect, send (no
// progress for that long) and total time-outs; no redirects; https with
// the peer's certificate and name verified; the body sent at once (no
// "Expect: 100-continue" round trip, which receivers that do not answer
// it would turn into a second's wait), and the connection kept for the
// next message. A 2xx answer delivers the
// message, whatever its body; anything else (another status, a time-out, a
// refused connection) is retried up to `retries` more times, waiting
// `backoffMs`, then twice that, and so on, before the message is dropped.

#ifndef CARD_PUBLISHER_DELIVERY_H_
#define CARD_PUBLISHER_DELIVERY_H_

#include <cstdint>
#include <memory>
#include <set>
#include <string>

namespace wsgated {

struct DeliveryOptions {
  long connectMs = 5000;
  long sendMs = 10000;   // no bytes moving for this long ends a post
  long totalMs = 20000;
  int retries = 3;
  long backoffMs = 1000;
  size_t queueLimit = 100;  // messages waiting per subscriber
  std::set<std::string> allowedAddresses;
  std::set<std::string> ownAddresses;
};

struct DeliveryCounts {
  uint64_t delivered = 0;
  uint64_t failed = 0;   // given up after the retries
  uint64_t dropped = 0;  // pushed out of a full queue
  uint64_t refused = 0;  // an address that may not be sent to
};

class DeliveryQueue {
 public:
  DeliveryQueue(const std::string& id, const std::string& replyUri,
                const DeliveryOptions& options);
  // Stops the thread without waiting for it: a post under way is cut as
  // soon as the transport looks, what waits is lost.
  ~DeliveryQueue();
  DeliveryQueue(const DeliveryQueue&) = delete;
  DeliveryQueue& operator=(const DeliveryQueue&) = delete;

  const std::string& replyUri() const;

  // Queues one message (a whole SOAP envelope).
  void push(std::string message);

  DeliveryCounts counts();

 private:
  // What the queue's thread shares with the queue. The thread keeps it
  // alive on its own: a queue that is dropped leaves its thread to finish
  // the post under way (a name lookup cannot be cut short) without
  // holding up whoever dropped it.
  struct State;
  static void run(std::shared_ptr<State> state);
  // Posts `message` once on `curl` (the thread's handle, which keeps the
  // connection open between posts); true when answered 2xx.
  static bool post(State& state, void* curl, const std::string& message);
  // Waits `ms` or until stopped; false when stopped.
  static bool pause(State& state, long ms);

  std::shared_ptr<State> state_;
};

}  // namespace wsgated

#endif  // CARD_PUBLISHER_DELIVERY_H_
