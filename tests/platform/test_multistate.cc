// CCds_Multistate: the possible-values syntax, matching of texts and the
// node-level calls against a real store.

#include "platform/multistate.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/temp_store.h"

namespace toolkit {
namespace {

using M = CCds_Multistate;

TEST(MultistateText, NumbersFollowThePreviousItem) {
  EXPECT_EQ(M::GetStringValue("Off;On", 0), "Off");
  EXPECT_EQ(M::GetStringValue("Off;On", 1), "On");
  EXPECT_EQ(M::GetStringValue("Off;On", 2), "2");
  EXPECT_EQ(M::GetStringValue("1=Open;2=Closed;4=Tripped", 4), "Tripped");
  EXPECT_EQ(M::GetStringValue("1=Open;2=Closed;4=Tripped", 3), "3");
  const std::string mixed = "Normal;Warning;5=Alarm;Fault";
  EXPECT_EQ(M::GetStringValue(mixed, 0), "Normal");
  EXPECT_EQ(M::GetStringValue(mixed, 1), "Warning");
  EXPECT_EQ(M::GetStringValue(mixed, 5), "Alarm");
  EXPECT_EQ(M::GetStringValue(mixed, 6), "Fault");
  EXPECT_EQ(M::GetStringValue(mixed, 2), "2");
  EXPECT_EQ(M::GetStringValue("-2=Low;Mid;High", -1), "Mid");
  EXPECT_EQ(M::GetStringValue("-2=Low;Mid;High", 0), "High");
  // Empty items are states too; a text that is not "N=" is all text.
  EXPECT_EQ(M::GetStringValue("A;;C", 2), "C");
  EXPECT_EQ(M::GetStringValue("A;;C", 1), "");
  EXPECT_EQ(M::GetStringValue("x=1;=2;3=", 1), "=2");
  EXPECT_EQ(M::GetStringValue("x=1;=2;3=", 3), "");
  EXPECT_EQ(M::GetStringValue("", 0), "0");
  EXPECT_EQ(M::GetStringValue("", -7), "-7");
  // The first state of a duplicated number wins.
  EXPECT_EQ(M::GetStringValue("1=A;1=B", 1), "A");
}

TEST(MultistateText, EnumValueFromText) {
  const std::string list = "Normal;Warning;5=Alarm;Fault";
  int32_t value = -99;
  EXPECT_TRUE(M::GetEnumValue(list, "Alarm", value));
  EXPECT_EQ(value, 5);
  EXPECT_TRUE(M::GetEnumValue(list, "fault", value));
  EXPECT_EQ(value, 6);
  EXPECT_TRUE(M::GetEnumValue(list, "1", value));
  EXPECT_EQ(value, 1);
  EXPECT_TRUE(M::GetEnumValue(list, "5", value));
  EXPECT_EQ(value, 5);
  value = -99;
  EXPECT_FALSE(M::GetEnumValue(list, "2", value));  // not a state
  EXPECT_FALSE(M::GetEnumValue(list, "Alarm ", value));
  EXPECT_FALSE(M::GetEnumValue(list, "5x", value));
  EXPECT_FALSE(M::GetEnumValue(list, "", value));
  EXPECT_FALSE(M::GetEnumValue("", "0", value));
  EXPECT_EQ(value, -99);  // unchanged by misses
  // Exact match beats a case-insensitive one, and text beats number.
  EXPECT_TRUE(M::GetEnumValue("ON;On", "On", value));
  EXPECT_EQ(value, 1);
  EXPECT_TRUE(M::GetEnumValue("5=1;1=X", "1", value));
  EXPECT_EQ(value, 5);
  EXPECT_TRUE(M::GetEnumValue("-3=Low;High", "-2", value));
  EXPECT_EQ(value, -2);
}

TEST(MultistateText, Booleans) {
  EXPECT_EQ(M::GetBoolPossibleValue("Open;Closed", false), "Open");
  EXPECT_EQ(M::GetBoolPossibleValue("Open;Closed", true), "Closed");
  EXPECT_EQ(M::GetBoolPossibleValue("1=Closed;0=Open", true), "Closed");
  EXPECT_EQ(M::GetBoolPossibleValue("1=Closed;0=Open", false), "Open");
  EXPECT_EQ(M::GetBoolPossibleValue("false;true", true), "true");
  EXPECT_EQ(M::GetBoolPossibleValue("One", true), "true");
  EXPECT_EQ(M::GetBoolPossibleValue("A;B;C", false), "false");

  bool value = false;
  EXPECT_TRUE(M::GetBoolFromString("Open;Closed", "Closed", value));
  EXPECT_TRUE(value);
  EXPECT_TRUE(M::GetBoolFromString("Open;Closed", "OPEN", value));
  EXPECT_FALSE(value);
  EXPECT_TRUE(M::GetBoolFromString("Open;Closed", "TRUE", value));
  EXPECT_TRUE(value);
  EXPECT_TRUE(M::GetBoolFromString("", "False", value));
  EXPECT_FALSE(value);
  EXPECT_TRUE(M::GetBoolFromString("1=Closed;0=Open", "Open", value));
  EXPECT_FALSE(value);
  // Exact before any case: "off" is the true text here.
  EXPECT_TRUE(M::GetBoolFromString("OFF;off", "off", value));
  EXPECT_TRUE(value);
  value = true;
  EXPECT_FALSE(M::GetBoolFromString("Open;Closed", "Shut", value));
  EXPECT_FALSE(M::GetBoolFromString("", "1", value));
  EXPECT_FALSE(M::GetBoolFromString("", "yes", value));
  EXPECT_TRUE(value);
}

// A store with a multistate point, a boolean point with states, one
// without, and a plain integer.
class MultistateStore : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    Point("/Breaker/State", "Multistate", "1=Open;2=Closed;4=Tripped");
    SetText("/Breaker/State/WritableValues", "1=Open;2=Closed");
    Point("/Breaker/Armed", "Boolean", "Disarmed;Armed");
    Point("/Breaker/Plain", "Boolean", nullptr);
    Point("/Breaker/Count", "Integer", "Zero;One");
    Point("/Breaker/Listless", "multistate", nullptr);
  }

