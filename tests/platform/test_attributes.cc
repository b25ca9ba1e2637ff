// The attribute table: codes, names, default types, flags; type names.

#include "platform/attributes.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace {

bool has_flag(int code, unsigned flag) {
  const AttributeInfo* info = pcd_attr_info(code);
  return info != nullptr && (info->flags & flag) != 0;
}

TEST(Attributes, EveryCodeHasOneEntryAndNamesRoundTrip) {
  std::set<std::string> names;
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    const AttributeInfo* info = pcd_attr_info(code);
    ASSERT_NE(info, nullptr) << code;
    EXPECT_EQ(info->code, code);
    ASSERT_NE(info->name, nullptr);
    EXPECT_NE(std::string(info->meaning), "") << info->name;
    EXPECT_TRUE(names.insert(info->name).second) << "duplicate " << info->name;
    EXPECT_EQ(pcd_attr_str_to_enum(info->name), code) << info->name;
    EXPECT_STREQ(pcd_attr_enum_to_str(code), info->name);
  }
  EXPECT_EQ(pcd_attr_info(-1), nullptr);
  EXPECT_EQ(pcd_attr_info(PCD_ATTR_COUNT), nullptr);
  EXPECT_EQ(pcd_attr_enum_to_str(PCD_ATTR_COUNT), nullptr);
}

TEST(Attributes, WellKnownNamesMatchTheirCodes) {
  EXPECT_EQ(pcd_attr_str_to_enum("Value"), 0);
  EXPECT_EQ(pcd_attr_str_to_enum("Children"), 1);
  EXPECT_EQ(pcd_attr_str_to_enum("ValueType"), 2);
  EXPECT_EQ(pcd_attr_str_to_enum(".ChangeCount"), 5);
  EXPECT_EQ(pcd_attr_str_to_enum("PossibleValues"), 8);
  EXPECT_EQ(pcd_attr_str_to_enum("ChildCount"), 19);
  EXPECT_EQ(pcd_attr_str_to_enum("Writable"), 21);
  EXPECT_EQ(pcd_attr_str_to_enum("WritableValues"), 23);
  EXPECT_EQ(pcd_attr_str_to_enum(".Quality"), 24);
  EXPECT_EQ(pcd_attr_str_to_enum(".HighAlarmLimit"), 40);
  EXPECT_EQ(pcd_attr_str_to_enum(".AlarmOnValue"), 50);
  EXPECT_EQ(pcd_attr_str_to_enum(".TrendInterval"), 56);
}

TEST(Attributes, LookupIsExactAndCaseSensitive) {
  EXPECT_EQ(pcd_attr_str_to_enum(nullptr), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum(""), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("value"), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("Value "), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("Valu"), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("Quality"), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("Value.Time"), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("MyAttribute"), PCD_ATTR_UNKNOWN);
  // Before the first and after the last name in sort order.
  EXPECT_EQ(pcd_attr_str_to_enum("!"), PCD_ATTR_UNKNOWN);
  EXPECT_EQ(pcd_attr_str_to_enum("zzz"), PCD_ATTR_UNKNOWN);
}

// Writers type an untyped leaf from this table; it must agree with the
// device's fixed types. 7 means "the type of the node's Value".
TEST(Attributes, DefaultTypesAgreeWithTheFixedTypes) {
  const std::pair<int, int> fixed[] = {
      {1, 17}, {7, 11}, {7, 12}, {7, 13}, {3, 15}, {1, 10}, {1, 21},
      {1, 20}, {1, 22}, {7, 50}, {1, 39}, {1, 53}, {1, 49}, {7, 28},
      {7, 29}, {7, 30}, {7, 40}, {7, 41}, {7, 42}, {7, 43}, {7, 44},
      {3, 55}, {3, 56}, {3, 54}, {3, 31}};
  std::set<int> fixed_codes;
  for (const auto& [type, code] : fixed) {
    EXPECT_EQ(pcd_attr_info(code)->default_type, type) << "code " << code;
    fixed_codes.insert(code);
  }
  EXPECT_EQ(pcd_attr_info(PCD_ATTR_VALUE)->default_type, kTypeOfNodeValue);
  // Writable attributes without a fixed type are stored as text, so their
  // default must not pretend to be a number.
  for (int code = 1; code < PCD_ATTR_COUNT; ++code) {
    const AttributeInfo* info = pcd_attr_info(code);
    if (fixed_codes.count(code) || (info->flags & PCD_AF_VIRTUAL)) continue;
    EXPECT_TRUE(info->default_type == PCD_TYPE_STRING ||
                info->default_type == PCD_TYPE_NONE)
        << info->name;
  }
}

