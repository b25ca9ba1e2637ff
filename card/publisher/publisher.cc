#include "card/publisher/publisher.h"

#include <curl/curl.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "card/publisher/notification.h"
#include "card/publisher/reply_address.h"
#include "common/log.h"
#include "common/publisher_area.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "platform/security.h"
#include "platform/utils.h"

namespace wsgated {

namespace {

const char* const kSource = "Publisher";
const char* const kDefaultDeltaLog = "/var/lib/wsgated/logs/deadband.db";
const char* const kDefaultEventLog = "/var/lib/wsgated/logs/alarms.db";
const char* const kDefaultSystemLog = "/var/lib/wsgated/logs/system.db";

bool isNumber(const toolkit::CElement& element) {
  const data_type_t type = element.get_type();
  return type == PCD_TYPE_INT || type == PCD_TYPE_UINT ||
         type == PCD_TYPE_REAL;
}

bool takeMilliseconds(const std::string& text, long* ms) {
  double seconds = 0;
  if (!parseSeconds(text, &seconds)) return false;
  *ms = std::max(1L, std::lround(seconds * 1000));
  return true;
}

// The daemon works in "/", so every log location is absolute.
bool setPath(const std::string& value, std::string& path) {
  if (value.empty() || value[0] != '/') return false;
  path = value;
  return true;
}

}  // namespace

bool movedPastDeadband(const toolkit::CElement& last,
                       const toolkit::CElement& now, double deadbandPercent) {
  if (deadbandPercent <= 0 || !isNumber(last) || !isNumber(now)) {
    return now != last;
  }
  const double before = last.to_double();
  return std::fabs(now.to_double() - before) >
         std::fabs(before) * deadbandPercent / 100.0;
}

Publisher::Publisher(QrxClock clock)
    : clock_(clock ? std::move(clock) : [] { return qrx_UTCtime64(); }) {
  logFiles_.deltaLog =
      pathFromEnvironment("WSGATED_DELTA_LOG", kDefaultDeltaLog);
  logFiles_.eventLog =
      pathFromEnvironment("WSGATED_EVENT_LOG", kDefaultEventLog);
  logFiles_.systemLog =
      pathFromEnvironment("WSGATED_SYSTEM_LOG", kDefaultSystemLog);
}

Publisher::~Publisher() = default;

std::string Publisher::usage() const {
  return "  --check-seconds S        seconds between looks at the area and "
         "the values (0.5)\n"
         "  --allow-address A        also send to address A (a loopback, "
         "link-local or own\n"
         "                           address); repeatable\n"
         "  --connect-seconds S      connect time-out (5)\n"
         "  --send-seconds S         no progress for this long ends a post "
         "(10)\n"
         "  --total-seconds S        one post at most this long (20)\n"
         "  --retries N              retries of a failed post, 0..10 (3)\n"
         "  --backoff-seconds S      wait before the first retry, doubled "
         "after each (1)\n"
         "  --queue-limit N          messages waiting per subscriber (100)\n"
         "  --max-subscriptions N    subscriptions per user (10)\n"
         "  --max-nodes N            real-time nodes per user (1000)\n"
         "  --delta-log PATH         the Delta log; default WSGATED_DELTA_LOG\n"
         "  --event-log PATH         the alarm/event log; default "
         "WSGATED_EVENT_LOG\n"
         "  --system-log PATH        the system event log; default "
         "WSGATED_SYSTEM_LOG\n"
         "  --log-batch N            log records per log and look (500)\n";
}

bool Publisher::configure(const std::vector<std::string>& args,
                          std::string* error) {
  long number = 0;
  const std::vector<CompanionOption> options = {
      {"--check-seconds",
       [this](const std::string& v) { return parseSeconds(v, &checkSeconds_); }},
      {"--allow-address",
       [this](const std::string& v) {
         delivery_.allowedAddresses.insert(v);
         return !v.empty();
       }},
      {"--connect-seconds",
       [this](const std::string& v) {
         return takeMilliseconds(v, &delivery_.connectMs);
       }},
      {"--send-seconds",
       [this](const std::string& v) {
         return takeMilliseconds(v, &delivery_.sendMs);
       }},
      {"--total-seconds",
       [this](const std::string& v) {
         return takeMilliseconds(v, &delivery_.totalMs);
       }},
      {"--retries",
       [&](const std::string& v) {
         return parseInteger(v, 0, 10, &number) &&
                (delivery_.retries = static_cast<int>(number), true);
       }},
      {"--backoff-seconds",
       [this](const std::string& v) {
         return takeMilliseconds(v, &delivery_.backoffMs);
       }},
      {"--queue-limit",
       [&](const std::string& v) {
         return parseInteger(v, 1, 100000, &number) &&
                (delivery_.queueLimit = static_cast<size_t>(number), true);
       }},
      {"--max-subscriptions",
       [&](const std::string& v) {
         return parseInteger(v, 1, 100000, &number) &&
                (maxSubscriptions_ = static_cast<int>(number), true);
       }},
      {"--max-nodes",
       [&](const std::string& v) {
         return parseInteger(v, 1, 1000000, &number) &&
                (maxNodes_ = static_cast<int>(number), true);
       }},
      {"--delta-log",
       [this](const std::string& v) { return setPath(v, logFiles_.deltaLog); }},
      {"--event-log",
       [this](const std::string& v) { return setPath(v, logFiles_.eventLog); }},
      {"--system-log",
       [this](const std::string& v) {
         return setPath(v, logFiles_.systemLog);
       }},
      {"--log-batch",
       [&](const std::string& v) {
         return parseInteger(v, 1, 100000, &number) &&
                (logFiles_.batch = static_cast<int>(number), true);
       }},
  };
  return parseCompanionOptions(args, options, error);
}

bool Publisher::start(toolkit::CCds&) {
  if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    logError(kLogAlways, "Publisher: the transport cannot be set up");
    return false;
  }
  delivery_.ownAddresses = ownAddresses();
  return true;
}

