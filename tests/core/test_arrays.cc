// Arrays: which attributes count as arrays, reading them, and the size and
// range answers with their deliberate quirks.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/service_options.h"
#include "core/arrays.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

using Items = std::vector<std::string>;

const char kLists[] =
    "[/Plant/Mode]\n"
    "NodeType = Point\n"
    "ValueType = Multistate\n"
    "PossibleValues = Off;On;Auto\n"
    "Value = 1\n"
    "[/Plant/Label]\n"
    "NodeType = Point\n"
    "ValueType = String\n"
    "Value = x;y\n"
    "[/Plant/Single]\n"
    "NodeType = Point\n"
    "ValueType = String\n"
    "Value = a\n"
    "[/Plant/Empty]\n"
    "NodeType = Point\n"
    "ValueType = String\n"
    "Value = \n";

class ArraysTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kLists);
  }

  Items ReadArray(const std::string& path, const std::string& options = "") {
    Items items{"left over"};
    readArray(ctx_.get(), Options(options), &path, items);
    return items;
  }

  Items Range(Items items, uint32_t index, uint32_t count,
              const std::string& options = "") {
    selectArrayRange(items, index, count, Options(options));
    return items;
  }
};

TEST_F(ArraysTest, ArrayAttributesAreFoundAsSubstrings) {
  for (const char* name : {"Attributes", "Children", "PossibleValues",
                           ".AlarmBatch", "Value", "Trend", "", "s;C"}) {
    EXPECT_TRUE(isArrayAttribute(name)) << name;
  }
  for (const char* name : {"Name", "Units", "children", ".Quality",
                           "ValueType"}) {
    EXPECT_FALSE(isArrayAttribute(name)) << name;
  }
}

// "Value" occurs inside "PossibleValues", so a Value reads as an array.
// Error results are recognised by their beginning only, so a value that
// happens to begin with the client's errorPrefix is taken for one.
TEST_F(ArraysTest, ReadArraySplitsTheAttributesTextOrAnswersOneError) {
  const struct {
    const char* path;
    const char* options;
    Items items;
  } cases[] = {
      {"/Plant/Mode/PossibleValues", "", {"Off", "On", "Auto"}},
      {"/Plant/Label/Value", "", {"x", "y"}},
      {"/Plant/Label", "", {"x", "y"}},
      {"/Plant/Children", "", {"Mode", "Label", "Single", "Empty"}},
      {"/Plant/Empty", "", {}},
      {"", "", {"? 8 Bad Path Syntax : No Path provided"}},
      {"/Plant/Label/Name", "",
       {"? 24 Not an Array : Invalid attribute for array"}},
      {"/Plant/Nothing/Children", "",
       {"? 9 Node Not Found : CDS access failed"}},
      {"Plant/Label", "", {"? 8 Bad Path Syntax : CDS Error in supplied path"}},
      {"/Plant/Nothing", "errorPrefix=ERR",
       {"ERR? 9 Node Not Found : CDS access failed"}},
      {"/Plant/Label", "errorPrefix=x", {"x;y"}},
      {"/Plant/Label", "errorPrefix=z", {"x", "y"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.items, ReadArray(c.path, c.options)) << c.path << c.options;
  }
  Items items{"left over"};
  readArray(ctx_.get(), Options(""), nullptr, items);
  EXPECT_EQ(Items{"? 8 Bad Path Syntax : No Path provided"}, items);
}

TEST_F(ArraysTest, SizeCountsItemsButAnswersASingleItemItself) {
  const ServiceOptions plain = Options("");
  EXPECT_EQ("3", arraySizeResult({"a", "b", "c"}, plain));
  EXPECT_EQ("0", arraySizeResult({}, plain));
  // Under the default empty errorPrefix a one-item array answers its item.
  EXPECT_EQ("a", arraySizeResult({"a"}, plain));
  EXPECT_EQ("? 9 Node Not Found : CDS access failed",
            arraySizeResult(ReadArray("/Plant/Nothing/Children"), plain));

  const ServiceOptions prefixed = Options("errorPrefix=ERR");
  EXPECT_EQ("1", arraySizeResult({"a"}, prefixed));
  EXPECT_EQ("ERR? 9 Node Not Found : CDS access failed",
            arraySizeResult(ReadArray("/Plant/Nothing", "errorPrefix=ERR"),
                            prefixed));
  EXPECT_EQ("2", arraySizeResult(ReadArray("/Plant/Label"), plain));
}

TEST_F(ArraysTest, RangeSelectsFromIndexForCountWithUnsignedQuirks) {
  const Items abcd{"a", "b", "c", "d"};
  const struct {
    uint32_t index, count;
    Items items;
  } cases[] = {
      {1, 2, {"b", "c"}}, {0, 1, {"a"}}, {3, 1, {"d"}}, {0, 4, abcd},
      // A count past the end answers up to the end.
      {1, 10, {"b", "c", "d"}}, {2, 0xFFFFFFF0u, {"c", "d"}},
      // Count 0 at index 0: last wraps to the largest number and is
      // clamped. At index 2 last is 1, below index, so nothing goes at
      // the front and the back is cut after item 1.
      {0, 0, abcd}, {2, 0, {"a", "b"}}, {1, 0, {"a"}},
      // index + count - 1 wraps below index the same way.
      {3, 0xFFFFFFFFu, {"a", "b"}},
      // From past the end: nothing.
      {4, 1, {}}, {5, 1, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.items, Range(abcd, c.index, c.count))
        << c.index << ", " << c.count;
  }
  EXPECT_EQ(Items{}, Range({}, 0, 1));
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 14 Index Out of Range"));
  EXPECT_FALSE(LogHas("Index Out of Range :"));
}

TEST_F(ArraysTest, RangeDropsASingleItemThatStartsWithTheErrorPrefix) {
  EXPECT_EQ(Items{}, Range({"a"}, 0, 1));
  EXPECT_EQ(Items{}, Range(ReadArray("/Plant/Nothing/Children"), 0, 1));
  EXPECT_EQ(Items{"a"}, Range({"a"}, 0, 1, "errorPrefix=ERR"));
  EXPECT_EQ(Items{}, Range({"ERR? 9 Node Not Found"}, 0, 1, "errorPrefix=ERR"));
}

}  // namespace

}  // namespace wsgated
