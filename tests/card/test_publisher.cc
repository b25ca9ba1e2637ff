// The publisher's own rules without a network: dead bands, which reply
// addresses may be sent to, and, against a real store on a clock the tests
// move, leases and subscriptions half removed under the reader.

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "card/publisher/log_feed.h"
#include "card/publisher/publisher.h"
#include "card/publisher/reply_address.h"
#include "card/publisher/subscription_reader.h"
#include "common/publisher_area.h"
#include "platform/log.h"
#include "platform/qrxtime.h"
#include "platform/seed.h"
#include "tests/platform/temp_dir.h"
#include "tests/platform/temp_store.h"

namespace wsgated {
namespace {

using toolkit::CElement;

TEST(PublisherDeadband, SendsWhatMovedFarEnough) {
  struct Case {
    const char* what;
    CElement last, now;
    double percent;
    bool sent;
  } cases[] = {
      {"same number", CElement(230.0), CElement(230.0), 0, false},
      {"any move without a band", CElement(230.0), CElement(230.1), 0, true},
      {"within 1 %", CElement(230.0), CElement(232.0), 1, false},
      {"past 1 %", CElement(230.0), CElement(232.4), 1, true},
      {"downwards past it", CElement(230.0), CElement(227.6), 1, true},
      {"integers", CElement(int32_t{100}), CElement(int32_t{102}), 1, true},
      {"from zero", CElement(0.0), CElement(0.001), 5, true},
      {"text ignores the band", CElement("Open"), CElement("Closed"), 50,
       true},
      {"type change", CElement(int32_t{1}), CElement(true), 50, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(c.sent, movedPastDeadband(c.last, c.now, c.percent));
  }
}

TEST(PublisherReplyAddress, OnlyHttpToPlainAddressesUnlessAllowed) {
  const std::set<std::string> own = {"10.1.2.3"};
  struct Case {
    const char* uri;
    const char* allowed;  // "" for none
    bool sent;
    const char* reason;   // part of the reason when refused
  } cases[] = {
      {"http://192.0.2.7:8000/notify", "", true, ""},
      {"https://[2001:db8::1]/n", "", true, ""},
      {"ftp://192.0.2.7/n", "", false, "scheme ftp"},
      {"file:///etc/passwd", "", false, "scheme file"},
      {"not a uri", "", false, ""},
      {"http://127.0.0.1:8000/n", "", false, "loopback"},
      {"http://127.0.0.1:8000/n", "127.0.0.1", true, ""},
      {"http://127.0.0.2/n", "127.0.0.1", false, "loopback"},
      {"http://[::1]/n", "", false, "loopback"},
      {"http://169.254.1.1/n", "", false, "link-local"},
      {"http://[fe80::1]/n", "", false, "link-local"},
      {"http://224.0.0.1/n", "", false, "multicast"},
      {"http://0.0.0.0/n", "", false, "unspecified"},
      {"http://[::ffff:127.0.0.1]/n", "", false, "loopback"},
      {"http://10.1.2.3/n", "", false, "own"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.uri);
    std::set<std::string> allowed;
    if (*c.allowed != '\0') allowed.insert(c.allowed);
    ReplyTarget target;
    std::string reason;
    const bool sent = resolveReplyUri(c.uri, own, allowed, target, reason);
    EXPECT_EQ(c.sent, sent) << reason;
    if (!sent) {
      EXPECT_NE(std::string::npos, reason.find(c.reason)) << reason;
    }
  }
}

const char kSeed[] =
    "[/Devices/M/V]\nValueType = Real\nValue = 10\n"
    "[/Software/Data Servers/WS-Publisher/SubUpdateCount]\n"
    "ValueType = Integer\nValue = 5\n"
    "[/Software/Data Servers/WS-Publisher/Subscriptions]\n"
    "HasDynamicChildren = true\n";

class PublisherAreaTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(*cds_, kSeed, error)) << error;
  }
  // A subscription as the web services write it, owned by `user`.
  void Subscribe(const std::string& id, int leaseMs,
                 const std::string& user = "operator") {
    const std::string base = std::string(kSubscriptionsNode) + "/" + id;
    const std::string source = "Web-Services:" + user + "@192.0.2.9";
    std::string seed = "[" + base + "/LeaseDuration]\nValue = " +
                       std::to_string(leaseMs) + "\n[" + base +
                       "/LogSinceTime]\nValue = 1700000000\n[" +
                       base + "/LogOptions]\nValue = 0\n";
    for (const char* node : {"Devices.M.V", "Devices.M.W"}) {
      seed += "[" + base + "/RTNodes/" + node + "/RqstdFreshness]\n"
              "Value = 0\n[" + base + "/RTNodes/" + node +
              "/Deadband]\nValue:Real = 0\n";
    }
    std::string error;
    ASSERT_EQ(0, toolkit::cds_load_seed(*cds_, seed.c_str(), error)) << error;
    AddNode(base + "/ReplyURI");
    api_status_t status = API_STATUS_UNKNOWN;
    ASSERT_EQ(0, cds_->set_leaf(base + "/ReplyURI/Value",
                                CElement("http://127.0.0.1:1/x"), status,
                                PCD_TRIBOOL_UNKNOWN, source));
    ASSERT_EQ(API_STATUS_OK, status);
  }
  void Remove(const std::string& relative) {
    api_status_t status = API_STATUS_UNKNOWN;
    cds_->remove_node(std::string(kSubscriptionsNode) + "/" + relative,
                      status, "test");
  }
  int64_t nowUs_ = qrx_UTCtime64();
  QrxClock clock_ = [this] { return nowUs_; };
};

