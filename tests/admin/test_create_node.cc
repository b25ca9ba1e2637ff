// CreateNode: where the node and its leaves land, which result answers,
// existing nodes, bad requests.

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

class CreateNodeTest : public AdminTest {
 protected:
  // CreateNode without options; returns the call's code.
  int Create(const std::string& base, const std::vector<std::string>& paths,
             const std::vector<std::string>& values) {
    return createNode(ctx_.get(), nullptr, &base, paths, values, result_);
  }
  std::string result_;
};

// The leaf paths are the base path and the entry put together as they are;
// only the node loses a trailing "/".
TEST_F(CreateNodeTest, TrailingSlashPutsValueUnderTheNewNode) {
  ASSERT_EQ(0, Create("/Devices/New/", {"Value", "Units"}, {"hello", "A"}));
  EXPECT_EQ("hello", result_);
  EXPECT_TRUE(NodeExists("/Devices/New"));
  EXPECT_EQ("hello", Leaf("/Devices/New/Value"));
  EXPECT_EQ("A", Leaf("/Devices/New/Units"));
}

TEST_F(CreateNodeTest, WithoutTrailingSlashValueMissesTheNewNode) {
  ASSERT_EQ(0, Create("/Devices/New", {"Value"}, {"hello"}));
  EXPECT_TRUE(NodeExists("/Devices/New"));
  EXPECT_EQ("<missing>", Leaf("/Devices/New/Value"));
  // "/Devices/NewValue" names a node nobody created.
  EXPECT_FALSE(NodeExists("/Devices/NewValue"));
  EXPECT_EQ("? 16 Write Failed : CDS write access failed", result_);
}

TEST_F(CreateNodeTest, EntryWithItsOwnSlashOrATrailingColon) {
  ASSERT_EQ(0, Create("/Devices/New", {"/Value"}, {"one"}));
  EXPECT_EQ("one", Leaf("/Devices/New/Value"));
  ASSERT_EQ(0, Create("/Devices/Other:", {"Value"}, {"two"}));
  EXPECT_EQ("two", Leaf("/Devices/Other/Value"));
}

TEST_F(CreateNodeTest, ExistingNodeOnlyGetsItsLeavesWritten) {
  ASSERT_EQ(0, Create("/Devices/Dev1/Point/", {"Units", "DisplayName"},
                      {"A", "Point"}));
  EXPECT_EQ("A", result_);
  EXPECT_EQ("A", Leaf("/Devices/Dev1/Point/Units"));
  EXPECT_EQ("Point", Leaf("/Devices/Dev1/Point/DisplayName"));
  EXPECT_EQ("5", Leaf("/Devices/Dev1/Point/Value"));
}

TEST_F(CreateNodeTest, LastExactValueEntryAnswers) {
  ASSERT_EQ(0, Create("/Devices/New/", {"Units", "Value", "DisplayName"},
                      {"V", "42", "Name"}));
  EXPECT_EQ("42", result_);
  // No entry is exactly "Value" ("/Value" is not): the first one answers.
  ASSERT_EQ(0, Create("/Devices/Two", {"/Units", "/Value"}, {"A", "7"}));
  EXPECT_EQ("A", result_);
  EXPECT_EQ("7", Leaf("/Devices/Two/Value"));
  // With no leaves nothing answers.
  result_ = "stale";
  ASSERT_EQ(0, Create("/Devices/Bare", {}, {}));
  EXPECT_EQ("", result_);
  EXPECT_TRUE(NodeExists("/Devices/Bare"));
}

TEST_F(CreateNodeTest, RequestsThatCreateNothing) {
  ASSERT_EQ(0, createNode(ctx_.get(), nullptr, nullptr, {"Value"}, {"1"},
                          result_));
  EXPECT_EQ("? 8 Bad Path Syntax : No node path provided", result_);

  ASSERT_EQ(0, Create("relative/Node", {}, {}));
  EXPECT_EQ("? 16 Write Failed : CreateNode()", result_);
  EXPECT_TRUE(LogHas("Failed to create node relative/Node"));

  ASSERT_EQ(0, Create("/Devices/New/", {"Value", "Units"}, {"1"}));
  EXPECT_EQ("? 14 Index Out of Range : Mismatched array sizes", result_);
  EXPECT_FALSE(NodeExists("/Devices/New"));
}

TEST_F(CreateNodeTest, ErrorResultsFollowTheOptions) {
  const std::string options = "errorPrefix=ERR";
  ASSERT_EQ(0, createNode(ctx_.get(), &options, nullptr, {}, {}, result_));
  EXPECT_EQ("ERR? 8 Bad Path Syntax : No node path provided", result_);
}

}  // namespace

}  // namespace wsgated
