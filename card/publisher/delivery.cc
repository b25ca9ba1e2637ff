#include "card/publisher/delivery.h"

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "card/publisher/reply_address.h"
#include "common/log.h"

namespace wsgated {

namespace {

// The answer's body is not used; reading it keeps the connection sane, and
// a receiver cannot make us hold more than this of it.
constexpr size_t kMaxAnswerBytes = 64 * 1024;

size_t discardAnswer(char*, size_t size, size_t count, void* seen) {
  size_t& total = *static_cast<size_t*>(seen);
  total += size * count;
  return total > kMaxAnswerBytes ? 0 : size * count;
}

// Ends a post under way when the queue is stopped.
int checkStop(void* stopping, curl_off_t, curl_off_t, curl_off_t,
              curl_off_t) {
  return static_cast<std::atomic<bool>*>(stopping)->load() ? 1 : 0;
}

}  // namespace

struct DeliveryQueue::State {
  State(const std::string& subscriptionId, const std::string& uri,
        const DeliveryOptions& chosen)
      : id(subscriptionId), replyUri(uri), options(chosen) {}
  const std::string id;
  const std::string replyUri;
  const DeliveryOptions options;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::string> queue;
  DeliveryCounts counts;
  std::atomic<bool> stopping{false};
};

DeliveryQueue::DeliveryQueue(const std::string& id,
                             const std::string& replyUri,
                             const DeliveryOptions& options)
    : state_(std::make_shared<State>(id, replyUri, options)) {
  std::thread(run, state_).detach();
}

DeliveryQueue::~DeliveryQueue() {
  {
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->stopping = true;
  }
  state_->wake.notify_all();
}

const std::string& DeliveryQueue::replyUri() const {
  return state_->replyUri;
}

void DeliveryQueue::push(std::string message) {
  State& state = *state_;
  {
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.queue.size() >= state.options.queueLimit) {
      state.queue.pop_front();
      if (++state.counts.dropped == 1 || state.counts.dropped % 100 == 0) {
        logWarning(kLogErrors,
                   "Publisher: %s is behind, %llu messages dropped",
                   state.id.c_str(),
                   static_cast<unsigned long long>(state.counts.dropped));
      }
    }
    state.queue.push_back(std::move(message));
  }
  state.wake.notify_all();
}

DeliveryCounts DeliveryQueue::counts() {
  std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->counts;
}

bool DeliveryQueue::pause(State& state, long ms) {
  std::unique_lock<std::mutex> lock(state.mutex);
  return !state.wake.wait_for(lock, std::chrono::milliseconds(ms),
                              [&state] { return state.stopping.load(); });
}

void DeliveryQueue::run(std::shared_ptr<State> shared) {
  State& state = *shared;
  CURL* curl = curl_easy_init();
  for (;;) {
    std::string message;
    {
      std::unique_lock<std::mutex> lock(state.mutex);
      state.wake.wait(lock, [&state] {
        return state.stopping.load() || !state.queue.empty();
      });
      if (state.stopping) break;
      message = std::move(state.queue.front());
      state.queue.pop_front();
    }
    bool sent = post(state, curl, message);
    long wait = state.options.backoffMs;
    for (int attempt = 0; !sent && attempt < state.options.retries;
         ++attempt) {
      if (!pause(state, wait)) break;
      wait *= 2;
      sent = post(state, curl, message);
    }
    if (state.stopping) break;
    std::lock_guard<std::mutex> lock(state.mutex);
    if (sent) {
      ++state.counts.delivered;
    } else {
      ++state.counts.failed;
      logWarning(kLogErrors, "Publisher: gave up a message for %s to %s",
                 state.id.c_str(), state.replyUri.c_str());
    }
  }
  if (curl != nullptr) curl_easy_cleanup(curl);
}

bool DeliveryQueue::post(State& state, void* handle,
                         const std::string& message) {
  CURL* curl = static_cast<CURL*>(handle);
  if (curl == nullptr) return false;
  ReplyTarget target;
  std::string reason;
  if (!resolveReplyUri(state.replyUri, state.options.ownAddresses,
                       state.options.allowedAddresses, target, reason)) {
    std::lock_guard<std::mutex> lock(state.mutex);
    ++state.counts.refused;
    logWarning(kLogErrors, "Publisher: not sending %s to %s: %s",
               state.id.c_str(), state.replyUri.c_str(), reason.c_str());
    return false;
  }
  curl_easy_reset(curl);  // keeps the open connection
  const std::string pin = target.host + ":" + std::to_string(target.port) +
                          ":" +
                          (target.address.find(':') == std::string::npos
                               ? target.address
                               : "[" + target.address + "]");
  curl_slist* resolve = curl_slist_append(nullptr, pin.c_str());
  curl_slist* headers = curl_slist_append(
      nullptr, "Content-Type: application/soap+xml; charset=utf-8");
  headers = curl_slist_append(headers, "Expect:");
  size_t answered = 0;
  curl_easy_setopt(curl, CURLOPT_URL, state.replyUri.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(curl, CURLOPT_RESOLVE, resolve);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, message.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(message.size()));
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, state.options.connectMs);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, state.options.totalMs);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME,
                   std::max(1L, state.options.sendMs / 1000));
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, discardAnswer);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answered);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, checkStop);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &state.stopping);
  const CURLcode rc = curl_easy_perform(curl);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(resolve);
  curl_slist_free_all(headers);
  if (rc == CURLE_OK && status >= 200 && status < 300) return true;
  logWarning(kLogErrors, "Publisher: post of %s to %s failed: %s, HTTP %ld",
             state.id.c_str(), state.replyUri.c_str(),
             rc == CURLE_OK ? "answered" : curl_easy_strerror(rc), status);
  return false;
}

}  // namespace wsgated