void Publisher::stop(toolkit::CCds&) {
  // Tells every queue's thread to end. The transport's globals stay: a
  // thread may still be finishing a post, and the process ends anyway.
  tracked_.clear();
}

DeliveryCounts Publisher::counts(const std::string& id) const {
  auto found = tracked_.find(id);
  if (found == tracked_.end() || !found->second->queue) return {};
  return found->second->queue->counts();
}

void Publisher::step(toolkit::CCds& store) {
  const int64_t nowUs = clock_();
  const int64_t count = readSubUpdateCount(store);
  if (count != lastCount_) {
    lastCount_ = count;
    reloadAll(store);
  } else {
    refreshNodes(store);
  }
  judgeRightsIfChanged(store);
  endLeases(store, nowUs);
  LogReaders logs(logFiles_);
  for (auto& entry : tracked_) {
    if (!entry.second->overLimit) publish(store, *entry.second, nowUs, logs);
  }
}

std::unique_ptr<Publisher::Tracked> Publisher::track(
    toolkit::CCds& store, Subscription subscription, Tracked* previous) {
  auto tracked = std::make_unique<Tracked>();
  for (const RealTimeNode& node : subscription.nodes) {
    NodeState state;
    state.node = node;
    state.readable = true;  // so that judging logs only a refusal
    judgeRights(store, subscription.owner, state);
    if (previous != nullptr) {
      for (const NodeState& old : previous->nodes) {
        if (old.node.path == node.path) {
          state.sent = old.sent;
          state.last = old.last;
          state.dueUs = old.dueUs;
        }
      }
    }
    tracked->nodes.push_back(state);
  }
  // The same subscription, written again by no one, keeps its queue; a
  // new or replaced one starts afresh.
  if (previous != nullptr && previous->queue &&
      previous->subscription.createdUs == subscription.createdUs &&
      previous->subscription.replyUri == subscription.replyUri) {
    tracked->queue = std::move(previous->queue);
    tracked->logs = std::move(previous->logs);
  } else {
    tracked->queue = std::make_unique<DeliveryQueue>(
        subscription.id, subscription.replyUri, delivery_);
    if (subscription.logOptions != 0) {
      tracked->logs = std::make_unique<LogFeed>(subscription.logSinceUs,
                                                subscription.logOptions);
    }
  }
  tracked->subscription = std::move(subscription);
  return tracked;
}

