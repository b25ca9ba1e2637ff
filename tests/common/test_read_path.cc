// The read path against a real store: one read, many reads, relative
// reads, and what each failure answers. (Reading a named attribute is the
// attribute search's.)

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/read_path.h"
#include "common/service_options.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

// A plant with an ordinary point, a text point holding a list, and an area
// that only Administrators may read.
const char kPlant[] =
    "[/Plant]\n"
    "NodeType = Device\n"
    "[/Plant/Voltage]\n"
    "NodeType = Point\n"
    "ValueType = Real\n"
    "Value@persistent = 230.4\n"
    "Units = V\n"
    "[/Plant/Label]\n"
    "NodeType = Point\n"
    "ValueType = String\n"
    "Value = x;y\n"
    "[/Plant/Secret]\n"
    "NodeType = Point\n"
    "ValueType = Integer\n"
    "Value = 42\n"
    "[/Software/Security/Access/Secret/Path]\n"
    "Value = /Plant/Secret\n"
    "[/Software/Security/Access/Secret/Read]\n"
    "Value = Administrator\n"
    "[/Software/Security/Access/Secret/Write]\n"
    "Value = Administrator\n";

class ReadPathTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kPlant);
  }

  std::string Read(const std::string& path, const std::string& options = "") {
    std::string result;
    readValue(ctx_.get(), Options(options), path, result);
    return result;
  }

  std::vector<std::string> ReadMany(const std::vector<std::string>& paths,
                                    const std::string& options = "") {
    std::vector<std::string> results{"left over"};
    readValues(ctx_.get(), Options(options), paths, results);
    return results;
  }

  // What a ".Time" read must answer for the leaf at `path`.
  std::string StoredTime(const std::string& path) {
    api_status_t status;
    toolkit::CElement element;
    element_property_t property;
    EXPECT_EQ(0, ctx_->cds.get_leaf(path, status, element, property));
    EXPECT_EQ(API_STATUS_OK, status);
    return std::to_string(qrx_UNIXtoQRXtime64(&element.get_time()));
  }
};

TEST_F(ReadPathTest, ReadsAttributesAndSubAttributesOrSaysWhyNot) {
  const std::string time = StoredTime("/Plant/Voltage/Value");
  const struct {
    const char* path;
    const char* options;
    std::string result;
  } cases[] = {
      {"/Plant/Voltage", "", "230.4"},
      {"/Plant//Voltage/Value", "", "230.4"},
      {"/Plant/Voltage/Units", "", "V"},
      {"/Plant/Label", "", "x;y"},
      {"/Plant/Voltage/Value.Time", "", time},
      // Sub-attributes match as prefixes.
      {"/Plant/Voltage/Value.Timestamp", "", time},
      {"/Plant/Voltage/Value.Source", "", "Persistent"},
      {"/Plant/Voltage/Units.Source", "", "Normal"},
      {"/Plant/Voltage/Value.AttribType", "", "Real"},
      {"/Plant/Voltage/Value.Quality", "",
       "? 11 Illegal Attribute : Unknown sub-Attribute .Quality"},
      {"Plant/Voltage", "", "? 8 Bad Path Syntax : CDS Error in supplied path"},
      {"", "", "? 8 Bad Path Syntax : CDS Error in supplied path"},
      {"/Plant/Nothing", "", "? 9 Node Not Found : CDS access failed"},
      {"/Plant/Voltage/Description", "",
       "? 9 Node Not Found : CDS access failed"},
      // A node without a value (no data type) is not found either.
      {"/Plant", "", "? 9 Node Not Found : CDS access failed"},
      {"/Plant/Nothing", "errorPrefix=ERR",
       "ERR? 9 Node Not Found : CDS access failed"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.result, Read(c.path, c.options)) << c.path;
  }
  EXPECT_TRUE(LogHas("Error in supplied path Plant/Voltage"));
  EXPECT_TRUE(LogHas("CDS access failed for /Plant/Nothing"));
}

TEST_F(ReadPathTest, ReadRightsExemptSubAttributes) {
  SetCaller("viewer", "10.0.0.7");
  EXPECT_EQ("230.4", Read("/Plant/Voltage"));
  EXPECT_EQ("? 2 Not Authorized : Unauthorized read", Read("/Plant/Secret"));
  EXPECT_TRUE(LogHas("Unauthorized read of /Plant/Secret"));
  EXPECT_EQ(StoredTime("/Plant/Secret/Value"),
            Read("/Plant/Secret/Value.Time"));
  EXPECT_EQ("Normal", Read("/Plant/Secret/Value.Source"));

  EXPECT_EQ((std::vector<std::string>{
                "230.4", "? 2 Not Authorized : Unauthorized read",
                StoredTime("/Plant/Secret/Value")}),
            ReadMany({"/Plant/Voltage", "/Plant/Secret",
                      "/Plant/Secret/Value.Time"}));
  SetCaller("admin", "10.0.0.7");
  EXPECT_EQ("42", Read("/Plant/Secret"));
  SetCaller("", "");  // anonymous: role None reads nothing
  EXPECT_EQ("? 2 Not Authorized : Unauthorized read", Read("/Plant/Voltage"));
}

