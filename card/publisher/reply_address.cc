#include "card/publisher/reply_address.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

namespace wsgated {

namespace {

// One part of a parsed address, "" when it has none.
std::string urlPart(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK || text == nullptr) {
    return "";
  }
  std::string value = text;
  curl_free(text);
  return value;
}

std::string numericText(const sockaddr* address) {
  char text[INET6_ADDRSTRLEN] = "";
  const void* raw =
      address->sa_family == AF_INET
          ? static_cast<const void*>(
                &reinterpret_cast<const sockaddr_in*>(address)->sin_addr)
          : static_cast<const void*>(
                &reinterpret_cast<const sockaddr_in6*>(address)->sin6_addr);
  if (inet_ntop(address->sa_family, raw, text, sizeof text) == nullptr) {
    return "";
  }
  return text;
}

// The refused kind of an IPv4 address (host order), or null.
const char* refusedKind4(uint32_t ip) {
  if ((ip >> 24) == 127) return "loopback";
  if ((ip >> 16) == 0xA9FE) return "link-local";
  if ((ip >> 28) == 0xE) return "multicast";
  if (ip == 0) return "unspecified";
  if (ip == 0xFFFFFFFF) return "broadcast";
  return nullptr;
}

const char* refusedKind6(const in6_addr& ip) {
  if (IN6_IS_ADDR_LOOPBACK(&ip)) return "loopback";
  if (IN6_IS_ADDR_LINKLOCAL(&ip)) return "link-local";
  if (IN6_IS_ADDR_MULTICAST(&ip)) return "multicast";
  if (IN6_IS_ADDR_UNSPECIFIED(&ip)) return "unspecified";
  if (IN6_IS_ADDR_V4MAPPED(&ip)) {
    uint32_t v4 = 0;
    std::memcpy(&v4, &ip.s6_addr[12], 4);
    return refusedKind4(ntohl(v4));
  }
  return nullptr;
}

}  // namespace

bool parseReplyUri(const std::string& uri, ReplyTarget& target,
                   std::string& reason) {
  CURLU* url = curl_url();
  if (url == nullptr) {
    reason = "no memory";
    return false;
  }
  const bool parsed = curl_url_set(url, CURLUPART_URL, uri.c_str(), 0) ==
                      CURLUE_OK;
  target.scheme = parsed ? urlPart(url, CURLUPART_SCHEME) : "";
  target.host = parsed ? urlPart(url, CURLUPART_HOST) : "";
  const std::string port = parsed ? urlPart(url, CURLUPART_PORT) : "";
  curl_url_cleanup(url);
  if (!parsed) {
    reason = "not a URL";
    return false;
  }
  if (target.scheme != "http" && target.scheme != "https") {
    reason = "scheme " + target.scheme + " is not http or https";
    return false;
  }
  if (target.host.size() > 2 && target.host.front() == '[') {
    target.host = target.host.substr(1, target.host.size() - 2);
  }
  if (target.host.empty()) {
    reason = "no host";
    return false;
  }
  target.port = port.empty() ? (target.scheme == "https" ? 443 : 80)
                             : std::atoi(port.c_str());
  return true;
}

bool addressAllowed(const std::string& address,
                    const std::set<std::string>& own,
                    const std::set<std::string>& allowed,
                    std::string& reason) {
  if (allowed.count(address) != 0) return true;
  const char* kind = nullptr;
  in_addr v4;
  in6_addr v6;
  if (inet_pton(AF_INET, address.c_str(), &v4) == 1) {
    kind = refusedKind4(ntohl(v4.s_addr));
  } else if (inet_pton(AF_INET6, address.c_str(), &v6) == 1) {
    kind = refusedKind6(v6);
  } else {
    kind = "not numeric";
  }
  if (kind == nullptr && own.count(address) != 0) kind = "the card's own";
  if (kind == nullptr) return true;
  reason = address + " is " + kind;
  return false;
}

std::set<std::string> ownAddresses() {
  std::set<std::string> own;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return own;
  for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr != nullptr &&
        (entry->ifa_addr->sa_family == AF_INET ||
         entry->ifa_addr->sa_family == AF_INET6)) {
      own.insert(numericText(entry->ifa_addr));
    }
  }
  freeifaddrs(list);
  return own;
}

bool resolveReplyUri(const std::string& uri, const std::set<std::string>& own,
                     const std::set<std::string>& allowed,
                     ReplyTarget& target, std::string& reason) {
  if (!parseReplyUri(uri, target, reason)) return false;
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int rc = getaddrinfo(target.host.c_str(), nullptr, &hints, &found);
  if (rc != 0) {
    reason = target.host + ": " + gai_strerror(rc);
    return false;
  }
  reason = target.host + " has no address";
  bool good = false;
  for (addrinfo* entry = found; entry != nullptr && !good;
       entry = entry->ai_next) {
    const std::string text = numericText(entry->ai_addr);
    if (!text.empty() && addressAllowed(text, own, allowed, reason)) {
      target.address = text;
      good = true;
    }
  }
  freeaddrinfo(found);
  return good;
}

}  // namespace wsgated
