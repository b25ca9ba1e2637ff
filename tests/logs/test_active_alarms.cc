// getActiveAlarms without the engine: which positions an answer holds
// (count limit, latest/reverse, trimming a split group of one time), and
// one alarm node as a record, from good, partial and mistyped nodes.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/event_records.h"
#include "common/search_pattern.h"
#include "logs/active_alarms.h"
#include "logs/log_request.h"
#include "tests/common/service_fixture.h"

namespace wsgated {
namespace {

TEST(AlarmRangeTest, LimitLatestReverseAndTrimming) {
  struct Case {
    const char* what;
    std::vector<int64_t> times;  // in the answer's order
    int max;
    bool latest, reverse, trim;
    size_t first, end;
    int trimmed;
  };
  const std::vector<int64_t> up = {1, 2, 3, 3, 3, 4};
  const std::vector<int64_t> down = {4, 3, 3, 3, 2, 1};
  const Case cases[] = {
      {"no limit", up, 0, true, false, true, 0, 6, 0},
      {"within the limit", up, 6, false, false, true, 0, 6, 0},
      {"oldest first", up, 4, false, false, false, 0, 4, 0},
      {"newest, oldest of them first", up, 4, true, false, false, 2, 6, 0},
      {"newest first", down, 4, true, true, false, 0, 4, 0},
      {"oldest, newest of them first", down, 4, false, true, false, 2, 6, 0},
      // The split group of 3s goes; the count is of the kept edge's time.
      {"trimmed at the end", up, 4, false, false, true, 0, 2, 1},
      {"trimmed at the start", up, 2, true, false, true, 5, 6, 1},
      {"trimmed, reverse", down, 2, true, true, true, 0, 1, 1},
      {"cut between groups", up, 2, false, false, true, 0, 2, 0},
      // Everything kept shares the cut's time: nothing is answered.
      {"all of the cut's time, end",
       {3, 3, 3, 4},
       2,
       false,
       false,
       true,
       0,
       0,
       3},
      {"all of the cut's time, start",
       {1, 3, 3, 3},
       2,
       true,
       false,
       true,
       4,
       4,
       3},
      {"one group only", {5, 5, 5}, 2, false, false, true, 0, 0, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const AlarmRange range =
        chooseAlarmRange(c.times, c.max, c.latest, c.reverse, c.trim);
    EXPECT_EQ(c.first, range.first);
    EXPECT_EQ(c.end, range.end);
    EXPECT_EQ(c.trimmed, range.trimmedCount);
  }
}

// Alarm 5 is whole; 6 lacks its Note; 7's SequenceID is text; "x" is not
// numbered; 8 is of the multistate S, with no alarm attributes.
const char kTable[] =
    "[/Devices/P]\nNodeType = Point\nValueType = Real\nValue = 1\n"
    ".BasePriority:Integer = 9\n.AutoClosing = true\n"
    "[/Devices/S]\nNodeType = Point\nValueType = Multistate\nValue = 1\n"
    "PossibleValues = Off;On\n";

std::string AlarmNode(const std::string& name, const std::string& source,
                      const std::string& level, bool withNote = true,
                      const std::string& sequence = "Unsigned") {
  std::string text;
  const char* const leaves[][3] = {
      {"SourcePath", "String", source.c_str()},
      {"SourceValue", "Integer", "1"},
      {"AlarmMsg", "String", "Over : limit"},
      {"SequenceID", sequence.c_str(), sequence == "Unsigned" ? "4" : "four"},
      {"AlarmLevel", "Unsigned", level.c_str()},
      {"ConditionRaised", "Boolean", "true"},
      {"Note", "String", "checked"}};
  for (const auto& leaf : leaves) {
    if (!withNote && std::string(leaf[0]) == "Note") continue;
    text += "[/Alarms/" + name + "/" + leaf[0] + "]\nValueType = " + leaf[1] +
            "\nValue = " + leaf[2] + "\n";
  }
  return text;
}

class ActiveAlarmTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kTable);
  }
  void TearDown() override {
    soap_destroy(soap_);
    soap_end(soap_);
    soap_free(soap_);
    ServiceTest::TearDown();
  }

