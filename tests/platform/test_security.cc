// Users, roles and access rules: the role x access matrix, the anonymous
// role, longest-prefix rules on component boundaries, the protected
// security area, and the policy cache following changes made elsewhere.

#include <gtest/gtest.h>

#include <string>

#include "platform/cds.h"
#include "platform/path.h"
#include "platform/security.h"
#include "tests/platform/temp_store.h"

namespace {

using toolkit::CElement;
using toolkit::CPath;
using toolkit::PCD_ACCESS_ADMIN;
using toolkit::PCD_ACCESS_READ;
using toolkit::PCD_ACCESS_REMOVE;
using toolkit::PCD_ACCESS_RESET;
using toolkit::PCD_ACCESS_WRITE;

class SecurityTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    // Role names ignore case.
    const std::pair<const char*, const char*> users[] = {
        {"nobody", "None"}, {"viewer", "Viewer"}, {"operator", "operator"},
        {"admin", "Administrator"}};
    for (const auto& [user, role] : users) {
      AddNode(std::string("/Software/Security/Users/") + user);
      SetText(std::string("/Software/Security/Users/") + user + "/Value",
              role);
    }
    for (const char* node : {"/Devices/UPS1/Service", "/Dev1", "/Dev10"}) {
      AddNode(node);
    }
  }
  void SetRule(const std::string& name, const char* path, const char* read,
               const char* write) {
    const std::string base = "/Software/Security/Access/" + name;
    const std::pair<const char*, const char*> points[] = {
        {"/Path", path}, {"/Read", read}, {"/Write", write}};
    for (const auto& [point, text] : points) {
      AddNode(base + point);
      SetText(base + point + "/Value", text);
    }
  }
  bool May(const char* user, toolkit::pcd_access_t access,
           const std::string& text) {
    CPath path(text);
    path.normalize();
    return toolkit::pcd_authorize(*cds_, user, access, path);
  }
};

TEST_F(SecurityTest, RoleAccessMatrix) {
  struct Row {
    const char* user;
    bool read, write_value, write_limit, write_units, remove, admin, reset;
  };
  const Row rows[] = {
      {"nobody", false, false, false, false, false, false, false},
      {"stranger", false, false, false, false, false, false, false},
      {"viewer", true, false, false, false, false, false, false},
      {"operator", true, true, true, false, false, false, false},
      {"admin", true, true, true, true, true, true, true},
  };
  const std::string point = "/Devices/UPS1";
  for (const Row& row : rows) {
    SCOPED_TRACE(row.user);
    EXPECT_EQ(row.read, May(row.user, PCD_ACCESS_READ, point + "/Value"));
    EXPECT_EQ(row.write_value,
              May(row.user, PCD_ACCESS_WRITE, point + "/Value"));
    EXPECT_EQ(row.write_limit,
              May(row.user, PCD_ACCESS_WRITE, point + "/.HighAlarmLimit"));
    EXPECT_EQ(row.write_units,
              May(row.user, PCD_ACCESS_WRITE, point + "/Units"));
    EXPECT_EQ(row.remove, May(row.user, PCD_ACCESS_REMOVE, point));
    EXPECT_EQ(row.admin, May(row.user, PCD_ACCESS_ADMIN, point));
    EXPECT_EQ(row.reset, May(row.user, PCD_ACCESS_RESET, "/"));
  }
  EXPECT_EQ(toolkit::PCD_ROLE_OPERATOR,
            toolkit::pcd_user_role(*cds_, "operator"));
}

