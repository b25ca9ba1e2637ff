// Users, roles and access rules (see security.h), and the authorization
// methods of CPath.
//
// The policy is read from the store into a SecurityPolicy cached on the
// connection. Authorization runs before every read of the web service, so
// the common case must cost no more than the change-counter check, one hash
// lookup and a scan of the (few) rules. The cache is checked against
// pcd_change_counter(); when the store changed, the security generation
// (bumped only by writes under /Software/Security) tells whether the policy
// itself did, so that busy stores do not reload the policy on every request.

#include "platform/security.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/cds_store.h"
#include "platform/path.h"

namespace toolkit {

struct SecurityPolicy {
  struct Rule {
    std::string path;  // node path, canonical
    pcd_role_t read;
    pcd_role_t write;
  };

  std::unordered_map<std::string, pcd_role_t> users;
  pcd_role_t anonymous = PCD_ROLE_NONE;
  std::vector<Rule> rules;  // longest path first: the first match decides

  pcd_role_t role_of(const char* user) const {
    if (user == nullptr || *user == '\0') return anonymous;
    const auto it = users.find(user);
    return it == users.end() ? PCD_ROLE_NONE : it->second;
  }

  const Rule* rule_for(const std::string& node_path) const {
    for (const Rule& rule : rules) {
      if (store::path_covers(rule.path, node_path)) return &rule;
    }
    return nullptr;
  }
};

namespace {

const char kUsersNode[] = "/Software/Security/Users";
const char kAnonymousNode[] = "/Software/Security/AnonymousRole";
const char kAccessNode[] = "/Software/Security/Access";

const char* const kRoleNames[] = {"None", "Viewer", "Operator",
                                  "Administrator"};

// A role stored as its name or as its number. Anything else is `fallback`.
pcd_role_t role_from_element(const CElement& element, pcd_role_t fallback) {
  pcd_role_t role = fallback;
  switch (element.get_type()) {
    case PCD_TYPE_STRING:
      if (!pcd_role_from_name(element.to_string(), &role)) role = fallback;
      break;
    case PCD_TYPE_INT:
    case PCD_TYPE_UINT:
      if (element.to_int() >= PCD_ROLE_NONE &&
          element.to_int() <= PCD_ROLE_ADMINISTRATOR) {
        role = static_cast<pcd_role_t>(element.to_int());
      }
      break;
    default:
      break;
  }
  return role;
}

// "/A//B/" -> "/A/B"; "" when the text is not an absolute path.
std::string canonical_node_path(const std::string& text) {
  if (text.empty() || text[0] != '/') return "";
  std::string path;
  for (char c : text) {
    if (c == '/' && !path.empty() && path.back() == '/') continue;
    path += c;
  }
  if (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

// The leaves the policy is made of, read in one snapshot each step.
struct PolicyReader {
  CCds& cds;
  std::vector<api_status_t> statuses;
  std::vector<CElement> elements;
  std::vector<element_property_t> properties;

  bool read(const std::vector<std::string>& paths) {
    return cds.get_leaves(paths, statuses, elements, properties) == 0;
  }
  bool good(size_t i) const { return statuses[i] == API_STATUS_OK; }
  // Items of a list leaf; none when the leaf (or its node) is missing.
  std::vector<std::string> list(size_t i) const {
    if (!good(i)) return {};
    return CElement::split_string(elements[i].to_string(), ';');
  }
};

bool load_policy(CCds& cds, SecurityPolicy& policy) {
  PolicyReader reader{cds, {}, {}, {}};
  if (!reader.read({std::string(kUsersNode) + ":Children",
                    std::string(kAccessNode) + ":Children",
                    std::string(kAnonymousNode) + ":Value"})) {
    return false;
  }
  const std::vector<std::string> users = reader.list(0);
  const std::vector<std::string> rules = reader.list(1);
  if (reader.good(2)) {
    policy.anonymous = role_from_element(reader.elements[2], PCD_ROLE_NONE);
  }
  // The colon form, so that a user called "Units" is still a node.
  std::vector<std::string> paths;
  for (const std::string& user : users) {
    paths.push_back(std::string(kUsersNode) + "/" + user + ":Value");
  }
  for (const std::string& rule : rules) {
    const std::string base = std::string(kAccessNode) + "/" + rule;
    paths.push_back(base + "/Path:Value");
    paths.push_back(base + "/Read:Value");
    paths.push_back(base + "/Write:Value");
  }
  if (!reader.read(paths)) return false;
  for (size_t i = 0; i < users.size(); ++i) {
    policy.users[users[i]] = reader.good(i)
                                 ? role_from_element(reader.elements[i],
                                                     PCD_ROLE_NONE)
                                 : PCD_ROLE_NONE;
  }
  for (size_t i = users.size(); i < paths.size(); i += 3) {
    const std::string path = reader.good(i)
                                 ? canonical_node_path(
                                       reader.elements[i].to_string())
                                 : "";
    if (path.empty()) continue;  // a rule that covers nothing
    // An unreadable role of a rule that exists locks the path down rather
    // than opening it.
    const pcd_role_t read =
        reader.good(i + 1)
            ? role_from_element(reader.elements[i + 1], PCD_ROLE_ADMINISTRATOR)
            : PCD_ROLE_VIEWER;
    const pcd_role_t write =
        reader.good(i + 2)
            ? role_from_element(reader.elements[i + 2], PCD_ROLE_ADMINISTRATOR)
            : PCD_ROLE_OPERATOR;
    policy.rules.push_back({path, read, write});
  }
  std::stable_sort(policy.rules.begin(), policy.rules.end(),
                   [](const SecurityPolicy::Rule& a,
                      const SecurityPolicy::Rule& b) {
                     return a.path.size() > b.path.size();
                   });
  return true;
}

// The connection's policy, reloaded when the store's security area changed.
// When the policy cannot be read, nobody is anybody: every role is None.
const SecurityPolicy& current_policy(CCds& cds) {
  static const SecurityPolicy kDenyAll;
  pcd_connection* c = cds.handle;
  if (c == nullptr) return kDenyAll;
  const unsigned long long counter = pcd_change_counter(c);
  if (c->security && counter == c->security_counter) return *c->security;
  const long long generation = store::security_generation(c);
  if (generation < 0) return kDenyAll;
  if (!c->security || generation != c->security_generation) {
    auto policy = std::make_shared<SecurityPolicy>();
    if (!load_policy(cds, *policy)) return kDenyAll;
    c->security = std::move(policy);
    c->security_generation = generation;
  }
  c->security_counter = counter;
  return *c->security;
}

// Administrators may ask to write any attribute: for automatic ones the
// write path answers with its own, more precise refusal (and the store
// refuses them anyway). Everyone else is held to Value and the attributes
// that ordinary writers may change.
bool ordinary_writers_may_write(const std::string& attribute) {
  const store::AttrClass attr = store::classify_attribute(attribute);
  if ((attr.flags & PCD_AF_AUTOMATIC) != 0) return false;
  return attr.code == PCD_ATTR_VALUE ||
         (attr.flags & PCD_AF_OPERATOR_WRITABLE) != 0;
}

// The least role that `access` on `path` needs under `policy`. Whoever has
// it is authorised; nothing else decides, so the log's "needs" and the
// refusal can never disagree.
pcd_role_t required_role(const SecurityPolicy& policy, pcd_access_t access,
                         const CPath& path) {
  const std::string& node = path.getNodePath();
  pcd_role_t read_needs = PCD_ROLE_VIEWER;
  pcd_role_t write_needs = PCD_ROLE_OPERATOR;
  if (store::path_covers(store::kSecurityRoot, node)) {
    read_needs = write_needs = PCD_ROLE_ADMINISTRATOR;
  } else if (const SecurityPolicy::Rule* rule = policy.rule_for(node)) {
    read_needs = rule->read;
    write_needs = rule->write;
  }
  switch (access) {
    case PCD_ACCESS_READ:
      return read_needs;
    case PCD_ACCESS_WRITE:
      return ordinary_writers_may_write(path.getPathAttribute())
                 ? write_needs
                 : PCD_ROLE_ADMINISTRATOR;
    case PCD_ACCESS_REMOVE:
    case PCD_ACCESS_ADMIN:
    case PCD_ACCESS_RESET:
      break;
  }
  return PCD_ROLE_ADMINISTRATOR;
}

// `path` as the policy judges it: itself when normalised, else `parsed`,
// for a path that was never normalised gets its chance; null for a
// malformed one. Authorisation runs before every read: no copy when the
// path is ready.
const CPath* judged_path(const CPath& path, CPath* parsed) {
  if (path.is_valid()) return &path;
  *parsed = CPath(path.original());
  return parsed->normalize() == 0 ? parsed : nullptr;
}

}  // namespace

long long pcd_security_generation(CCds& cds) {
  return cds.handle == nullptr ? -1 : store::security_generation(cds.handle);
}

const char* pcd_role_name(pcd_role_t role) {
  if (role < PCD_ROLE_NONE || role > PCD_ROLE_ADMINISTRATOR) return "None";
  return kRoleNames[role];
}

bool pcd_role_from_name(const std::string& name, pcd_role_t* role) {
  for (int i = PCD_ROLE_NONE; i <= PCD_ROLE_ADMINISTRATOR; ++i) {
    if (strcasecmp(name.c_str(), kRoleNames[i]) == 0) {
      *role = static_cast<pcd_role_t>(i);
      return true;
    }
  }
  return false;
}

pcd_role_t pcd_user_role(CCds& cds, const char* user) {
  try {
    return current_policy(cds).role_of(user);
  } catch (...) {
    return PCD_ROLE_NONE;
  }
}

bool pcd_authorize(CCds& cds, const char* user, pcd_access_t access,
                   const CPath& path) {
  try {
    CPath parsed;
    const CPath* judged = judged_path(path, &parsed);
    if (judged == nullptr) return false;
    const SecurityPolicy& policy = current_policy(cds);
    return policy.role_of(user) >= required_role(policy, access, *judged);
  } catch (...) {
    return false;
  }
}

bool pcd_required_role(CCds& cds, pcd_access_t access, const CPath& path,
                       pcd_role_t* role) {
  try {
    CPath parsed;
    const CPath* judged = judged_path(path, &parsed);
    if (judged == nullptr) return false;
    *role = required_role(current_policy(cds), access, *judged);
    return true;
  } catch (...) {
    return false;
  }
}

bool CPath::is_read_authorized(CCds& cds, const std::string& user) const {
  return pcd_authorize(cds, user.c_str(), PCD_ACCESS_READ, *this);
}

bool CPath::is_write_authorized(CCds& cds, const std::string& user) const {
  return pcd_authorize(cds, user.c_str(), PCD_ACCESS_WRITE, *this);
}

bool CPath::is_remove_authorized(CCds& cds, const std::string& user) const {
  return pcd_authorize(cds, user.c_str(), PCD_ACCESS_REMOVE, *this);
}

bool CPath::is_admin_authorized(CCds& cds, const std::string& user) const {
  return pcd_authorize(cds, user.c_str(), PCD_ACCESS_ADMIN, *this);
}

bool CPath::is_reset_authorized(CCds& cds, const std::string& user) const {
  return pcd_authorize(cds, user.c_str(), PCD_ACCESS_RESET, *this);
}

}  // namespace toolkit
