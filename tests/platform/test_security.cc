// Users, roles and access rules: the role x access matrix, the anonymous
// role, longest-prefix rules on component boundaries, the protected
// security area, and the policy cache following changes made elsewhere.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/cds.h"
#include "platform/path.h"
#include "platform/security.h"
#include "tests/platform/temp_store.h"

namespace {

using testing_store::StoreTest;
using toolkit::CElement;
using toolkit::CPath;

class SecurityTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    SetUser("nobody", "None");
    SetUser("viewer", "Viewer");
    SetUser("operator", "operator");  // role names ignore case
    SetUser("admin", "Administrator");
    AddNode("/Devices/UPS1/Service");
    AddNode("/Dev1");
    AddNode("/Dev10");
  }

  void SetUser(const std::string& user, const char* role) {
    AddNode("/Software/Security/Users/" + user);
    SetText("/Software/Security/Users/" + user + "/Value", role);
  }
  void SetRule(const std::string& name, const char* path, const char* read,
               const char* write) {
    const std::string base = "/Software/Security/Access/" + name;
    for (const char* point : {"Path", "Read", "Write"}) {
      AddNode(base + "/" + point);
    }
    SetText(base + "/Path/Value", path);
    SetText(base + "/Read/Value", read);
    SetText(base + "/Write/Value", write);
  }
  bool May(const char* user, toolkit::pcd_access_t access,
           const std::string& text) {
    CPath path(text);
    path.normalize();
    return toolkit::pcd_authorize(*cds_, user, access, path);
  }
  bool Reads(const char* user, const std::string& path) {
    return May(user, toolkit::PCD_ACCESS_READ, path);
  }
  bool Writes(const char* user, const std::string& path) {
    return May(user, toolkit::PCD_ACCESS_WRITE, path);
  }
};

// ---------------------------------------------------------------------------
// Roles and the default policy.

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
    EXPECT_EQ(row.read, Reads(row.user, point + "/Value"));
    EXPECT_EQ(row.write_value, Writes(row.user, point + "/Value"));
    EXPECT_EQ(row.write_limit, Writes(row.user, point + "/.HighAlarmLimit"));
    EXPECT_EQ(row.write_units, Writes(row.user, point + "/Units"));
    EXPECT_EQ(row.remove, May(row.user, toolkit::PCD_ACCESS_REMOVE, point));
    EXPECT_EQ(row.admin, May(row.user, toolkit::PCD_ACCESS_ADMIN, point));
    EXPECT_EQ(row.reset, May(row.user, toolkit::PCD_ACCESS_RESET, "/"));
  }
  EXPECT_EQ(toolkit::PCD_ROLE_OPERATOR,
            toolkit::pcd_user_role(*cds_, "operator"));
}

// Only Administrators get past authorization with a computed attribute, so
// that the write path can tell them why it refuses; the store still refuses.
TEST_F(SecurityTest, ComputedAttributesPassOnlyForAdministrators) {
  EXPECT_TRUE(Writes("admin", "/Devices/UPS1/Children"));
  EXPECT_FALSE(Writes("operator", "/Devices/UPS1/Children"));
  EXPECT_FALSE(Writes("operator", "/Devices/UPS1/.ChangeCount"));
  EXPECT_TRUE(Writes("admin", "/Devices/UPS1:Custom"));
  EXPECT_FALSE(Writes("operator", "/Devices/UPS1:Custom"));

  api_status_t status = API_STATUS_UNKNOWN;
  cds_->set_leaf("/Devices/UPS1/Children", toolkit::CElement("x"), status,
                 PCD_TRIBOOL_UNKNOWN, "test");
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, status);
}

TEST_F(SecurityTest, AnonymousCallersTakeTheAnonymousRole) {
  EXPECT_FALSE(Reads(nullptr, "/Devices/UPS1"));  // default None
  AddNode("/Software/Security/AnonymousRole");
  SetText("/Software/Security/AnonymousRole/Value", "Viewer");
  EXPECT_TRUE(Reads(nullptr, "/Devices/UPS1"));
  EXPECT_TRUE(Reads("", "/Devices/UPS1"));
  EXPECT_FALSE(Writes(nullptr, "/Devices/UPS1"));
  EXPECT_FALSE(Reads("stranger", "/Devices/UPS1"));  // named: None
}

// ---------------------------------------------------------------------------
// Rules.

TEST_F(SecurityTest, LongestCoveringRuleDecides) {
  SetRule("devices", "/Devices", "Operator", "Administrator");
  SetRule("service", "/Devices/UPS1/Service/", "Viewer", "Operator");
  EXPECT_FALSE(Reads("viewer", "/Devices/UPS1/Value"));
  EXPECT_TRUE(Reads("operator", "/Devices/UPS1/Value"));
  EXPECT_FALSE(Writes("operator", "/Devices/UPS1/Value"));
  EXPECT_TRUE(Reads("viewer", "/Devices/UPS1/Service/Value"));
  EXPECT_TRUE(Reads("viewer", "/Devices/UPS1/Service/Deep/Value"));
  EXPECT_TRUE(Writes("operator", "/Devices/UPS1/Service/Value"));
  EXPECT_TRUE(Reads("viewer", "/Other"));  // no rule: the defaults
}