// The longest rule covering a path decides, on whole components only;
// removal follows the write role, administration needs an Administrator
// even where a rule lets everybody write; an unknown role locks the path;
// the security area is for Administrators whatever the rules; only
// Administrators get past authorization with a computed attribute (so the
// write path can tell them why it refuses) and invalid paths pass nobody.
TEST_F(SecurityTest, RulesAndTheirLimits) {
  SetRule("devices", "/Devices", "Operator", "Administrator");
  SetRule("service", "/Devices/UPS1/Service/", "Viewer", "Operator");
  SetRule("dev1", "/Dev1", "Administrator", "Administrator");
  SetRule("open", "/Open", "None", "None");
  SetRule("typo", "/Typo", "Veiwer", "Operater");
  SetRule("software", "/Software", "None", "None");
  SetRule("security", "/Software/Security", "None", "None");
  const struct {
    const char* user;
    toolkit::pcd_access_t access;
    const char* path;
    bool allowed;
  } cases[] = {
      {"viewer", PCD_ACCESS_READ, "/Devices/UPS1/Value", false},
      {"operator", PCD_ACCESS_READ, "/Devices/UPS1/Value", true},
      {"operator", PCD_ACCESS_WRITE, "/Devices/UPS1/Value", false},
      {"viewer", PCD_ACCESS_READ, "/Devices/UPS1/Service/Deep/Value", true},
      {"operator", PCD_ACCESS_WRITE, "/Devices/UPS1/Service/Value", true},
      {"viewer", PCD_ACCESS_READ, "/Other", true},  // no rule: the defaults
      {"operator", PCD_ACCESS_READ, "/Dev1/X/Value", false},
      {"operator", PCD_ACCESS_READ, "/Dev10/Value", true},
      {"operator", PCD_ACCESS_READ, "/Dev1.x/Value", true},
      {"admin", PCD_ACCESS_REMOVE, "/Dev1", true},
      {"operator", PCD_ACCESS_REMOVE, "/Dev10", false},
      {"operator", PCD_ACCESS_WRITE, "/Open/Value", true},
      {"operator", PCD_ACCESS_ADMIN, "/Open/Value", false},
      {"nobody", PCD_ACCESS_ADMIN, "/Open/New", false},
      {"admin", PCD_ACCESS_ADMIN, "/Open/New:Custom", true},
      {"operator", PCD_ACCESS_READ, "/Typo", false},
      {"admin", PCD_ACCESS_READ, "/Typo", true},
      {"nobody", PCD_ACCESS_READ, "/Software/Other", true},
      {"operator", PCD_ACCESS_READ, "/Software/Security/Users/admin", false},
      {"operator", PCD_ACCESS_WRITE, "/Software/Security/Users/x", false},
      {"admin", PCD_ACCESS_WRITE, "/Software/Security/Users/x", true},
      {"admin", PCD_ACCESS_ADMIN, "/Software/Security/Users/x", true},
      {"admin", PCD_ACCESS_WRITE, "/Dev10/Children", true},
      {"operator", PCD_ACCESS_WRITE, "/Dev10/Children", false},
      {"operator", PCD_ACCESS_WRITE, "/Dev10/.ChangeCount", false},
      {"admin", PCD_ACCESS_WRITE, "/Dev10:Custom", true},
      {"operator", PCD_ACCESS_WRITE, "/Dev10:Custom", false},
      {"admin", PCD_ACCESS_ADMIN, "Dev1", false},
      {"admin", PCD_ACCESS_READ, "/A/../B", false},
      {"admin", PCD_ACCESS_READ, "", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.allowed, May(c.user, c.access, c.path))
        << c.user << " " << c.access << " " << c.path;
  }
  // The store itself still refuses the computed attribute.
  api_status_t status = API_STATUS_UNKNOWN;
  cds_->set_leaf("/Dev10/Children", CElement("x"), status,
                 PCD_TRIBOOL_UNKNOWN, "test");
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, status);
  // A well-formed path that was never normalised still gets its answer.
  EXPECT_TRUE(toolkit::pcd_authorize(*cds_, "admin", PCD_ACCESS_RESET,
                                     CPath("/")));
}

