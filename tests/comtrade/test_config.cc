// Configuration files: the revisions' layouts, what is refused, and the
// time base derived from rates, time stamps and the time multiplier.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/comtrade/comtrade.h"
#include "platform/comtrade/datetime.h"
#include "platform/comtrade/parse.h"
#include "platform/comtrade/timebase.h"

namespace {

using toolkit::comtrade::Config;
using toolkit::comtrade::ParseConfig;
using toolkit::comtrade::Record;
using toolkit::comtrade::RecordBytes;

const std::vector<std::string> kBase = {
    "st,dev,2013",                       // 0
    "2,1A,1D",                           // 1
    "1,V,A,,kV,2,0.5,0,-100,100,1,1,P",  // 2
    "1,D1,,,0",                          // 3
    "50",                                // 4
    "1",                                 // 5
    "1000,3",                            // 6
    "01/01/2020,00:00:00.000000",        // 7
    "01/01/2020,00:00:00.002000",        // 8
    "ASCII",                             // 9
    "1",                                 // 10
    "+1h00,x",                           // 11
    "0,0"};                              // 12

// kBase with line `line` replaced by `text`, or cut before it when text is
// null.
std::string Variant(size_t line, const char* text) {
  std::string out;
  for (size_t i = 0; i < kBase.size(); ++i) {
    if (i == line && text == nullptr) break;
    out += (i == line ? text : kBase[i]) + std::string("\r\n");
  }
  return out;
}

TEST(Config, The1991LayoutHasNoYearMonthFirstDatesAndShortLines) {
  Config config;
  ASSERT_EQ(COMTRADE_OK, ParseConfig("st,dev\n2,1A,1D\n"
                                     "1,V,,,V,2,0,0,-100,100\n1,D1,1\n60\n1\n"
                                     "1000,2\n03/04/95,01:02:03.5\n"
                                     "03/04/95,01:02:03.501\nASCII\n",
                                     &config, nullptr));
  EXPECT_EQ(1991, config.revision);
  // 4 March 1995 (9193 days after 1970) 01:02:03.5.
  EXPECT_EQ(9193 * 86400 + 3723, config.start.seconds);
  EXPECT_EQ(500000000, config.start.nanos);
  EXPECT_EQ(1, config.digital[0].normal_state);
  EXPECT_DOUBLE_EQ(1.0, config.time_multiplier);
  EXPECT_FALSE(config.nanosecond_stamps);
}

TEST(Config, The2013LayoutWithNanosecondsAndTimeCode) {
  Config config;
  std::string text = Variant(7, "31/12/2019,23:30:00.123456789");
  ASSERT_EQ(COMTRADE_OK, ParseConfig(text, &config, nullptr));
  EXPECT_TRUE(config.nanosecond_stamps);
  // 23:30 at +1h00 is 22:30 UTC on 31 December 2019 (18261 days).
  EXPECT_EQ(18261 * 86400 + 22 * 3600 + 1800, config.start.seconds);
  EXPECT_EQ(123456789, config.start.nanos);
  EXPECT_EQ("+1h00", config.time_code);
  EXPECT_EQ("x", config.local_code);
  EXPECT_EQ(2.0, config.analog[0].a);
}

TEST(Config, TimeCodes) {
  // minutes -1: refused.
  const struct { const char* text; bool given; int minutes; } cases[] = {
      {"-5h30", true, -330}, {"+10", true, 600}, {"0", true, 0},
      {"x", false, 0},       {"", false, 0},     {"+5h3", false, -1},
      {"+24", false, -1},    {"5h60", false, -1}, {"+5:30", false, -1}};
  for (const auto& c : cases) {
    bool given = false;
    int minutes = 0;
    const bool ok = toolkit::comtrade::ParseTimeCode(c.text, &given, &minutes);
    EXPECT_EQ(c.minutes != -1, ok) << c.text;
    if (!ok) continue;
    EXPECT_EQ(c.minutes, minutes) << c.text;
    EXPECT_EQ(c.given, given) << c.text;
  }
}

TEST(Config, RefusalsNameTheirReason) {
  const struct { size_t line; const char* text; int status; } cases[] = {
      {0, nullptr, COMTRADE_ERR_TRUNCATED},
      {9, nullptr, COMTRADE_ERR_TRUNCATED},
      {0, "st,dev,1900", COMTRADE_ERR_UNSUPPORTED},
      {0, "st,dev,20x3", COMTRADE_ERR_SYNTAX},
      {1, "3,1A,1D", COMTRADE_ERR_INCONSISTENT},
      {1, "2,1,1D", COMTRADE_ERR_SYNTAX},
      {1, "1999999,999999A,1000000D", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,2,0.5,0,-100,100,1", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,abc,0.5,0,-100,100,1,1,P", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,0x10,0.5,0,-100,100,1,1,P", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,inf,0.5,0,-100,100,1,1,P", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,1e999,0.5,0,-100,100,1,1,P", COMTRADE_ERR_SYNTAX},
      {2, "1,V,A,,kV,2,0.5,0,-100,100,1,1,Q", COMTRADE_ERR_SYNTAX},
      {3, "1,D1,,,2", COMTRADE_ERR_SYNTAX},
      {5, "2", COMTRADE_ERR_SYNTAX},  // the start time is no rate line
      {6, "1000,0", COMTRADE_ERR_INCONSISTENT},
      {5, "-1", COMTRADE_ERR_SYNTAX},
      {7, "31/02/2020,00:00:00", COMTRADE_ERR_SYNTAX},
      {7, "01/01/2020,24:00:00", COMTRADE_ERR_SYNTAX},
      {7, "01/01/2020 00:00:00", COMTRADE_ERR_SYNTAX},
      {9, "BINARY64", COMTRADE_ERR_UNSUPPORTED},
      {10, "0", COMTRADE_ERR_SYNTAX},
      {11, "+5h3,x", COMTRADE_ERR_SYNTAX},
  };
  for (const auto& c : cases) {
    Config config;
    std::string why;
    EXPECT_EQ(c.status, ParseConfig(Variant(c.line, c.text), &config, &why))
        << c.line << ": " << (c.text ? c.text : "(cut)");
    EXPECT_FALSE(why.empty());
  }
}

TEST(Config, OptionalTrailingLinesTakeTheirDefaults) {
  Config config;
  ASSERT_EQ(COMTRADE_OK, ParseConfig(Variant(10, nullptr), &config, nullptr));
  EXPECT_DOUBLE_EQ(1.0, config.time_multiplier);
  // No time code: the written times are UTC.
  EXPECT_EQ(18262 * 86400, config.start.seconds);
  EXPECT_EQ(COMTRADE_OK, ParseConfig(Variant(12, nullptr) + "\x1a junk",
                                     &config, nullptr));
}

// The record of kBase with the rate lines, time multiplier and trigger time
// given, and ASCII data of one analog channel with the given stamps.
Record TimedRecord(const std::string& rates, const char* multiplier,
                   const char* trigger, const std::vector<int>& stamps) {
  std::string cfg;
  for (size_t i = 0; i < kBase.size(); ++i) {
    if (i == 5) cfg += rates;
    if (i == 5 || i == 6) continue;
    cfg += (i == 8 ? trigger : i == 10 ? multiplier : kBase[i]) +
           std::string("\n");
  }
  std::string dat;
  for (size_t s = 0; s < stamps.size(); ++s) {
    dat += std::to_string(s + 1) + "," + std::to_string(stamps[s]) + ",0,0\n";
  }
  RecordBytes parts;
  parts.cfg = {true, cfg};
  parts.dat = {true, dat};
  Record record;
  EXPECT_EQ(COMTRADE_OK, LoadRecord(parts, &record, nullptr)) << cfg;
  return record;
}

TEST(TimeBase, RateAndTriggerIndexFromRatesOrStamps) {
  const std::vector<int> thirty(30, 0);
  const struct {
    std::string rates;
    const char* multiplier;
    const char* trigger;
    std::vector<int> stamps;
    double rate;
    int64_t index;
  } cases[] = {
      // 0.4 ms at 1000 Hz rounds to sample 0, 0.6 ms to sample 1.
      {"1\n1000,3\n", "1", "01/01/2020,00:00:00.000400", {0, 0, 0}, 1000, 0},
      {"1\n1000,3\n", "1", "01/01/2020,00:00:00.000600", {0, 0, 0}, 1000, 1},
      // Two sections: 10 samples in 10 ms, then 500 Hz; 14 ms is 10 + 2.
      {"2\n1000,10\n500,30\n", "1", "01/01/2020,00:00:00.014000", thirty,
       1000, 12},
      // Past the end, before the start: clamped.
      {"1\n1000,3\n", "1", "01/01/2020,00:01:00.000000", {0, 0, 0}, 1000, 2},
      {"1\n1000,3\n", "1", "31/12/2019,23:00:00.000000", {0, 0, 0}, 1000, 0},
      // No rate: the stamps decide (microseconds times the multiplier),
      // measured from the first stamp.
      {"0\n0,3\n", "1", "01/01/2020,00:00:00.000500", {0, 250, 500}, 4000, 2},
      {"0\n0,3\n", "2", "01/01/2020,00:00:00.000500", {100, 225, 350}, 4000,
       2},
      {"1\n0,3\n", "1", "01/01/2020,00:00:00.000000", {7, 7, 7}, 0, 0},
  };
  for (const auto& c : cases) {
    const Record record = TimedRecord(c.rates, c.multiplier, c.trigger,
                                      c.stamps);
    EXPECT_DOUBLE_EQ(c.rate, toolkit::comtrade::SamplingRate(record))
        << c.rates << c.trigger;
    EXPECT_EQ(c.index, toolkit::comtrade::TriggerIndex(record))
        << c.rates << c.trigger;
  }
}

}  // namespace
