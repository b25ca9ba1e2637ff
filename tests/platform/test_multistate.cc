// CCds_Multistate: the possible-values syntax, matching of texts and the
// node-level lookups against a real store. (Converting a writer's text is
// tested through the writes: tests/common/test_writes.cc.)

#include "platform/multistate.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/temp_store.h"

namespace toolkit {
namespace {

using M = CCds_Multistate;

// Numbers follow the previous item; empty items are states too; a text
// that is not "N=" is all text; the first of a duplicated number wins.
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

}  // namespace
}  // namespace toolkit
