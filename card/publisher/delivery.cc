#include "card/publisher/delivery.h"

#include <curl/curl.h>

#include <algorithm>
#include <chrono>

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

DeliveryQueue::DeliveryQueue(const std::string& id,
                             const std::string& replyUri,
                             const DeliveryOptions& options)
    : id_(id), replyUri_(replyUri), options_(options) {
  thread_ = std::thread([this] { run(); });
}

DeliveryQueue::~DeliveryQueue() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

void DeliveryQueue::push(std::string message) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (queue_.size() >= options_.queueLimit) {
      queue_.pop_front();
      if (++counts_.dropped == 1 || counts_.dropped % 100 == 0) {
        logWarning(kLogErrors,
                   "Publisher: %s is behind, %llu messages dropped",
                   id_.c_str(),
                   static_cast<unsigned long long>(counts_.dropped));
      }
    }
    queue_.push_back(std::move(message));
  }
  wake_.notify_all();
}

DeliveryCounts DeliveryQueue::counts() {
  std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

bool DeliveryQueue::pause(long ms) {
  std::unique_lock<std::mutex> lock(mutex_);
  return !wake_.wait_for(lock, std::chrono::milliseconds(ms),
                         [this] { return stopping_.load(); });
}

void DeliveryQueue::run() {
  CURL* curl = curl_easy_init();
  for (;;) {
    std::string message;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      wake_.wait(lock, [this] { return stopping_.load() || !queue_.empty(); });
      if (stopping_) break;
      message = std::move(queue_.front());
      queue_.pop_front();
    }
    bool sent = post(curl, message);
    long wait = options_.backoffMs;
    for (int attempt = 0; !sent && attempt < options_.retries; ++attempt) {
      if (!pause(wait)) break;
      wait *= 2;
      sent = post(curl, message);
    }
    if (stopping_) break;
    std::lock_guard<std::mutex> lock(mutex_);
    if (sent) {
      ++counts_.delivered;
    } else {
      ++counts_.failed;
      logWarning(kLogErrors, "Publisher: gave up a message for %s to %s",
                 id_.c_str(), replyUri_.c_str());
    }
  }
  if (curl != nullptr) curl_easy_cleanup(curl);
}

bool DeliveryQueue::post(void* handle, const std::string& message) {
  CURL* curl = static_cast<CURL*>(handle);
  if (curl == nullptr) return false;
  ReplyTarget target;
  std::string reason;
  if (!resolveReplyUri(replyUri_, options_.ownAddresses,
                       options_.allowedAddresses, target, reason)) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++counts_.refused;
    logWarning(kLogErrors, "Publisher: not sending %s to %s: %s",
               id_.c_str(), replyUri_.c_str(), reason.c_str());
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
  curl_easy_setopt(curl, CURLOPT_URL, replyUri_.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(curl, CURLOPT_RESOLVE, resolve);
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, message.data());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                   static_cast<curl_off_t>(message.size()));
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, options_.connectMs);
  curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, options_.totalMs);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME,
                   std::max(1L, options_.sendMs / 1000));
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, discardAnswer);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &answered);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, checkStop);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &stopping_);
  const CURLcode rc = curl_easy_perform(curl);
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(resolve);
  curl_slist_free_all(headers);
  if (rc == CURLE_OK && status >= 200 && status < 300) return true;
  logWarning(kLogErrors, "Publisher: post of %s to %s failed: %s, HTTP %ld",
             id_.c_str(), replyUri_.c_str(),
             rc == CURLE_OK ? "answered" : curl_easy_strerror(rc), status);
  return false;
}

}  // namespace wsgated
