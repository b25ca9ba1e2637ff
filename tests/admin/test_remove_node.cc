// RemoveNode: whole subtrees, single leaves, and what cannot be removed.

#include <string>

#include "admin/node_admin.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

class RemoveNodeTest : public AdminTest {
 protected:
  int Remove(const std::string& path) {
    return removeNode(ctx_.get(), nullptr, &path, result_);
  }
  std::string result_ = "stale";
};

TEST_F(RemoveNodeTest, NodePathRemovesTheSubtreeAttributePathOneLeaf) {
  ASSERT_EQ(0, Remove("/Devices/Dev1/Point:Units"));
  EXPECT_EQ("", result_);
  EXPECT_EQ("<missing>", Leaf("/Devices/Dev1/Point/Units"));
  EXPECT_EQ("5", Leaf("/Devices/Dev1/Point/Value"));
  result_ = "stale";
  ASSERT_EQ(0, Remove("/Devices/Dev1"));
  EXPECT_EQ("", result_);
  EXPECT_FALSE(NodeExists("/Devices/Dev1/Point"));
  EXPECT_FALSE(NodeExists("/Devices/Dev1"));
  EXPECT_TRUE(NodeExists("/Devices"));
}

TEST_F(RemoveNodeTest, BadPathIsError8) {
  ASSERT_EQ(0, Remove("Devices/Dev1"));
  EXPECT_EQ("? 8 Bad Path Syntax : CDS Error in supplied path", result_);
  EXPECT_TRUE(LogHas("Error in supplied path Devices/Dev1"));
  ASSERT_EQ(0, removeNode(ctx_.get(), nullptr, nullptr, result_));
  EXPECT_EQ("? 8 Bad Path Syntax : CDS Error in supplied path", result_);
  EXPECT_TRUE(NodeExists("/Devices/Dev1"));
}

TEST_F(RemoveNodeTest, WhatTheStoreCannotRemoveIsError9) {
  for (const char* path : {"/Devices/Nope", "/Devices/Dev1/Point:Nope", "/"}) {
    SCOPED_TRACE(path);
    ASSERT_EQ(0, Remove(path));
    EXPECT_EQ("? 9 Node Not Found : CDS Error removing node", result_);
  }
  EXPECT_TRUE(LogHas("Error removing node /Devices/Nope"));
  EXPECT_TRUE(NodeExists("/Devices/Dev1/Point"));
}

}  // namespace

}  // namespace wsgated
