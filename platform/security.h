// Users, roles and access rules of the store.
//
// The web server authenticates callers; the store decides what they may do.
// Roles, from least to most: None, Viewer (reads), Operator (also writes
// point values and the attributes ordinary writers may write), Administrator
// (everything: any attribute, structure, removal, reset). Changing the
// store's structure is asked for as an access kind of its own
// (PCD_ACCESS_ADMIN), so that callers need not compare roles themselves.
//
// Layout in the store:
//   /Software/Security/Users/<user>      Value: role name of that user
//   /Software/Security/AnonymousRole     Value: role of callers without a
//                                        user name (default "None")
//   /Software/Security/Access/<rule>     a rule with three points:
//        Path/Value   node path the rule covers (with all descendants)
//        Read/Value   least role that may read there
//        Write/Value  least role that may write there
// Without a rule, reading needs Viewer and writing Operator. The rule with
// the longest Path that covers a node decides. "/Software/Security" itself
// is always Administrator-only for reading and writing, whatever the rules.
// Users not listed have the role None.
//
// The policy is read once and cached per connection; it is reloaded when
// pcd_change_counter() shows that the store changed.

#ifndef PLATFORM_SECURITY_H_
#define PLATFORM_SECURITY_H_

#include <string>

#include "platform/types.h"

namespace toolkit {

class CCds;
class CPath;

enum pcd_role_t : int {
  PCD_ROLE_NONE = 0,
  PCD_ROLE_VIEWER = 1,
  PCD_ROLE_OPERATOR = 2,
  PCD_ROLE_ADMINISTRATOR = 3,
};

enum pcd_access_t : int {
  PCD_ACCESS_READ = 0,
  PCD_ACCESS_WRITE = 1,   // writing one attribute
  PCD_ACCESS_REMOVE = 2,  // removing a node or clearing a leaf
  PCD_ACCESS_RESET = 3,   // restarting the card
  PCD_ACCESS_ADMIN = 4,   // changing the store's structure: creating nodes,
                          // writing any attribute as an administrator
};

// "None", "Viewer", "Operator", "Administrator".
const char* pcd_role_name(pcd_role_t role);
// Parse a role name (case-insensitive). Returns false for unknown names.
bool pcd_role_from_name(const std::string& name, pcd_role_t* role);

// The role of `user`; null or empty means the anonymous role.
pcd_role_t pcd_user_role(CCds& cds, const char* user);

// May `user` (null or empty: anonymous) do `access` on `path`?
//   read:   role >= the rule's Read role
//   write:  role >= the rule's Write role, and either the role is
//           Administrator or the attribute is Value or operator-writable
//           (attributes.h). Automatic attributes pass for Administrators
//           only; the store itself refuses to write them.
//   remove: Administrator and role >= the rule's Write role
//   admin:  the same as remove: whoever may take a node away may also
//           build one there
//   reset:  Administrator
// An invalid path is refused.
bool pcd_authorize(CCds& cds, const char* user, pcd_access_t access,
                   const CPath& path);

// A number that moves whenever users, roles or access rules change (any
// write below /Software/Security, from any connection); -1 when the store
// cannot say. Whoever keeps judgements made with pcd_authorize judges again
// when it moves, instead of asking for every use.
long long pcd_security_generation(CCds& cds);

// The least role that may do `access` on `path`: the rule pcd_authorize
// applies, for telling a refused caller what was missing. False for a
// malformed path, which nobody may use.
bool pcd_required_role(CCds& cds, pcd_access_t access, const CPath& path,
                       pcd_role_t* role);

}  // namespace toolkit

#endif  // PLATFORM_SECURITY_H_
