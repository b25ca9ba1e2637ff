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
  // CreateNode without options; returns its result.
  std::string Create(const std::string& base,
                     const std::vector<std::string>& paths,
                     const std::vector<std::string>& values) {
    std::string result = "stale";
    EXPECT_EQ(0, createNode(ctx_.get(), nullptr, &base, paths, values,
                            result));
    return result;
  }
};

// The leaf paths are the base path and the entry put together as they
// are; only the node loses a trailing "/" (or ":"). The last entry that is
// exactly "Value" answers, else the first; without entries nothing does.
TEST_F(CreateNodeTest, LeavesLandWhereBaseAndEntryPutThem) {
  EXPECT_EQ("42", Create("/Devices/New/", {"Units", "Value", "DisplayName"},
                         {"V", "42", "Name"}));
  EXPECT_EQ("42", Leaf("/Devices/New/Value"));
  EXPECT_EQ("V", Leaf("/Devices/New/Units"));
  // Without the slash, "/Devices/MissValue" names a node nobody created.
  EXPECT_EQ("? 16 Write Failed : CDS write access failed",
            Create("/Devices/Miss", {"Value"}, {"hello"}));
  EXPECT_TRUE(NodeExists("/Devices/Miss"));
  EXPECT_EQ("<missing>", Leaf("/Devices/Miss/Value"));
  EXPECT_FALSE(NodeExists("/Devices/MissValue"));
  // "/Value" is not exactly "Value": the first entry answers.
  EXPECT_EQ("A", Create("/Devices/Two", {"/Units", "/Value"}, {"A", "7"}));
  EXPECT_EQ("7", Leaf("/Devices/Two/Value"));
  EXPECT_EQ("two", Create("/Devices/Other:", {"Value"}, {"two"}));
  EXPECT_EQ("two", Leaf("/Devices/Other/Value"));
  EXPECT_EQ("", Create("/Devices/Bare", {}, {}));
  EXPECT_TRUE(NodeExists("/Devices/Bare"));
}

TEST_F(CreateNodeTest, ExistingNodeOnlyGetsItsLeavesWritten) {
  EXPECT_EQ("A", Create("/Devices/Dev1/Point/", {"Units", "DisplayName"},
                        {"A", "Point"}));
  EXPECT_EQ("A", Leaf("/Devices/Dev1/Point/Units"));
  EXPECT_EQ("Point", Leaf("/Devices/Dev1/Point/DisplayName"));
  EXPECT_EQ("5", Leaf("/Devices/Dev1/Point/Value"));
}

TEST_F(CreateNodeTest, RequestsThatCreateNothing) {
  std::string result;
  const std::string options = "errorPrefix=ERR";
  ASSERT_EQ(0, createNode(ctx_.get(), &options, nullptr, {"Value"}, {"1"},
                          result));
  EXPECT_EQ("ERR? 8 Bad Path Syntax : No node path provided", result);
  EXPECT_EQ("? 16 Write Failed : CreateNode()", Create("relative/Node", {},
                                                       {}));
  EXPECT_TRUE(LogHas("Failed to create node relative/Node"));
  EXPECT_EQ("? 14 Index Out of Range : Mismatched array sizes",
            Create("/Devices/New/", {"Value", "Units"}, {"1"}));
  EXPECT_FALSE(NodeExists("/Devices/New"));
}

}  // namespace

}  // namespace wsgated
