// Seed files: typing rules, escapes, every malformed-line error, the
// all-or-nothing load and dump/load round trips. (The shipped sample is
// loaded by every end-to-end test.)

#include "platform/seed.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>

#include "platform/cds.h"
#include "platform/element.h"
#include "tests/platform/temp_store.h"

namespace toolkit {
namespace {

class SeedTest : public testing_store::StoreTest {
 protected:
  // "" when the text loads, else the loader's error.
  static std::string Load(CCds& cds, const std::string& text) {
    std::string error;
    int rc = cds_load_seed(cds, text, error);
    EXPECT_EQ(rc == 0, error.empty()) << error;
    return error;
  }
  std::string Load(const std::string& text) { return Load(*cds_, text); }

  static std::string Dump(CCds& cds, const std::string& node) {
    std::ostringstream out;
    EXPECT_EQ(cds_dump_seed(cds, node, out), 0);
    return out.str();
  }

  struct Leaf {
    api_status_t status = API_STATUS_UNKNOWN;
    CElement element;
    element_property_t property = PCD_PROP_NORMAL;
  };
  Leaf Get(const std::string& path) {
    Leaf leaf;
    cds_->get_leaf(path, leaf.status, leaf.element, leaf.property);
    return leaf;
  }
};

// --- typing ----------------------------------------------------------------

TEST_F(SeedTest, LeavesAreTypedByValueTypeTheTableOrTheLine) {
  ASSERT_EQ(Load("[/P]\nValueType = Integer\nValue = 1\n"), "");
  ASSERT_EQ(Load("[/M/Volts]\nValueType = Real\nValue = 230.5\n"
                 ".HighAlarmLimit = 253\nWritable = true\nVendorNote = 17\n"
                 "[/M/Mode]\nValueType = Multistate\nValue = 2\n"
                 "[/M/Count]\nValueType = Unsigned\nValue = 4000000000\n"
                 "[/M/Seen]\nValueType = timeval\n"
                 "Value = 2026-03-01T08:00:00.250000Z\n"
                 "[/P]\nValue = 42\n"
                 "[/Q]\n.Quality:Integer = 192\nValue:Real@persistent = 1.5\n"
                 "  Description   =  two\\nlines\\tand\\\\  \n"
                 "ShortName = \\s padded \\s\n"),
            "");
  const struct {
    const char* path;
    data_type_t type;
    const char* text;
    element_property_t property;
  } cases[] = {
      {"/M/Volts/Value", PCD_TYPE_REAL, "230.5", PCD_PROP_NORMAL},
      // A limit has the type of the node's Value.
      {"/M/Volts/.HighAlarmLimit", PCD_TYPE_REAL, "253", PCD_PROP_NORMAL},
      {"/M/Volts/Writable", PCD_TYPE_BOOL, "true", PCD_PROP_NORMAL},
      {"/M/Volts:VendorNote", PCD_TYPE_STRING, "17", PCD_PROP_NORMAL},
      {"/M/Mode/Value", PCD_TYPE_INT, "2", PCD_PROP_NORMAL},
      {"/M/Count/Value", PCD_TYPE_UINT, "4000000000", PCD_PROP_NORMAL},
      {"/M/Seen/Value", PCD_TYPE_TIMEVAL, "2026-03-01T08:00:00.250000Z",
       PCD_PROP_NORMAL},
      // The ValueType already in the store types a later patch.
      {"/P/Value", PCD_TYPE_INT, "42", PCD_PROP_NORMAL},
      {"/Q/.Quality", PCD_TYPE_INT, "192", PCD_PROP_NORMAL},
      {"/Q/Value", PCD_TYPE_REAL, "1.5", PCD_PROP_PERSISTENT},
      // Escapes and the blanks around values.
      {"/Q/Description", PCD_TYPE_STRING, "two\nlines\tand\\",
       PCD_PROP_NORMAL},
      {"/Q/ShortName", PCD_TYPE_STRING, "  padded  ", PCD_PROP_NORMAL},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    const Leaf leaf = Get(c.path);
    ASSERT_EQ(leaf.status, API_STATUS_OK);
    EXPECT_EQ(leaf.element.get_type(), c.type);
    EXPECT_EQ(leaf.element.to_string(), c.text);
    EXPECT_EQ(leaf.property, c.property);
  }
}

// --- errors ------------------------------------------------------------------

// Each malformed line is named by its number and the reason.
TEST_F(SeedTest, EveryMalformedLineIsNamed) {
  const std::pair<const char*, const char*> cases[] = {
      {"Value = 1\n", "1: attribute outside a section"},
      {"[/A\n", "1: section header without ']'"},
      {"[A]\n", "1: bad node path 'A'"},
      {"[]\n", "1: bad node path ''"},
      {"[/A/Value]\n", "1: bad node path '/A/Value'"},
      {"[/A]\njust words\n", "2: expected 'attribute = value'"},
      {"[/A]\n = 1\n", "2: missing attribute name"},
      {"[/A]\nA/B = 1\n", "2: bad attribute name 'A/B'"},
      {"[/A]\nX:Complex = 1\n", "2: unknown type 'Complex'"},
      {"[/A]\nX@sticky = 1\n", "2: unknown property 'sticky'"},
      {"[/A]\nX = a\\qb\n", "2: unknown escape '\\q'"},
      {"[/A]\nX = a\\\n", "2: backslash at the end of the value"},
      {"[/A]\nValueType = Complex\n", "2: unknown ValueType 'Complex'"},
      {"[/A]\nValueType = Real\nValue = abc\n", "3: cannot read 'abc' as Real"},
      {"[/A]\nWritable = maybe\n", "2: cannot read 'maybe' as Boolean"},
      {"[/A]\nValueType = None\nValue = 5\n",
       "3: 'Value' has no type and takes no value"},
      {"[/A]\nChildren = x\n", "2: 'Children' is maintained by the store"},
      // Comments and blank lines count.
      {"# header\n\n[/A]\n  \nbad\n", "5: expected 'attribute = value'"},
  };
  for (const auto& [text, error] : cases) EXPECT_EQ(error, Load(text)) << error;
}

TEST_F(SeedTest, AFailedLoadLeavesTheStoreAsItWas) {
  ASSERT_EQ(Load("[/Keep]\nValue = 1\n"), "");
  EXPECT_EQ(Load("[/New]\nValue = 2\n[/Keep]\nValue = 9\nbogus\n"),
            "5: expected 'attribute = value'");
  EXPECT_FALSE(Exists("/New"));
  EXPECT_EQ(Get("/Keep/Value").element.to_string(), "1");
}

// --- dumping ---------------------------------------------------------------

const char kMixedSeed[] =
    "[/]\nNodeType = Device\n.Quality:Integer = 192\n"
    "[/Dev/Flag]\nValueType = Boolean\nValue = true\n"
    "PossibleValues = Off;On\n"
    "[/Dev/Count]\nValueType = Unsigned\nValue@persistent = 7\n"
    "[/Dev/Level]\nValueType = Integer\nValue = -3\n"
    "[/Dev/Volts]\nValueType = Real\nValue = 0.1\n.HighAlarmLimit = 253\n"
    "[/Dev/Text]\nValueType = String\nValue = \\s two\\nlines\\\\ \\s\n"
    "[/Dev/When]\nValueType = timeval\nValue = 2026-01-02T03:04:05.000006Z\n"
    "[/Dev/Odd]\nValue:Integer = 5\nVendorNote = x\nDeviceType:None =\n"
    "[/Dev/Empty]\n";

TEST_F(SeedTest, DumpLoadsBackIntoTheSameTree) {
  ASSERT_EQ(Load(kMixedSeed), "");
  std::string first = Dump(*cds_, "/");
  testing_store::TempStore other;
  std::unique_ptr<CCds> copy = other.Open();
  ASSERT_TRUE(copy->is_open());
  ASSERT_EQ(Load(*copy, first), "") << first;
  EXPECT_EQ(Dump(*copy, "/"), first);
  // Types and properties survive, not just texts.
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  copy->get_leaf("/Dev/Count/Value", status, element, property);
  EXPECT_EQ(element.get_type(), PCD_TYPE_UINT);
  EXPECT_EQ(property, PCD_PROP_PERSISTENT);
  copy->get_leaf("/Dev/Text/Value", status, element, property);
  EXPECT_EQ(element.to_string(), "  two\nlines\\  ");
  copy->get_leaf("/Dev/Odd/Value", status, element, property);
  EXPECT_EQ(element.get_type(), PCD_TYPE_INT);
  EXPECT_TRUE(copy->test_node("/Dev/Empty", status) == 0 &&
              status == API_STATUS_OK);
  // A subtree's dump holds only the subtree, without the store's own
  // attributes, which cannot be loaded.
  const std::string flag = Dump(*cds_, "/Dev/Flag");
  EXPECT_NE(flag.find("[/Dev/Flag]"), std::string::npos);
  EXPECT_EQ(flag.find("[/Dev/Count]"), std::string::npos);
  EXPECT_EQ(flag.find("Children"), std::string::npos);
}

}  // namespace
}  // namespace toolkit
