// The one conversion of both writes: the same texts through setValue's
// path and setValues's path, which differ only where their rules do
// (which states a writer may name, and the wording of a miss); and the
// fixed attribute types, which come from the attribute table.

#include <string>
#include <vector>

#include "common/write_path.h"
#include "platform/attributes.h"
#include "tests/common/write_fixture.h"

namespace wsgated {

namespace {

const char* const kNoState =
    "? 12 Bad Value Format : Cannot find PossibleValue match to write";

class WriteConversionTest : public WriteTest {
 protected:
  void SetUp() override {
    WriteTest::SetUp();
    Seed("[/Devices/M/Tap]\n"
         "ValueType = Multistate\nPossibleValues = -1=Down;Neutral;Up\n"
         "Value:Unsigned = 1\nWritable = true\n"
         "[/Devices/M/Speed]\n"
         "ValueType = Multistate\nPossibleValues = Low;Medium;High\n"
         "WritableValues = Low;Medium\nValue = 0\nWritable = true\n");
  }

  std::string Single(const std::string& path, const std::string& text) {
    std::string result;
    EXPECT_EQ(0, writeValue(ctx_.get(), false, Options(""), &path, &text,
                            result));
    return result;
  }

  std::string Multi(const std::string& path, const std::string& text) {
    std::vector<std::string> results;
    EXPECT_EQ(0, writeValues(ctx_.get(), false, Options(""), {path}, {text},
                             results));
    return results.empty() ? "(none)" : results.front();
  }
};

TEST_F(WriteConversionTest, BothWritesConvertTheSameTextAlike) {
  struct Case {
    const char* path;
    const char* text;
    const char* single;  // setValue answers a state as the client named it
    const char* multi;   // setValues answers the stored value
    const char* stored;  // afterwards, whichever answered last
  };
  const Case cases[] = {
      {"/Devices/M/Mode", "Auto", "Auto", "5", "5"},
      {"/Devices/M/Mode", "on", "on", "1", "1"},
      {"/Devices/M/Mode", "5", "5", "5", "5"},
      {"/Devices/M/Mode", "Standby", kNoState, kNoState, "5"},
      {"/Devices/M/Breaker", "closed", "closed", "true", "true"},
      {"/Devices/M/Breaker", "Ajar", kNoState,
       "? 12 Bad Value Format : Cannot find bool match to write", "true"},
      // An Unsigned value cannot hold the state numbered -1.
      {"/Devices/M/Tap", "Down", kNoState, kNoState, "1"},
      {"/Devices/M/Tap", "-1", kNoState, kNoState, "1"},
      {"/Devices/M/Tap", "Up", "Up", "1", "1"},
      // setValue offers only the states a writer may set.
      {"/Devices/M/Speed", "High", kNoState, "2", "2"},
      {"/Devices/M/Count", "12x",
       "? 12 Bad Value Format : Could not transform 12x",
       "? 12 Bad Value Format : Could not transform 12x", "3"},
      {"/Devices/M/Volts", "1e309",
       "? 12 Bad Value Format : Could not transform 1e309",
       "? 12 Bad Value Format : Could not transform 1e309", "230.5"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " <- " + c.text);
    EXPECT_EQ(c.single, Single(c.path, c.text));
    EXPECT_EQ(c.multi, Multi(c.path, c.text));
    EXPECT_EQ(c.stored, Stored(c.path).to_string());
  }
  EXPECT_TRUE(LogHas("Cannot find PossibleValue match to write Ajar to "
                     "/Devices/M/Breaker/Value"));
  EXPECT_TRUE(LogHas("Cannot find bool match for Ajar to write to "
                     "/Devices/M/Breaker/Value"));
  EXPECT_TRUE(LogHas("Cannot find enum match for Standby to write to "
                     "/Devices/M/Mode/Value"));
}

TEST(FixedAttributeTypes, ComeFromTheAttributeTable) {
  // (type, code): 7 is "the type of the node's Value".
  const std::vector<std::pair<int, int>> fixed = {
      {1, 17}, {7, 11}, {7, 12}, {7, 13}, {3, 15}, {1, 10}, {1, 21},
      {1, 20}, {1, 22}, {7, 50}, {1, 39}, {1, 53}, {1, 49}, {7, 28},
      {7, 29}, {7, 30}, {7, 40}, {7, 41}, {7, 42}, {7, 43}, {7, 44},
      {3, 55}, {3, 56}, {3, 54}, {3, 31}};
  for (int code = -1; code <= PCD_ATTR_COUNT; ++code) {
    int expected = PCD_TYPE_NONE;
    for (const auto& pair : fixed) {
      if (pair.second == code) expected = pair.first;
    }
    EXPECT_EQ(expected, fixedAttributeType(code)) << "code " << code;
  }
}

}  // namespace

}  // namespace wsgated
