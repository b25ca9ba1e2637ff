// Node administration: CreateNode, RemoveNode, and the refusal of every
// caller but an Administrator. (SetLeaf and SetLeaves are the write path's
// administrative writes, tested with it in tests/common/test_writes.cc; the
// authorization matrix shows they are made as such.)

#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "common/write_path.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {


// --- CreateNode -------------------------------------------------------

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
  // An existing node only gets its leaves written.
  EXPECT_EQ("A", Create("/Devices/Dev1/Point/", {"Units"}, {"A"}));
  EXPECT_EQ("A", Leaf("/Devices/Dev1/Point/Units"));
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

// --- RemoveNode -------------------------------------------------------

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

TEST_F(RemoveNodeTest, WhatCannotBeRemovedSaysWhy) {
  const char* const bad = "? 8 Bad Path Syntax : CDS Error in supplied path";
  const char* const missing = "? 9 Node Not Found : CDS Error removing node";
  const std::pair<const char*, const char*> cases[] = {
      {"Devices/Dev1", bad}, {"/Devices/Nope", missing},
      {"/Devices/Dev1/Point:Nope", missing}, {"/", missing}};
  for (const auto& [path, result] : cases) {
    ASSERT_EQ(0, Remove(path));
    EXPECT_EQ(result, result_) << path;
  }
  ASSERT_EQ(0, removeNode(ctx_.get(), nullptr, nullptr, result_));
  EXPECT_EQ(bad, result_);
  EXPECT_TRUE(LogHas("Error in supplied path Devices/Dev1"));
  EXPECT_TRUE(LogHas("Error removing node /Devices/Nope"));
  EXPECT_TRUE(NodeExists("/Devices/Dev1/Point"));
}

// --- Refusals ---------------------------------------------------------
// Only Administrators administer the store: every operation refuses other
// callers with 401 before it changes anything.

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

}  // namespace

}  // namespace wsgated
