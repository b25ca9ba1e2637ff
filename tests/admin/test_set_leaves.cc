// SetLeaf and SetLeaves: administrative writes through the write path.

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "common/write_path.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

using SetLeafTest = AdminTest;

// setValue would refuse both: Units is not an ordinary writer's attribute
// and the point's Value is not Writable.
TEST_F(SetLeafTest, WritesWhatOrdinaryWritesMayNot) {
  const std::string units = "/Devices/Dev1/Point/Units";
  const std::string value = "/Devices/Dev1/Point/Value";
  const std::string amps = "A";
  const std::string seven = "7";
  std::string result;
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &units, &amps, result));
  EXPECT_EQ("A", result);
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &value, &seven, result));
  EXPECT_EQ("7", result);
  EXPECT_EQ("A", Leaf(units));
  EXPECT_EQ("7", Leaf(value));
}

TEST_F(SetLeafTest, CreatesAnAttributeTheNodeDidNotHave) {
  const std::string path = "/Devices/Dev1/Point:Note";
  const std::string text = "checked";
  std::string result;
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &path, &text, result));
  EXPECT_EQ("checked", result);
  EXPECT_EQ("checked", Leaf(path));
}

TEST_F(SetLeafTest, MissingPathOrValueIsTheWritePathsError) {
  const std::string path = "/Devices/Dev1/Point/Units";
  const std::string text = "A";
  std::string result;
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, nullptr, &text, result));
  EXPECT_EQ("? 8 Bad Path Syntax : No Path provided", result);
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &path, nullptr, result));
  EXPECT_EQ("? 12 Bad Value Format : No Value provided", result);
  EXPECT_EQ("V", Leaf(path));
}

using SetLeavesTest = AdminTest;

TEST_F(SetLeavesTest, WritesEveryLeafInOneCall) {
  std::vector<std::string> results;
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr,
                         {"/Devices/Dev1/Point/Units",
                          "/Devices/Dev1/Point:Note"},
                         {"A", "n"}, results));
  EXPECT_EQ((std::vector<std::string>{"A", "n"}), results);
  EXPECT_EQ("A", Leaf("/Devices/Dev1/Point/Units"));
  EXPECT_EQ("n", Leaf("/Devices/Dev1/Point:Note"));
}

TEST_F(SetLeavesTest, UnusableListsGiveOneError) {
  std::vector<std::string> results;
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr,
                         {"/Devices/Dev1/Point/Units", "/Devices/Dev1/Point"},
                         {"A"}, results));
  EXPECT_EQ((std::vector<std::string>{
                "? 14 Index Out of Range : Mismatched array sizes"}),
            results);
  results.clear();
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr, {}, {}, results));
  EXPECT_EQ((std::vector<std::string>{
                "? 17 No Paths Provided : No Paths provided"}),
            results);
  EXPECT_EQ("V", Leaf("/Devices/Dev1/Point/Units"));
}

// A malformed path gets its own error text; it is never written and needs
// no administration check, and the other entries are written.
TEST_F(SetLeavesTest, MalformedPathKeepsItsOwnError) {
  std::vector<std::string> results;
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr,
                         {"no/slash", "/Devices/Dev1/Point/Units"},
                         {"x", "A"}, results));
  ASSERT_EQ(2u, results.size());
  EXPECT_EQ("? 8 Bad Path Syntax : CDS Error in supplied path", results[0]);
  EXPECT_EQ("A", results[1]);
}

}  // namespace

}  // namespace wsgated
