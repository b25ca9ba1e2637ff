// Seed files: typing rules, escapes, every malformed-line error, the
// all-or-nothing load, dump/load round trips and the shipped sample seed.

#include "platform/seed.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "platform/cds.h"
#include "platform/element.h"
#include "platform/path.h"
#include "platform/security.h"
#include "platform/utils.h"

namespace toolkit {
namespace {

// A fresh store in its own temporary folder.
class SeedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/seedtest.XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
    cds_ = OpenNew("cds.db");
    ASSERT_TRUE(cds_ && cds_->is_open());
  }
  void TearDown() override {
    cds_.reset();
    std::filesystem::remove_all(dir_);
  }

  std::unique_ptr<CCds> OpenNew(const std::string& name) {
    std::string path = dir_ + "/" + name;
    if (cds_create(path, false) != 0) return nullptr;
    return std::unique_ptr<CCds>(new CCds(pcd_open(path.c_str())));
  }

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
  bool NodeExists(const std::string& path) {
    api_status_t status = API_STATUS_UNKNOWN;
    return cds_->test_node(path, status) == 0 && status == API_STATUS_OK;
  }

  std::string dir_;
  std::unique_ptr<CCds> cds_;
};

// --- typing ----------------------------------------------------------------

TEST_F(SeedTest, ValueTakesTheTypeNamedByValueType) {
  ASSERT_EQ(Load("[/M/Volts]\nValueType = Real\nValue = 230.5\n"
                 "[/M/Mode]\nValueType = Multistate\nValue = 2\n"
                 "[/M/Count]\nValueType = Unsigned\nValue = 4000000000\n"
                 "[/M/Seen]\nValueType = timeval\n"
                 "Value = 2026-03-01T08:00:00.250000Z\n"),
            "");
  Leaf volts = Get("/M/Volts/Value");
  ASSERT_EQ(volts.status, API_STATUS_OK);
  EXPECT_EQ(volts.element.get_type(), PCD_TYPE_REAL);
  EXPECT_DOUBLE_EQ(volts.element.to_double(), 230.5);
  EXPECT_EQ(Get("/M/Mode/Value").element.get_type(), PCD_TYPE_INT);
  EXPECT_EQ(Get("/M/Count/Value").element.to_uint(), 4000000000u);
  Leaf seen = Get("/M/Seen/Value");
  EXPECT_EQ(seen.element.get_type(), PCD_TYPE_TIMEVAL);
  EXPECT_EQ(seen.element.to_timeval().tv_usec, 250000);
}

TEST_F(SeedTest, ValueTypeAlreadyInTheStoreTypesALaterPatch) {
  ASSERT_EQ(Load("[/P]\nValueType = Integer\nValue = 1\n"), "");
  ASSERT_EQ(Load("[/P]\nValue = 42\n"), "");
  Leaf leaf = Get("/P/Value");
  EXPECT_EQ(leaf.element.get_type(), PCD_TYPE_INT);
  EXPECT_EQ(leaf.element.to_int(), 42);
}

TEST_F(SeedTest, OtherAttributesUseTheirDefaultTypeOrString) {
  ASSERT_EQ(Load("[/P]\nValueType = Real\nWritable = true\n"
                 ".HighAlarmLimit = 253\nVendorNote = 17\n"),
            "");
  EXPECT_EQ(Get("/P/Writable").element.get_type(), PCD_TYPE_BOOL);
  // A limit has the type of the node's Value.
  EXPECT_EQ(Get("/P/.HighAlarmLimit").element.get_type(), PCD_TYPE_REAL);
  Leaf note = Get("/P:VendorNote");
  ASSERT_EQ(note.status, API_STATUS_OK);
  EXPECT_EQ(note.element.get_type(), PCD_TYPE_STRING);
}

TEST_F(SeedTest, ExplicitTypeAndPropertyAreApplied) {
  ASSERT_EQ(Load("[/P]\n.Quality:Integer = 192\nValue:Real@persistent = 1.5\n"),
            "");
  Leaf quality = Get("/P/.Quality");
  EXPECT_EQ(quality.element.get_type(), PCD_TYPE_INT);
  EXPECT_EQ(quality.element.to_int(), 192);
  Leaf value = Get("/P/Value");
  EXPECT_EQ(value.element.get_type(), PCD_TYPE_REAL);
  EXPECT_EQ(value.property, PCD_PROP_PERSISTENT);
}

TEST_F(SeedTest, EscapesAndBlanksAreDecoded) {
  ASSERT_EQ(Load("[/P]\n  Description   =  two\\nlines\\tand\\\\  \n"
                 "ShortName = \\s padded \\s\n"),
            "");
  EXPECT_EQ(Get("/P/Description").element.to_string(),
            "two\nlines\tand\\");
  EXPECT_EQ(Get("/P/ShortName").element.to_string(), "  padded  ");
}

