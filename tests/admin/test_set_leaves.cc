// SetLeaf and SetLeaves: administrative writes through the write path,
// whose own tests (tests/common) hold the conversions, rules and errors.

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

using Texts = std::vector<std::string>;
using SetLeafTest = AdminTest;

// setValue would refuse all three: Units is not an ordinary writer's
// attribute, the point's Value is not Writable and Note does not exist.
TEST_F(SetLeafTest, WritesWhatOrdinaryWritesMayNot) {
  const Texts paths = {"/Devices/Dev1/Point/Units", "/Devices/Dev1/Point/Value",
                       "/Devices/Dev1/Point:Note"};
  const Texts values = {"A", "7", "checked"};
  std::string result;
  for (size_t i = 0; i < paths.size(); ++i) {
    ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &paths[i], &values[i], result));
    EXPECT_EQ(values[i], result);
    EXPECT_EQ(values[i], Leaf(paths[i]));
  }
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, nullptr, &values[0], result));
  EXPECT_EQ("? 8 Bad Path Syntax : No Path provided", result);
  ASSERT_EQ(0, setLeaf(ctx_.get(), nullptr, &paths[0], nullptr, result));
  EXPECT_EQ("? 12 Bad Value Format : No Value provided", result);
}

// A malformed path gets its own error text; it is never written and needs
// no administration check, and the other entries are written.
TEST_F(SetLeafTest, SetLeavesWritesEveryGoodLeafInOneCall) {
  Texts results;
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr,
                         {"/Devices/Dev1/Point/Units", "no/slash",
                          "/Devices/Dev1/Point:Note"},
                         {"A", "x", "n"}, results));
  EXPECT_EQ((Texts{"A", "? 8 Bad Path Syntax : CDS Error in supplied path",
                   "n"}),
            results);
  EXPECT_EQ("A", Leaf("/Devices/Dev1/Point/Units"));
  EXPECT_EQ("n", Leaf("/Devices/Dev1/Point:Note"));
  Texts unusable;
  ASSERT_EQ(0, setLeaves(ctx_.get(), nullptr, {"/Devices/Dev1/Point/Units"},
                         {}, unusable));
  EXPECT_EQ(Texts{"? 23 Empty Array : No Values provided"}, unusable);
}

}  // namespace

}  // namespace wsgated