  void Point(const std::string& node, const char* type, const char* states) {
    AddNode(node);
    SetText(node + "/ValueType", type);
    if (states != nullptr) SetText(node + "/PossibleValues", states);
  }
};

TEST_F(MultistateStore, PossibleValuesPreferWritableForWriters) {
  M states(*cds_);
  std::string text;
  EXPECT_TRUE(states.GetPossibleValues("/Breaker/State", false, text));
  EXPECT_EQ(text, "1=Open;2=Closed;4=Tripped");
  EXPECT_TRUE(states.GetPossibleValues("/Breaker/State/Value", true, text));
  EXPECT_EQ(text, "1=Open;2=Closed");
  EXPECT_TRUE(states.GetPossibleValues("/Breaker/Armed", true, text));
  EXPECT_EQ(text, "Disarmed;Armed");
  EXPECT_FALSE(states.GetPossibleValues("/Breaker/Plain", false, text));
  EXPECT_EQ(text, "");
  EXPECT_FALSE(states.GetPossibleValues("/Nowhere", false, text));
  EXPECT_FALSE(states.GetPossibleValues("not a path", false, text));

  EXPECT_EQ(states.GetBoolPossibleValues("/Breaker/Armed", false),
            "Disarmed;Armed");
  EXPECT_EQ(states.GetBoolPossibleValues("/Breaker/Plain", false),
            "false;true");
  EXPECT_EQ(states.GetBoolPossibleValues("/Breaker/State", false),
            "false;true");  // three states: not a boolean list
}

TEST_F(MultistateStore, IsMultistate) {
  M states(*cds_);
  EXPECT_TRUE(states.IsMultistate("/Breaker/State", true));
  EXPECT_TRUE(states.IsMultistate("/Breaker/State/Value", false));
  EXPECT_TRUE(states.IsMultistate("/Breaker/Listless", false));
  EXPECT_FALSE(states.IsMultistate("/Breaker/Listless", true));
  EXPECT_FALSE(states.IsMultistate("/Breaker/Count", false));
  EXPECT_FALSE(states.IsMultistate("/Breaker/Armed", false));
  EXPECT_FALSE(states.IsMultistate("/Nowhere", false));
}

TEST_F(MultistateStore, StringToMultiValue) {
  M states(*cds_);
  CElement element("unchanged");
  timeval stamp = {1234, 5};
  element.set_time(stamp);
  bool multistate = false;

  EXPECT_EQ(states.StringToMultiValue("/Breaker/State/Value", PCD_TYPE_INT,
                                      "closed", element, multistate),
            0);
  EXPECT_TRUE(multistate);
  EXPECT_EQ(element, CElement(int32_t{2}));
  EXPECT_EQ(element.get_time().tv_sec, 1234);
  // Tripped is a state, but not one a writer may set.
  EXPECT_NE(states.StringToMultiValue("/Breaker/State/Value", PCD_TYPE_INT,
                                      "Tripped", element, multistate),
            0);
  EXPECT_TRUE(multistate);
  EXPECT_EQ(element, CElement(int32_t{2}));
  EXPECT_EQ(states.StringToMultiValue("/Breaker/State", PCD_TYPE_UINT, "1",
                                      element, multistate),
            0);
  EXPECT_EQ(element, CElement(uint32_t{1}));

  EXPECT_EQ(states.StringToMultiValue("/Breaker/Armed/Value", PCD_TYPE_BOOL,
                                      "Armed", element, multistate),
            0);
  EXPECT_TRUE(multistate);
  EXPECT_EQ(element, CElement(true));
  EXPECT_NE(states.StringToMultiValue("/Breaker/Armed", PCD_TYPE_BOOL, "On",
                                      element, multistate),
            0);
  EXPECT_TRUE(multistate);

  // Without states there is nothing to match: the caller converts.
  element.set_string("kept");
  EXPECT_NE(states.StringToMultiValue("/Breaker/Plain", PCD_TYPE_BOOL, "true",
                                      element, multistate),
            0);
  EXPECT_FALSE(multistate);
  EXPECT_NE(states.StringToMultiValue("/Breaker/Count", PCD_TYPE_INT, "One",
                                      element, multistate),
            0);
  EXPECT_FALSE(multistate);
  EXPECT_NE(states.StringToMultiValue("/Breaker/State", PCD_TYPE_REAL, "1",
                                      element, multistate),
            0);
  EXPECT_FALSE(multistate);
  EXPECT_EQ(element, CElement("kept"));
}

}  // namespace
}  // namespace toolkit
