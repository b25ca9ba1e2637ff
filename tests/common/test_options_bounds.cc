// What one options text may cost: a bounded number of log lines, and a
// bounded length read, however long and however many unknown tokens.

#include <string>

#include "common/service_options.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

std::string UnknownTokens(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "x" + std::to_string(i) + ";";
  return text;
}

TEST_F(ServiceTest, UnknownOptionsLogTenLinesAndACount) {
  struct Case {
    int unknown;
    size_t lines;       // "An Unrecognized ..." lines
    const char* count;  // the closing line, "" when there is none
  };
  // 10,000 tokens of about 6 bytes stay below the length that is read.
  const Case cases[] = {{3, 3, ""}, {10, 10, ""},
                        {10000, 10, "... and 9990 more unrecognized"}};
  for (const Case& c : cases) {
    const size_t before = CountInLog("An Unrecognized service option");
    const ServiceOptions options = Options(UnknownTokens(c.unknown) + "persist");
    EXPECT_TRUE(options.persist) << c.unknown;
    EXPECT_EQ(c.lines, CountInLog("An Unrecognized service option") - before)
        << c.unknown;
    if (*c.count != '\0') {
      EXPECT_EQ(1u, CountInLog(c.count)) << c.unknown;
    }
  }
}

TEST_F(ServiceTest, OnlyTheFirst64KiBOfOptionsAreRead) {
  const std::string filler(64 * 1024 - 8, 'x');
  EXPECT_TRUE(Options(filler + ";persist").persist);
  const std::string longer = filler + "xxxxx;persist";
  EXPECT_FALSE(Options(longer).persist);
  EXPECT_TRUE(LogHas("Service options of " + std::to_string(longer.size()) +
                     " bytes: only the first 65536 are read"));
}

}  // namespace

}  // namespace wsgated