  bool Build(const std::string& node, const std::string& pattern,
             nss1__AlarmUpdate& alarm, const std::locale* locale = nullptr) {
    EventRecordBuilder builder(soap_, ctx_->cds, locale);
    SearchPattern search(pattern);
    failures_.pattern = pattern;
    return buildActiveAlarm(soap_, ctx_->cds, builder, locale, node,
                            pattern.empty() ? nullptr : &search, nullptr,
                            failures_, alarm);
  }

  struct soap* soap_ = soap_new();
  PatternFailures failures_;
};

TEST_F(ActiveAlarmTest, LevelsPrioritiesAndSources) {
  struct Case {
    const char* level;
    const char* source;
    nss1__AckStatus ack;
    int variation;
    const char* priority;
    bool autoClosing;
    const char* value;
  };
  const Case cases[] = {
      {"1", "/Devices/P", nss1__AckStatus__NotAcked, 2, "9", true, "1"},
      {"3", "/Devices/P", nss1__AckStatus__Acked, 1, "9", true, "1"},
      {"5", "/Devices/S", nss1__AckStatus__Closed, 1, "5000", false, "On"},
      {"4", "/Devices/Gone", nss1__AckStatus__NotAcked, 1, "5000", false, "1"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.level);
    Seed(AlarmNode("5", c.source, c.level));
    nss1__AlarmUpdate alarm;
    ASSERT_TRUE(Build("/Alarms/5", "", alarm));
    EXPECT_EQ(5u, alarm.EventId);
    EXPECT_EQ(4u, alarm.SequenceIndex);
    EXPECT_EQ(c.ack, alarm.AckStatus);
    EXPECT_EQ(c.variation, alarm.VariationLevel);
    EXPECT_EQ(c.priority, *alarm.BasePriority);
    EXPECT_EQ(c.autoClosing, alarm.AutoClosing);
    EXPECT_EQ(std::string(c.source) + " " + c.value + " checked Over : limit",
              *alarm.SourcePath + " " + *alarm.Value + " " + *alarm.Note + " " +
                  *alarm.Description);
    EXPECT_TRUE(alarm.ConditionPresent);
    EXPECT_EQ(nullptr, alarm.Quality);
  }
}

TEST_F(ActiveAlarmTest, DescriptionsAreTranslatedInHalves) {
  EnableLocales();
  Seed(AlarmNode("5", "/Devices/P", "1") +
       "[/Alarms/5/AlarmMsg]\nValue = Configuration changed :  Alarm limits\n");
  const ServiceOptions options = Options("locale=de_DE");
  nss1__AlarmUpdate alarm;
  ASSERT_TRUE(Build("/Alarms/5", "", alarm, &options.stdLocale));
  EXPECT_EQ("Konfiguration ge\xC3\xA4ndert : Alarmgrenzen", *alarm.Description);
}

TEST_F(ActiveAlarmTest, UnusableNodesAndPatternsLeaveTheAlarmOut) {
  Seed(AlarmNode("5", "/Devices/P", "1") +
       AlarmNode("6", "/Devices/P", "1", false) +
       AlarmNode("7", "/Devices/P", "1", true, "String") +
       AlarmNode("x", "/Devices/P", "1"));
  struct Case {
    const char* node;
    const char* pattern;
    bool built;
  };
  const Case cases[] = {
      {"/Alarms/5", "", true},         {"/Alarms/5", "es/P$", true},
      {"/Alarms/5", "^/Other", false}, {"/Alarms/5", "[", false},
      {"/Alarms/6", "", false},        {"/Alarms/7", "", false},
      {"/Alarms/x", "", false},        {"/Alarms/404", "", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.node) + " " + c.pattern);
    nss1__AlarmUpdate alarm;
    EXPECT_EQ(c.built, Build(c.node, c.pattern, alarm));
  }
  EXPECT_EQ(1, failures_.count);
  EXPECT_EQ(1u, CountInLog("Exception in regular expression matching of "
                           "alarm path = ["));
}

}  // namespace
}  // namespace wsgated
