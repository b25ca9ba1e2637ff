// Subscriptions: the publisher's area of the store and the four operations
// that keep it (docs/publish.md is the contract with the publisher).
//
// The service delivers no notifications itself. A subscription is a node
// below kSubscriptionsNode, filled from fixed templates, that the publisher
// process reads; every change of the set of subscriptions adds one to
// "<kPublisherNode>/SubUpdateCount" so that the publisher notices it. Every
// leaf of a subscription is written with the caller's change source, so the
// writer of its ReplyURI leaf names whose subscription it is.
//
// The operations' logic is in the functions below, which tests drive
// without the engine; each operation's file ends with the entry point that
// converts the engine's records (node_subscriptions.cc).

#ifndef PUBLISH_SUBSCRIPTIONS_H_
#define PUBLISH_SUBSCRIPTIONS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/publisher_area.h"
#include "platform/swinfo.h"

struct soap;
struct nsc1__ArrayOfNodeSubscription;
struct nsc1__ArrayOfRealTimeNodeSubscriptionResult;

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

struct ServiceContext;

// Paths of the area are formed in buffers of this size, as the publisher
// forms them: 255 characters at most.
constexpr size_t kSubscriptionPathBuffer = 256;

// The leaves of a subscription node and of one real-time node, in creation
// order (docs/publish.md has them as tables).
extern const toolkit::tagnval kSubscriptionTemplate[6];
extern const toolkit::tagnval kRealTimeNodeTemplate[3];

// One requested point (nsc1:NodeSubscription); an absent Path is "".
struct NodeSubscription {
  std::string path;
  int requestedFreshness = 0;  // milliseconds
  double deadbandPercent = 0.0;
};

// The answer for one accepted point (nsc1:RealTimeNodeSubscriptionResult).
struct RealTimeNodeResult {
  std::string value;         // the rendered value, or an error result
  std::string numericValue;  // "" when the value could not be read
  uint16_t quality = 0;
  int64_t time = 0;  // device time
};

// A result array, or none at all (the response then has no array).
using RealTimeNodeResults = std::optional<std::vector<RealTimeNodeResult>>;

// createSubscription's request.
struct NewSubscription {
  std::string id;        // absent: ""
  std::string replyUri;  // absent: ""
  int leaseDuration = 0;
  std::vector<NodeSubscription> realTimeNodes;  // absent: none
  int64_t logSinceTime = 0;                     // device time
  int logOptions = 0;                           // SubscribeLogOptions bits
};

// The return values of the operations below, besides 0 (answered) and
// kWriteNotAuthorized (the subscription is another user's: HTTP 401,
// nothing changed).
constexpr int kSubscriptionClientFault = 1;  // `fault` holds the reason

// The node of subscription `id`, "<kSubscriptionsNode>/<id>", in `path`.
// False (and "") when `id` cannot name a subscription of its own: empty,
// holding "/", not a node name (":", a leading ".", "..", control
// characters, a well-known attribute's name), or so long that the path
// does not fit the buffer (cut, it would name another subscription).
bool subscriptionPath(const std::string& id, std::string& path);

// Whether the node at `path` exists.
bool nodeExists(toolkit::CCds& cds, const std::string& path);

// Fill the node at `nodePath` from `count` template entries, in order, with
// the change source `source`. Returns 0, or the first entry's non-zero
// result (-1 after an exception, which is logged).
int loadNodeLeaves(toolkit::CCds& cds, const std::string& nodePath,
                   const toolkit::tagnval* entries, size_t count,
                   const std::string& source);

// Write the real-time nodes of `nodes` below "<subscription>/RTNodes" and
// answer each accepted one with its point's present value, read with the
// caller's rights. No nodes: no array.
void registerRealTimeNodes(ServiceContext* context,
                           const std::vector<NodeSubscription>& nodes,
                           const std::string& subscription,
                           RealTimeNodeResults& results);

// Whether the caller may replace, change or cancel the existing
// subscription at `subscription`: it is the caller's own, or the caller is
// an Administrator of the area. Logs a refusal.
bool mayChangeSubscription(ServiceContext* context,
                           const std::string& subscription);

// Add one to SubUpdateCount, as the caller. Returns 0 on success.
int bumpSubUpdateCount(ServiceContext* context);

// The operations. Each returns 0, kSubscriptionClientFault or
// kWriteNotAuthorized as described above.
int createSubscription(ServiceContext* context, const NewSubscription& request,
                       RealTimeNodeResults& results, std::string& fault);
int updateSubscriptionRealTimeNodes(
    ServiceContext* context, const std::string* id,
    const std::vector<NodeSubscription>& nodesToAdd,
    const std::vector<std::string>& pathsToRemove,
    RealTimeNodeResults& results, std::string& fault);
int cancelSubscription(ServiceContext* context, const std::string* id,
                       std::string& fault);
// getSubscribedNodes answers only texts: the subscribed paths, or one
// error result.
std::vector<std::string> getSubscribedNodes(ServiceContext* context,
                                            const std::string* id);

// The engine's records and ours (node_subscriptions.cc).
std::vector<NodeSubscription> nodeSubscriptionsFromSoap(
    const nsc1__ArrayOfNodeSubscription* array);
// Copies `results` into memory the engine owns; none gives a null array.
// False when the engine could not allocate.
bool resultsToSoap(struct soap* soap, const RealTimeNodeResults& results,
                   nsc1__ArrayOfRealTimeNodeSubscriptionResult*& array);
// The engine's answer to an operation that returned `rc` with `results`
// or `fault`: a client fault, the engine's code, or the results in `array`.
int answerResults(struct soap* soap, int rc, const std::string& fault,
                  const RealTimeNodeResults& results,
                  nsc1__ArrayOfRealTimeNodeSubscriptionResult*& array);

}  // namespace wsgated

#endif  // PUBLISH_SUBSCRIPTIONS_H_
