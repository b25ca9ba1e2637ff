// Values and their types: translated texts, multistate texts and the
// attribute table (conversions and the time base: test_element.cc).

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <boost/locale.hpp>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <utility>

#include "platform/attributes.h"
#include "platform/element.h"
#include "platform/multistate.h"
#include "tests/platform/temp_store.h"
#include "tests/platform/temp_dir.h"

namespace toolkit {
namespace {

using M = CCds_Multistate;

// A message catalogue compiled with msgfmt into a private folder.
class Translation : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string messages = dir_ / "de_DE/LC_MESSAGES";
    std::filesystem::create_directories(messages);
    std::ofstream po(dir_ / "toolkit.po");
    po << "msgid \"\"\nmsgstr \"Content-Type: text/plain; charset=UTF-8\\n\"\n"
       << "msgid \"Off\"\nmsgstr \"Aus\"\n"
       << "msgid \"On\"\nmsgstr \"Ein\"\n"
       << "msgid \"Open\"\nmsgstr \"Offen\"\n"
       << "msgid \"Closed\"\nmsgstr \"Geschlossen\"\n"
       << "msgid \"Normal;Alarm\"\nmsgstr \"Gut;Schlecht\"\n"
       << "msgid \"Voltage\"\nmsgstr \"Spannung\"\n";
    po.close();
    const std::string compile =
        "msgfmt -o " + messages + "/toolkit.mo " + (dir_ / "toolkit.po");
    ASSERT_EQ(system(compile.c_str()), 0);

    boost::locale::generator generator;
    generator.add_messages_path(dir_.path());
    generator.add_messages_domain("toolkit/UTF-8");
    generator.characters(boost::locale::char_facet);
    german_ = generator("de_DE.UTF-8");
  }

  std::string translate(const std::string& text) {
    return CElement(text).to_translated_string(german_, "toolkit");
  }

  testing_files::TempDir dir_;
  std::locale german_;
};

TEST_F(Translation, WholeTextThenItemByItem) {
  EXPECT_EQ(translate("Voltage"), "Spannung");
  EXPECT_EQ(translate("Off;On"), "Aus;Ein");
  EXPECT_EQ(translate("1=Open;2=Closed;4=Tripped"),
            "1=Offen;2=Geschlossen;4=Tripped");
  EXPECT_EQ(translate("-1=Open;x=Open;=Open"), "-1=Offen;x=Open;=Open");
  // A list that has a translation of its own is not split.
  EXPECT_EQ(translate("Normal;Alarm"), "Gut;Schlecht");
  EXPECT_EQ(translate("Off;;On;"), "Aus;;Ein;");
  EXPECT_EQ(translate("Current"), "Current");
  EXPECT_EQ(translate(""), "");
  EXPECT_EQ(CElement(true).to_translated_string(german_, "toolkit"), "true");
  EXPECT_EQ(CElement("On").to_translated_string(german_, "other"), "On");
  EXPECT_EQ(CElement("Off;On").to_translated_string(std::locale::classic(),
                                                     "toolkit"),
            "Off;On");  // without messages
}