// What a refused caller is told it lacked: the rule's role, the
// Administrator for what only administrators do, nothing for a malformed
// path.
TEST_F(SecurityTest, RequiredRoleNamesWhatWasMissing) {
  SetRule("devices", "/Devices", "Operator", "Viewer");
  SetRule("open", "/Open", "None", "None");
  const struct {
    toolkit::pcd_access_t access;
    const char* path;
    bool judged;
    toolkit::pcd_role_t needs;
  } cases[] = {
      {PCD_ACCESS_READ, "/Devices/UPS1/Value", true, toolkit::PCD_ROLE_OPERATOR},
      {PCD_ACCESS_WRITE, "/Devices/UPS1/Value", true, toolkit::PCD_ROLE_VIEWER},
      {PCD_ACCESS_WRITE, "/Devices/UPS1/Units", true,
       toolkit::PCD_ROLE_ADMINISTRATOR},
      {PCD_ACCESS_READ, "/Open/X", true, toolkit::PCD_ROLE_NONE},
      {PCD_ACCESS_READ, "/Other", true, toolkit::PCD_ROLE_VIEWER},
      {PCD_ACCESS_WRITE, "/Other/Value", true, toolkit::PCD_ROLE_OPERATOR},
      {PCD_ACCESS_REMOVE, "/Open/X", true, toolkit::PCD_ROLE_ADMINISTRATOR},
      {PCD_ACCESS_READ, "/Software/Security/Users/x", true,
       toolkit::PCD_ROLE_ADMINISTRATOR},
      {PCD_ACCESS_RESET, "/", true, toolkit::PCD_ROLE_ADMINISTRATOR},
      {PCD_ACCESS_READ, "/A/../B", false, toolkit::PCD_ROLE_NONE},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    toolkit::pcd_role_t needs = toolkit::PCD_ROLE_NONE;
    EXPECT_EQ(c.judged,
              toolkit::pcd_required_role(*cds_, c.access, CPath(c.path), &needs));
    if (c.judged) {
      EXPECT_EQ(c.needs, needs);
    }
  }
}

TEST_F(SecurityTest, AnonymousCallersTakeTheAnonymousRole) {
  EXPECT_FALSE(May(nullptr, PCD_ACCESS_READ, "/Devices/UPS1"));  // None
  AddNode("/Software/Security/AnonymousRole");
  SetText("/Software/Security/AnonymousRole/Value", "Viewer");
  EXPECT_TRUE(May(nullptr, PCD_ACCESS_READ, "/Devices/UPS1"));
  EXPECT_TRUE(May("", PCD_ACCESS_READ, "/Devices/UPS1"));
  EXPECT_FALSE(May(nullptr, PCD_ACCESS_WRITE, "/Devices/UPS1"));
  // A named stranger has no role, whatever the anonymous one is.
  EXPECT_FALSE(May("stranger", PCD_ACCESS_READ, "/Devices/UPS1"));
}

TEST_F(SecurityTest, CacheFollowsChangesFromOtherConnections) {
  EXPECT_TRUE(May("operator", PCD_ACCESS_WRITE, "/Devices/UPS1/Value"));
  const long long before = toolkit::pcd_security_generation(*cds_);
  ASSERT_GE(before, 0);
  auto other = store_.Open();
  api_status_t status;
  ASSERT_EQ(0, other->set_leaf("/Software/Security/Users/operator/Value",
                               CElement("Viewer"), status,
                               PCD_TRIBOOL_UNKNOWN, "other"));
  EXPECT_FALSE(May("operator", PCD_ACCESS_WRITE, "/Devices/UPS1/Value"));
  ASSERT_EQ(0, other->remove_node("/Software/Security/Users/viewer", status,
                                  "other"));
  EXPECT_FALSE(May("viewer", PCD_ACCESS_READ, "/Devices/UPS1/Value"));
  const long long changed = toolkit::pcd_security_generation(*cds_);
  EXPECT_GT(changed, before);
  // Changes elsewhere in the store leave the policy as it was.
  ASSERT_EQ(0, other->set_leaf("/Dev1/Value", CElement(1), status,
                               PCD_TRIBOOL_UNKNOWN, "other"));
  EXPECT_TRUE(May("operator", PCD_ACCESS_READ, "/Devices/UPS1/Value"));
  EXPECT_EQ(changed, toolkit::pcd_security_generation(*cds_));
  // A closed handle authorises nothing.
  toolkit::CCds closed(nullptr);
  EXPECT_FALSE(toolkit::pcd_authorize(closed, "admin", PCD_ACCESS_READ,
                                      CPath("/A")));
  EXPECT_EQ(toolkit::PCD_ROLE_NONE, toolkit::pcd_user_role(closed, "admin"));
  EXPECT_EQ(-1, toolkit::pcd_security_generation(closed));
}

}  // namespace
