// Only Administrators administer the store: every operation refuses other
// callers with 401 before it changes anything.

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "common/write_path.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

class RefusalTest : public AdminTest {
 protected:
  // The store as the tests look at it, to prove that nothing changed.
  std::string Snapshot() {
    return Leaf("/Devices/Dev1/Point/Units") + "|" +
           Leaf("/Devices/Dev1/Point/Value") + "|" +
           (NodeExists("/Devices/New") ? "new" : "-") + "|" +
           (NodeExists("/Devices/Dev1") ? "dev1" : "-");
  }

  // Every operation once, as the current caller; returns their codes.
  std::vector<int> CallEveryOperation() {
    const std::string units = "/Devices/Dev1/Point/Units";
    const std::string amps = "A";
    const std::string base = "/Devices/New/";
    const std::string device = "/Devices/Dev1";
    std::string result;
    std::vector<std::string> results;
    return {
        setLeaf(ctx_.get(), nullptr, &units, &amps, result),
        setLeaves(ctx_.get(), nullptr, {units, "/Devices/Dev1/Point/Value"},
                  {"A", "9"}, results),
        createNode(ctx_.get(), nullptr, &base, {"Value"}, {"1"}, result),
        removeNode(ctx_.get(), nullptr, &device, result),
        resetCard(ctx_.get(), result),
    };
  }
};

TEST_F(RefusalTest, OthersThanAdministratorsChangeNothing) {
  const std::string before = Snapshot();
  const std::vector<int> refused(5, kWriteNotAuthorized);
  for (const char* user : {"operator", "viewer", "stranger"}) {
    SCOPED_TRACE(user);
    SetCaller(user, "10.0.0.9");
    EXPECT_EQ(refused, CallEveryOperation());
    EXPECT_EQ(before, Snapshot());
  }
  SetCaller("", "");
  EXPECT_EQ(refused, CallEveryOperation());
  EXPECT_EQ(before, Snapshot());
  EXPECT_TRUE(LogHas("Unauthorized attempt to write to "
                     "/Devices/Dev1/Point/Units"));
  EXPECT_TRUE(LogHas("Unauthorized node creation attempted on "
                     "/Devices/New"));
  EXPECT_TRUE(LogHas("Unauthorized node removal attempted on /Devices/Dev1"));
}

// Operators may write this point's Value with setValue; as an
// administration the same write is refused, alone or with others.
TEST_F(RefusalTest, OrdinaryWriteRightsAreNotEnough) {
  Seed("[/Devices/Dev1/Open]\nValueType = Integer\nValue = 1\n"
       "Writable = true\n");
  SetCaller("operator", "10.0.0.9");
  const std::string open = "/Devices/Dev1/Open/Value";
  const std::string two = "2";
  const std::string three = "3";
  std::string result;
  ASSERT_EQ(0, writeValue(ctx_.get(), false, Options(""), &open, &two,
                          result));
  EXPECT_EQ("2", result);
  EXPECT_EQ(kWriteNotAuthorized,
            setLeaf(ctx_.get(), nullptr, &open, &three, result));
  std::vector<std::string> results;
  EXPECT_EQ(kWriteNotAuthorized,
            setLeaves(ctx_.get(), nullptr, {open}, {"3"}, results));
  EXPECT_TRUE(results.empty());
  const std::string base = "/Devices/Dev1/Open/";
  EXPECT_EQ(kWriteNotAuthorized,
            createNode(ctx_.get(), nullptr, &base, {"Value"}, {"3"}, result));
  EXPECT_EQ("2", Leaf(open));
}

}  // namespace

}  // namespace wsgated
