// The caller's rights, asked of the store, and one log line per request
// for what it was refused.
//
// Operations test rights through callerMay rather than the store's
// CPath::is_*_authorized directly, so that every refusal is noted in the
// request's RequestRefusals; the host resets them before each request and
// calls logRefusals after it. A person reading the log at the verbosity
// that shows errors then learns, in one line, which operation was refused
// to whom, on which path, and what role it needed: a search that skips a
// thousand unreadable nodes writes one line, not a thousand.

#ifndef COMMON_CALLER_RIGHTS_H_
#define COMMON_CALLER_RIGHTS_H_

#include <string>

#include "platform/security.h"

namespace toolkit {
class CPath;
}  // namespace toolkit

namespace wsgated {

struct ServiceContext;

// May the request's caller do `access` on `path`? A refusal is noted.
bool callerMay(ServiceContext* context, toolkit::pcd_access_t access,
               const toolkit::CPath& path);

// Forgets the refusals of the previous request.
void clearRefusals(ServiceContext* context);

// The line that tells the refusals of the request that just ended, "" when
// there were none:
//   Refused nsc1:getValues to viewer@127.0.0.1 (role Viewer): read of
//   /Software/Security/Users needs Administrator; 3 refusals in all
std::string refusalSummary(ServiceContext* context,
                           const std::string& operation);

// Writes refusalSummary at the errors level when there is one.
void logRefusals(ServiceContext* context, const std::string& operation);

}  // namespace wsgated

#endif  // COMMON_CALLER_RIGHTS_H_
