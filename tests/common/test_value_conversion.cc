// Value conversion: type names, the device's number rules for client text,
// re-casting stored values, finding a node's type, and rendering reads.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/event_text.h"
#include "common/value_conversion.h"
#include "platform/path.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

using toolkit::CElement;

// --- type names -----------------------------------------------------------

struct TypeCase {
  const char* text;
  data_type_t type;
  bool enumerated;
};

TEST(ValueTypeFromText, NamesGiveTypesAndTheEnumeratedFlag) {
  const TypeCase cases[] = {
      {"Real", PCD_TYPE_REAL, false},      {"REAL", PCD_TYPE_REAL, false},
      {"Float", PCD_TYPE_REAL, false},     {"Multistate", PCD_TYPE_INT, true},
      {"multiSTATE", PCD_TYPE_INT, true},  {"Boolean", PCD_TYPE_BOOL, true},
      {"bool", PCD_TYPE_BOOL, true},       {"Integer", PCD_TYPE_INT, false},
      {"Unsigned", PCD_TYPE_UINT, false},  {"String", PCD_TYPE_STRING, false},
      {"timeval", PCD_TYPE_TIMEVAL, false}, {"Banana", PCD_TYPE_STRING, false},
      {"", PCD_TYPE_STRING, false},        {"None", PCD_TYPE_STRING, false},
  };
  for (const TypeCase& c : cases) {
    bool enumerated = !c.enumerated;  // must be overwritten either way
    EXPECT_EQ(c.type, valueTypeFromText(c.text, enumerated)) << c.text;
    EXPECT_EQ(c.enumerated, enumerated) << c.text;
  }
}

// Alarm and queue numbers: every 64-bit number, nothing else.
TEST(ParseDecimalNumber, DigitsWithinSixtyFourBits) {
  const struct {
    const char* text;
    bool parsed;
    uint64_t number;
  } cases[] = {
      {"0", true, 0},
      {"42", true, 42},
      {"18446744073709551615", true, UINT64_MAX},
      {"18446744073709551616", false, 0},
      {"000000000000000000001", false, 0},
      {"", false, 0},
      {"-1", false, 0},
      {"+1", false, 0},
      {" 1", false, 0},
      {"1a", false, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    uint64_t number = 7;
    EXPECT_EQ(c.parsed, parseDecimalNumber(c.text, number));
    if (c.parsed) {
      EXPECT_EQ(c.number, number);
    }
  }
}

// --- client text to typed values -------------------------------------------

class ConvertText : public ServiceTest {};

// The device's rules are the platform's (tests/platform/test_element.cc)
// but for the 32-bit limits and the texts refused here.
TEST_F(ConvertText, ClientTextFollowsTheDevicesRules) {
  const struct {
    const char* text;
    data_type_t type;
    const char* converted;  // null: refused with `mark`
    int mark;
  } cases[] = {
      {"TRUE", PCD_TYPE_BOOL, "true", 0},
      {"yes", PCD_TYPE_BOOL, nullptr, kConversionBadBool},
      {"1", PCD_TYPE_BOOL, nullptr, kConversionBadBool},
      {"", PCD_TYPE_INT, "0", 0},
      {"2147483646", PCD_TYPE_INT, "2147483646", 0},
      // Downward overflow saturates and is accepted; upward overflow
      // cannot be told from the largest value: both are refused.
      {"-99999999999", PCD_TYPE_INT, "-2147483648", 0},
      {"2147483647", PCD_TYPE_INT, nullptr, kConversionBadInteger},
      {"99999999999", PCD_TYPE_INT, nullptr, kConversionBadInteger},
      {"12x", PCD_TYPE_INT, nullptr, kConversionBadInteger},
      // Unsigned text is checked as Integer; the platform refuses "-5".
      {"42", PCD_TYPE_UINT, "42", 0},
      {"4294967295", PCD_TYPE_UINT, nullptr, kConversionBadInteger},
      {"-5", PCD_TYPE_UINT, nullptr, kConversionBadInteger},
      // Reals follow strtod up to the largest double.
      {"1e308", PCD_TYPE_REAL, "1e+308", 0},
      {"1e309", PCD_TYPE_REAL, nullptr, kConversionBadReal},
      {"inf", PCD_TYPE_REAL, nullptr, kConversionBadReal},
      // Other types are left to the platform.
      {"any text", PCD_TYPE_STRING, "any text", 0},
      {"1700000000", PCD_TYPE_TIMEVAL, "2023-11-14T22:13:20.000000Z", 0},
      {"tomorrow", PCD_TYPE_TIMEVAL, nullptr, kConversionBadOther},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string("'") + c.text + "'");
    CElement element(c.text);
    std::string result;
    const int mark = convertTextToType(element, c.type, result, nullptr);
    if (c.converted != nullptr) {
      EXPECT_EQ(kConversionOk, mark);
      EXPECT_EQ(c.type, element.get_type());
      EXPECT_EQ(c.converted, result);
    } else {
      EXPECT_EQ(c.mark, mark);
      EXPECT_EQ(std::string("? 12 Bad Value Format : Could not transform ") +
                    c.text,
                result);
      // The element still holds the client's text.
      EXPECT_EQ(CElement(c.text), element);
    }
  }
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 12 Bad Value Format : Could not "
                     "transform yes"));
}

