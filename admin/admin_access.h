// Who may use the administration operations.
//
// SetLeaf, SetLeaves and CreateNode write with the writability rules
// relaxed and may build new nodes, so ordinary write rights are not enough:
// the store's policy must let the caller administer every path the call
// touches (CPath::is_admin_authorized: an Administrator who passes the
// path's Write rule). The check runs before anything is written, so a
// refused call changes nothing.

#ifndef ADMIN_ADMIN_ACCESS_H_
#define ADMIN_ADMIN_ACCESS_H_

#include <string>
#include <vector>

namespace toolkit {
class CCds;
}  // namespace toolkit

// Log lines of refusals, as the write path words its own.
extern const char* const kRefusedWriteLog;     // "Unauthorized attempt to write to %s"
extern const char* const kRefusedCreationLog;  // "Unauthorized node creation attempted on %s"

// Whether the caller (REMOTE_USER) may administer each of `paths`. The first
// refused path is logged at notice level 1 with `refusalFormat` (one "%s",
// the path as given) and ends the check. Paths that do not parse are left
// to the write path, which answers them with its own error text and never
// writes them.
bool mayAdminister(toolkit::CCds& cds, const std::vector<std::string>& paths,
                   const char* refusalFormat);

#endif  // ADMIN_ADMIN_ACCESS_H_
