// acknowledgeAlarm without the engine: the events it queues in a real
// store, the rights it tests, and what an unknown caller or a read-only
// store make of a request.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/event.h"
#include "publish/acknowledgements.h"
#include "tests/common/service_fixture.h"

namespace wsgated {
namespace {

class AcknowledgementsTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    SetCaller("operator", "10.1.2.3");
    setenv("REMOTE_USER", "operator", 1);
    setenv("REMOTE_ADDR", "10.1.2.3", 1);
    Entry(entries_[0], 17, &note_, 2, nsc1__AckStatus__Acked);
    Entry(entries_[1], 18, nullptr, 1, nsc1__AckStatus__Closed);
    requests_.__sizeAckRequest = 2;
    requests_.AckRequest = entries_;
  }
  void TearDown() override {
    unsetenv("REMOTE_USER");
    unsetenv("REMOTE_ADDR");
    ServiceTest::TearDown();
  }

  static void Entry(nsc1__AckRequest& entry, uint64_t id, std::string* note,
                    int level, nsc1__AckStatus status) {
    entry.EventId = id;
    entry.Note = note;
    entry.VariationLevel = level;
    entry.Status = status;
  }

  std::vector<toolkit::CEvent> Queued() {
    std::vector<CdsQueuedEvent> queued;
    EXPECT_EQ(0, cds_events_read(ctx_->cds.handle, 0, 100, queued));
    std::vector<toolkit::CEvent> events(queued.size());
    for (size_t i = 0; i < queued.size(); ++i) {
      EXPECT_TRUE(events[i].deserialize(queued[i].payload));
    }
    return events;
  }

  std::string note_ = "On my way";
  nsc1__AckRequest entries_[2];
  nsc1__ArrayOfAckRequest requests_;
  std::vector<std::string> results_;
};

TEST_F(AcknowledgementsTest, OneEventPerEntryWithTheCaller) {
  ASSERT_EQ(0, acknowledgeAlarms(ctx_.get(), &requests_, results_));
  EXPECT_EQ((std::vector<std::string>{"", ""}), results_);
  const std::vector<toolkit::CEvent> events = Queued();
  ASSERT_EQ(2u, events.size());
  EXPECT_EQ(toolkit::EVENT_KIND_ACKNOWLEDGE, events[0].kind);
  EXPECT_EQ("/", events[0].source_path);
  EXPECT_EQ(17u, events[0].event_id);
  EXPECT_EQ(1, events[0].ack_status);
  EXPECT_EQ(2, events[0].variation_level);
  EXPECT_EQ(192, events[0].quality);
  EXPECT_EQ("On my way", events[0].note);
  EXPECT_EQ("Web-Services:operator@10.1.2.3", events[0].source);
  EXPECT_EQ(2, events[1].ack_status);
  EXPECT_EQ("", events[1].note);
  EXPECT_EQ(1u, CountInLog("Ack'ing Alarm #17 (AckStatus=1, varLevel=2). "
                           "Note = On my way"));
  EXPECT_EQ(1u, CountInLog("Ack'ing Alarm #18 (AckStatus=2, varLevel=1). \n"));
}

TEST_F(AcknowledgementsTest, RefusalsAndFailures) {
  struct Case {
    const char* what;
    const char* user;     // the caller, also REMOTE_USER; null: unset
    const char* address;  // REMOTE_ADDR; null: unset
    bool readOnly;
    int status;
    std::vector<std::string> results;
  };
  const std::string failed = "? 20 Write Failed : CDS event_send failed";
  const Case cases[] = {
      {"a viewer", "viewer", "10.1.2.3", false, kAcknowledgementRefused, {}},
      {"no user", nullptr, "10.1.2.3", false, kAcknowledgementFault, {}},
      {"no address", "operator", nullptr, false, kAcknowledgementFault, {}},
      {"a read-only store", "operator", "10.1.2.3", true, 0, {failed, failed}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    SetCaller(c.user != nullptr ? c.user : "", "10.1.2.3");
    c.user != nullptr ? setenv("REMOTE_USER", c.user, 1)
                      : unsetenv("REMOTE_USER");
    c.address != nullptr ? setenv("REMOTE_ADDR", c.address, 1)
                         : unsetenv("REMOTE_ADDR");
    if (c.readOnly) ctx_->cds.setReadOnly();
    EXPECT_EQ(c.status, acknowledgeAlarms(ctx_.get(), &requests_, results_));
    if (c.status == 0) {
      EXPECT_EQ(c.results, results_);
    }
    EXPECT_TRUE(Queued().empty());
  }
}

TEST_F(AcknowledgementsTest, NoEntriesSendNothing) {
  nsc1__ArrayOfAckRequest none;
  none.__sizeAckRequest = 0;
  none.AckRequest = nullptr;
  const nsc1__ArrayOfAckRequest* const cases[] = {&none, nullptr};
  for (const nsc1__ArrayOfAckRequest* requests : cases) {
    results_ = {"left over"};
    EXPECT_EQ(0, acknowledgeAlarms(ctx_.get(), requests, results_));
    EXPECT_TRUE(results_.empty());
  }
  EXPECT_TRUE(Queued().empty());
}

}  // namespace
}  // namespace wsgated