TEST_F(ConvertText, OptionsShapeTheErrorResult) {
  ServiceOptions options = Options("errorString=N/A");
  CElement element("yes");
  std::string result;
  EXPECT_EQ(kConversionBadBool,
            convertTextToType(element, PCD_TYPE_BOOL, result, &options));
  EXPECT_EQ("N/A", result);
}

// --- re-casting stored values ------------------------------------------------

class RecastAttribute : public ServiceTest {};

// Enumerated types convert by state name, a boolean without a list like
// client text; an unconvertible value is only logged; counters are never
// re-cast, nor a value of the type already, nor what does not exist.
TEST_F(RecastAttribute, ConvertsStoredValuesKeepingTheirProperty) {
  Seed("[/Dev/P]\nValueType = Integer\nValue:Real@persistent = 230\n"
       ".AlarmOnValue:Real = 5\n"
       "[/Dev/M]\nValueType = Multistate\nPossibleValues = Off;On\n"
       "Value:String = On\n"
       "[/Dev/B]\nValueType = Boolean\nValue:String = TRUE\n"
       "[/Dev/F]\nValueType = Integer\nValue:Real = 230.4\n"
       "[/Dev/U]\nValueType = Unsigned\nValue = 7\n"
       "[/Dev/R]\nValueType = Real\nValue = 1.5\n[/Dev/E]\nValueType = Real\n");
  const struct {
    const char* node;
    const char* type;
    const char* attribute;
    int rc;  // 0, or 1 for "not 0"
    data_type_t stored;
    element_property_t property;
  } cases[] = {
      {"/Dev/P", "Integer", "Value", 0, PCD_TYPE_INT, PCD_PROP_PERSISTENT},
      {"/Dev/P", "Integer", ".AlarmOnValue", 0, PCD_TYPE_INT, PCD_PROP_NORMAL},
      {"/Dev/M", "Multistate", "Value", 0, PCD_TYPE_INT, PCD_PROP_NORMAL},
      {"/Dev/B", "Boolean", "Value", 0, PCD_TYPE_BOOL, PCD_PROP_NORMAL},
      {"/Dev/F", "Integer", "Value", 1, PCD_TYPE_REAL, PCD_PROP_NORMAL},
      {"/Dev/U", "Integer", "Value", 0, PCD_TYPE_UINT, PCD_PROP_NORMAL},
      {"/Dev/R", "real", "Value", 0, PCD_TYPE_REAL, PCD_PROP_NORMAL},
      {"/Dev/E", "Integer", ".AlarmOnValue", 0, PCD_TYPE_NONE,
       PCD_PROP_NORMAL},
      {"/Dev/Missing", "Integer", "Value", 0, PCD_TYPE_NONE, PCD_PROP_NORMAL},
  };
  for (const auto& c : cases) {
    const std::string path = std::string(c.node) + "/" + c.attribute;
    EXPECT_EQ(c.rc, recastAttribute(ctx_->cds, c.node, c.type, c.attribute)
                        != 0) << path;
    api_status_t status = API_STATUS_UNKNOWN;
    CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    ctx_->cds.get_leaf(path, status, element, property);
    EXPECT_EQ(c.stored, element.get_type()) << path;
    EXPECT_EQ(c.property, property) << path;
  }
  EXPECT_EQ(230, Stored("/Dev/P/Value").to_int());
  EXPECT_EQ(1, Stored("/Dev/M/Value").to_int());
  EXPECT_TRUE(Stored("/Dev/B/Value").to_bool());
  EXPECT_TRUE(LogHas("Recasting /Dev/P/Value as Integer"));
  EXPECT_TRUE(LogHas("Recasting /Dev/P/.AlarmOnValue as Integer"));
  EXPECT_TRUE(LogHas("Failed to re-cast /Dev/F/Value as Integer"));
  for (const char* node : {"/Dev/U", "/Dev/R", "/Dev/E", "/Dev/Missing"}) {
    EXPECT_FALSE(LogHas(std::string("ecasting ") + node)) << node;
  }
}

