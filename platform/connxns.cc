// CCDS_Connxns: the callers a server has seen, in memory and in the store.
//
// Requests only touch memory; the store copy of LastSeen and Requests is
// brought up to date by the periodic CheckAllConnxns, so a busy server does
// not pay a database write per request.

#include "platform/connxns.h"

#include <netdb.h>
#include <netinet/in.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"
#include "platform/swinfo.h"
#include "platform/syslog.h"

namespace toolkit {

namespace {

constexpr time_t kDefaultIdleLimit = 1800;
const char* const kSource = "Connections:toolkit@localhost";
// Longer than any numeric address with a scope name ("fe80::1%eth0").
constexpr size_t kMaxAddress = 128;

time_t IdleLimitFromEnvironment() {
  const char* text = getenv("TOOLKIT_CONNXN_IDLE_S");
  if (text == nullptr || *text == '\0') return kDefaultIdleLimit;
  errno = 0;
  char* end = nullptr;
  long seconds = strtol(text, &end, 10);
  if (errno != 0 || *end != '\0' || seconds < 0) return kDefaultIdleLimit;
  return static_cast<time_t>(seconds);
}

std::string TimeText(time_t seconds) {
  return CElement(timeval{seconds, 0}).to_string();
}

// Starts a transaction group on the handle; false when that is not
// possible (closed handle, or the caller already runs one).
bool BeginGroup(CCds* cds) {
  return cds != nullptr && cds->is_open() && pcd_begin(cds->handle) == 0;
}

void EndGroup(CCds* cds, bool grouped, bool ok) {
  if (!grouped) return;
  if (ok) {
    pcd_commit(cds->handle);
  } else {
    pcd_rollback(cds->handle);
  }
}

// "<node>/<number>": where an entry lives in the store.
std::string EntryPath(const std::string& node, unsigned number) {
  return (node == "/" ? "" : node) + "/" + std::to_string(number);
}

}  // namespace

CCDS_Connxns::CCDS_Connxns()
    : log(nullptr),
      cds_(nullptr),
      idle_limit_(IdleLimitFromEnvironment()),
      next_number_(1) {}

int CCDS_Connxns::bind(CCds* cds, const std::string& nodePath,
                       CSysLog* logger) {
  cds_ = cds;
  log = logger;
  entries_.clear();
  CPath path(nodePath);
  if (path.normalize() != 0 || path.hasExplicitAttribute()) return 1;
  node_ = path.getNodePath();
  if (cds_ == nullptr || !cds_->is_open()) return 1;
  api_status_t status;
  if (cds_->add_node(node_, status, kSource) != 0 ||
      (status != API_STATUS_OK && status != API_STATUS_EXISTS)) {
    return 1;
  }
  // Entries of an earlier run describe connections that are gone.
  std::vector<std::string> stale;
  if (CPath::getChildPaths(*cds_, node_, stale) != 0) return 1;
  bool grouped = BeginGroup(cds_);
  bool ok = true;
  for (const std::string& child : stale) {
    ok = cds_->remove_node(child, status, kSource) == 0 && ok;
  }
  EndGroup(cds_, grouped, ok);
  return ok ? 0 : 1;
}

unsigned CCDS_Connxns::AddConnxn(const std::string& scheme,
                                 const std::string& address,
                                 const std::string& host,
                                 const std::string& host2,
                                 const std::string& user,
                                 std::shared_ptr<void> userData) {
  if (address.empty()) return 0;
  time_t now = time(nullptr);
  bool created = entries_.find(address) == entries_.end();
  Entry& e = entries_[address];
  if (created) {
    // Numbers are never reused while an entry holds them, even after the
    // counter wraps.
    auto in_use = [this, &address](unsigned number) {
      for (const auto& item : entries_) {
        if (item.first != address && item.second.number == number) {
          return true;
        }
      }
      return false;
    };
    do {
      e.number = next_number_++;
    } while (e.number == 0 || in_use(e.number));
    e.opened = now;
    e.requests = 0;
  }
  e.scheme = scheme;
  e.address = address;
  e.host = host;
  e.host2 = host2;
  e.user = user;
  e.last_seen = now;
  e.requests++;
  e.user_data = std::move(userData);
  // A re-added caller may have a new scheme, host or user: rewrite it all.
  StoreEntry(e, true);
  return e.number;
}

unsigned CCDS_Connxns::FindUpdateConnxn(const std::string& address,
                                        std::shared_ptr<void> userData) {
  auto it = entries_.find(address);
  if (it == entries_.end()) return 0;
  Entry& e = it->second;
  e.last_seen = time(nullptr);
  e.requests++;
  if (userData) e.user_data = std::move(userData);
  return e.number;
}

std::shared_ptr<void> CCDS_Connxns::UserData(const std::string& address) const {
  auto it = entries_.find(address);
  return it == entries_.end() ? nullptr : it->second.user_data;
}

int CCDS_Connxns::CheckAllConnxns() {
  time_t now = time(nullptr);
  int dropped = 0;
  bool grouped = BeginGroup(cds_);
  for (auto it = entries_.begin(); it != entries_.end();) {
    // A clock set backwards gives a negative idle time: keep the entry.
    if (now - it->second.last_seen >= idle_limit_) {
      DropEntry(it->second);
      it = entries_.erase(it);
      ++dropped;
    } else {
      StoreEntry(it->second, false);
      ++it;
    }
  }
  EndGroup(cds_, grouped, true);
  if (dropped > 0 && log) {
    log->info(2, "Dropped %d idle connection(s) from %s", dropped,
              node_.c_str());
  }
  return dropped;
}

int CCDS_Connxns::RemoveAllConnxns() {
  int removed = static_cast<int>(entries_.size());
  bool grouped = BeginGroup(cds_);
  for (const auto& item : entries_) DropEntry(item.second);
  EndGroup(cds_, grouped, true);
  entries_.clear();
  return removed;
}

void CCDS_Connxns::StoreEntry(const Entry& entry, bool created) {
  if (cds_ == nullptr || !cds_->is_open()) return;
  const std::string path = EntryPath(node_, entry.number);
  if (!created) {
    std::vector<api_status_t> statuses;
    cds_->set_leaves(
        {path + "/LastSeen/Value", path + "/Requests/Value"},
        {CElement(timeval{entry.last_seen, 0}),
         CElement(static_cast<uint32_t>(entry.requests))},
        {}, statuses, kSource);
    return;
  }
  const std::string seen = TimeText(entry.last_seen);
  const std::string requests = std::to_string(entry.requests);
  const std::string opened = TimeText(entry.opened);
  struct Point {
    const char* name;
    const char* type;
    const std::string& value;
  };
  const Point points[] = {
      {"/Scheme", "String", entry.scheme},
      {"/RemoteAddress", "String", entry.address},
      {"/Host", "String", entry.host},
      {"/User", "String", entry.user},
      {"/Opened", "timeval", opened},
      {"/LastSeen", "timeval", seen},
      {"/Requests", "Unsigned", requests}};
  CCds_SwInfo info(cds_, path);
  bool grouped = BeginGroup(cds_);
  bool ok = true;
  for (const Point& p : points) {
    const char* const pairs[] = {"/NodeType", "Point", "/ValueType", p.type,
                                 "/Value", p.value.c_str(), nullptr};
    const tagnval leaf = {node_.c_str(), p.name, pairs};
    ok = ok && info.FillSwInfoNode(&leaf) == 0;
  }
  EndGroup(cds_, grouped, ok);
  if (!ok && log) {
    log->warn(2, "Cannot record connection %u in %s", entry.number,
              node_.c_str());
  }
}

void CCDS_Connxns::DropEntry(const Entry& entry) {
  if (cds_ == nullptr || !cds_->is_open()) return;
  api_status_t status;
  cds_->remove_node(EntryPath(node_, entry.number), status, kSource);
}

int CCDS_Connxns::HostLookup(const std::string& address, int family,
                             sockaddr_storage* sa, std::string& host,
                             std::string& host2, CSysLog* logger) {
  host.clear();
  host2.clear();
  // Only numeric addresses: a name here would make getaddrinfo ask DNS,
  // and the text comes from the web server's view of the peer.
  addrinfo hints;
  memset(&hints, 0, sizeof(hints));
  hints.ai_family = family;
  hints.ai_flags = AI_NUMERICHOST;
  addrinfo* found = nullptr;
  int rc = EAI_NONAME;
  if (!address.empty() && address.size() <= kMaxAddress &&
      address.find('\0') == std::string::npos) {
    rc = getaddrinfo(address.c_str(), nullptr, &hints, &found);
  }
  if (rc != 0) {
    if (logger) {
      logger->warn(2, "HostLookup: bad address '%.*s': %s",
                static_cast<int>(kMaxAddress), address.c_str(),
                gai_strerror(rc));
    }
    return 1;
  }
  if (sa) {
    memset(sa, 0, sizeof(*sa));
    memcpy(sa, found->ai_addr, found->ai_addrlen);
  }
  char numeric[NI_MAXHOST];
  char name[NI_MAXHOST];
  if (getnameinfo(found->ai_addr, found->ai_addrlen, numeric,
                  sizeof(numeric), nullptr, 0, NI_NUMERICHOST) == 0) {
    host2 = numeric;
  }
  rc = getnameinfo(found->ai_addr, found->ai_addrlen, name, sizeof(name),
                   nullptr, 0, NI_NAMEREQD);
  freeaddrinfo(found);
  if (rc != 0) {
    if (logger) {
      logger->warn(2, "HostLookup: no name for %s: %s", address.c_str(),
                gai_strerror(rc));
    }
    return 1;
  }
  host = name;
  return 0;
}

}  // namespace toolkit
