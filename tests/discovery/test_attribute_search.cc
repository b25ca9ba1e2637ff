// The attribute search over a real store: what matches, walk order and
// depth, error results, invalid patterns and a spent search. (A
// catastrophic pattern is the end-to-end tests'.)

#include <string>
#include <vector>

#include "discovery/attribute_search.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

// /Plant
//   A          DisplayName "abc"
//     Deep     DisplayName "abcdef"
//   B          DisplayName "other"
//   C          no DisplayName
//   Err        DisplayName "ERRATIC"
const char kPlant[] =
    "[/Plant]\nDisplayName = Plant xxabcxx\n"
    "[/Plant/A]\nDisplayName = abc\n"
    "[/Plant/A/Deep]\nDisplayName = abcdef\n"
    "[/Plant/B]\nDisplayName = other\n"
    "[/Plant/C]\nNodeType = Point\n"
    "[/Plant/Err]\nDisplayName = ERRATIC\n";

using Paths = std::vector<std::string>;

class AttributeSearchTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kPlant);
  }

  AttributeMatches find(const std::string& start, bool recursive,
                        const std::string& pattern,
                        const std::string& attribute = "DisplayName",
                        const std::string& optionsText = "") {
    AttributeQuery query;
    query.startingPath = start;
    query.recursive = recursive;
    query.attribute = attribute;
    query.pattern = pattern;
    AttributeMatches matches;
    matches.result = "not cleared";
    findAttributeMatches(ctx_.get(), Options(optionsText), query, matches);
    EXPECT_EQ(matches.nodes.size(), matches.data.size());
    return matches;
  }

  Paths Nodes(const std::string& start, bool recursive,
              const std::string& pattern) {
    return find(start, recursive, pattern).nodes;
  }
};

TEST_F(AttributeSearchTest, EmptyPatternTakesEveryReadableValueDepthFirst) {
  const AttributeMatches matches = find("/Plant", true, "");
  EXPECT_EQ("", matches.result);
  EXPECT_EQ((Paths{"/Plant", "/Plant/A", "/Plant/A/Deep", "/Plant/B",
                   "/Plant/Err"}),
            matches.nodes);
  EXPECT_EQ((Paths{"Plant xxabcxx", "abc", "abcdef", "other", "ERRATIC"}),
            matches.data);
}

// The pattern is searched, not fully matched; the starting node itself is
// tested, and without recursion only it and its direct children.
TEST_F(AttributeSearchTest, WhatThePatternAndTheRecursionSelect) {
  const struct {
    const char* start;
    bool recursive;
    const char* pattern;
    Paths nodes;
  } cases[] = {
      {"/Plant", true, "abc", {"/Plant", "/Plant/A", "/Plant/A/Deep"}},
      {"/Plant", true, "^abc$", {"/Plant/A"}},
      {"/Plant", true, "def$", {"/Plant/A/Deep"}},
      {"/Plant", false, "", {"/Plant", "/Plant/A", "/Plant/B", "/Plant/Err"}},
      {"/Plant/A", false, "^abc$", {"/Plant/A"}},
      {"/Plant/A/Deep", false, "abc", {"/Plant/A/Deep"}},
      {"/Plant/A/Deep", true, "", {"/Plant/A/Deep"}},
      {"/Plant/Nowhere", true, "", {}},
      {"", true, "", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.nodes, Nodes(c.start, c.recursive, c.pattern))
        << c.start << " " << c.recursive << " " << c.pattern;
  }
}

// C has no DisplayName: its read is "? 9 Node Not Found : ...", which is
// never matched; with a prefix, a value that merely begins with it is
// taken for an error result too; the client's own errorString is not.
TEST_F(AttributeSearchTest, ErrorResultsAreNeverMatched) {
  EXPECT_TRUE(Nodes("/Plant/C", false, "").empty());
  EXPECT_TRUE(Nodes("/Plant", true, "Not Found").empty());
  EXPECT_TRUE(Nodes("/Plant", true, "^\\?").empty());
  EXPECT_TRUE(find("/Plant", true, "", "NoSuchAttribute").nodes.empty());
  EXPECT_EQ((Paths{"/Plant", "/Plant/A", "/Plant/A/Deep", "/Plant/B"}),
            find("/Plant", true, "", "DisplayName", "errorPrefix=ERR").nodes);
  const AttributeMatches own =
      find("/Plant/C", false, "", "DisplayName", "errorString=N/A");
  EXPECT_EQ((Paths{"/Plant/C"}), own.nodes);
  EXPECT_EQ((Paths{"N/A"}), own.data);
}

TEST_F(AttributeSearchTest, UnreadableNodesAreNotMatched) {
  Seed("[/Software/Security/Access/Hidden/Path]\nValue = /Plant/A\n"
       "[/Software/Security/Access/Hidden/Read]\nValue = Administrator\n"
       "[/Software/Security/Access/Hidden/Write]\nValue = Administrator\n");
  SetCaller("viewer", "127.0.0.1");
  EXPECT_EQ((Paths{"/Plant", "/Plant/B", "/Plant/Err"}),
            Nodes("/Plant", true, ""));
}

TEST_F(AttributeSearchTest, EmptyAttributeReadsTheValue) {
  Seed("[/Plant/B]\nValueType = Real\nValue = 230.4\n");
  const AttributeMatches matches = find("/Plant", true, "^230", "");
  EXPECT_EQ((Paths{"/Plant/B"}), matches.nodes);
  EXPECT_EQ((Paths{"230.4"}), matches.data);
}

TEST_F(AttributeSearchTest, InvalidPatternGivesEmptyResultAndNoMatches) {
  for (const char* pattern : {"(", "[a-", "a{2,1}", "*"}) {
    const AttributeMatches matches = find("/Plant", true, pattern);
    EXPECT_EQ("", matches.result) << pattern;
    EXPECT_TRUE(matches.nodes.empty()) << pattern;
  }
}

TEST_F(AttributeSearchTest, SpentSearchStopsWalkingAndLogsOnce) {
  // With no matching time at all, the first value tested ends the search:
  // the rest of the tree is neither read nor logged about node by node.
  PatternSettings spent;
  spent.limit = std::chrono::steady_clock::duration::zero();
  AttributeQuery query;
  query.startingPath = "/Plant";
  query.recursive = true;
  query.attribute = "DisplayName";
  query.pattern = "a";
  AttributeMatches matches;
  findAttributeMatches(ctx_.get(), Options(""), query, matches, spent);
  EXPECT_EQ("", matches.result);
  EXPECT_TRUE(matches.nodes.empty());
  const std::string log = Log();
  const std::string line = std::string("matching = ") + kSearchTimeSpent;
  const size_t first = log.find(line);
  ASSERT_NE(std::string::npos, first);
  EXPECT_EQ(std::string::npos, log.find(line, first + 1));
}

TEST_F(AttributeSearchTest, DeepTreeIsWalkedToTheBottom) {
  // As deep as the store's 1024-byte paths allow a node with a
  // DisplayName leaf: 506 levels of "/a".
  const std::string leaf = "/DisplayName";
  std::string deepest;
  while (deepest.size() + 2 + leaf.size() <= 1024) deepest += "/a";
  Seed("[" + deepest + "]\nDisplayName = bottom\n");
  const AttributeMatches named = find("/a", true, "", "Name");
  EXPECT_EQ(deepest.size() / 2, named.nodes.size());
  ASSERT_FALSE(named.nodes.empty());
  EXPECT_EQ(deepest, named.nodes.back());
  EXPECT_EQ((Paths{deepest}), Nodes("/", true, "^bottom$"));
}

}  // namespace

}  // namespace wsgated