// --- a node's type -------------------------------------------------------------

class LookupValueType : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Dev/M]\nValueType = Multistate\nPossibleValues = Off;On\n"
         "[/Dev/B]\nValueType = Boolean\n"
         "[/Dev/R]\nValueType = Real\n"
         "[/Dev/S]\nNodeType = Point\n");
    // Too short for a type name; the seed loader would refuse it.
    api_status_t status = API_STATUS_UNKNOWN;
    ASSERT_EQ(0, ctx_->cds.set_leaf("/Dev/S/ValueType", CElement("ab"), status,
                                    PCD_TRIBOOL_UNKNOWN, ""));
    ASSERT_EQ(API_STATUS_OK, status);
  }
  data_type_t Lookup(const std::string& node,
                     const PrefetchedLeaves* prefetched) {
    possible_ = "untouched";
    return lookupValueType(ctx_->cds, node, prefetched, possible_, enumerated_);
  }
  std::string possible_;
  bool enumerated_ = false;
};

// Entries of the call come before the store's; a type name too short or
// missing is text.
TEST_F(LookupValueType, PrefetchedEntriesComeFirst) {
  EXPECT_EQ(PCD_TYPE_STRING, Lookup("/Dev/S", nullptr));
  EXPECT_FALSE(enumerated_);
  EXPECT_EQ(PCD_TYPE_STRING, Lookup("/Dev/Missing", nullptr));
  const PrefetchedLeaves prefetched({
      {"/Dev/R/ValueType", "Multistate"},
      {"/Dev/R/PossibleValues", "Low;High"},
      {"/Dev/M/PossibleValues", "A;B;C"},
  });
  EXPECT_EQ(PCD_TYPE_INT, Lookup("/Dev/R", &prefetched));
  EXPECT_TRUE(enumerated_);
  EXPECT_EQ("Low;High", possible_);
  // Type from the store, possible values from the call.
  EXPECT_EQ(PCD_TYPE_INT, Lookup("/Dev/M", &prefetched));
  EXPECT_EQ("A;B;C", possible_);
  // Not prefetched at all.
  EXPECT_EQ(PCD_TYPE_BOOL, Lookup("/Dev/B", &prefetched));
}

// --- rendering reads -----------------------------------------------------------

class RenderValue : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Dev/Breaker]\nValueType = Boolean\nPossibleValues = Open;Closed\n"
         "Value = true\n"
         "[/Dev/Plain]\nValueType = Boolean\nValue = false\n"
         "[/Dev/Switch]\nValueType = Multistate\nPossibleValues = Off;On\n"
         "Value = 1\n.AlarmOnValue:Integer = 0\nUnits = no-units\n"
         "DisplayName = Devices\nNodeType = Devices\n"
         ".AlarmText = Overload : #Short Circuit\n"
         "[/Dev/Count]\nValueType = Integer\nValue = 42\n"
         "[/Dev/Volts]\nValueType = Real\nValue = 230.4\n");
  }
  // The rendering of the leaf at `pathText` under `options`.
  std::string Render(const std::string& pathText, const std::string& options) {
    toolkit::CPath path(pathText);
    EXPECT_EQ(0, path.normalize());
    api_status_t status = API_STATUS_UNKNOWN;
    CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    EXPECT_EQ(0, ctx_->cds.get_leaf(path.getPath(), status, element, property));
    EXPECT_EQ(API_STATUS_OK, status) << pathText;
    std::string result;
    enumerated_ = !enumerated_;  // must be set either way
    renderValue(ctx_->cds, Options(options), path, element, result, enumerated_);
    return result;
  }
  bool enumerated_ = false;
};

