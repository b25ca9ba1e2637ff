// CCDS_Connxns: the table of callers a server has seen.
//
// Each caller (by remote address) gets a numbered entry, kept in memory with
// an opaque piece of user data and shown in the store as a child of the
// bound node: "<node>/<number>" with the points Scheme, RemoteAddress
// ("Address" is a well-known attribute name, so no node may bear it), Host,
// User, Opened, LastSeen and Requests. To keep requests cheap, LastSeen and
// Requests are written to the store only when CheckAllConnxns runs;
// entries idle longer than the idle limit are then removed.

#ifndef PLATFORM_CONNXNS_H_
#define PLATFORM_CONNXNS_H_

#include <sys/socket.h>

#include <ctime>
#include <map>
#include <memory>
#include <string>

namespace toolkit {

class CCds;
class CSysLog;

class CCDS_Connxns {
 public:
  CCDS_Connxns();

  // Bind to `nodePath` (created when missing; stale entries left by an
  // earlier run are removed). Returns 0 on success.
  int bind(CCds* cds, const std::string& nodePath, CSysLog* log);

  CSysLog* log;  // may be null

  // Seconds without a request after which CheckAllConnxns drops an entry
  // (default 1800; TOOLKIT_CONNXN_IDLE_S overrides).
  void setIdleLimit(time_t seconds) { idle_limit_ = seconds; }

  // Record a new caller; returns its number (non-zero), 0 on failure.
  unsigned AddConnxn(const std::string& scheme, const std::string& address,
                     const std::string& host, const std::string& host2,
                     const std::string& user, std::shared_ptr<void> userData);

  // A known caller: refresh its entry (time, request count; `userData`
  // replaces the stored data when non-null) and return its number; 0 when
  // the address is not known.
  unsigned FindUpdateConnxn(const std::string& address,
                            std::shared_ptr<void> userData);

  // The user data of a known caller (null when unknown or none).
  std::shared_ptr<void> UserData(const std::string& address) const;

  // Write the live entries' LastSeen/Requests to the store and drop idle
  // ones. Returns the number dropped.
  int CheckAllConnxns();

  // Drop every entry (in memory and in the store). Returns the number.
  int RemoveAllConnxns();

  size_t size() const { return entries_.size(); }

  // Reverse lookup of a numeric address. `family` is AF_INET or AF_INET6;
  // `sa` (may be null) receives the parsed socket address; `host` the name
  // (getnameinfo, name required); `host2` the address in canonical numeric
  // form. Returns 0 on success, non-zero when the address is malformed or
  // has no name (then `host` is "" and the failure is logged at level 2).
  static int HostLookup(const std::string& address, int family,
                        sockaddr_storage* sa, std::string& host,
                        std::string& host2, CSysLog* log);

 private:
  struct Entry {
    unsigned number;
    std::string scheme, address, host, host2, user;
    time_t opened, last_seen;
    unsigned long requests;
    std::shared_ptr<void> user_data;
  };
  void StoreEntry(const Entry& entry, bool created);
  void DropEntry(const Entry& entry);

  CCds* cds_;
  std::string node_;
  time_t idle_limit_;
  unsigned next_number_;
  std::map<std::string, Entry> entries_;  // by address
};

}  // namespace toolkit

#endif  // PLATFORM_CONNXNS_H_