TEST_F(PublisherAreaTest, ReadsOwnerAndToleratesHalfRemovedLeaves) {
  Subscribe("s", 0);
  Subscription read;
  ASSERT_TRUE(readSubscription(*cds_, "s", read));
  EXPECT_EQ("operator", read.owner);
  ASSERT_EQ(2u, read.nodes.size());
  EXPECT_EQ("/Devices/M/W", read.nodes[1].path);

  Remove("s/RTNodes/Devices.M.W/Deadband");
  ASSERT_TRUE(readSubscription(*cds_, "s", read));
  ASSERT_EQ(1u, read.nodes.size());
  EXPECT_EQ("/Devices/M/V", read.nodes[0].path);

  Remove("s/ReplyURI");
  EXPECT_FALSE(readSubscription(*cds_, "s", read));
  Publisher publisher(clock_);
  std::string error;
  ASSERT_TRUE(publisher.configure({}, &error)) << error;
  ASSERT_TRUE(publisher.start(*cds_));
  publisher.step(*cds_);  // a subscription it cannot read is left alone
  EXPECT_EQ(1u, listSubscriptions(*cds_).size());
  publisher.stop(*cds_);
}

TEST_F(PublisherAreaTest, LeasesEndOnTimeAndBumpTheCounter) {
  Subscribe("short", 2000);
  Subscribe("long", 60000);
  Subscribe("none", 0);
  Publisher publisher(clock_);
  std::string error;
  ASSERT_TRUE(publisher.configure({"--check-seconds", "0.1"}, &error));
  ASSERT_TRUE(publisher.start(*cds_));
  struct Case {
    int seconds;  // the clock moves by this much before the step
    size_t left;
    int64_t count;
  } cases[] = {{0, 3, 5},  {1, 3, 5},  {2, 2, 6},
               {50, 2, 6}, {10, 1, 7}, {100000, 1, 7}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.seconds);
    nowUs_ += int64_t{c.seconds} * 1000000;
    publisher.step(*cds_);
    EXPECT_EQ(c.left, listSubscriptions(*cds_).size());
    EXPECT_EQ(c.count, readSubUpdateCount(*cds_));
  }
  EXPECT_EQ("none", listSubscriptions(*cds_)[0]);
  publisher.stop(*cds_);
}

