// The attribute table: one entry per code, names that look up exactly and
// fit the path grammar; type names. (What the flags and default types do
// is tested where they act: writes, the store, rendering.)

#include "platform/attributes.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace {

// The path parser splits "Value.Time" and ".Quality.Time" at the first dot
// after the first character, so no name may hold a dot there.
TEST(Attributes, EveryCodeHasOneEntryWhoseNameRoundTripsAndFitsPaths) {
  std::set<std::string> names;
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    const AttributeInfo* info = pcd_attr_info(code);
    ASSERT_NE(info, nullptr) << code;
    EXPECT_EQ(info->code, code);
    ASSERT_NE(info->name, nullptr);
    const std::string name = info->name;
    SCOPED_TRACE(name);
    EXPECT_NE(std::string(info->meaning), "");
    EXPECT_TRUE(names.insert(name).second) << "duplicate";
    EXPECT_EQ(pcd_attr_str_to_enum(info->name), code);
    EXPECT_STREQ(pcd_attr_enum_to_str(code), info->name);
    EXPECT_EQ(name.find('.', 1), std::string::npos);
    EXPECT_EQ(name.find_first_of("/:"), std::string::npos);
  }
  EXPECT_EQ(pcd_attr_info(-1), nullptr);
  EXPECT_EQ(pcd_attr_info(PCD_ATTR_COUNT), nullptr);
  EXPECT_EQ(pcd_attr_enum_to_str(PCD_ATTR_COUNT), nullptr);
}

TEST(Attributes, LookupIsExactAndCaseSensitive) {
  // "!" and "zzz" sort before the first and after the last name.
  for (const char* name : {"", "value", "Value ", "Valu", "Quality",
                           "Value.Time", "MyAttribute", "!", "zzz"}) {
    EXPECT_EQ(pcd_attr_str_to_enum(name), PCD_ATTR_UNKNOWN) << name;
  }
  EXPECT_EQ(pcd_attr_str_to_enum(nullptr), PCD_ATTR_UNKNOWN);
}

TEST(Attributes, TypeNamesReadBackAndHumanNamesIgnoreCase) {
  for (int type : {0, 1, 2, 3, 4, 6, 8}) {
    ASSERT_NE(pcd_enum_to_str(type), nullptr) << type;
    EXPECT_EQ(pcd_human_str_to_enum(pcd_enum_to_str(type)), type);
  }
  for (int type : {-1, 5, kTypeOfNodeValue, 9}) {
    EXPECT_EQ(pcd_enum_to_str(type), nullptr) << type;
  }
  const std::pair<const char*, int> names[] = {
      {"bool", 1},  {"BOOLEAN", 1}, {"integer", 3}, {"Int", 3},
      {"FLOAT", 4}, {"double", 4},  {"text", 6},    {"TimeVal", 8},
      {"time", 8},  {"Multistate", 0}, {"Integers", 0}, {" Real", 0},
      {"", 0}};
  for (const auto& [name, type] : names) {
    EXPECT_EQ(pcd_human_str_to_enum(name), type) << name;
  }
  EXPECT_EQ(pcd_human_str_to_enum(nullptr), 0);
}

}  // namespace
