// Subscriptions against a real store: what the four operations leave in the
// publisher's area, whose it is, and what they answer for bad requests.

#include <string>
#include <vector>

#include "common/write_path.h"
#include "platform/cds.h"
#include "platform/qrxtime.h"
#include "publish/subscriptions.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

const std::string kSubs = kSubscriptionsNode;
const std::string kCount = std::string(kPublisherNode) + "/SubUpdateCount";
const char* const kVolts = "/Devices/M/V";
const char* const kSecret = "/Devices/M/Secret";

class SubscriptionTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed("[/Software/Data Servers/WS-Publisher/SubUpdateCount]\n"
         "ValueType = Integer\nValue = 0\n"
         "[/Software/Data Servers/WS-Publisher/Subscriptions]\n"
         "HasDynamicChildren = true\n"
         "[/Devices/M/V]\nValueType = Real\nValue = 230.5\n"
         "[/Devices/M/On]\nValueType = Boolean\nValue = true\n"
         "[/Devices/M/Secret]\nValueType = Integer\nValue = 42\n"
         "[/Software/Security/Access/S/Path]\nValue = /Devices/M/Secret\n"
         "[/Software/Security/Access/S/Read]\nValue = Administrator\n"
         "[/Software/Security/Access/S/Write]\nValue = Administrator\n");
    SetCaller("viewer", "10.0.0.7");
  }

  int Create(const std::string& id, const std::vector<std::string>& paths) {
    NewSubscription request;
    request.id = id;
    request.replyUri = "http://client/" + id;
    request.leaseDuration = 5000;
    request.logSinceTime = 1700000000000000;  // 2023-11-14T22:13:20Z
    request.logOptions = 5;
    for (const std::string& path : paths) {
      request.realTimeNodes.push_back({path, 100, 1.5});
    }
    return createSubscription(ctx_.get(), request, results_, fault_);
  }
  int Update(const std::string& id, const std::vector<std::string>& add,
             const std::vector<std::string>& remove) {
    std::vector<NodeSubscription> nodes;
    for (const std::string& path : add) nodes.push_back({path, 0, 0.0});
    return updateSubscriptionRealTimeNodes(ctx_.get(), &id, nodes, remove,
                                           results_, fault_);
  }
  int Cancel(const std::string& id) {
    return cancelSubscription(ctx_.get(), &id, fault_);
  }
  std::vector<std::string> Nodes(const std::string& id) {
    return getSubscribedNodes(ctx_.get(), &id);
  }
  // The leaf's text, or "<missing>".
  std::string Leaf(const std::string& path) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement element;
    element_property_t property;
    ctx_->cds.get_leaf(path, status, element, property);
    return status == API_STATUS_OK ? element.to_string() : "<missing>";
  }
  std::string Values() {
    std::string texts;
    for (const RealTimeNodeResult& r : *results_) texts += r.value + "|";
    return texts;
  }

  RealTimeNodeResults results_;
  std::string fault_;
};

// One result per accepted point, in request order: the value with its
// numeric text, quality and time; points without a node name, or whose
// node path would not fit, get neither node nor result. The value is read
// with the caller's rights: a point the caller may not read shows neither
// its value nor its numeric text. (The leaves written are the end-to-end
// tests'.)
TEST_F(SubscriptionTest, CreateAnswersEachAcceptedPoint) {
  const std::string tooLong = "/Devices/" + std::string(300, 'x');
  ASSERT_EQ(0, Create("s 1.a", {kVolts, "", "Devices/M/V", "/Devices/M/On",
                                tooLong, "/Devices/../X", kSecret,
                                std::string(kSecret) + "/Value.Time"}));
  EXPECT_EQ("Devices.M.V;Devices.M.On;Devices.%2E%2E.X;Devices.M.Secret;"
            "Devices.M.Secret.Value%2ETime",
            Leaf(kSubs + "/s 1.a/RTNodes:Children"));
  EXPECT_EQ("5", Leaf(kSubs + "/s 1.a/RTNodeCount/Value"));
  ASSERT_TRUE(results_);
  ASSERT_EQ(5u, results_->size());
  const char* const values[] = {
      "230.5", "true", "? 8 Bad Path Syntax : CDS Error in supplied path",
      "? 2 Not Authorized : Unauthorized read"};
  for (size_t i = 0; i < 4; ++i) EXPECT_EQ(values[i], (*results_)[i].value);
  for (size_t i : {3, 4}) {  // the time of a value is no secret, the value is
    EXPECT_EQ("", (*results_)[i].numericValue);
    EXPECT_EQ(0, (*results_)[i].quality);
  }
  const RealTimeNodeResult& volts = (*results_)[0];
  EXPECT_EQ("230.5", volts.numericValue);
  EXPECT_EQ(192, volts.quality);
  EXPECT_EQ(qrx_UNIXtoQRXtime64(&Stored(kVolts).get_time()), volts.time);
  EXPECT_EQ("1", (*results_)[1].numericValue);
  EXPECT_EQ(0, (*results_)[2].quality);
  EXPECT_NE(0, (*results_)[2].time);
}

