// The gSOAP engine's limits and modes.
//
// Input limits protect the single-threaded daemon from requests that would
// take all its memory or time; they are far above anything a real client
// sends, and deliberately not so low that a reply could hit them: the
// engine applies the nesting limit to output too and silently writes
// nothing when a reply is deeper.
//
//   nesting depth      kMaxXmlDepth        256 levels (replies use < 12)
//   text length        kMaxTextLength      4 MiB per string
//   repeated items     kMaxOccurs          100000 per array
//   message size       kMaxMessageBytes    16 MiB (nginx client_max_body_size)
//
// The engine has no DTD support: a DOCTYPE is not processed and entities
// declared in one are never expanded.

#ifndef HOST_ENGINE_SETUP_H_
#define HOST_ENGINE_SETUP_H_

#include <cstddef>

struct soap;

namespace wsgated {

constexpr unsigned kMaxXmlDepth = 256;
constexpr long kMaxTextLength = 4L * 1024 * 1024;
constexpr size_t kMaxOccurs = 100000;
constexpr unsigned long kMaxMessageBytes = 16UL * 1024 * 1024;

// Set the input limits above on `soap`.
void applyInputLimits(struct soap* soap);

// Messages are document/literal trees: the engine neither follows nor
// writes SOAP-encoded multi-references (id/href). Without this it keeps id
// bookkeeping that scans its whole id table for every item of a repeated
// element (a quarter of the daemon's time in a getValues of 1000 paths),
// and a client could make it build reference graphs.
void useLiteralTrees(struct soap* soap);

// The realm of the 401 answers the daemon itself sends (refused writes and
// administration): the web server's realm, "wsgated", so that a client
// that has already authenticated there is not asked again for another.
// The engine forgets the realm at the start of each request.
extern const char* const kAuthenticationRealm;
void useAuthenticationRealm(struct soap* soap);

// Strings keep their UTF-8 content and replies may keep the connection;
// used only once locale support is set up, as translated texts are UTF-8.
void enableUtf8Modes(struct soap* soap);

}  // namespace wsgated

#endif  // HOST_ENGINE_SETUP_H_