// --- errors ------------------------------------------------------------------

struct BadSeed {
  const char* text;
  const char* error;
};

// Names the test case by the error it expects, not by its bytes.
void PrintTo(const BadSeed& seed, std::ostream* out) { *out << seed.error; }

class SeedErrorTest : public SeedTest,
                      public ::testing::WithParamInterface<BadSeed> {};

TEST_P(SeedErrorTest, NamesTheLineAndTheReason) {
  EXPECT_EQ(Load(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    EveryMalformedLine, SeedErrorTest,
    ::testing::Values(
        BadSeed{"Value = 1\n", "1: attribute outside a section"},
        BadSeed{"[/A\n", "1: section header without ']'"},
        BadSeed{"[A]\n", "1: bad node path 'A'"},
        BadSeed{"[]\n", "1: bad node path ''"},
        BadSeed{"[/A/Value]\n", "1: bad node path '/A/Value'"},
        BadSeed{"[/A]\njust words\n", "2: expected 'attribute = value'"},
        BadSeed{"[/A]\n = 1\n", "2: missing attribute name"},
        BadSeed{"[/A]\nA/B = 1\n", "2: bad attribute name 'A/B'"},
        BadSeed{"[/A]\nX:Complex = 1\n", "2: unknown type 'Complex'"},
        BadSeed{"[/A]\nX@sticky = 1\n", "2: unknown property 'sticky'"},
        BadSeed{"[/A]\nX = a\\qb\n", "2: unknown escape '\\q'"},
        BadSeed{"[/A]\nX = a\\\n", "2: backslash at the end of the value"},
        BadSeed{"[/A]\nValueType = Complex\n",
                "2: unknown ValueType 'Complex'"},
        BadSeed{"[/A]\nValueType = Real\nValue = abc\n",
                "3: cannot read 'abc' as Real"},
        BadSeed{"[/A]\nWritable = maybe\n",
                "2: cannot read 'maybe' as Boolean"},
        BadSeed{"[/A]\nValueType = None\nValue = 5\n",
                "3: 'Value' has no type and takes no value"},
        BadSeed{"[/A]\nChildren = x\n",
                "2: 'Children' is maintained by the store"},
        // Comments and blank lines count.
        BadSeed{"# header\n\n[/A]\n  \nbad\n",
                "5: expected 'attribute = value'"}));

TEST_F(SeedTest, AFailedLoadLeavesTheStoreAsItWas) {
  ASSERT_EQ(Load("[/Keep]\nValue = 1\n"), "");
  EXPECT_EQ(Load("[/New]\nValue = 2\n[/Keep]\nValue = 9\nbogus\n"),
            "5: expected 'attribute = value'");
  EXPECT_FALSE(NodeExists("/New"));
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
  std::unique_ptr<CCds> copy = OpenNew("copy.db");
  ASSERT_TRUE(copy && copy->is_open());
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
}

TEST_F(SeedTest, DumpOfASubtreeHoldsOnlyThatSubtree) {
  ASSERT_EQ(Load(kMixedSeed), "");
  std::string text = Dump(*cds_, "/Dev/Flag");
  EXPECT_EQ(text.find("[/Dev/Count]"), std::string::npos);
  EXPECT_NE(text.find("[/Dev/Flag]"), std::string::npos);
  // The store's own attributes are not written: they cannot be loaded.
  EXPECT_EQ(text.find("Children"), std::string::npos);
}

TEST_F(SeedTest, DumpOfAMissingNodeFails) {
  std::ostringstream out;
  EXPECT_NE(cds_dump_seed(*cds_, "/Nowhere", out), 0);
}

// --- the shipped sample --------------------------------------------------

std::string SampleSeedText() {
  // This file lives in tests/platform/ of the source tree.
  std::filesystem::path root =
      std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
  std::ifstream in(root / "deploy/seed/sample-device.seed");
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

class SampleSeedTest : public SeedTest {
 protected:
  void SetUp() override {
    SeedTest::SetUp();
    std::string text = SampleSeedText();
    ASSERT_FALSE(text.empty());
    ASSERT_EQ(Load(text), "");
  }
  bool MayRead(const char* user, const std::string& path) {
    CPath parsed(path);
    EXPECT_EQ(parsed.normalize(), 0) << path;
    return pcd_authorize(*cds_, user, PCD_ACCESS_READ, parsed);
  }
};

TEST_F(SampleSeedTest, ServesTheLeavesTheDaemonReadsAtStartUp) {
  EXPECT_EQ(Get("/Software/Locales/Value").element.to_string(),
            "en_US;de_DE;fr_FR");
  Leaf read_only = Get("/ReadOnlyCDS/Value");
  ASSERT_EQ(read_only.status, API_STATUS_OK);
  EXPECT_EQ(read_only.element.get_type(), PCD_TYPE_BOOL);
  EXPECT_FALSE(read_only.element.to_bool());
  EXPECT_TRUE(NodeExists("/Software/Data Servers/BACnet WebServices"));
  EXPECT_TRUE(
      NodeExists("/Software/Data Servers/Connections/BACnet WebServices"));
  EXPECT_EQ(Get("/Software/Data Servers/WS-Publisher/SubUpdateCount/Value")
                .element.get_type(),
            PCD_TYPE_INT);
  EXPECT_TRUE(Get("/Software/Data Servers/WS-Publisher/Subscriptions/"
                  "HasDynamicChildren")
                  .element.to_bool());
}

TEST_F(SampleSeedTest, ListsTheThreeDevicesWithDescriptors) {
  CCds_Utils utils(*cds_);
  std::vector<std::string> devices;
  ASSERT_GE(utils.GetDeviceList(devices), 3);
  for (const char* device :
       {"/Devices/Meter1", "/Devices/UPS1", "/Devices/Breaker1"}) {
    EXPECT_NE(std::find(devices.begin(), devices.end(), device),
              devices.end())
        << device;
    std::string base = device;
    EXPECT_EQ(Get(base + "/.Quality").element.to_int(), 192);
    EXPECT_EQ(Get(base + "/sDevChangeCount/Value").status, API_STATUS_OK);
    EXPECT_FALSE(Get(base + "/DisplayName").element.to_string().empty());
  }
  // One point is marked bad.
  EXPECT_EQ(Get("/Devices/Meter1/PeakDemand/.Quality").element.to_int(), 0);
}

TEST_F(SampleSeedTest, AlarmSourcesAreRealPointsWithAlarmProperties) {
  std::vector<std::string> alarms;
  ASSERT_EQ(CPath::getChildPaths(*cds_, "/Alarms", alarms), 0);
  int count = 0;
  for (const std::string& alarm : alarms) {
    if (alarm.find("/AlarmCount") != std::string::npos) continue;
    ++count;
    std::string source = Get(alarm + "/SourcePath/Value").element.to_string();
    EXPECT_TRUE(NodeExists(source)) << source;
    EXPECT_EQ(Get(source + "/.BasePriority").status, API_STATUS_OK);
    EXPECT_EQ(Get(source + "/.AutoClosing").element.get_type(),
              PCD_TYPE_BOOL);
    EXPECT_EQ(Get(alarm + "/SequenceID/Value").status, API_STATUS_OK);
  }
  EXPECT_EQ(count, Get("/Alarms/AlarmCount/Value").element.to_int());
}

TEST_F(SampleSeedTest, CommandAreaOfTheMeterIsComplete) {
  std::string base = "/Software/Commands/Meter1";
  EXPECT_EQ(Get("/Software/Commands/nextCommandID/Value").element.to_int(), 1);
  EXPECT_EQ(Get(base + "/WsdlVersion/Value").element.to_int(), 1);
  Leaf capacity = Get(base + "/inpQueue/maxCount/Value");
  EXPECT_EQ(capacity.element.get_type(), PCD_TYPE_UINT);
  EXPECT_EQ(capacity.element.to_uint(), 8u);
  EXPECT_TRUE(NodeExists(base + "/outQueue"));
  EXPECT_TRUE(NodeExists(base + "/cmdList/cmdLine/RESET ENERGY"));
  EXPECT_TRUE(NodeExists(base + "/cmdList/cmdBasic/ResetEnergy/All"));
  EXPECT_TRUE(NodeExists(base + "/cmdList/cmdIval/SetDemandInterval/Minutes"));
}

TEST_F(SampleSeedTest, ServiceDataIsHiddenFromViewersOnly) {
  const std::string service = "/Devices/UPS1/Service/OperatingHours";
  EXPECT_FALSE(MayRead("viewer", service));
  EXPECT_TRUE(MayRead("viewer", "/Devices/UPS1/Load"));
  EXPECT_TRUE(MayRead("operator", service));
  EXPECT_TRUE(MayRead("admin", service));
  EXPECT_FALSE(MayRead(nullptr, "/Devices/UPS1/Load"));  // anonymous: None
}

TEST_F(SampleSeedTest, SurvivesAnExportAndReload) {
  std::string first = Dump(*cds_, "/");
  std::unique_ptr<CCds> copy = OpenNew("copy.db");
  ASSERT_TRUE(copy && copy->is_open());
  ASSERT_EQ(Load(*copy, first), "");
  EXPECT_EQ(Dump(*copy, "/"), first);
}

}  // namespace
}  // namespace toolkit
