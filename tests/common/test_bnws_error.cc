// Error results: the table, the result forms the options choose, logging.

#include <gtest/gtest.h>

#include <string>

#include "common/bnws_error.h"
#include "common/service_options.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

const char* const kDetail = "Node does not exist";

class BnwsErrorTest : public ServiceTest {
 protected:
  std::string Error(int code, const char* detail, const std::string& options) {
    ServiceOptions parsed = Options(options);
    std::string result = "previous value";
    setBnwsError(code, detail, result, &parsed);
    return result;
  }
};

TEST_F(BnwsErrorTest, EveryEntryBeginsWithItsCodeAndFitsItsWidth) {
  for (int code = 0; code < kBnwsErrorCount; ++code) {
    const std::string entry = BnwsErrorTable[code];
    EXPECT_EQ(std::to_string(code) + " ", entry.substr(0, entry.find(' ') + 1));
    EXPECT_LT(entry.size(), size_t(kBnwsErrorTextWidth));
  }
}

TEST_F(BnwsErrorTest, OptionsShapeTheResult) {
  const struct {
    int code;
    const char* detail;
    const char* options;
    const char* result;
  } cases[] = {
      {9, kDetail, "", "? 9 Node Not Found : Node does not exist"},
      // An empty or absent detail adds no separator.
      {2, "", "", "? 2 Not Authorized"},
      {2, nullptr, "", "? 2 Not Authorized"},
      // Codes out of range are unspecified.
      {35, nullptr, "", "? 0 Unspecified Error"},
      {-1, nullptr, "", "? 0 Unspecified Error"},
      {34, "", "", "? 34 Result Too Big to Return"},
      {33, "", "", "? 33 Argument Invalid/Not Supported"},
      {20, "", "", "? 20 Write Failed"},
      {9, kDetail, "errorPrefix=ERR",
       "ERR? 9 Node Not Found : Node does not exist"},
      {9, kDetail, "errorString=N/A", "N/A"},
      {9, kDetail, "errorString=N/A;errorPrefix=#", "#N/A"},
      // "QZX" is the same as no errorString at all.
      {9, kDetail, "errorString=QZX",
       "? 9 Node Not Found : Node does not exist"},
      // A prefix of exactly the mark leaves the client's string alone.
      {12, kDetail, "errorPrefix=? ;errorString=X", "X"},
      {12, kDetail, "errorPrefix=?;errorString=X", "?X"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.options);
    EXPECT_EQ(c.result, Error(c.code, c.detail, c.options)) << c.code;
  }
  std::string result;
  setBnwsErrorNoOptions(kBnwsNodeNotFound, kDetail, result);
  EXPECT_EQ("? 9 Node Not Found : Node does not exist", result);
  setBnwsError(kBnwsBadValueFormat, kDetail, result, nullptr);
  EXPECT_EQ("? 12 Bad Value Format : Node does not exist", result);
}

TEST_F(BnwsErrorTest, EveryResultIsLoggedAnEmptyOneSaysSo) {
  EXPECT_EQ("", Error(12, "Could not transform yes", "errorString"));
  EXPECT_TRUE(LogHas("BnwsErrMsg: 12 Bad Value Format Could not transform yes "
                     "(but empty string returned)"));
  EXPECT_FALSE(LogHas("BnwsErrMsg: ? 12"));
  Error(12, "Could not transform yes", "errorPrefix=ERR");
  EXPECT_TRUE(LogHas("BnwsErrMsg: ERR? 12 Bad Value Format : Could not "
                     "transform yes"));
  Error(2, nullptr, "errorString=N/A");
  EXPECT_TRUE(LogHas("BnwsErrMsg: N/A"));
}

TEST_F(BnwsErrorTest, VerbosityDecidesWhatIsLogged) {
  // Node Not Found only at verbosity 6, other errors from 1.
  toolkit::g_syslog->level = 0;
  Error(12, kDetail, "");
  Error(12, kDetail, "errorString");
  EXPECT_FALSE(LogHas("BnwsErrMsg"));
  toolkit::g_syslog->level = 5;
  Error(9, kDetail, "");
  Error(10, "no such attribute", "");
  EXPECT_FALSE(LogHas("9 Node Not Found"));
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 10 Attribute Not Found : no such "
                     "attribute"));
  toolkit::g_syslog->level = 6;
  Error(9, kDetail, "");
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 9 Node Not Found : Node does not exist"));
  // Without a log object nothing is logged, and results are made alike.
  toolkit::CSysLog* saved = toolkit::g_syslog;
  toolkit::g_syslog = nullptr;
  EXPECT_EQ("? 9 Node Not Found", Error(9, "", ""));
  toolkit::g_syslog = saved;
  EXPECT_FALSE(LogHas("BnwsErrMsg: ? 9 Node Not Found\n"));
}

}  // namespace

}  // namespace wsgated
