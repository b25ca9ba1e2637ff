// Error results: the table, the result forms the options choose, logging.

#include <gtest/gtest.h>

#include <cstring>

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

TEST_F(BnwsErrorTest, TableHoldsNumberAndNameOfEveryCode) {
  EXPECT_STREQ("0 Unspecified Error", BnwsErrorTable[0]);
  EXPECT_STREQ("9 Node Not Found", BnwsErrorTable[kBnwsNodeNotFound]);
  EXPECT_STREQ("16 Write Failed", BnwsErrorTable[kBnwsWriteFailed]);
  EXPECT_STREQ("20 Write Failed", BnwsErrorTable[kBnwsWriteFailed20]);
  EXPECT_STREQ("33 Argument Invalid/Not Supported",
               BnwsErrorTable[kBnwsArgumentInvalid]);
  EXPECT_STREQ("34 Result Too Big to Return",
               BnwsErrorTable[kBnwsResultTooBigToReturn]);
  for (int code = 0; code < kBnwsErrorCount; ++code) {
    std::string entry = BnwsErrorTable[code];
    EXPECT_EQ(std::to_string(code) + " ", entry.substr(0, entry.find(' ') + 1));
    EXPECT_LT(entry.size(), size_t(kBnwsErrorTextWidth));
  }
}

TEST_F(BnwsErrorTest, WithoutOptionsTheStandardFormIsReturned) {
  std::string result = "previous value";
  setBnwsErrorNoOptions(kBnwsNodeNotFound, kDetail, result);
  EXPECT_EQ("? 9 Node Not Found : Node does not exist", result);
  setBnwsError(kBnwsBadValueFormat, kDetail, result, nullptr);
  EXPECT_EQ("? 12 Bad Value Format : Node does not exist", result);
}

TEST_F(BnwsErrorTest, EmptyOrAbsentDetailAddsNoSeparator) {
  std::string result;
  setBnwsErrorNoOptions(kBnwsNotAuthorized, "", result);
  EXPECT_EQ("? 2 Not Authorized", result);
  setBnwsErrorNoOptions(kBnwsNotAuthorized, nullptr, result);
  EXPECT_EQ("? 2 Not Authorized", result);
}

TEST_F(BnwsErrorTest, OutOfRangeCodesAreUnspecified) {
  std::string result;
  setBnwsErrorNoOptions(35, nullptr, result);
  EXPECT_EQ("? 0 Unspecified Error", result);
  setBnwsErrorNoOptions(-1, nullptr, result);
  EXPECT_EQ("? 0 Unspecified Error", result);
  EXPECT_EQ("? 34 Result Too Big to Return", Error(34, "", ""));
}

TEST_F(BnwsErrorTest, OptionsShapeTheResult) {
  EXPECT_EQ("? 9 Node Not Found : Node does not exist", Error(9, kDetail, ""));
  EXPECT_EQ("ERR? 9 Node Not Found : Node does not exist",
            Error(9, kDetail, "errorPrefix=ERR"));
  EXPECT_EQ("N/A", Error(9, kDetail, "errorString=N/A"));
  EXPECT_EQ("#N/A", Error(9, kDetail, "errorString=N/A;errorPrefix=#"));
  // "QZX" is the same as no errorString at all.
  EXPECT_EQ("? 9 Node Not Found : Node does not exist",
            Error(9, kDetail, "errorString=QZX"));
}

TEST_F(BnwsErrorTest, PrefixOfExactlyTheMarkLeavesTheClientsString) {
  EXPECT_EQ("X", Error(12, kDetail, "errorPrefix=? ;errorString=X"));
  EXPECT_EQ("?X", Error(12, kDetail, "errorPrefix=?;errorString=X"));
}

TEST_F(BnwsErrorTest, EmptyErrorStringGivesEmptyResultAndSaysSo) {
  EXPECT_EQ("", Error(12, "Could not transform yes", "errorString"));
  EXPECT_TRUE(LogHas("BnwsErrMsg: 12 Bad Value Format Could not transform yes "
                     "(but empty string returned)"));
  EXPECT_FALSE(LogHas("BnwsErrMsg: ? 12"));
}

TEST_F(BnwsErrorTest, EveryResultIsLogged) {
  Error(12, "Could not transform yes", "errorPrefix=ERR");
  EXPECT_TRUE(LogHas("BnwsErrMsg: ERR? 12 Bad Value Format : Could not transform yes"));
  Error(2, nullptr, "errorString=N/A");
  EXPECT_TRUE(LogHas("BnwsErrMsg: N/A"));
}

TEST_F(BnwsErrorTest, NodeNotFoundOnlyShowsAtVerbositySix) {
  toolkit::g_syslog->level = 5;
  Error(9, kDetail, "");
  Error(10, "no such attribute", "");
  EXPECT_FALSE(LogHas("9 Node Not Found"));
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 10 Attribute Not Found : no such attribute"));
  toolkit::g_syslog->level = 6;
  Error(9, kDetail, "");
  EXPECT_TRUE(LogHas("BnwsErrMsg: ? 9 Node Not Found : Node does not exist"));
}

TEST_F(BnwsErrorTest, OtherErrorsAreQuietAtVerbosityZero) {
  toolkit::g_syslog->level = 0;
  Error(12, kDetail, "");
  Error(12, kDetail, "errorString");
  EXPECT_FALSE(LogHas("BnwsErrMsg"));
}

TEST_F(BnwsErrorTest, WithoutALogObjectNothingIsLogged) {
  toolkit::CSysLog* saved = toolkit::g_syslog;
  toolkit::g_syslog = nullptr;
  EXPECT_EQ("? 9 Node Not Found", Error(9, "", ""));
  EXPECT_EQ("", Error(9, "", "errorString"));
  toolkit::g_syslog = saved;
  EXPECT_FALSE(LogHas("BnwsErrMsg"));
}

}  // namespace

}  // namespace wsgated