TEST_F(ReadPathTest, ReadValuesAnswersOnePerPathInOrder) {
  EXPECT_EQ((std::vector<std::string>{"230.4", "V", "x;y"}),
            ReadMany({"/Plant/Voltage", "/Plant/Voltage/Units", "/Plant/Label"}));
  // Bad paths answer at their own position; the others are read.
  EXPECT_EQ((std::vector<std::string>{
                "230.4", "? 8 Bad Path Syntax : CDS access failed",
                "? 9 Node Not Found : CDS access failed", "x;y"}),
            ReadMany({"/Plant/Voltage", "Plant/Voltage", "/Plant/Nothing",
                      "/Plant/Label"}));
  // The same path twice is read twice.
  EXPECT_EQ((std::vector<std::string>{"V", "V"}),
            ReadMany({"/Plant/Voltage/Units", "/Plant/Voltage/Units"}));
  EXPECT_EQ(std::vector<std::string>{"? 17 No Paths Provided : No paths"},
            ReadMany({}));
  EXPECT_EQ(std::vector<std::string>{"#N/A"},
            ReadMany({}, "errorString=N/A;errorPrefix=#"));
  // An unsupported locale is one result, with the client's text.
  EnableLocales();
  EXPECT_EQ("? 7 Locale Not Supported : xx-YY.UTF-8",
            Read("/Plant/Voltage", "locale=xx-YY.UTF-8"));
  EXPECT_EQ(std::vector<std::string>{"? 7 Locale Not Supported : xx-YY.UTF-8"},
            ReadMany({"/Plant/Voltage", "/Plant/Label"}, "locale=xx-YY.UTF-8"));
  EXPECT_EQ("230.4", Read("/Plant/Voltage", "locale=de-DE"));
}

// readValues reads all leaves in one snapshot, then makes sure each node is
// still there. Removing a node between the two halves shows the second one.
TEST_F(ReadPathTest, NodeRemovedAfterTheStoreCallIsNoLongerAccessible) {
  const std::vector<std::string> texts{"/Plant/Voltage", "/Plant/Voltage/Name",
                                       "/Plant/Label"};
  std::vector<toolkit::CPath> paths;
  for (const std::string& text : texts) {
    paths.emplace_back(text);
    ASSERT_EQ(0, paths.back().normalize());
  }
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  ASSERT_EQ(0, ctx_->cds.get_leaves(texts, statuses, elements, properties));

  api_status_t status;
  ASSERT_EQ(0, ctx_->cds.remove_node("/Plant/Voltage", status, "test"));
  ASSERT_EQ(API_STATUS_OK, status);

  std::vector<std::string> results{"left over"};
  readLeafResults(ctx_.get(), Options(""), paths, statuses,
                               elements, properties, results);
  // Name carries the second path flag: its good read is not tested again.
  EXPECT_EQ((std::vector<std::string>{"? 9 Node Not Found : CDS access failed",
                                      "Voltage", "x;y"}),
            results);
  EXPECT_TRUE(LogHas("node no longer accessible at /Plant/Voltage"));
}

TEST_F(ReadPathTest, RelativeValuesJoinBaseAndPathWithoutSeparator) {
  std::vector<std::string> results;
  const std::string base = "/Plant/Volt";
  readRelativeValues(ctx_.get(), Options(""), &base,
                                  {"age", "age/Units", "Nothing"}, results);
  EXPECT_EQ((std::vector<std::string>{"230.4", "V",
                                      "? 9 Node Not Found : CDS access failed"}),
            results);

  const std::string node = "/Plant/Voltage";
  readRelativeValues(ctx_.get(), Options(""), &node, {}, results);
  EXPECT_EQ(std::vector<std::string>{"? 17 No Paths Provided : No paths"},
            results);

  results = {"left over"};
  readRelativeValues(ctx_.get(), Options(""), nullptr, {"/Plant"},
                                  results);
  EXPECT_TRUE(results.empty());
}

}  // namespace

}  // namespace wsgated