TEST_F(SecurityTest, RulesCoverWholeComponentsOnly) {
  SetRule("dev1", "/Dev1", "Administrator", "Administrator");
  EXPECT_FALSE(Reads("operator", "/Dev1"));
  EXPECT_FALSE(Reads("operator", "/Dev1/X/Value"));
  EXPECT_TRUE(Reads("operator", "/Dev10/Value"));
  EXPECT_TRUE(Reads("operator", "/Dev1.x/Value"));
}

TEST_F(SecurityTest, RemovalFollowsTheWriteRole) {
  SetRule("locked", "/Dev1", "Viewer", "Administrator");
  EXPECT_TRUE(May("admin", toolkit::PCD_ACCESS_REMOVE, "/Dev1"));
  EXPECT_FALSE(May("operator", toolkit::PCD_ACCESS_REMOVE, "/Dev10"));
}

// Administering the store is for Administrators even where a rule lets
// everybody write, and it follows the rule like removal does.
TEST_F(SecurityTest, AdministrationNeedsAnAdministrator) {
  SetRule("open", "/Dev1", "None", "None");
  EXPECT_TRUE(Writes("operator", "/Dev1/Value"));
  EXPECT_FALSE(May("operator", toolkit::PCD_ACCESS_ADMIN, "/Dev1/Value"));
  EXPECT_FALSE(May("nobody", toolkit::PCD_ACCESS_ADMIN, "/Dev1/New"));
  EXPECT_TRUE(May("admin", toolkit::PCD_ACCESS_ADMIN, "/Dev1/New:Custom"));
  EXPECT_TRUE(May("admin", toolkit::PCD_ACCESS_ADMIN,
                  "/Software/Security/Users/x"));
  EXPECT_FALSE(May("admin", toolkit::PCD_ACCESS_ADMIN, "Dev1"));
}

TEST_F(SecurityTest, UnknownRoleInARuleLocksThePath) {
  SetRule("typo", "/Dev1", "Veiwer", "Operater");
  EXPECT_FALSE(Reads("operator", "/Dev1"));
  EXPECT_TRUE(Reads("admin", "/Dev1"));
}

TEST_F(SecurityTest, SecurityAreaIsForAdministratorsOnly) {
  SetRule("open", "/Software", "None", "None");
  SetRule("opener", "/Software/Security", "None", "None");
  EXPECT_TRUE(Reads("nobody", "/Software/Other"));
  EXPECT_FALSE(Reads("operator", "/Software/Security/Users/admin"));
  EXPECT_FALSE(Writes("operator", "/Software/Security/Users/operator"));
  EXPECT_TRUE(Reads("admin", "/Software/Security"));
  EXPECT_TRUE(Writes("admin", "/Software/Security/Users/operator"));
}

TEST_F(SecurityTest, InvalidPathsAreRefused) {
  EXPECT_FALSE(Reads("admin", "relative/path"));
  EXPECT_FALSE(Reads("admin", "/A/../B"));
  EXPECT_FALSE(Reads("admin", ""));
  // A well-formed path that was never normalised still gets its answer.
  EXPECT_TRUE(toolkit::pcd_authorize(*cds_, "admin", toolkit::PCD_ACCESS_RESET,
                                     CPath("/")));
}

// ---------------------------------------------------------------------------
// The cache and the CPath methods.

TEST_F(SecurityTest, CacheFollowsChangesFromOtherConnections) {
  EXPECT_TRUE(Writes("operator", "/Devices/UPS1/Value"));
  auto other = store_.Open();
  api_status_t status;
  ASSERT_EQ(0, other->set_leaf("/Software/Security/Users/operator/Value",
                               CElement("Viewer"), status,
                               PCD_TRIBOOL_UNKNOWN, "other"));
  EXPECT_FALSE(Writes("operator", "/Devices/UPS1/Value"));
  ASSERT_EQ(0, other->remove_node("/Software/Security/Users/viewer", status,
                                  "other"));
  EXPECT_FALSE(Reads("viewer", "/Devices/UPS1/Value"));
  // Changes elsewhere in the store leave the policy as it was.
  ASSERT_EQ(0, other->set_leaf("/Dev1/Value", CElement(1), status,
                               PCD_TRIBOOL_UNKNOWN, "other"));
  EXPECT_TRUE(Reads("operator", "/Devices/UPS1/Value"));
}

TEST(SecurityClosedStoreTest, ClosedHandleAuthorisesNothing) {
  toolkit::CCds cds(nullptr);
  CPath path("/A");
  path.normalize();
  EXPECT_FALSE(toolkit::pcd_authorize(cds, "admin", toolkit::PCD_ACCESS_READ,
                                      path));
  EXPECT_EQ(toolkit::PCD_ROLE_NONE, toolkit::pcd_user_role(cds, "admin"));
}

}  // namespace