TEST(MultistateText, TextOfAState) {
  const char* const mixed = "Normal;Warning;5=Alarm;Fault";
  const char* const numbered = "1=Open;2=Closed;4=Tripped";
  const struct {
    const char* list;
    int32_t value;
    const char* text;
  } cases[] = {
      {"Off;On", 0, "Off"},   {"Off;On", 1, "On"},     {"Off;On", 2, "2"},
      {numbered, 4, "Tripped"}, {numbered, 3, "3"},    {mixed, 0, "Normal"},
      {mixed, 1, "Warning"},  {mixed, 5, "Alarm"},     {mixed, 6, "Fault"},
      {mixed, 2, "2"},        {"-2=Low;Mid;High", -1, "Mid"},
      {"-2=Low;Mid;High", 0, "High"}, {"A;;C", 2, "C"}, {"A;;C", 1, ""},
      {"x=1;=2;3=", 1, "=2"}, {"x=1;=2;3=", 3, ""},    {"", 0, "0"},
      {"", -7, "-7"},         {"1=A;1=B", 1, "A"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(M::GetStringValue(c.list, c.value), c.text)
        << c.list << " " << c.value;
  }
}

// A state is found by its text in any case, an exact match first, or by
// its number; a miss leaves the value alone.
TEST(MultistateText, StateOfAText) {
  const char* const mixed = "Normal;Warning;5=Alarm;Fault";
  const struct {
    const char* list;
    const char* text;
    int32_t value;  // -99: no such state
  } cases[] = {
      {mixed, "Alarm", 5}, {mixed, "fault", 6},  {mixed, "1", 1},
      {mixed, "5", 5},     {mixed, "2", -99},    {mixed, "Alarm ", -99},
      {mixed, "5x", -99},  {mixed, "", -99},     {"", "0", -99},
      {"ON;On", "On", 1},  {"5=1;1=X", "1", 5},  {"-3=Low;High", "-2", -2},
  };
  for (const auto& c : cases) {
    int32_t value = -99;
    EXPECT_EQ(c.value != -99, M::GetEnumValue(c.list, c.text, value))
        << c.list << " " << c.text;
    EXPECT_EQ(c.value, value) << c.list << " " << c.text;
  }
}

TEST(MultistateText, Booleans) {
  const struct {
    const char* list;
    bool value;
    const char* text;
  } texts[] = {
      {"Open;Closed", false, "Open"},     {"Open;Closed", true, "Closed"},
      {"1=Closed;0=Open", true, "Closed"}, {"1=Closed;0=Open", false, "Open"},
      {"false;true", true, "true"},       {"One", true, "true"},
      {"A;B;C", false, "false"},
  };
  for (const auto& c : texts) {
    EXPECT_EQ(M::GetBoolPossibleValue(c.list, c.value), c.text) << c.list;
  }
  // The states in any case, an exact match first ("off" is the true text
  // of "OFF;off"), or the words true and false; -1: no such state.
  const struct {
    const char* list;
    const char* text;
    int value;
  } values[] = {
      {"Open;Closed", "Closed", 1},     {"Open;Closed", "OPEN", 0},
      {"Open;Closed", "TRUE", 1},       {"", "False", 0},
      {"1=Closed;0=Open", "Open", 0},   {"OFF;off", "off", 1},
      {"Open;Closed", "Shut", -1},      {"", "1", -1},
      {"", "yes", -1},
  };
  for (const auto& c : values) {
    bool value = c.value != 1;  // the opposite of a find; kept by a miss
    EXPECT_EQ(c.value != -1, M::GetBoolFromString(c.list, c.text, value))
        << c.list << " " << c.text;
    EXPECT_EQ(c.value != 0, value) << c.list << " " << c.text;
  }
}

class MultistateStore : public testing_store::StoreTest {};

// A multistate point whose writers may set only some states, a boolean
// point with states, one without, and an integer with a list.
TEST_F(MultistateStore, PossibleValuesAndWhatIsAMultistate) {
  for (const auto& [node, type] :
       {std::pair<std::string, const char*>{"/B/State", "Multistate"},
        {"/B/Armed", "Boolean"}, {"/B/Plain", "Boolean"},
        {"/B/Count", "Integer"}, {"/B/Listless", "multistate"}}) {
    AddNode(node);
    SetText(node + "/ValueType", type);
  }
  SetText("/B/State/PossibleValues", "1=Open;2=Closed;4=Tripped");
  SetText("/B/State/WritableValues", "1=Open;2=Closed");
  SetText("/B/Armed/PossibleValues", "Disarmed;Armed");
  SetText("/B/Count/PossibleValues", "Zero;One");
  M states(*cds_);
  std::string text;
  EXPECT_TRUE(states.GetPossibleValues("/B/State", false, text));
  EXPECT_EQ(text, "1=Open;2=Closed;4=Tripped");
  EXPECT_TRUE(states.GetPossibleValues("/B/State/Value", true, text));
  EXPECT_EQ(text, "1=Open;2=Closed");  // writers get theirs
  EXPECT_TRUE(states.GetPossibleValues("/B/Armed", true, text));
  EXPECT_EQ(text, "Disarmed;Armed");
  for (const char* path : {"/B/Plain", "/Nowhere", "not a path"}) {
    EXPECT_FALSE(states.GetPossibleValues(path, false, text)) << path;
    EXPECT_EQ(text, "") << path;
  }
  // Three states are no boolean list.
  EXPECT_EQ(states.GetBoolPossibleValues("/B/Armed", false), "Disarmed;Armed");
  EXPECT_EQ(states.GetBoolPossibleValues("/B/Plain", false), "false;true");
  EXPECT_EQ(states.GetBoolPossibleValues("/B/State", false), "false;true");
  const std::pair<const char*, bool> multistate[] = {
      {"/B/State/Value", true}, {"/B/Listless", true}, {"/B/Count", false},
      {"/B/Armed", false},      {"/Nowhere", false}};
  for (const auto& [path, is] : multistate) {
    EXPECT_EQ(is, states.IsMultistate(path, false)) << path;
  }
  // Requiring values, only one that has its states.
  EXPECT_TRUE(states.IsMultistate("/B/State", true));
  EXPECT_FALSE(states.IsMultistate("/B/Listless", true));
}

// --- The attribute table (flags and types: tested where they act) --------

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
}  // namespace toolkit