TEST(Attributes, FlagsMarkTheSpecialAttributes) {
  const std::set<int> virtual_codes = {1, 3, 5, 9, 19};
  const std::set<int> operator_codes = {40, 41, 42, 43};
  const std::set<int> request_codes = {10, 17, 20};
  const std::set<int> label_codes = {6, 7, 16, 18, 26};
  const std::set<int> event_codes = {45, 46, 47, 48, 51};
  const std::set<int> array_codes = {1, 3, 8, 23, 27, 37, 38};
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    SCOPED_TRACE(pcd_attr_enum_to_str(code));
    EXPECT_EQ(has_flag(code, PCD_AF_VIRTUAL), virtual_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_AUTOMATIC),
              virtual_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_OPERATOR_WRITABLE),
              operator_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_CLEARED_BY_PLATFORM),
              request_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_TRANSLATABLE),
              label_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_EVENT_TEXT), event_codes.count(code) == 1);
    EXPECT_EQ(has_flag(code, PCD_AF_ARRAY), array_codes.count(code) == 1);
  }
  for (int code : request_codes) {
    EXPECT_EQ(pcd_attr_info(code)->default_type, PCD_TYPE_BOOL);
  }
}

// The path parser splits "Value.Time" and ".Quality.Time" at the first dot
// after the first character, so no name may hold a dot there.
TEST(Attributes, NamesFitThePathGrammar) {
  for (int code = 0; code < PCD_ATTR_COUNT; ++code) {
    std::string name = pcd_attr_enum_to_str(code);
    EXPECT_EQ(name.find('.', 1), std::string::npos) << name;
    EXPECT_EQ(name.find('/'), std::string::npos) << name;
    EXPECT_EQ(name.find(':'), std::string::npos) << name;
  }
}

TEST(Attributes, TypeNames) {
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_NONE), "None");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_BOOL), "Boolean");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_UINT), "Unsigned");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_INT), "Integer");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_REAL), "Real");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_STRING), "String");
  EXPECT_STREQ(pcd_enum_to_str(PCD_TYPE_TIMEVAL), "timeval");
  EXPECT_EQ(pcd_enum_to_str(5), nullptr);
  EXPECT_EQ(pcd_enum_to_str(kTypeOfNodeValue), nullptr);
  EXPECT_EQ(pcd_enum_to_str(-1), nullptr);
  EXPECT_EQ(pcd_enum_to_str(9), nullptr);
}

TEST(Attributes, HumanTypeNamesIgnoreCase) {
  const std::pair<const char*, int> names[] = {
      {"Boolean", 1}, {"bool", 1},     {"BOOLEAN", 1}, {"Unsigned", 2},
      {"integer", 3}, {"Int", 3},      {"Real", 4},    {"FLOAT", 4},
      {"double", 4},  {"String", 6},   {"text", 6},    {"timeval", 8},
      {"TimeVal", 8}, {"time", 8},     {"None", 0}};
  for (const auto& [name, type] : names) {
    EXPECT_EQ(pcd_human_str_to_enum(name), type) << name;
  }
  // Every canonical name reads back to its own type.
  for (int type : {0, 1, 2, 3, 4, 6, 8}) {
    EXPECT_EQ(pcd_human_str_to_enum(pcd_enum_to_str(type)), type);
  }
  EXPECT_EQ(pcd_human_str_to_enum("Multistate"), 0);
  EXPECT_EQ(pcd_human_str_to_enum("Integers"), 0);
  EXPECT_EQ(pcd_human_str_to_enum(" Real"), 0);
  EXPECT_EQ(pcd_human_str_to_enum(""), 0);
  EXPECT_EQ(pcd_human_str_to_enum(nullptr), 0);
}

}  // namespace
