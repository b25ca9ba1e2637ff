// Subcommands that manage users, the anonymous role and access rules in
// the store's security area (layout in platform/security.h).

#include <iostream>

#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"
#include "platform/security.h"
#include "tools/cdsctl/cli.h"

namespace cdsctl {
namespace {

const char kUsers[] = "/Software/Security/Users";
const char kAnonymous[] = "/Software/Security/AnonymousRole";
const char kAccess[] = "/Software/Security/Access";

// A user or rule name becomes one node name, so it must be one.
bool IsNodeName(const std::string& name) {
  if (name.empty() || name[0] == '.') return false;
  toolkit::CPath path("/" + name);
  return path.normalize() == 0 && !path.hasExplicitAttribute() &&
         path.getNodePath() == "/" + name;
}

// Creates `node` when missing and stores `text` as its persistent Value.
api_status_t WriteText(toolkit::CCds& cds, const std::string& node,
                       const std::string& text, const std::string& source) {
  api_status_t status = API_STATUS_UNKNOWN;
  cds.add_node(node, status, source);
  if (status != API_STATUS_OK && status != API_STATUS_EXISTS) return status;
  cds.set_leaf(node + "/Value", toolkit::CElement(text), status,
               PCD_TRIBOOL_TRUE, source);
  return status;
}

std::string ReadText(toolkit::CCds& cds, const std::string& node) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  cds.get_leaf(node + "/Value", status, element, property);
  return status == API_STATUS_OK ? element.to_string() : "";
}

// Parses a role argument into its canonical name.
bool RoleArgument(const std::string& text, std::string* name) {
  toolkit::pcd_role_t role = toolkit::PCD_ROLE_NONE;
  if (!toolkit::pcd_role_from_name(text, &role)) return false;
  *name = toolkit::pcd_role_name(role);
  return true;
}

int RemoveNode(const Invocation& invocation, const std::string& node,
               const std::string& what) {
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = API_STATUS_UNKNOWN;
  cds->remove_node(node, status, invocation.source);
  return status == API_STATUS_OK ? kExitOk : Failed(what, status);
}

int UserSet(const Invocation& invocation, const std::vector<std::string>& a) {
  if (a.size() != 4) return UsageError("user set needs NAME and ROLE");
  std::string role;
  if (!IsNodeName(a[2])) return UsageError("bad user name '" + a[2] + "'");
  if (!RoleArgument(a[3], &role)) return UsageError("unknown role '" + a[3] + "'");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = WriteText(*cds, std::string(kUsers) + "/" + a[2], role,
                                  invocation.source);
  return status == API_STATUS_OK ? kExitOk : Failed("user set " + a[2], status);
}

// A rule is three points; they are written in one transaction so that a
// half-written rule never takes effect.
int RuleSet(const Invocation& invocation, const std::vector<std::string>& a) {
  if (a.size() != 6) {
    return UsageError("rule set needs NAME PATH READROLE WRITEROLE");
  }
  std::string read_role, write_role;
  if (!IsNodeName(a[2])) return UsageError("bad rule name '" + a[2] + "'");
  toolkit::CPath covered(a[3]);
  if (covered.normalize() != 0 || covered.hasExplicitAttribute()) {
    return UsageError("rule set needs a node path, not '" + a[3] + "'");
  }
  if (!RoleArgument(a[4], &read_role)) return UsageError("unknown role '" + a[4] + "'");
  if (!RoleArgument(a[5], &write_role)) return UsageError("unknown role '" + a[5] + "'");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::string rule = std::string(kAccess) + "/" + a[2];
  if (pcd_begin(cds->handle) != 0) return Failed("rule set", API_STATUS_BUSY);
  api_status_t status = WriteText(*cds, rule + "/Path", covered.getNodePath(),
                                  invocation.source);
  if (status == API_STATUS_OK) {
    status = WriteText(*cds, rule + "/Read", read_role, invocation.source);
  }
  if (status == API_STATUS_OK) {
    status = WriteText(*cds, rule + "/Write", write_role, invocation.source);
  }
  if (status != API_STATUS_OK || pcd_commit(cds->handle) != 0) {
    pcd_rollback(cds->handle);
    return Failed("rule set " + a[2],
                  status == API_STATUS_OK ? API_STATUS_IO_ERROR : status);
  }
  return kExitOk;
}

}  // namespace