void Publisher::reloadAll(toolkit::CCds& store) {
  std::map<std::string, std::unique_ptr<Tracked>> fresh;
  for (const std::string& id : listSubscriptions(store)) {
    Subscription subscription;
    if (!readSubscription(store, id, subscription)) continue;
    auto old = tracked_.find(id);
    Tracked* previous = old == tracked_.end() ? nullptr : old->second.get();
    // A replaced subscription (created again) starts with first values.
    if (previous != nullptr &&
        previous->subscription.createdUs != subscription.createdUs) {
      previous = nullptr;
    }
    fresh[id] = track(store, std::move(subscription), previous);
  }
  tracked_ = std::move(fresh);
  applyLimits();
  logNotice(kLogActivity, "Publisher: %zu subscriptions", tracked_.size());
}

void Publisher::refreshNodes(toolkit::CCds& store) {
  bool changed = false;
  for (auto it = tracked_.begin(); it != tracked_.end();) {
    std::string names;
    if (!readNodeNames(store, it->first, names)) {
      it = tracked_.erase(it);  // gone; the counter will tell the rest
      continue;
    }
    if (names != it->second->subscription.nodeNames) {
      Subscription subscription;
      if (readSubscription(store, it->first, subscription)) {
        it->second = track(store, std::move(subscription), it->second.get());
        changed = true;
      }
    }
    ++it;
  }
  if (changed) applyLimits();
}

void Publisher::applyLimits() {
  std::vector<Tracked*> order;
  for (auto& entry : tracked_) order.push_back(entry.second.get());
  // The oldest subscriptions of an owner keep their place.
  std::stable_sort(order.begin(), order.end(), [](Tracked* a, Tracked* b) {
    return a->subscription.createdUs < b->subscription.createdUs;
  });
  std::map<std::string, std::pair<int, int>> used;  // subscriptions, nodes
  for (Tracked* tracked : order) {
    auto& [subscriptions, nodes] = used[tracked->subscription.owner];
    tracked->overLimit = ++subscriptions > maxSubscriptions_;
    if (tracked->overLimit) {
      logWarning(kLogErrors, "Publisher: %s has more than %d subscriptions: "
                 "%s not served", tracked->subscription.owner.c_str(),
                 maxSubscriptions_, tracked->subscription.id.c_str());
      continue;
    }
    for (NodeState& state : tracked->nodes) {
      state.overLimit = ++nodes > maxNodes_;  // readable now or not
      if (state.overLimit) {
        logWarning(kLogErrors, "Publisher: %s has more than %d nodes: %s of "
                   "%s not served", tracked->subscription.owner.c_str(),
                   maxNodes_, state.node.path.c_str(),
                   tracked->subscription.id.c_str());
      }
    }
  }
}

void Publisher::endLeases(toolkit::CCds& store, int64_t nowUs) {
  for (auto it = tracked_.begin(); it != tracked_.end();) {
    const int64_t end = leaseEndUs(it->second->subscription);
    if (end == 0 || end > nowUs) {
      ++it;
      continue;
    }
    if (!removeEnded(store, it->second->subscription)) {
      // Created again since we read it, or the store was busy: the next
      // step reads the whole area again and judges the lease afresh.
      lastCount_ = -2;
      ++it;
      continue;
    }
    logNotice(kLogAlways, "Publisher: the lease of %s ended: removed",
              it->first.c_str());
    it = tracked_.erase(it);
  }
}

