// Which reply addresses the publisher sends to.
//
// A subscriber names where its notifications go, and the card then opens
// connections there: without limits any user allowed to subscribe could
// make the card talk to itself or to its own network's services. So only
// http and https addresses are used, and the host's addresses (all of them,
// as resolved) must be none of: loopback, link-local, multicast,
// unspecified, broadcast, or one of the card's own interfaces. An
// allow-list of addresses (--allow-address) opens exactly those again, for
// a receiver on the card itself or a test on 127.0.0.1.
//
// The address checked is the one connected to (the transport is pinned to
// it), so a name that resolves differently a moment later changes nothing.

#ifndef CARD_PUBLISHER_REPLY_ADDRESS_H_
#define CARD_PUBLISHER_REPLY_ADDRESS_H_

#include <set>
#include <string>

namespace wsgated {

struct ReplyTarget {
  std::string scheme;   // "http" or "https"
  std::string host;     // as written in the address (no brackets)
  int port = 0;
  std::string address;  // the numeric address to connect to
};

// Splits `uri` into scheme, host and port; false (with the reason) for
// anything but an http or https address with a host.
bool parseReplyUri(const std::string& uri, ReplyTarget& target,
                   std::string& reason);

// True when the numeric `address` (IPv4 or IPv6 text) may be sent to:
// not of a refused kind, not in `own`, or else in `allowed`.
bool addressAllowed(const std::string& address,
                    const std::set<std::string>& own,
                    const std::set<std::string>& allowed,
                    std::string& reason);

// The card's own interface addresses, as numeric text.
std::set<std::string> ownAddresses();

// parseReplyUri, then the host resolved: the first of its addresses that
// addressAllowed accepts goes into target.address. False, with the
// reason, when none does.
bool resolveReplyUri(const std::string& uri, const std::set<std::string>& own,
                     const std::set<std::string>& allowed,
                     ReplyTarget& target, std::string& reason);

}  // namespace wsgated

#endif  // CARD_PUBLISHER_REPLY_ADDRESS_H_
