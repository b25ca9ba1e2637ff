// The multi-write: list checks, per-entry results in order, one refused
// path refusing the call, ValueType entries that govern conversions, and the
// all-or-nothing store call.

#include <string>
#include <vector>

#include "common/service_options.h"
#include "common/write_path.h"
#include "platform/element.h"
#include "tests/common/write_fixture.h"

namespace wsgated {

namespace {

using Texts = std::vector<std::string>;

class WriteValuesTest : public WriteTest {
 protected:
  void SetUp() override {
    WriteTest::SetUp();
    Seed(
        "[/Devices/M/Note]\n"
        "ValueType = String\nValue = x\n"
        "[/Devices/New]\n"
        "NodeType = Point\n");
  }

  Texts Write(const Texts& paths, const Texts& values,
              const std::string& options = "", bool admin = false) {
    Texts results;
    EXPECT_EQ(0, writeValues(ctx_.get(), admin, Options(options), paths,
                             values, results));
    EXPECT_EQ(paths.size(), results.size());
    return results;
  }

  Texts AdminWrite(const Texts& paths, const Texts& values) {
    SetCaller("admin", "10.0.0.1");
    return Write(paths, values, "", true);
  }

  Texts CheckLists(const Texts& paths, const Texts& values, int expected) {
    Texts results;
    EXPECT_EQ(expected,
              checkWriteLists(paths, values, Options(""), results));
    return results;
  }
};

TEST_F(WriteValuesTest, ListsMustBeGivenAndOfEqualLength) {
  EXPECT_EQ(Texts{"? 17 No Paths Provided : No Paths provided"},
            CheckLists({}, {}, 0));
  EXPECT_EQ(Texts{"? 17 No Paths Provided : No Paths provided"},
            CheckLists({}, {"1"}, 0));
  EXPECT_EQ(Texts{"? 23 Empty Array : No Values provided"},
            CheckLists({"/A"}, {}, 0));
  EXPECT_EQ(Texts{"? 14 Index Out of Range : Mismatched array sizes"},
            CheckLists({"/A", "/B"}, {"1"}, 0));
  EXPECT_EQ(Texts{}, CheckLists({"/A", "/B"}, {"1", "2"}, 1));
}

TEST_F(WriteValuesTest, EachEntryAnswersInOrderAndGoodOnesAreWritten) {
  // An Administrator, so that Units passes the rights and meets the rules.
  SetCaller("admin", "10.0.0.1");
  const Texts results =
      Write({"/Devices/M/Volts", "/Devices/M/Count", "/Devices/M/Nope",
             "/Devices/M/Locked", "/Devices/M/Mode", "Devices/M/Volts",
             "/Devices/M/Volts/Units"},
            {"231.5", "abc", "1", "2", "Auto", "3", "kV"});
  EXPECT_EQ((Texts{"231.5", "? 12 Bad Value Format : Could not transform abc",
                   "? 9 Node Not Found : Node does not exist",
                   "? 15 Not Writable : Value is not Writable", "5",
                   "? 8 Bad Path Syntax : CDS Error in supplied path",
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

TEST_F(WriteValuesTest, OneForbiddenPathRefusesTheWholeCall) {
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

TEST_F(WriteValuesTest, UnsupportedLocaleGivesOneResult) {
  EnableLocales();
  Texts results;
  EXPECT_EQ(0, writeValues(ctx_.get(), false, Options("locale=xx-YY"),
                           {"/Devices/M/Volts", "/Devices/M/Count"},
                           {"1", "2"}, results));
  EXPECT_EQ(Texts{"? 7 Locale Not Supported : xx-YY"}, results);
  EXPECT_EQ(230.5, Stored("/Devices/M/Volts").to_double());
}

TEST_F(WriteValuesTest, ValueTypeGovernsTheCallsValuesAndIsNotStored) {
  EXPECT_EQ((Texts{"Real", "1.5"}),
            AdminWrite({"/Devices/M/Note/ValueType", "/Devices/M/Note"},
                       {"Real", "1.5"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Note").get_type());
  EXPECT_EQ("String", Stored("/Devices/M/Note/ValueType").to_string());
  EXPECT_TRUE(LogHas("Re-Casting for /Devices/M/Note/Value to Real"));
  // The governed type checks the text as any type does.
  EXPECT_EQ((Texts{"? 12 Bad Value Format : Could not transform 2.5",
                   "Integer"}),
            AdminWrite({"/Devices/M/Note", "/Devices/M/Note/ValueType"},
                       {"2.5", "Integer"}));
  // Without a ValueType in the call the stored leaf's type decides.
  EXPECT_EQ((Texts{"2.5"}), AdminWrite({"/Devices/M/Note"}, {"2.5"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Note").get_type());
}

TEST_F(WriteValuesTest, NewLeavesTakeTypesAndStatesFromTheSameCall) {
  EXPECT_EQ((Texts{"Multistate", "Off;On", "1", "1"}),
            AdminWrite({"/Devices/New/ValueType", "/Devices/New/PossibleValues",
                        "/Devices/New/Value", "/Devices/New/.AlarmOnValue"},
                       {"Multistate", "Off;On", "On", "On"}));
  EXPECT_EQ(1, Stored("/Devices/New").to_int());
  EXPECT_EQ(PCD_TYPE_INT, Stored("/Devices/New/.AlarmOnValue").get_type());
  EXPECT_EQ("Off;On", Stored("/Devices/New/PossibleValues").to_string());
  EXPECT_TRUE(LogHas("Unknown ValueType for /Devices/New/PossibleValues"));
  // A limit follows the ValueType named in the call.
  EXPECT_EQ((Texts{"Real", "10"}),
            AdminWrite({"/Devices/New/ValueType", "/Devices/New/.HighAlarmLimit"},
                       {"Real", "10"}));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/New/.HighAlarmLimit").get_type());
}

TEST_F(WriteValuesTest, OneFailingLeafRollsBackTheOthers) {
  const Texts results = AdminWrite({"/Devices/M/Volts/Units", "/Devices/Gone/Units"},
                                   {"kV", "A"});
  EXPECT_EQ((Texts{"? 16 Write Failed : CDS write access failed",
                   "? 16 Write Failed : CDS write access failed"}),
            results);
  EXPECT_EQ("V", Stored("/Devices/M/Volts/Units").to_string());
  EXPECT_TRUE(LogHas("CDS write access failed for /Devices/Gone/Units"));
}

TEST_F(WriteValuesTest, FailedStoreCallFailsEveryWrittenEntry) {
  ctx_->cds.setReadOnly();
  EXPECT_EQ((Texts{"? 16 Write Failed : Attempt to write data failed",
                   "? 12 Bad Value Format : Could not transform x"}),
            Write({"/Devices/M/Volts", "/Devices/M/Count"}, {"1", "x"}));
}

TEST_F(WriteValuesTest, PersistOptionAppliesToEveryEntry) {
  EXPECT_EQ((Texts{"1", "4"}),
            Write({"/Devices/M/Volts", "/Devices/M/Count"}, {"1", "4"},
                  "persist"));
  element_property_t property = PCD_PROP_NORMAL;
  Stored("/Devices/M/Volts", &property);
  EXPECT_EQ(PCD_PROP_PERSISTENT, property);
  Stored("/Devices/M/Count", &property);
  EXPECT_EQ(PCD_PROP_PERSISTENT, property);
}

TEST_F(WriteValuesTest, ShortValueListLeavesTheUnpairedPathUnwritten) {
  SetCaller("admin", "10.0.0.1");
  Texts results;
  EXPECT_EQ(0, writeValues(ctx_.get(), true, Options(""),
                           {"/Devices/M/Volts/Units", "/Devices/M/Count"},
                           {"kV"}, results));
  EXPECT_EQ((Texts{"kV", "? 12 Bad Value Format : No Value provided"}),
            results);
}

}  // namespace

}  // namespace wsgated