int CmdUsers(const Invocation& invocation) {
  if (!invocation.args.empty()) return UsageError("users takes no arguments");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<std::string> users;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds->test_node(kUsers, status) == 0 && status == API_STATUS_OK &&
      toolkit::CPath::getChildPaths(*cds, kUsers, users) != 0) {
    return Failed("users", API_STATUS_IO_ERROR);
  }
  for (const std::string& user : users) {
    std::string parent, name;
    toolkit::CPath::LopLastSubpath(user, parent, name);
    std::cout << name << " " << ReadText(*cds, user) << "\n";
  }
  std::string anonymous = ReadText(*cds, kAnonymous);
  std::cout << "(anonymous) " << (anonymous.empty() ? "None" : anonymous)
            << "\n";
  return kExitOk;
}

// One line per rule: name, path, read role, write role, tab-separated.
int CmdRules(const Invocation& invocation) {
  if (!invocation.args.empty()) return UsageError("rules takes no arguments");
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  std::vector<std::string> rules;
  api_status_t status = API_STATUS_UNKNOWN;
  if (cds->test_node(kAccess, status) == 0 && status == API_STATUS_OK &&
      toolkit::CPath::getChildPaths(*cds, kAccess, rules) != 0) {
    return Failed("rules", API_STATUS_IO_ERROR);
  }
  for (const std::string& rule : rules) {
    std::string parent, name;
    toolkit::CPath::LopLastSubpath(rule, parent, name);
    std::cout << name << "\t" << ReadText(*cds, rule + "/Path") << "\tread "
              << ReadText(*cds, rule + "/Read") << "\twrite "
              << ReadText(*cds, rule + "/Write") << "\n";
  }
  if (rules.empty()) ReportEmpty("rules");
  return kExitOk;
}

int CmdUser(const Invocation& invocation) {
  std::vector<std::string> a = invocation.args;
  a.insert(a.begin(), "user");
  if (a.size() >= 2 && a[1] == "set") return UserSet(invocation, a);
  if (a.size() == 3 && a[1] == "remove") {
    return RemoveNode(invocation, std::string(kUsers) + "/" + a[2],
                      "user remove " + a[2]);
  }
  return UsageError("use 'user set NAME ROLE' or 'user remove NAME'");
}

int CmdAnonymous(const Invocation& invocation) {
  std::string role;
  if (invocation.args.size() != 1) return UsageError("anonymous needs a role");
  if (!RoleArgument(invocation.args[0], &role)) {
    return UsageError("unknown role '" + invocation.args[0] + "'");
  }
  std::unique_ptr<toolkit::CCds> cds = OpenStore(invocation);
  if (!cds) return kExitNoStore;
  api_status_t status = WriteText(*cds, kAnonymous, role, invocation.source);
  return status == API_STATUS_OK ? kExitOk : Failed("anonymous", status);
}

int CmdRule(const Invocation& invocation) {
  std::vector<std::string> a = invocation.args;
  a.insert(a.begin(), "rule");
  if (a.size() >= 2 && a[1] == "set") return RuleSet(invocation, a);
  if (a.size() == 3 && a[1] == "remove") {
    return RemoveNode(invocation, std::string(kAccess) + "/" + a[2],
                      "rule remove " + a[2]);
  }
  return UsageError(
      "use 'rule set NAME PATH READROLE WRITEROLE' or 'rule remove NAME'");
}

}  // namespace cdsctl
