// The single write: checks and their order, write rights, writability rules
// per attribute, type choice, state names, persistence and change source.

#include <string>

#include "common/service_options.h"
#include "common/write_path.h"
#include "platform/element.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "tests/common/write_fixture.h"

namespace wsgated {

namespace {

class WritePathTest : public WriteTest {
 protected:
  void SetUp() override {
    WriteTest::SetUp();
    Seed(
        "[/Devices/M/NoFlag]\n"
        "ValueType = Real\nValue = 2.5\n"
        "[/Devices/M/Flag]\n"
        "ValueType = Boolean\nValue = false\nWritable = true\n"
        "[/Devices/M/Kind]\n"
        "ValueType = Integer\nValue = 7\n.AlarmOnValue = 3\n");
  }

  // setValue (or SetLeaf with `admin`) of `value` to `path`.
  std::string Write(const std::string& path, const std::string& value,
                    const std::string& options = "", bool admin = false) {
    std::string result;
    EXPECT_EQ(0, writeValue(ctx_.get(), admin, Options(options), &path,
                            &value, result));
    return result;
  }

  std::string AdminWrite(const std::string& path, const std::string& value) {
    SetCaller("admin", "10.0.0.1");
    return Write(path, value, "", true);
  }
};

TEST_F(WritePathTest, MissingPathIsReportedBeforeMissingValue) {
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

TEST_F(WritePathTest, CallersWithoutWriteRightsGet401AndNothingIsWritten) {
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
  EXPECT_TRUE(LogHas("Unauthorized attempt to write to /Devices/M/Volts/Value"));
  // Rights are checked before the locale: a refused caller never learns more.
  SetCaller("viewer", "10.0.0.8");
  EnableLocales();
  std::string result;
  EXPECT_EQ(kWriteNotAuthorized,
            writeValue(ctx_.get(), false, Options("locale=xx-YY"), &path,
                       &value, result));
}

TEST_F(WritePathTest, UnsupportedLocaleRefusesTheWrite) {
  EnableLocales();
  EXPECT_EQ("? 7 Locale Not Supported : xx-YY",
            Write("/Devices/M/Volts", "1", "locale=xx-YY"));
  EXPECT_EQ(230.5, Stored("/Devices/M/Volts").to_double());
  EXPECT_EQ("231.25", Write("/Devices/M/Volts", "231.25", "locale=de-DE"));
}

TEST_F(WritePathTest, WritesAValueInTheLeafsType) {
  EXPECT_EQ("231.25", Write("/Devices/M/Volts", "231.25"));
  const toolkit::CElement stored = Stored("/Devices/M/Volts");
  EXPECT_EQ(PCD_TYPE_REAL, stored.get_type());
  EXPECT_EQ(231.25, stored.to_double());
  EXPECT_EQ("42", Write("/Devices/M/Count", " 42"));
  EXPECT_EQ(42, Stored("/Devices/M/Count").to_int());
  EXPECT_TRUE(LogHas("Wrote 42 to /Devices/M/Count/Value"));
  EXPECT_TRUE(LogHas("Will write to /Devices/M/Volts/Value with type = 4, "
                     "from Web-Services:operator@10.0.0.7"));
}

// Each failure answers its own text and leaves the store alone; an
// ordinary write reaches only Value and the alarm limits, even for an
// Administrator, who passes the rights.
TEST_F(WritePathTest, OrdinaryWritesAndTheirRefusals) {
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
      {"operator", "/Devices/M/Count", "abc",
       "? 12 Bad Value Format : Could not transform abc"},
      {"operator", "/Devices/M/Volts", "1e999",
       "? 12 Bad Value Format : Could not transform 1e999"},
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
        "Wrote ? 12 Bad Value Format : Could not transform abc to "
        "/Devices/M/Count/Value",
        "Value is not Writable for /Devices/M/Locked/Value",
        "Node does not exist for /Devices/M/Nope/Value",
        "CCds::get_leaf() call failed for /Devices/M/Volts/.LowAlarmLimit"}) {
    EXPECT_TRUE(LogHas(line)) << line;
  }
}

// Node administration writes any attribute but computed ones; a request
// flag may be raised, never lowered (the platform does that); untyped
// leaves take their attribute's fixed type, else the text as it is.
TEST_F(WritePathTest, AdministrationWrites) {
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

TEST_F(WritePathTest, PersistOptionMakesTheLeafPersistent) {
  element_property_t property = PCD_PROP_NORMAL;
  EXPECT_EQ("231", Write("/Devices/M/Volts", "231", "persist"));
  Stored("/Devices/M/Volts", &property);
  EXPECT_EQ(PCD_PROP_PERSISTENT, property);
  EXPECT_EQ("232", Write("/Devices/M/Volts", "232"));
  Stored("/Devices/M/Volts", &property);
  EXPECT_EQ(PCD_PROP_NORMAL, property);
}

TEST_F(WritePathTest, WriteIsStampedAndAttributedToTheCaller) {
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
  EXPECT_EQ("Web-Services:operator@10.0.0.7", Writer("/Devices/M/Volts", "Value"));
  // That of an unknown caller is still made.
  EXPECT_EQ("Web-Services:@", changeSource(RequestCaller()));
}

TEST_F(WritePathTest, AdministeredValueTypeRecastsValueAndAlarmValueOnly) {
  EXPECT_EQ("Real", AdminWrite("/Devices/M/Kind/ValueType", "Real"));
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Kind").get_type());
  EXPECT_EQ(7.0, Stored("/Devices/M/Kind").to_double());
  EXPECT_EQ(PCD_TYPE_REAL, Stored("/Devices/M/Kind/.AlarmOnValue").get_type());
  // The ValueType leaf itself is left as it was.
  EXPECT_EQ("Integer", Stored("/Devices/M/Kind/ValueType").to_string());
}

}  // namespace

}  // namespace wsgated
