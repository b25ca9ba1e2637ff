// The Delta logger and the system logger against a real store and real
// logs, on a clock the tests move: deadbands and intervals, a restart that
// neither loses nor repeats a record, a locked log, and what the system
// logger hands on from the store's feeds.

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "card/deltalog/delta_logger.h"
#include "card/syslog/system_logger.h"
#include "platform/qrxtime.h"
#include "platform/seed.h"
#include "tests/platform/temp_store.h"

namespace wsgated {
namespace {

using toolkit::CElement;
using toolkit::CEvent;

const char kSeed[] =
    "[/Devices/M/V]\nValueType = Real\nValue = 10\n.LogInterval = 10\n"
    ".Deadband:Real = 1\n"
    "[/Devices/M/S]\nValueType = Multistate\nValue = 0\n"
    "PossibleValues = A;B\n.LogInterval = 10\n.Quality:Integer = 64\n"
    "[/Devices/M/Other]\nValueType = Real\nValue = 1\n";

class CardLoggerTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    setenv("TOOLKIT_LOG_WRITE_BUSY_MS", "20", 1);
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(*cds_, kSeed, error)) << error;
  }
  void Start(Companion* companion, std::vector<std::string> args) {
    std::string error;
    ASSERT_TRUE(companion->configure(args, &error)) << error;
    ASSERT_TRUE(companion->start(*cds_));
  }
  std::vector<CEvent> Records(const std::string& log) {
    pcd_log_handle_t reader = nullptr;
    std::vector<CEvent> records;
    EXPECT_EQ(0, pcd_log_init(log.c_str(), 0, 0, 0, 1, 0, 0, 0, 0, &reader));
    toolkit::CLog(reader).retrieve(records, nullptr, nullptr, nullptr, 0,
                                   false, false, 0);
    pcd_log_close(reader);
    return records;
  }
  // V written with the time stamp of the tests' clock.
  void SetV(double value) {
    CElement element(value);
    timeval time{};
    qrx_QRXtoUNIXtime64(nowUs_, &time);
    element.set_time(time);
    Set("/Devices/M/V", element);
  }
  // The tests' clock starts at the real one: the store stamps writes with
  // the real time.
  int64_t nowUs_ = qrx_UTCtime64();
  QrxClock clock_ = [this] { return nowUs_; };
  testing_files::TempDir dir_;
  std::string delta_ = dir_ / "delta.db";
  std::string events_ = dir_ / "events.db";
  std::string system_ = dir_ / "system.db";
};

TEST_F(CardLoggerTest, DeadbandIntervalRestartAndLockedLog) {
  struct Case {
    const char* what;
    double value;      // written to V before the step
    int seconds;       // the clock moves by this much first
    size_t expected;   // records of V in the log after the step
  } cases[] = {{"first value", 10, 0, 1},    {"within the deadband", 10.5, 1, 1},
               {"past it", 11.2, 1, 2},      {"within again", 11.5, 1, 2},
               {"interval passed", 11.5, 10, 3}};
  auto logger = std::make_unique<DeltaLogger>(clock_);
  Start(logger.get(), {"--delta-log", delta_});
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    nowUs_ += c.seconds * 1000000LL;
    SetV(c.value);
    logger->step(*cds_);
    size_t count = 0;
    for (const CEvent& r : Records(delta_)) {
      count += r.source_path == "/Devices/M/V/Value";
    }
    EXPECT_EQ(c.expected, count);
  }
  // The multistate's records carry its quality; Other is not logged.
  const std::vector<CEvent> first = Records(delta_);
  size_t multistate = 0;
  for (const CEvent& r : first) {
    if (r.source_path != "/Devices/M/S/Value") continue;
    ++multistate;
    EXPECT_EQ(64, r.quality);
  }
  EXPECT_EQ(2u, multistate);  // its first value, and one interval later
  EXPECT_EQ(5u, first.size());

  // Killed and started again: nothing twice; a lock delays a record.
  logger = std::make_unique<DeltaLogger>(clock_);
  Start(logger.get(), {"--delta-log", delta_});
  logger->step(*cds_);
  EXPECT_EQ(first.size(), Records(delta_).size());
  sqlite3* locker = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(delta_.c_str(), &locker));
  sqlite3_exec(locker, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
  SetV(20.0);
  logger->step(*cds_);
  sqlite3_exec(locker, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(locker);
  EXPECT_EQ(first.size(), Records(delta_).size());
  logger->step(*cds_);
  logger->step(*cds_);
  EXPECT_EQ(first.size() + 1, Records(delta_).size());
  EXPECT_EQ(20.0, Records(delta_).back().value.to_double());
}

TEST_F(CardLoggerTest, SystemLoggerHandsOnEachEntryOnce) {
  auto logger = std::make_unique<SystemLogger>(clock_);
  const std::vector<std::string> args = {"--event-log", events_,
                                         "--system-log", system_};
  Start(logger.get(), args);  // the seed's nodes are no changes
  api_status_t status;
  ASSERT_EQ(0, cds_->add_node("/Devices/New", status, "Web-Services:admin"));
  ASSERT_EQ(0, cds_->syslog_add(2, "Network Card Reset requested"));
  std::vector<CEvent> queued(2);
  queued[0].kind = toolkit::EVENT_KIND_DEVICE_CONDITION;
  queued[0].severity = 3;
  queued[0].description = "Breaker tripped :  Overload";
  queued[1].kind = toolkit::EVENT_KIND_ACKNOWLEDGE;
  std::vector<api_status_t> statuses;
  ASSERT_EQ(0, cds_->events_send(queued, statuses));
  logger->step(*cds_);
  // Killed before its next step: the new one repeats nothing.
  logger = std::make_unique<SystemLogger>(clock_);
  Start(logger.get(), args);
  logger->step(*cds_);

  const std::vector<CEvent> events = Records(events_);
  ASSERT_EQ(2u, events.size());
  EXPECT_EQ("Node created :  /Devices/New", events[0].description);
  EXPECT_EQ("Web-Services:admin", events[0].source);
  EXPECT_TRUE(events[0].value.to_bool());
  EXPECT_EQ("Breaker tripped :  Overload", events[1].description);
  const std::vector<CEvent> system = Records(system_);
  ASSERT_EQ(1u, system.size());
  EXPECT_EQ("Network Card Reset requested", system[0].description);
  EXPECT_EQ("/", system[0].source_path);
  EXPECT_EQ(3, system[0].severity);
}

}  // namespace
}  // namespace wsgated