bool Publisher::removeEnded(toolkit::CCds& store, const Subscription& ended) {
  // One transaction from the check to the counter: a createSubscription
  // that lands between our read and the removal renews the lease (a new
  // ReplyURI time stamp) and must not be removed with the old one.
  if (pcd_begin(store.handle) != 0) return false;
  int64_t createdUs = 0;
  if (readCreatedUs(store, ended.id, createdUs) &&
      createdUs != ended.createdUs) {
    pcd_rollback(store.handle);
    return false;
  }
  const std::string path = std::string(kSubscriptionsNode) + "/" + ended.id;
  api_status_t status = API_STATUS_UNKNOWN;
  store.remove_node(path, status, kSource);
  // The next look reads the area again: whatever else changed with the
  // counter meanwhile is read too.
  api_status_t counted = API_STATUS_UNKNOWN;
  store.increment_leaf(std::string(kSubUpdateCountPath) + "/Value", 1,
                       counted, nullptr, kSource);
  return pcd_commit(store.handle) == 0;
}

void Publisher::publish(toolkit::CCds& store, Tracked& tracked,
                        int64_t nowUs, LogReaders& logs) {
  Notification notification;
  notification.subscriptionId = tracked.subscription.id;
  collectValues(store, tracked, nowUs, notification);
  if (tracked.logs) {
    tracked.logs->collect(store, logs, tracked.subscription.owner,
                          notification);
  }
  std::string xml;
  if ((!notification.realTimeValues.empty() ||
       !notification.loggedValues.empty() || !notification.events.empty() ||
       !notification.alarms.empty()) &&
      writeNotification(store, notification, xml)) {
    tracked.queue->push(std::move(xml));
  }
}

void Publisher::collectValues(toolkit::CCds& store, Tracked& tracked,
                              int64_t nowUs, Notification& notification) {
  std::vector<NodeState*> due;
  std::vector<std::string> paths;
  for (NodeState& state : tracked.nodes) {
    if (!state.readable || state.overLimit || state.dueUs > nowUs) continue;
    due.push_back(&state);
    paths.push_back(state.node.path + "/Value");
    state.dueUs = nowUs + int64_t{std::max(0, state.node.freshnessMs)} * 1000;
  }
  if (paths.empty()) return;
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  if (store.get_leaves(paths, statuses, elements, properties) != 0) return;
  toolkit::CCds_Utils utils(store);
  for (size_t i = 0; i < due.size(); ++i) {
    NodeState& state = *due[i];
    if (statuses[i] != API_STATUS_OK) continue;
    if (state.sent &&
        !movedPastDeadband(state.last, elements[i], state.node.deadbandPercent)) {
      continue;
    }
    toolkit::CEvent record;
    record.source_path = paths[i];
    record.value = elements[i];
    record.time = elements[i].get_time();
    record.quality = utils.CheckDeviceQuality(state.node.path, elements[i]);
    notification.realTimeValues.push_back(record);
    state.sent = true;
    state.last = elements[i];
  }
}

void Publisher::judgeRightsIfChanged(toolkit::CCds& store) {
  const long long generation = toolkit::pcd_security_generation(store);
  // -1: the store cannot say; judging again then refuses, as it should.
  if (generation == rightsGeneration_ && generation >= 0) return;
  rightsGeneration_ = generation;
  for (auto& entry : tracked_) {
    for (NodeState& state : entry.second->nodes) {
      judgeRights(store, entry.second->subscription.owner, state);
    }
  }
}

void Publisher::judgeRights(toolkit::CCds& store, const std::string& owner,
                            NodeState& state) {
  const bool readable = ownerMayRead(store, owner, state.node.path);
  if (readable != state.readable) {
    logNotice(kLogActivity,
              readable ? "Publisher: %s may read %s again: sent"
                       : "Publisher: %s may not read %s: not sent",
              owner.c_str(), state.node.path.c_str());
    state.readable = readable;
  }
}

}  // namespace wsgated