struct RenderCase {
  const char* path;
  const char* options;
  const char* text;
  bool enumerated;
};

// Booleans honour canonical, multistates never do; without locale support
// nothing is translated.
TEST_F(RenderValue, ValuesReadAsTheirStates) {
  const RenderCase cases[] = {
      {"/Dev/Breaker", "", "Closed", true},
      {"/Dev/Plain", "", "false", true},
      {"/Dev/Breaker", "canonical", "true", true},
      {"/Dev/Switch", "", "On", true},
      {"/Dev/Switch", "canonical", "On", true},
      {"/Dev/Switch/.AlarmOnValue", "", "Off", true},
      {"/Dev/Count", "", "42", false},
      {"/Dev/Volts", "", "230.4", false},
      {"/Dev/Switch/Units", "", "no-units", false},
      {"/Dev/Switch/.AlarmText", "", "Overload : #Short Circuit", false},
  };
  for (const RenderCase& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " " + c.options);
    EXPECT_EQ(c.text, Render(c.path, c.options));
    EXPECT_EQ(c.enumerated, enumerated_);
  }
}

// State names, labels and event texts are translated, other attributes
// are not.
TEST_F(RenderValue, StatesAndLabelsInTheCallersLanguage) {
  EnableLocales();
  const RenderCase cases[] = {
      {"/Dev/Switch", "locale=de_DE", "Ein", true},
      {"/Dev/Switch", "locale=de_DE;canonical", "Ein", true},
      {"/Dev/Switch", "locale=de-DE.UTF-8", "Ein", true},
      {"/Dev/Switch/.AlarmOnValue", "locale=fr_FR", "Arrêt", true},
      {"/Dev/Switch/Units", "locale=de_DE", "keine Einheit", false},
      {"/Dev/Switch/DisplayName", "locale=de_DE", "Geräte", false},
      // Not a label: kept even though the catalogue knows the text.
      {"/Dev/Switch/NodeType", "locale=de_DE", "Devices", false},
      {"/Dev/Switch/.AlarmText", "locale=de_DE", "Überlast : Kurzschluss",
       false},
      {"/Dev/Breaker", "locale=de_DE;canonical", "true", true},
      {"/Dev/Breaker", "locale=de_DE", "Geschlossen", true},
  };
  for (const RenderCase& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " " + c.options);
    EXPECT_EQ(c.text, Render(c.path, c.options));
    EXPECT_EQ(c.enumerated, enumerated_);
  }
}

TEST(SubAttributeText, TimeSourceAndType) {
  CElement element(int32_t(1));
  element.set_time(timeval{1700000000, 250000});
  EXPECT_EQ("1700000000250000", timeSubAttributeText(element));
  element.set_time(timeval{-1, 0});
  EXPECT_EQ("-1000000", timeSubAttributeText(element));
  EXPECT_EQ("Automatic", sourceSubAttributeText(PCD_PROP_AUTOMATIC));
  EXPECT_EQ("MPL", sourceSubAttributeText(PCD_PROP_MPL));
  const std::pair<CElement, const char*> types[] = {
      {CElement(int32_t(1)), "Integer"}, {CElement(true), "Boolean"},
      {CElement("x"), "String"}, {CElement(), "None"}};
  for (const auto& [value, name] : types) {
    EXPECT_EQ(name, attribTypeSubAttributeText(value, false));
  }
  EXPECT_EQ("Multistate",
            attribTypeSubAttributeText(CElement(uint32_t(1)), true));
}

class EventText : public ServiceTest {};

TEST_F(EventText, HalvesAroundTheSeparatorAreTranslatedApart) {
  EnableLocales();
  const std::locale& german = ctx_->localeMap.at("de_DE");
  EXPECT_EQ("Überlast", localizeEventText("Overload", &german));
  // The character right after " : " is dropped.
  EXPECT_EQ("Überlast : Kurzschluss",
            localizeEventText("Overload : #Short Circuit", &german));
  EXPECT_EQ("Überlast : hort Circuit",
            localizeEventText("Overload : Short Circuit", &german));
  EXPECT_EQ("Überlast : ", localizeEventText("Overload : ", &german));
  EXPECT_EQ("Overload : Short", localizeEventText("Overload : Short", nullptr));
}

}  // namespace

}  // namespace wsgated
