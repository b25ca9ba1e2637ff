// setValue and setValues (and SetLeaf and SetLeaves, their administrative
// forms): the checks and their order, write rights, writability per
// attribute, the one conversion of both (whose rules differ only in which
// states a writer may name), types and state names, list checks, results
// per entry, the all-or-nothing store call, persistence and change source.

#include <string>
#include <vector>

#include "common/service_options.h"
#include "common/write_path.h"
#include "platform/attributes.h"
#include "platform/element.h"
#include "platform/qrxtime.h"
#include "tests/common/write_fixture.h"

namespace wsgated {

namespace {

const char* const kNoState =
    "? 12 Bad Value Format : Cannot find PossibleValue match to write";


// --- setValue -----------------------------------------------------------

TEST_F(WriteTest, MissingPathIsReportedBeforeMissingValue) {
  std::string result;
  EXPECT_EQ(0, writeValue(ctx_.get(), false, Options(""), nullptr, nullptr,
                          result));
  EXPECT_EQ("? 8 Bad Path Syntax : No Path provided", result);
  EXPECT_EQ("? 8 Bad Path Syntax : No Path provided", Write("", ""));
  EXPECT_EQ("? 12 Bad Value Format : No Value provided",
            Write("/Devices/M/Volts", ""));
  const std::string path = "/Devices/M/Volts";
  EXPECT_EQ(0, writeValue(ctx_.get(), false, Options(""), &path, nullptr,
                          result));
  EXPECT_EQ("? 12 Bad Value Format : No Value provided", result);
  // Before the rights too: a Viewer learns that the value was missing.
  SetCaller("viewer", "10.0.0.8");
  EXPECT_EQ("? 12 Bad Value Format : No Value provided",
            Write("/Devices/M/Volts", ""));
}

TEST_F(WriteTest, CallersWithoutWriteRightsGet401AndNothingIsWritten) {
  const std::string path = "/Devices/M/Volts";
  const std::string value = "1";
  for (const char* user : {"viewer", "stranger", ""}) {
    SetCaller(user, "10.0.0.8");
    std::string result = "untouched";
    EXPECT_EQ(kWriteNotAuthorized,
              writeValue(ctx_.get(), false, Options(""), &path, &value,
                         result));
    EXPECT_EQ("untouched", result);
  }
  EXPECT_EQ(230.5, Stored(path).to_double());
  EXPECT_TRUE(
      LogHas("Unauthorized attempt to write to /Devices/M/Volts/Value"));
  // Rights are checked before the locale: a refused caller never learns more.
  SetCaller("viewer", "10.0.0.8");
  EnableLocales();
  std::string result;
  EXPECT_EQ(kWriteNotAuthorized,
            writeValue(ctx_.get(), false, Options("locale=xx-YY"), &path,
                       &value, result));
}

TEST_F(WriteTest, UnsupportedLocaleRefusesEitherWrite) {
  EnableLocales();
  EXPECT_EQ("? 7 Locale Not Supported : xx-YY",
            Write("/Devices/M/Volts", "1", "locale=xx-YY"));
  EXPECT_EQ(Texts{"? 7 Locale Not Supported : xx-YY"},
            WriteMany({"/Devices/M/Volts", "/Devices/M/Count"}, {"1", "2"},
                      "locale=xx-YY", false, 1));
  EXPECT_EQ(230.5, Stored("/Devices/M/Volts").to_double());
  EXPECT_EQ("231.25", Write("/Devices/M/Volts", "231.25", "locale=de-DE"));
}

// Each failure answers its own text and leaves the store alone; an
// ordinary write reaches only Value and the alarm limits, even for an
// Administrator, who passes the rights.
TEST_F(WriteTest, OrdinaryWritesAndTheirRefusals) {
  const struct {
    const char* caller;
    const char* path;
    const char* value;
    const char* result;
  } cases[] = {
      {"operator", "Devices/M/Volts", "1",
       "? 8 Bad Path Syntax : CDS Error in supplied path"},
      {"operator", "/Devices/../M", "1",
       "? 8 Bad Path Syntax : CDS Error in supplied path"},
      {"operator", "/Devices/M/Flag", "yes",
       "? 12 Bad Value Format : Could not transform yes"},
      {"operator", "/Devices/M/Locked", "2",
       "? 15 Not Writable : Value is not Writable"},
      {"operator", "/Devices/M/NoFlag", "2",
       "? 15 Not Writable : Value is not Writable"},
      {"operator", "/Devices/M/Nope", "1",
       "? 9 Node Not Found : Node does not exist"},
      {"operator", "/Devices/M/Volts/.LowAlarmLimit", "1",
       "? 9 Node Not Found : CDS access failed"},
      {"admin", "/Devices/M/Volts/Units", "kV",
       "? 11 Illegal Attribute : Attribute Units is not Writable"},
      {"admin", "/Devices/M/Locked/Writable", "true",
       "? 11 Illegal Attribute : Attribute Writable is not Writable"},
      {"operator", "/Devices/M/Volts/.HighAlarmLimit", "248", "248"},
      // A boolean without state texts is true or false.
      {"operator", "/Devices/M/Flag", "True", "true"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " <- " + c.value);
    SetCaller(c.caller, "10.0.0.7");
    EXPECT_EQ(c.result, Write(c.path, c.value));
  }
  EXPECT_EQ(3, Stored("/Devices/M/Count").to_int());
  EXPECT_EQ(230.5, Stored("/Devices/M/Volts").to_double());
  EXPECT_EQ(1.5, Stored("/Devices/M/Locked").to_double());
  EXPECT_EQ("V", Stored("/Devices/M/Volts/Units").to_string());
  EXPECT_EQ(248.0, Stored("/Devices/M/Volts/.HighAlarmLimit").to_double());
  EXPECT_EQ(PCD_TYPE_BOOL, Stored("/Devices/M/Flag").get_type());
  // Failures are logged like writes, with the result, and with the reason.
  for (const char* line :
       {"Error in supplied path Devices/M/Volts",
        "Value is not Writable for /Devices/M/Locked/Value",
        "Node does not exist for /Devices/M/Nope/Value",
        "CCds::get_leaf() call failed for /Devices/M/Volts/.LowAlarmLimit"}) {
    EXPECT_TRUE(LogHas(line)) << line;
  }
}

// Node administration writes any attribute but computed ones; a request
// flag may be raised, never lowered (the platform does that); untyped
// leaves take their attribute's fixed type, else the text as it is.
TEST_F(WriteTest, AdministrationWrites) {
  const struct {
    const char* path;
    const char* value;
    const char* result;
    data_type_t stored;  // PCD_TYPE_NONE: not written
  } cases[] = {
      {"/Devices/M/Volts/Units", "kV", "kV", PCD_TYPE_STRING},
      {"/Devices/M/Children", "x",
       "? 11 Illegal Attribute : Automatic Attribute Children is not "
       "Writable", PCD_TYPE_NONE},
      {"/Devices/M/ChildCount", "3",
       "? 11 Illegal Attribute : Automatic Attribute ChildCount is not "
       "Writable", PCD_TYPE_NONE},
      {"/Devices/M/Volts/.ResetMinMax", "false",
       "? 11 Illegal Attribute : Attribute .ResetMinMax is automatically set "
       "to false", PCD_TYPE_NONE},
      {"/Devices/M/Volts/.ResetMinMax", "true", "true", PCD_TYPE_BOOL},
      {"/Devices/M/Volts/.RefreshRequest", "false",
       "? 11 Illegal Attribute : Attribute .RefreshRequest is automatically "
       "set to false", PCD_TYPE_NONE},
      // Writable=false does not hold node administration back.
      {"/Devices/M/Locked", "9", "9", PCD_TYPE_REAL},
      // Limits and statistics follow the node's Value.
      {"/Devices/M/Volts/.Nominal", "230", "230", PCD_TYPE_REAL},
      {"/Devices/M/Volts/.AlarmEnable", "TRUE", "true", PCD_TYPE_BOOL},
      {"/Devices/M/Volts/.Severity", "2", "2", PCD_TYPE_INT},
      {"/Devices/M/Volts/.TrendInterval", "soon",
       "? 12 Bad Value Format : Could not transform soon", PCD_TYPE_NONE},
      {"/Devices/M/Volts:VendorNote", "007", "007", PCD_TYPE_STRING},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " <- " + c.value);
    EXPECT_EQ(c.result, AdminWrite(c.path, c.value));
    if (c.stored != PCD_TYPE_NONE) {
      EXPECT_EQ(c.stored, Stored(c.path).get_type());
      EXPECT_EQ(c.result, Stored(c.path).to_string());
    }
  }
}

// Persistence is set by every write: "persist" makes the leaf persistent,
// its absence normal again.
TEST_F(WriteTest, PersistOptionDecidesTheLeafsProperty) {
  element_property_t volts = PCD_PROP_NORMAL, count = PCD_PROP_NORMAL;
  EXPECT_EQ("231", Write("/Devices/M/Volts", "231", "persist"));
  Stored("/Devices/M/Volts", &volts);
  EXPECT_EQ(PCD_PROP_PERSISTENT, volts);
  EXPECT_EQ("232", Write("/Devices/M/Volts", "232"));
  Stored("/Devices/M/Volts", &volts);
  EXPECT_EQ(PCD_PROP_NORMAL, volts);
  EXPECT_EQ((Texts{"1", "4"}),
            WriteMany({"/Devices/M/Volts", "/Devices/M/Count"}, {"1", "4"},
                      "persist"));
  Stored("/Devices/M/Volts", &volts);
  Stored("/Devices/M/Count", &count);
  EXPECT_EQ(PCD_PROP_PERSISTENT, volts);
  EXPECT_EQ(PCD_PROP_PERSISTENT, count);
}

TEST_F(WriteTest, WriteIsStampedAndAttributedToTheCaller) {
  // An old stamp first, so that a write that kept it cannot pass.
  toolkit::CElement old(230.0);
  old.set_time(timeval{1000, 0});
  api_status_t status = API_STATUS_UNKNOWN;
  ASSERT_EQ(0, ctx_->cds.set_leaf("/Devices/M/Volts", old, status,
                                  PCD_TRIBOOL_UNKNOWN, "test"));
  ASSERT_EQ(1000, Stored("/Devices/M/Volts").get_time().tv_sec);
  timeval before{};
  qrx_QRXtoUNIXtime64(qrx_UTCtime64(), &before);
  EXPECT_EQ("231", Write("/Devices/M/Volts", "231"));
  EXPECT_GE(Stored("/Devices/M/Volts").get_time().tv_sec, before.tv_sec);
  EXPECT_EQ("Web-Services:operator@10.0.0.7",
            Writer("/Devices/M/Volts", "Value"));
  // That of an unknown caller is still made.
  EXPECT_EQ("Web-Services:@", changeSource(RequestCaller()));
}

TEST_F(WriteTest, AdministeredValueTypeRecastsValueAndAlarmValueOnly) {
  EXPECT_EQ("Real", AdminWrite("/Devices/M/Kind/ValueType", "Real"));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Kind").get_type());
  EXPECT_EQ(7.0, Stored("/Devices/M/Kind").to_double());
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Kind/.AlarmOnValue").get_type());
  // The ValueType leaf itself is left as it was.
  EXPECT_EQ("Integer", Stored("/Devices/M/Kind/ValueType").to_string());
}

// --- setValues ----------------------------------------------------------

TEST_F(WriteTest, ListsMustBeGivenAndOfEqualLength) {
  const struct {
    Texts paths, values, results;
  } cases[] = {
      {{}, {}, {"? 17 No Paths Provided : No Paths provided"}},
      {{}, {"1"}, {"? 17 No Paths Provided : No Paths provided"}},
      {{"/A"}, {}, {"? 23 Empty Array : No Values provided"}},
      {{"/A", "/B"},
       {"1"},
       {"? 14 Index Out of Range : Mismatched array sizes"}},
      {{"/A", "/B"}, {"1", "2"}, {}},
  };
  for (const auto& c : cases) {
    Texts results;
    EXPECT_EQ(c.results.empty(),
              checkWriteLists(c.paths, c.values, Options(""), results));
    EXPECT_EQ(c.results, results);
  }
}

TEST_F(WriteTest, EachEntryAnswersInOrderAndGoodOnesAreWritten) {
  // An Administrator, so that Units passes the rights and meets the rules.
  SetCaller("admin", "10.0.0.1");
  const Texts results =
      WriteMany({"/Devices/M/Volts", "/Devices/M/Count", "/Devices/M/Mode",
                 "Devices/M/Volts", "/Devices/M/Volts/Units"},
                {"231.5", "abc", "Auto", "3", "kV"});
  EXPECT_EQ((Texts{"231.5", "? 12 Bad Value Format : Could not transform abc",
                   "5", "? 8 Bad Path Syntax : CDS Error in supplied path",
                   "? 11 Illegal Attribute : Attribute Units is not "
                   "Writable"}),
            results);
  EXPECT_EQ(231.5, Stored("/Devices/M/Volts").to_double());
  EXPECT_EQ(5, Stored("/Devices/M/Mode").to_int());
  EXPECT_EQ(3, Stored("/Devices/M/Count").to_int());
  EXPECT_TRUE(LogHas("Wrote[0] 231.5 to /Devices/M/Volts/Value"));
  EXPECT_TRUE(LogHas("Wrote[1] 5 to /Devices/M/Mode/Value"));
  EXPECT_EQ("Web-Services:admin@10.0.0.1",
            Writer("/Devices/M/Mode", "Value"));
}

TEST_F(WriteTest, OneForbiddenPathRefusesTheWholeCall) {
  Texts results{"kept"};
  EXPECT_EQ(kWriteNotAuthorized,
            writeValues(ctx_.get(), false, Options(""),
                        {"/Devices/M/Volts", "/Software/Security/Users/viewer",
                         "/Devices/M/Count"},
                        {"231.5", "Administrator", "4"}, results));
  EXPECT_EQ(Texts{"kept"}, results);
  EXPECT_EQ(230.5, Stored("/Devices/M/Volts").to_double());
  EXPECT_EQ(3, Stored("/Devices/M/Count").to_int());
  EXPECT_TRUE(LogHas("Unauthorized attempt to write to "
                     "/Software/Security/Users/viewer/Value"));
}

TEST_F(WriteTest, ValueTypeGovernsTheCallsValuesAndIsNotStored) {
  EXPECT_EQ((Texts{"Real", "1.5"}),
            AdminWriteMany({"/Devices/M/Note/ValueType", "/Devices/M/Note"},
                           {"Real", "1.5"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Note").get_type());
  EXPECT_EQ("String", Stored("/Devices/M/Note/ValueType").to_string());
  EXPECT_TRUE(LogHas("Re-Casting for /Devices/M/Note/Value to Real"));
  // The governed type checks the text as any type does.
  EXPECT_EQ(
      (Texts{"? 12 Bad Value Format : Could not transform 2.5", "Integer"}),
      AdminWriteMany({"/Devices/M/Note", "/Devices/M/Note/ValueType"},
                     {"2.5", "Integer"}));
  // Without a ValueType in the call the stored leaf's type decides.
  EXPECT_EQ((Texts{"2.5"}), AdminWriteMany({"/Devices/M/Note"}, {"2.5"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Note").get_type());
}

TEST_F(WriteTest, NewLeavesTakeTypesAndStatesFromTheSameCall) {
  EXPECT_EQ(
      (Texts{"Multistate", "Off;On", "1", "1"}),
      AdminWriteMany({"/Devices/New/ValueType", "/Devices/New/PossibleValues",
                      "/Devices/New/Value", "/Devices/New/.AlarmOnValue"},
                     {"Multistate", "Off;On", "On", "On"}));
  EXPECT_EQ(1, Stored("/Devices/New").to_int());
  EXPECT_EQ(PCD_TYPE_INT, Stored("/Devices/New/.AlarmOnValue").get_type());
  EXPECT_EQ("Off;On", Stored("/Devices/New/PossibleValues").to_string());
  EXPECT_TRUE(LogHas("Unknown ValueType for /Devices/New/PossibleValues"));
  // A limit follows the ValueType named in the call.
  EXPECT_EQ(
      (Texts{"Real", "10"}),
      AdminWriteMany({"/Devices/New/ValueType", "/Devices/New/.HighAlarmLimit"},
                     {"Real", "10"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/New/.HighAlarmLimit").get_type());
}

TEST_F(WriteTest, OneFailingLeafRollsBackTheOthers) {
  const Texts results = AdminWriteMany(
      {"/Devices/M/Volts/Units", "/Devices/Gone/Units"}, {"kV", "A"});
  EXPECT_EQ((Texts{"? 16 Write Failed : CDS write access failed",
                   "? 16 Write Failed : CDS write access failed"}),
            results);
  EXPECT_EQ("V", Stored("/Devices/M/Volts/Units").to_string());
  EXPECT_TRUE(LogHas("CDS write access failed for /Devices/Gone/Units"));
}

TEST_F(WriteTest, FailedStoreCallFailsEveryWrittenEntry) {
  ctx_->cds.setReadOnly();
  EXPECT_EQ((Texts{"? 16 Write Failed : Attempt to write data failed",
                   "? 12 Bad Value Format : Could not transform x"}),
            WriteMany({"/Devices/M/Volts", "/Devices/M/Count"}, {"1", "x"}));
}

TEST_F(WriteTest, ShortValueListLeavesTheUnpairedPathUnwritten) {
  SetCaller("admin", "10.0.0.1");
  Texts results;
  EXPECT_EQ(0, writeValues(ctx_.get(), true, Options(""),
                           {"/Devices/M/Volts/Units", "/Devices/M/Count"},
                           {"kV"}, results));
  EXPECT_EQ((Texts{"kV", "? 12 Bad Value Format : No Value provided"}),
            results);
}

// --- both ---------------------------------------------------------------

TEST_F(WriteTest, BothWritesConvertTheSameTextAlike) {
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
    EXPECT_EQ(c.single, Write(c.path, c.text));
    EXPECT_EQ(Texts{c.multi}, WriteMany({c.path}, {c.text}));
    EXPECT_EQ(c.stored, Stored(c.path).to_string());
  }
  EXPECT_TRUE(
      LogHas("Cannot find PossibleValue match to write Ajar to "
             "/Devices/M/Breaker/Value"));
  EXPECT_TRUE(LogHas("Cannot find bool match for Ajar to write to "
                     "/Devices/M/Breaker/Value"));
  EXPECT_TRUE(LogHas("Cannot find enum match for Standby to write to "
                     "/Devices/M/Mode/Value"));
  // Failures are logged like writes, with the result.
  EXPECT_TRUE(LogHas("Wrote ? 12 Bad Value Format : Could not transform 12x "
                     "to /Devices/M/Count/Value"));
}

// The fixed types come from the attribute table; these are the pairs
// (type, code) the device's writers rely on, 7 being "the node Value's".
TEST(FixedAttributeTypes, ComeFromTheAttributeTable) {
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