// A subscription created again between two looks of the publisher (its
// counter bump not seen yet) keeps the new lease its ReplyURI stamps.
TEST_F(PublisherAreaTest, ASubscriptionCreatedAgainKeepsItsNewLease) {
  Subscribe("renewed", 2000);
  Publisher publisher(clock_);
  std::string error;
  ASSERT_TRUE(publisher.configure({"--check-seconds", "0.1"}, &error));
  ASSERT_TRUE(publisher.start(*cds_));
  publisher.step(*cds_);
  const int64_t counted = readSubUpdateCount(*cds_);
  nowUs_ += 3000000;
  timeval renewedAt{};
  qrx_QRXtoUNIXtime64(nowUs_, &renewedAt);
  CElement uri("http://127.0.0.1:1/x");
  uri.set_time(renewedAt);
  api_status_t status = API_STATUS_UNKNOWN;
  ASSERT_EQ(0, cds_->set_leaf(std::string(kSubscriptionsNode) +
                                  "/renewed/ReplyURI/Value",
                              uri, status, PCD_TRIBOOL_UNKNOWN,
                              "Web-Services:operator@192.0.2.9"));
  publisher.step(*cds_);  // the old lease ended, the new one has not
  publisher.step(*cds_);
  EXPECT_EQ(1u, listSubscriptions(*cds_).size());
  EXPECT_EQ(counted, readSubUpdateCount(*cds_));
  nowUs_ += 2000000;
  publisher.step(*cds_);
  EXPECT_EQ(0u, listSubscriptions(*cds_).size());
  publisher.stop(*cds_);
}

// Appends `count` plain events of /Devices/M/V, at seconds from `second` on.
void AppendEvents(const std::string& log, int second, int count) {
  pcd_log_writer_t writer = nullptr;
  ASSERT_EQ(0, pcd_log_open_writer(log.c_str(), nullptr, &writer));
  std::vector<toolkit::CEvent> records(count);
  for (int i = 0; i < count; ++i) {
    records[i].kind = toolkit::EVENT_KIND_DEVICE_CONDITION;
    records[i].source_path = "/Devices/M/V/Value";
    records[i].time = timeval{second + i, 0};
  }
  EXPECT_EQ(0, pcd_log_append(writer, records));
  pcd_log_close_writer(writer);
}

// The subscriptions of one look share one open handle per log, and each
// still gets every record after its own cursor; the next look opens the
// log again and sees what was appended meanwhile.
TEST_F(PublisherAreaTest, FeedsOfOneLookOpenEachLogOnce) {
  AddNode("/Software/Security/Users/operator");
  SetText("/Software/Security/Users/operator/Value", "Operator");
  testing_files::TempDir dir;
  LogFiles files;
  files.eventLog = dir / "alarms.db";
  files.systemLog = dir / "missing.db";
  AppendEvents(files.eventLog, 1800000000, 3);
  const int64_t sinceUs = int64_t{1700000000} * 1000000;
  LogFeed first(sinceUs, kLogNonAlarmEvent), second(sinceUs, kLogNonAlarmEvent);
  {
    LogReaders logs(files);
    Notification toFirst, toSecond;
    first.collect(*cds_, logs, "operator", toFirst);
    second.collect(*cds_, logs, "operator", toSecond);
    EXPECT_EQ(1u, logs.opened());  // the system log is missing
    EXPECT_EQ(3u, toFirst.events.size());
    EXPECT_EQ(3u, toSecond.events.size());
  }
  AppendEvents(files.eventLog, 1800000100, 2);
  LogReaders logs(files);
  Notification toFirst, toStranger;
  first.collect(*cds_, logs, "operator", toFirst);
  second.collect(*cds_, logs, "stranger", toStranger);  // may read nothing
  EXPECT_EQ(1u, logs.opened());
  EXPECT_EQ(2u, toFirst.events.size());
  EXPECT_EQ(0u, toStranger.events.size());
}

}  // namespace
}  // namespace wsgated
