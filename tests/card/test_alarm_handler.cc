// The alarm handler against a real store and alarm/event log: when a point
// is in alarm, raising and numbering alarms, acknowledgements from the
// event queue (also of unknown alarms, also across a restart), and the
// return to normal.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "card/alarms/alarm_handler.h"
#include "platform/log.h"
#include "platform/seed.h"
#include "tests/platform/temp_store.h"

namespace wsgated {
namespace {

using toolkit::CElement;
using toolkit::CEvent;

// V has limits with a hysteresis and closes by itself; B alarms when it
// is false; Off is disabled.
const char kSeed[] =
    "[/Devices/M/V]\nNodeType = Point\nValueType = Real\nValue = 230\n"
    "DisplayName = Voltage\n.HighAlarmLimit = 250\n.LowAlarmLimit = 200\n"
    ".Hysteresis = 5\n.AutoClosing = true\n.BasePriority:Integer = 4\n"
    "[/Devices/M/B]\nNodeType = Point\nValueType = Boolean\nValue = true\n"
    ".AlarmOnValue = false\n.AlarmText = Breaker open\n"
    "[/Devices/M/Off]\nNodeType = Point\nValueType = Real\nValue = 999\n"
    ".HighAlarmLimit = 10\n.AlarmEnable = false\n"
    "[/Alarms]\nNodeType = Collection\n";

// A point with the limits 200 and 250.
PointReading Reading(double value, double band) {
  PointReading point;
  point.readable = true;
  point.value.set_real(value);
  point.highLimit.set_real(250);
  point.lowLimit.set_real(200);
  if (band > 0) point.hysteresis.set_real(band);
  return point;
}

// What the handler's tests below do not reach: the low limit, values on a
// limit, a raised alarm without hysteresis, values that are no numbers.
TEST(AlarmRulesTest, LimitsAndHysteresis) {
  struct Case {
    const char* what;
    PointReading point;
    bool raised;
    Condition expected;
  };
  PointReading text = Reading(0, 0);
  text.value.set_string("high");
  const Case cases[] = {
      {"below", Reading(199, 5), false, Condition::kInAlarm},
      {"on the limit", Reading(250, 0), false, Condition::kNormal},
      {"raised, low band", Reading(203, 5), true, Condition::kInAlarm},
      {"raised, no hysteresis", Reading(249, 0), true, Condition::kNormal},
      {"not a number", text, false, Condition::kNotJudged},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.expected, judge(c.point, c.raised));
  }
}

class AlarmHandlerTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(*cds_, kSeed, error)) << error;
  }

  void Start(AlarmHandler& handler) {
    std::string error;
    ASSERT_TRUE(handler.configure({"--event-log", log_}, &error)) << error;
    ASSERT_TRUE(handler.start(*cds_));
  }

  std::vector<CEvent> Logged() {
    pcd_log_handle_t handle = nullptr;
    std::vector<CEvent> records;
    if (pcd_log_init(log_.c_str(), 0, 0, 0, 1, 0, 0, 0, 0, &handle) != 0) {
      return records;
    }
    EXPECT_EQ(0, toolkit::CLog(handle).retrieve(records, nullptr, nullptr,
                                                nullptr, 0, false, false, 0));
    pcd_log_close(handle);
    return records;
  }

  void Acknowledge(uint64_t number, int status, const std::string& note) {
    CEvent event;
    event.kind = toolkit::EVENT_KIND_ACKNOWLEDGE;
    event.event_id = number;
    event.ack_status = status;
    event.note = note;
    event.source = "Web-Services:op@10.0.0.1";
    std::vector<CEvent> events{event};
    std::vector<api_status_t> statuses;
    ASSERT_EQ(0, cds_->events_send(events, statuses));
  }

  int32_t Count() { return Get("/Alarms/AlarmCount/Value").to_int(); }

  // The table's alarm `number`; number 0 and no condition when it is not
  // there.
  TableAlarm Find(uint64_t number) {
    TableAlarm alarm;
    if (!AlarmTable().find(*cds_, number, alarm)) {
      alarm.number = 0;
      alarm.conditionRaised = false;
    }
    return alarm;
  }

  testing_files::TempDir dir_;
  std::string log_ = dir_ / "alarms.db";
};

