// CPath: the grammar, normalisation, refusals and splitting.

#include "platform/path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/attributes.h"
#include "tests/platform/temp_store.h"

namespace toolkit {
namespace {

struct Parsed {
  const char* text;
  const char* node;
  const char* attribute;
  const char* sub;
  bool explicit_attribute;
  const char* canonical;
};

TEST(Path, GrammarAndCanonicalForm) {
  const Parsed cases[] = {
      // Nodes only: the attribute is Value.
      {"/", "/", "Value", "", false, "/Value"},
      {"/A", "/A", "Value", "", false, "/A/Value"},
      {"/A//B/", "/A/B", "Value", "", false, "/A/B/Value"},
      {"///", "/", "Value", "", false, "/Value"},
      {"/Data Servers/WS-Publisher", "/Data Servers/WS-Publisher", "Value",
       "", false, "/Data Servers/WS-Publisher/Value"},
      // Node names may hold dots; only a leading dot makes an attribute.
      {"/Devices/Meter.1", "/Devices/Meter.1", "Value", "", false,
       "/Devices/Meter.1/Value"},
      {"/A/B.Time", "/A/B.Time", "Value", "", false, "/A/B.Time/Value"},
      {"/A/Value.", "/A/Value.", "Value", "", false, "/A/Value./Value"},
      // Slash form with well-known and dotted attributes.
      {"/A/Value", "/A", "Value", "", true, "/A/Value"},
      {"/A/B/Units", "/A/B", "Units", "", true, "/A/B/Units"},
      {"/Value", "/", "Value", "", true, "/Value"},
      {"/Children", "/", "Children", "", true, "/Children"},
      {"/A/.Quality", "/A", ".Quality", "", true, "/A/.Quality"},
      {"/A/.Custom", "/A", ".Custom", "", true, "/A/.Custom"},
      {"/A/B/Value/", "/A/B", "Value", "", true, "/A/B/Value"},
      // Sub-attributes.
      {"/A/Value.Time", "/A", "Value", ".Time", true, "/A/Value.Time"},
      {"/A/.Quality.Time", "/A", ".Quality", ".Time", true,
       "/A/.Quality.Time"},
      {"/A/Units.Source.x", "/A", "Units", ".Source.x", true,
       "/A/Units.Source.x"},
      // Colon form: everything before the colon is a node.
      {"/A/B:Value", "/A/B", "Value", "", true, "/A/B/Value"},
      {"/A/B/:Units", "/A/B", "Units", "", true, "/A/B/Units"},
      {"/:Children", "/", "Children", "", true, "/Children"},
      {"/A/Value:Units", "/A/Value", "Units", "", true, "/A/Value/Units"},
      {"/A:MyAttribute", "/A", "MyAttribute", "", true, "/A:MyAttribute"},
      {"/:Mine", "/", "Mine", "", true, "/:Mine"},
      {"/A:MyAttribute.Time", "/A", "MyAttribute", ".Time", true,
       "/A:MyAttribute.Time"},
      {"/A:.Quality.AttribType", "/A", ".Quality", ".AttribType", true,
       "/A/.Quality.AttribType"},
      {"/A//B//:Value.Time", "/A/B", "Value", ".Time", true,
       "/A/B/Value.Time"},
      // UTF-8 names pass through.
      {"/Zähler/Spannung", "/Zähler/Spannung", "Value", "", false,
       "/Zähler/Spannung/Value"},
  };
  for (const Parsed& c : cases) {
    SCOPED_TRACE(c.text);
    CPath path(c.text);
    ASSERT_EQ(path.normalize(), 0);
    EXPECT_TRUE(path.is_valid());
    EXPECT_EQ(path.getNodePath(), c.node);
    EXPECT_EQ(path.getPathAttribute(), c.attribute);
    EXPECT_EQ(path.getSubAttribute(), c.sub);
    EXPECT_EQ(path.hasExplicitAttribute(), c.explicit_attribute);
    EXPECT_EQ(path.getPath(), c.canonical);
    EXPECT_EQ(path.original(), c.text);
    // The canonical text names the same leaf.
    CPath again(path.getPath());
    ASSERT_EQ(again.normalize(), 0);
    EXPECT_EQ(again.getNodePath(), path.getNodePath());
    EXPECT_EQ(again.getPathAttribute(), path.getPathAttribute());
    EXPECT_EQ(again.getSubAttribute(), path.getSubAttribute());
  }
}

TEST(Path, EveryWellKnownNameIsAnAttributeInTheSlashForm) {
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    const std::string name = pcd_attr_enum_to_str(code);
    for (const std::string& sub : {std::string(), std::string(".Time")}) {
      CPath path("/A/B/" + name + sub);
      ASSERT_EQ(path.normalize(), 0) << name;
      EXPECT_EQ(path.getNodePath(), "/A/B") << name;
      EXPECT_EQ(path.getPathAttribute(), name);
      EXPECT_EQ(path.getSubAttribute(), sub) << name;
    }
  }
}

TEST(Path, RefusalsGiveTheirReason) {
  const std::pair<std::string, int> cases[] = {
      {"", 1},
      {"A/B", 2},
      {":Value", 2},
      {" /A", 2},
      {"/A\tB", 3},
      {"/A\nB", 3},
      {"/A/B:Val\x7Fue", 3},
      {std::string("/A\0B", 4), 3},
      {"/.", 4},
      {"/..", 4},
      {"/A/./B", 4},
      {"/A/../B", 4},
      {"/A/..:Value", 4},
      {"/A/.Quality/B", 5},
      {"/.Hidden/B", 5},
      {"/A:", 5},
      {"/A:.", 5},
      {"/A:..", 5},
      {"/A:B/C", 5},
      {"/A:B:C", 5},
      {"/A:.Quality.", 5},
      {"/A/.Quality.", 5},
      {"/A/...x", 5},
      {"/A:Value.", 5},
      {"/" + std::string(1024, 'a'), 6},
      // Within the limit, but "/Value" makes the canonical form too long.
      {"/" + std::string(1018, 'a'), 6},
      {"/" + std::string(1020, 'a') + "/", 6},
  };
  for (const auto& [text, reason] : cases) {
    SCOPED_TRACE(text);
    CPath path(text);
    EXPECT_EQ(path.normalize(), reason);
    EXPECT_FALSE(path.is_valid());
    EXPECT_EQ(path.getPath(), "");
    EXPECT_EQ(path.getNewPathStr("Units"), "");
  }
  // The longest paths accepted: their canonical forms are 1024 bytes.
  const std::string longest_node = "/" + std::string(1017, 'a');
  for (const std::string& text :
       {longest_node, longest_node + "/Value",
        "/" + std::string(1021, 'a') + ":X"}) {
    CPath longest(text);
    EXPECT_EQ(longest.normalize(), 0);
    EXPECT_EQ(longest.getPath().size(), 1024u);
  }
  CPath none(static_cast<const char*>(nullptr));
  EXPECT_EQ(none.normalize(), 1);
}

TEST(Path, SecondFlagMarksLeavesComputedFromTheNode) {
  const std::pair<const char*, bool> cases[] = {
      {"/A/Children", true},    {"/A:Attributes", true},
      {"/A/ChildCount", true},  {"/A/Name", true},
      {"/A/Name.Time", true},   {"/A", false},
      {"/A/Value", false},      {"/A/.ChangeCount", false},
      {"/A/Units", false},      {"/A/Children/B", false},
  };
  for (const auto& [text, flag] : cases) {
    CPath path(text);
    ASSERT_EQ(path.normalize(), 0) << text;
    EXPECT_EQ(path.getSecondPathFlag(), flag) << text;
  }
  CPath path("/A/Children");
  ASSERT_EQ(path.normalize(), 0);
  path.set("/A");
  ASSERT_EQ(path.normalize(), 0);
  EXPECT_FALSE(path.getSecondPathFlag());
}

TEST(Path, LopLastSubpath) {
  struct {
    const char* text;
    const char* parent;
    const char* last;
  } cases[] = {
      {"/A/B/Value", "/A/B", "Value"}, {"/A", "/", "A"},
      {"/", "/", ""},                  {"/A/B:Children", "/A/B", "Children"},
      {"/A/", "/A", ""},               {"/A/Value.Time", "/A", "Value.Time"},
      {"A", "", "A"},                  {":B", "", "B"},
  };
  for (const auto& c : cases) {
    std::string parent = "x", last = "x";
    EXPECT_EQ(CPath::LopLastSubpath(c.text, parent, last), 0) << c.text;
    EXPECT_EQ(parent, c.parent) << c.text;
    EXPECT_EQ(last, c.last) << c.text;
  }
  std::string parent = "x", last = "x";
  EXPECT_EQ(CPath::LopLastSubpath("", parent, last), 1);
  EXPECT_EQ(parent + last, "");
  // The member works on the canonical text once normalised.
  CPath path("/A//B/");
  ASSERT_EQ(path.normalize(), 0);
  EXPECT_EQ(path.LopLastSubpath(parent, last), 0);
  EXPECT_EQ(parent + " " + last, "/A/B Value");
}

// A device's node name, and whether a built text spells one node exactly.
TEST(Path, LastNodeNameAndExactNodePaths) {
  const struct {
    const char* text;
    const char* name;
    bool node_path;
  } cases[] = {
      {"/Devices/Meter1", "Meter1", true},
      {"/Devices/Meter1/", "Meter1", false},
      {"/Devices/Meter1/Value", "Meter1", false},
      {"/Devices/Meter1:Units", "Meter1", false},
      {"/Devices//Meter 1.a", "Meter 1.a", false},
      {"/", "", true},
      {"Meter1", "", false},
      {"/Devices/../Meter1", "", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.name, CPath::LastNodeName(c.text)) << c.text;
    EXPECT_EQ(c.node_path, CPath::IsNodePath(c.text)) << c.text;
  }
}

class PathStore : public testing_store::StoreTest {};

TEST_F(PathStore, ChildPathsAndAttributeLists) {
  AddNode("/Devices/Meter.1");
  AddNode("/Devices/UPS");
  AddNode("/Devices/Empty");
  SetText("/Devices/UPS/PossibleValues", "Off;On;");
  SetText("/Devices/UPS:Vendor Note", "a;b");

  std::vector<std::string> children = {"stale"};
  ASSERT_EQ(CPath::getChildPaths(*cds_, "/Devices", children), 0);
  std::sort(children.begin(), children.end());
  EXPECT_EQ(children, (std::vector<std::string>{
                          "/Devices/Empty", "/Devices/Meter.1",
                          "/Devices/UPS"}));
  // Any text that names the node will do, the member form too.
  ASSERT_EQ(CPath::getChildPaths(*cds_, "//Devices/:Units", children), 0);
  EXPECT_EQ(children.size(), 3u);
  CPath root("/");
  ASSERT_EQ(root.normalize(), 0);
  ASSERT_EQ(root.getChildPaths(*cds_, children), 0);
  EXPECT_NE(std::find(children.begin(), children.end(), "/Devices"),
            children.end());
  ASSERT_EQ(CPath::getChildPaths(*cds_, "/Devices/Empty", children), 0);
  EXPECT_TRUE(children.empty());

  children = {"stale"};
  EXPECT_NE(CPath::getChildPaths(*cds_, "/Nowhere", children), 0);
  EXPECT_TRUE(children.empty());
  EXPECT_NE(CPath::getChildPaths(*cds_, "relative", children), 0);
  CPath invalid("/a/../b");
  EXPECT_NE(invalid.getChildPaths(*cds_, children), 0);

  std::vector<std::string> items;
  ASSERT_EQ(CPath::getAttributeList("/Devices/UPS", *cds_, "PossibleValues",
                                    items),
            0);
  EXPECT_EQ(items, (std::vector<std::string>{"Off", "On"}));
  ASSERT_EQ(CPath::getAttributeList("/Devices/UPS/Value", *cds_, "Vendor Note",
                                    items),
            0);
  EXPECT_EQ(items, (std::vector<std::string>{"a", "b"}));
  EXPECT_NE(CPath::getAttributeList("/Devices/UPS", *cds_, "Units", items), 0);
  EXPECT_TRUE(items.empty());
}

}  // namespace
}  // namespace toolkit