// Identifiers that cannot name a subscription of their own are refused by
// create and unknown to the others (error 28, or a client fault for
// cancel); missing ones are client faults too. Nothing is written.
TEST_F(SubscriptionTest, UnusableIdentifiersWriteNothing) {
  for (const std::string& id : {std::string("a/b"), std::string("a:b"),
                                std::string(".."), std::string(".x"),
                                std::string("Value"), std::string(300, 'x')}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(kSubscriptionClientFault, Create(id, {kVolts}));
    EXPECT_EQ(kSubscriptionClientFault, Cancel(id));
    EXPECT_EQ(0, Update(id, {kVolts}, {}));
    EXPECT_EQ("? 28 No match for SubscriberId : "
              "updateSubscriptionRealTimeNodes() failed|",
              Values());
    EXPECT_EQ(std::vector<std::string>{"? 28 No match for SubscriberId : " +
                                       id},
              Nodes(id));
  }
  EXPECT_EQ("", Leaf(kSubs + ":Children"));
  EXPECT_EQ("0", Leaf(kCount));
  EXPECT_EQ(kSubscriptionClientFault,
            cancelSubscription(ctx_.get(), nullptr, fault_));
  EXPECT_EQ(kSubscriptionClientFault,
            updateSubscriptionRealTimeNodes(ctx_.get(), nullptr, {}, {},
                                            results_, fault_));
  EXPECT_EQ(std::vector<std::string>{"? 28 No match for SubscriberId : "
                                     "No subscriptionId given"},
            getSubscribedNodes(ctx_.get(), nullptr));
}

// A subscription is its creator's: another user changes it only as an
// Administrator, and a refusal changes nothing.
TEST_F(SubscriptionTest, OnlyTheOwnerOrAnAdministratorChangesIt) {
  ASSERT_EQ(0, Create("s1", {kVolts}));
  SetCaller("operator", "10.0.0.8");
  EXPECT_EQ(kWriteNotAuthorized, Create("s1", {}));
  EXPECT_EQ(kWriteNotAuthorized, Update("s1", {}, {kVolts}));
  EXPECT_EQ(kWriteNotAuthorized, Cancel("s1"));
  EXPECT_EQ("Devices.M.V", Leaf(kSubs + "/s1/RTNodes:Children"));
  EXPECT_EQ("1", Leaf(kCount));
  SetCaller("viewer", "10.9.9.9");  // the owner, from elsewhere
  EXPECT_EQ(0, Update("s1", {"/Devices/M/On"}, {}));
  SetCaller("admin", "127.0.0.1");
  EXPECT_EQ(0, Cancel("s1"));
  EXPECT_EQ("<missing>", Leaf(kSubs + "/s1/ReplyURI/Value"));
  EXPECT_EQ("2", Leaf(kCount));
}

// Without the counter's change the publisher would not look: the
// subscription stays, but its points are not answered.
TEST_F(SubscriptionTest, MissingCounterAnswersNoResults) {
  api_status_t status;
  ctx_->cds.remove_node(kCount, status, "test");
  ASSERT_EQ(0, Create("s1", {kVolts}));
  EXPECT_FALSE(results_);
  EXPECT_EQ("http://client/s1", Leaf(kSubs + "/s1/ReplyURI/Value"));
  EXPECT_EQ("", Leaf(kSubs + "/s1/RTNodes:Children"));
}

}  // namespace

}  // namespace wsgated