TEST_F(AlarmHandlerTest, RaisesAboveTheHighestNumberAndLogsIt) {
  // An earlier alarm 40 in the log and 7 in the table.
  pcd_log_writer_t writer = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(log_.c_str(), nullptr, &writer));
  CEvent old;
  old.kind = toolkit::EVENT_KIND_ALARM;
  old.event_id = 40;
  std::vector<CEvent> batch{old};
  ASSERT_EQ(0, pcd_log_append(writer, batch));
  pcd_log_close_writer(writer);
  TableAlarm seven;
  seven.number = 7;
  seven.sourcePath = "/Devices/Elsewhere";
  seven.sourceValue.set_real(1);
  ASSERT_TRUE(AlarmTable().write(*cds_, seven));
  Set("/Devices/M/V", CElement(260.0));
  Set("/Devices/M/B", CElement(false));
  AlarmHandler handler;
  Start(handler);
  handler.step(*cds_);
  handler.step(*cds_);  // nothing new: no second alarm per point
  EXPECT_EQ(3, Count());
  const TableAlarm voltage = Find(41);
  EXPECT_EQ("/Devices/M/V", voltage.sourcePath);
  EXPECT_EQ("Voltage alarm", voltage.message);
  EXPECT_EQ(kAlarmRaised, voltage.level);
  EXPECT_EQ("Breaker open", Find(42).message);
  std::vector<CEvent> logged = Logged();
  ASSERT_EQ(3u, logged.size());
  EXPECT_EQ(41u, logged[1].event_id);
  EXPECT_EQ(toolkit::EVENT_KIND_ALARM, logged[1].kind);
  EXPECT_EQ("/Devices/M/V/Value", logged[1].source_path);
  EXPECT_EQ(4, logged[1].base_priority);
  EXPECT_TRUE(logged[1].condition_present);
}

TEST_F(AlarmHandlerTest, AcknowledgementsChangeTheTableOnce) {
  Set("/Devices/M/V", CElement(260.0));
  Set("/Devices/M/B", CElement(false));
  {
    AlarmHandler handler;
    Start(handler);
    handler.step(*cds_);
    Acknowledge(1, 1, "On site");
    Acknowledge(2, 2, "");
    Acknowledge(99, 1, "Nobody's");
    handler.step(*cds_);
    handler.stop(*cds_);
  }
  EXPECT_EQ(kAlarmAcknowledged, Find(1).level);
  EXPECT_EQ("On site", Find(1).note);
  EXPECT_EQ(kAlarmClosed, Find(2).level);
  std::vector<CEvent> logged = Logged();
  ASSERT_EQ(4u, logged.size());
  EXPECT_EQ(1, logged[2].ack_status);
  EXPECT_EQ("On site", logged[2].note);
  EXPECT_EQ("Web-Services:op@10.0.0.1", logged[2].source);
  EXPECT_EQ(2, logged[3].ack_status);
  // A restarted handler does not act on the same events again.
  AlarmHandler again;
  Start(again);
  again.step(*cds_);
  EXPECT_EQ(4u, Logged().size());
}

TEST_F(AlarmHandlerTest, ReturnsToNormalPastTheHysteresis) {
  Set("/Devices/M/V", CElement(260.0));
  Set("/Devices/M/B", CElement(false));
  AlarmHandler handler;
  Start(handler);
  handler.step(*cds_);
  Set("/Devices/M/V", CElement(247.0));  // inside the band: still raised
  Set("/Devices/M/B", CElement(true));
  handler.step(*cds_);
  EXPECT_TRUE(Find(1).conditionRaised);
  EXPECT_FALSE(Find(2).conditionRaised);  // not acknowledged: it stays
  Set("/Devices/M/V", CElement(240.0));
  handler.step(*cds_);
  EXPECT_EQ(0u, Find(1).number);  // it closes by itself
  EXPECT_EQ(1, Count());
  Acknowledge(2, 1, "");  // its condition has gone: it leaves
  handler.step(*cds_);
  EXPECT_EQ(0u, Find(2).number);
  EXPECT_EQ(0, Count());
  EXPECT_EQ("/Devices/M/B back to normal", Logged()[2].description);
  EXPECT_EQ("Voltage back to normal", Logged()[3].description);
}

TEST_F(AlarmHandlerTest, JudgesRaisedAlarmsOnNewerInputsOnly) {
  // Both points are normal; only the alarm older than its point's value
  // returns to normal.
  TableAlarm future, past;
  future.number = 50;
  future.sourcePath = "/Devices/M/V";
  gettimeofday(&future.time, nullptr);
  future.time.tv_sec += 3600;
  past.number = 51;
  past.sourcePath = "/Devices/M/B";
  past.time = {1000, 0};
  future.sourceValue.set_real(260);
  past.sourceValue.set_bool(false);
  ASSERT_TRUE(AlarmTable().write(*cds_, future));
  ASSERT_TRUE(AlarmTable().write(*cds_, past));
  AlarmHandler handler;
  Start(handler);
  handler.step(*cds_);
  EXPECT_EQ(50u, Find(50).number);
  EXPECT_TRUE(Find(50).conditionRaised);
  EXPECT_FALSE(Find(51).conditionRaised);
}

}  // namespace
}  // namespace wsgated
