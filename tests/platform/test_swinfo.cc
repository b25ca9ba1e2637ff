// CCds_SwInfo against a real store: binding, templates, shared counters.

#include "platform/swinfo.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "platform/cds.h"
#include "tests/platform/temp_store.h"

namespace {

using toolkit::CCds_SwInfo;
using toolkit::CElement;
using toolkit::tagnval;

const char* const kNode = "/Software/Data Servers/Test Server";
const char* const kSubs = "/Software/Data Servers/WS-Publisher/Subscriptions";

// The subscription template as the publisher expects it.
const char* const kReplyUri[] = {"/NodeType", "Point", "/ValueType", "String",
                                 "/Value", "replyUri", nullptr};
const char* const kLease[] = {"/NodeType", "Point", "/ValueType", "Integer",
                              "/Value", "20", "/Units", "milliseconds",
                              nullptr};
const char* const kSince[] = {"/NodeType", "Point", "/ValueType", "timeval",
                              "/Value", "1234", nullptr};
const char* const kRtNodes[] = {"/NodeType", "Collection", "/ValueType",
                                "None", "/HasDynamicChildren", "true",
                                nullptr};
const tagnval kSubscriptionTemplate[] = {
    {kSubs, "/ReplyURI", kReplyUri},
    {kSubs, "/LeaseDuration", kLease},
    {kSubs, "/LogSinceTime", kSince},
    {kSubs, "/RTNodes", kRtNodes},
};

class SwInfoTest : public testing_store::StoreTest {
 protected:
  std::string Sub(const std::string& leaf) {
    return std::string(kSubs) + "/sub1" + leaf;
  }
};

TEST_F(SwInfoTest, BindCreatesTheStatusPoints) {
  CCds_SwInfo info;
  ASSERT_EQ(0, info.bind(cds_.get(), kNode));
  EXPECT_EQ(kNode, info.node());
  const std::string node = kNode;
  for (const char* point : {"/AppStatus", "/AppError", "/Pid", "/Started"}) {
    EXPECT_EQ("Point", Get(node + point + "/NodeType").to_string()) << point;
  }
  EXPECT_EQ(PCD_TYPE_INT, Get(node + "/AppStatus/Value").get_type());
  EXPECT_EQ(getpid(), Get(node + "/Pid/Value").to_int());
  CElement started = Get(node + "/Started/Value");
  ASSERT_EQ(PCD_TYPE_TIMEVAL, started.get_type());
  EXPECT_LE(std::labs(started.to_timeval().tv_sec - time(nullptr)), 60);

  EXPECT_EQ(0, info.SetAppStatus(toolkit::APP_STATUS_RUNNING));
  EXPECT_EQ(0, info.SetAppError(17));
  EXPECT_EQ(4, Get(node + "/AppStatus/Value").to_int());
  EXPECT_EQ(17, Get(node + "/AppError/Value").to_int());
  // A second run binds again: the status is reset, the node kept.
  CCds_SwInfo again;
  ASSERT_EQ(0, again.bind(cds_.get(), kNode));
  EXPECT_EQ(0, Get(node + "/AppStatus/Value").to_int());
}

TEST_F(SwInfoTest, UnboundObjectRefusesWritesAndConstructorWritesNothing) {
  CCds_SwInfo info;
  EXPECT_NE(0, info.SetAppStatus(toolkit::APP_STATUS_RUNNING));
  EXPECT_NE(0, info.FillSwInfoNode(&kSubscriptionTemplate[0]));
  EXPECT_NE(0, info.bind(nullptr, kNode));
  CCds_SwInfo constructed(cds_.get(), Sub(""));
  EXPECT_FALSE(Exists(Sub("")));
}

TEST_F(SwInfoTest, TemplatesWriteTypedLeaves) {
  const char* const multistate[] = {"/ValueType", "Multistate", "/Value", "2",
                                    nullptr};
  const char* const real[] = {"/ValueType", "Real", "/Value", "0.0",
                              "/.HighAlarmLimit", "253.5", nullptr};
  const char* const unknown[] = {"/ValueType", "Gizmo", "/Value", "007",
                                 "/VendorNote", "12", nullptr};
  const tagnval more[] = {{kSubs, "/State", multistate},
                          {kSubs, "/Deadband", real},
                          {kSubs, "/Odd", unknown}};
  CCds_SwInfo info(cds_.get(), Sub(""));
  for (const tagnval& entry : kSubscriptionTemplate) {
    ASSERT_EQ(0, info.FillSwInfoNode(&entry)) << entry.path;
  }
  for (const tagnval& entry : more) {
    ASSERT_EQ(0, info.FillSwInfoNode(&entry)) << entry.path;
  }
  // Filling again (a re-created subscription) rewrites, it does not fail.
  EXPECT_EQ(0, info.FillSwInfoNode(&kSubscriptionTemplate[1]));
  const struct {
    const char* leaf;
    data_type_t type;
    const char* text;
  } cases[] = {
      {"/ReplyURI/Value", PCD_TYPE_STRING, "replyUri"},
      {"/LeaseDuration/Value", PCD_TYPE_INT, "20"},
      {"/LeaseDuration/Units", PCD_TYPE_STRING, "milliseconds"},
      {"/LogSinceTime/Value", PCD_TYPE_TIMEVAL, "1970-01-01T00:20:34.000000Z"},
      {"/RTNodes/HasDynamicChildren", PCD_TYPE_BOOL, "true"},
      {"/RTNodes/NodeType", PCD_TYPE_STRING, "Collection"},
      {"/State/Value", PCD_TYPE_INT, "2"},
      {"/Deadband/Value", PCD_TYPE_REAL, "0"},
      // An alarm limit takes the type of the node's Value.
      {"/Deadband/.HighAlarmLimit", PCD_TYPE_REAL, "253.5"},
      {"/Odd/Value", PCD_TYPE_STRING, "007"},
      {"/Odd:VendorNote", PCD_TYPE_STRING, "12"},
  };
  for (const auto& c : cases) {
    const CElement leaf = Get(Sub(c.leaf));
    EXPECT_EQ(c.type, leaf.get_type()) << c.leaf;
    EXPECT_EQ(c.text, leaf.to_string()) << c.leaf;
  }
}

TEST_F(SwInfoTest, ValueWithoutValueTypeFollowsTheStoredOne) {
  const char* const typed[] = {"/ValueType", "Integer", nullptr};
  const char* const value[] = {"/Value", "41", nullptr};
  const tagnval first = {kSubs, "/Count", typed};
  const tagnval second = {kSubs, "/Count", value};
  CCds_SwInfo info(cds_.get(), Sub(""));
  ASSERT_EQ(0, info.FillSwInfoNode(&first));
  ASSERT_EQ(0, info.FillSwInfoNode(&second));
  EXPECT_EQ(PCD_TYPE_INT, Get(Sub("/Count/Value")).get_type());
}

TEST_F(SwInfoTest, RefusesNodesOutsideTheBase) {
  // The object's own node equals the base: not below it.
  CCds_SwInfo at_base(cds_.get(), kSubs);
  const tagnval itself = {kSubs, "", kRtNodes};
  EXPECT_NE(0, at_base.FillSwInfoNode(&itself));

  CCds_SwInfo elsewhere(cds_.get(), "/Software/Data Servers/WS-Publisher");
  const tagnval sibling = {kSubs, "/SubscriptionsX", kRtNodes};
  EXPECT_NE(0, elsewhere.FillSwInfoNode(&sibling));
  EXPECT_FALSE(Exists("/Software/Data Servers/WS-Publisher/SubscriptionsX"));

  CCds_SwInfo sub(cds_.get(), Sub(""));
  const tagnval bad_path = {kSubs, "/a/../b", kRtNodes};
  EXPECT_NE(0, sub.FillSwInfoNode(&bad_path));
}

TEST_F(SwInfoTest, BadTemplateWritesNothing) {
  const char* const bad_int[] = {"/NodeType", "Point", "/ValueType",
                                 "Integer", "/Value", "twenty", nullptr};
  const char* const odd_list[] = {"/NodeType", "Point", "/Value", nullptr};
  const tagnval entries[] = {{kSubs, "/BadInt", bad_int},
                             {kSubs, "/Odd", odd_list}};
  CCds_SwInfo info(cds_.get(), Sub(""));
  for (const tagnval& entry : entries) {
    EXPECT_NE(0, info.FillSwInfoNode(&entry)) << entry.path;
    // All or nothing: not even the node is left behind.
    EXPECT_FALSE(Exists(Sub(entry.path))) << entry.path;
  }
}

TEST_F(SwInfoTest, IntValuesAndSharedCounters) {
  AddNode("/Counters/Hits");
  CCds_SwInfo info(cds_.get(), "/Counters");
  ASSERT_EQ(0, info.SetIntValue("/Counters", "/Hits", 10));
  EXPECT_EQ(10, Get("/Counters/Hits/Value").to_int());
  EXPECT_NE(0, info.SetIntValue("/Counters", "/Missing", 1));

  // Two handles, as two processes would have, share one counter.
  std::unique_ptr<toolkit::CCds> other = store_.Open();
  CCds_SwInfo other_info(other.get(), "/Counters");
  int value = 0;
  ASSERT_EQ(0, info.UpdateIntValue("/Counters", "/Hits", 5, &value));
  EXPECT_EQ(15, value);
  ASSERT_EQ(0, other_info.UpdateIntValue("/Counters", "/Hits", -20, &value));
  EXPECT_EQ(-5, value);
  ASSERT_EQ(0, info.UpdateIntValue("/Counters", "/Hits", 1, nullptr));
  EXPECT_EQ(-4, Get("/Counters/Hits/Value").to_int());

  AddNode("/Counters/Label");
  SetText("/Counters/Label/Value", "not a number");
  EXPECT_NE(0, info.UpdateIntValue("/Counters", "/Label", 1, &value));
  EXPECT_EQ(-5, value);  // untouched on failure
}

}  // namespace
