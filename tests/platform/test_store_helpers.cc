// The store-backed helpers: the caller table (CCDS_Connxns) and HostLookup,
// software information (CCds_SwInfo), and the utilities (CCds_Utils).

#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <netdb.h>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/connxns.h"
#include "platform/path.h"
#include "platform/swinfo.h"
#include "platform/utils.h"
#include "tests/platform/temp_store.h"

namespace {

using toolkit::CCDS_Connxns;
using toolkit::CCds_SwInfo;
using toolkit::CCds_Utils;
using toolkit::CElement;
using toolkit::tagnval;

// CCDS_Connxns: the caller table in memory and in the store, and HostLookup.

const char* const kConnxns = "/Software/Data Servers/Connections/Test";

class ConnxnsTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    ASSERT_EQ(0, table_.bind(cds_.get(), kConnxns, nullptr));
  }
  std::string Entry(unsigned number, const char* point) {
    return std::string(kConnxns) + "/" + std::to_string(number) + point +
           "/Value";
  }
  std::vector<std::string> Children() {
    std::vector<std::string> children;
    EXPECT_EQ(0, toolkit::CPath::getChildPaths(*cds_, kConnxns, children));
    return children;
  }
  unsigned Add(const char* address) {
    return table_.AddConnxn("https", address, "host", "", "alice", nullptr);
  }

  CCDS_Connxns table_;
};

TEST_F(ConnxnsTest, AddShowsTheCallerInTheStore) {
  auto data = std::make_shared<int>(7);
  unsigned n = table_.AddConnxn("https", "192.0.2.1", "client.example", "",
                                "alice", data);
  ASSERT_NE(0u, n);
  EXPECT_EQ(1u, table_.size());
  EXPECT_EQ("https", Get(Entry(n, "/Scheme")).to_string());
  EXPECT_EQ("192.0.2.1", Get(Entry(n, "/RemoteAddress")).to_string());
  EXPECT_EQ("client.example", Get(Entry(n, "/Host")).to_string());
  EXPECT_EQ("alice", Get(Entry(n, "/User")).to_string());
  EXPECT_EQ(PCD_TYPE_TIMEVAL, Get(Entry(n, "/Opened")).get_type());
  EXPECT_EQ(1u, Get(Entry(n, "/Requests")).to_uint());
  EXPECT_EQ(data, table_.UserData("192.0.2.1"));
  EXPECT_EQ(0u, table_.AddConnxn("http", "", "", "", "", nullptr));
}

TEST_F(ConnxnsTest, FindUpdatesOnlyKnownCallers) {
  unsigned a = Add("192.0.2.1");
  unsigned b = Add("192.0.2.2");
  EXPECT_NE(a, b);
  EXPECT_EQ(0u, table_.FindUpdateConnxn("192.0.2.3", nullptr));
  EXPECT_EQ(nullptr, table_.UserData("192.0.2.3"));

  auto first = std::make_shared<int>(1);
  EXPECT_EQ(a, table_.FindUpdateConnxn("192.0.2.1", first));
  // Null user data keeps what is stored.
  EXPECT_EQ(a, table_.FindUpdateConnxn("192.0.2.1", nullptr));
  EXPECT_EQ(first, table_.UserData("192.0.2.1"));

  // Request counts reach the store only when the table is checked.
  EXPECT_EQ(1u, Get(Entry(a, "/Requests")).to_uint());
  table_.setIdleLimit(3600);
  EXPECT_EQ(0, table_.CheckAllConnxns());
  EXPECT_EQ(3u, Get(Entry(a, "/Requests")).to_uint());
  EXPECT_EQ(1u, Get(Entry(b, "/Requests")).to_uint());
  EXPECT_EQ(PCD_TYPE_TIMEVAL, Get(Entry(a, "/LastSeen")).get_type());
}

TEST_F(ConnxnsTest, IdleEntriesAreDropped) {
  unsigned n = Add("192.0.2.1");
  table_.setIdleLimit(3600);
  EXPECT_EQ(0, table_.CheckAllConnxns());
  EXPECT_EQ(1u, table_.size());
  table_.setIdleLimit(0);  // everything is idle now
  EXPECT_EQ(1, table_.CheckAllConnxns());
  EXPECT_EQ(0u, table_.size());
  EXPECT_EQ(0u, table_.FindUpdateConnxn("192.0.2.1", nullptr));
  EXPECT_FALSE(Exists(std::string(kConnxns) + "/" + std::to_string(n)));
  // A dropped caller comes back as a new entry with a new number.
  EXPECT_NE(n, Add("192.0.2.1"));
}

TEST_F(ConnxnsTest, BindRemovesEntriesOfAnEarlierRun) {
  Add("192.0.2.1");
  CCDS_Connxns next_run;
  ASSERT_EQ(0, next_run.bind(cds_.get(), kConnxns, nullptr));
  EXPECT_TRUE(Children().empty());
  EXPECT_EQ(0u, next_run.size());
}

// What the machine's resolver answers for 127.0.0.1: its name, or "" when
// it has none (a bare root without /etc/hosts). HostLookup must agree
// either way; the test does not depend on which.
std::string LoopbackName() {
  sockaddr_in loopback{};
  loopback.sin_family = AF_INET;
  loopback.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  char name[NI_MAXHOST];
  return getnameinfo(reinterpret_cast<const sockaddr*>(&loopback),
                     sizeof(loopback), name, sizeof(name), nullptr, 0,
                     NI_NAMEREQD) == 0
             ? name
             : "";
}

// Short inet_aton forms are numeric too; host2 gives the canonical text.
// (Loopback only: other addresses would make the test ask DNS.)
TEST(HostLookup, LoopbackGetsTheResolversNameAndCanonicalForm) {
  const std::string name = LoopbackName();
  for (const char* address : {"127.0.0.1", "127.1"}) {
    SCOPED_TRACE(address);
    sockaddr_storage sa;
    std::string host = "stale", host2 = "stale";
    EXPECT_EQ(name.empty() ? 1 : 0,
              CCDS_Connxns::HostLookup(address, AF_INET, &sa, host, host2,
                                       nullptr));
    EXPECT_EQ(name, host);
    EXPECT_EQ("127.0.0.1", host2);
    ASSERT_EQ(AF_INET, sa.ss_family);
    EXPECT_EQ(htonl(INADDR_LOOPBACK),
              reinterpret_cast<const sockaddr_in*>(&sa)->sin_addr.s_addr);
  }
}

TEST(HostLookup, RefusesWhatIsNotANumericAddressOfTheFamily) {
  const char* const bad[] = {"999.1.1.1", "", "::1", "localhost",
                             "1.2.3.4.5", "127.0.0.1 ", "a\xff"};
  for (const char* address : bad) {
    std::string host = "stale", host2 = "stale";
    EXPECT_NE(0, CCDS_Connxns::HostLookup(address, AF_INET, nullptr, host,
                                          host2, nullptr))
        << address;
    EXPECT_EQ("", host) << address;
    EXPECT_EQ("", host2) << address;
  }
  std::string embedded("127.0.0.1\0junk", 14);
  std::string huge(100000, '1');
  for (const std::string& address : {embedded, huge}) {
    std::string host, host2;
    EXPECT_NE(0, CCDS_Connxns::HostLookup(address, AF_INET, nullptr, host,
                                          host2, nullptr));
  }
}

// CCds_SwInfo against a real store: binding and templates.

const char* const kServer = "/Software/Data Servers/Test Server";
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
  ASSERT_EQ(0, info.bind(cds_.get(), kServer));
  EXPECT_EQ(kServer, info.node());
  const std::string node = kServer;
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
  ASSERT_EQ(0, again.bind(cds_.get(), kServer));
  EXPECT_EQ(0, Get(node + "/AppStatus/Value").to_int());
}

TEST_F(SwInfoTest, UnboundObjectRefusesWritesAndConstructorWritesNothing) {
  CCds_SwInfo info;
  EXPECT_NE(0, info.SetAppStatus(toolkit::APP_STATUS_RUNNING));
  EXPECT_NE(0, info.FillSwInfoNode(&kSubscriptionTemplate[0]));
  EXPECT_NE(0, info.bind(nullptr, kServer));
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
  // A Value without a ValueType follows the one already stored.
  const char* const typed[] = {"/ValueType", "Integer", nullptr};
  const char* const value[] = {"/Value", "41", nullptr};
  const tagnval more[] = {{kSubs, "/State", multistate},
                          {kSubs, "/Deadband", real},
                          {kSubs, "/Odd", unknown},
                          {kSubs, "/Count", typed},
                          {kSubs, "/Count", value}};
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
      {"/Count/Value", PCD_TYPE_INT, "41"},
  };
  for (const auto& c : cases) {
    const CElement leaf = Get(Sub(c.leaf));
    EXPECT_EQ(c.type, leaf.get_type()) << c.leaf;
    EXPECT_EQ(c.text, leaf.to_string()) << c.leaf;
  }
}

// Nodes outside the object's base (or the base itself, or a bad path)
// and bad templates are refused, and nothing is written: not even the
// node is left behind.
TEST_F(SwInfoTest, RefusedTemplatesWriteNothing) {
  const char* const bad_int[] = {"/NodeType", "Point", "/ValueType",
                                 "Integer", "/Value", "twenty", nullptr};
  const char* const odd_list[] = {"/NodeType", "Point", "/Value", nullptr};
  const std::string publisher = "/Software/Data Servers/WS-Publisher";
  const struct {
    std::string base;
    tagnval entry;
    std::string node;
  } cases[] = {
      {kSubs, {kSubs, "", kRtNodes}, kSubs},
      {publisher, {kSubs, "/SubscriptionsX", kRtNodes},
       publisher + "/SubscriptionsX"},
      {Sub(""), {kSubs, "/a/../b", kRtNodes}, Sub("/b")},
      {Sub(""), {kSubs, "/BadInt", bad_int}, Sub("/BadInt")},
      {Sub(""), {kSubs, "/Odd", odd_list}, Sub("/Odd")},
  };
  for (const auto& c : cases) {
    CCds_SwInfo info(cds_.get(), c.base);
    EXPECT_NE(0, info.FillSwInfoNode(&c.entry)) << c.node;
    EXPECT_FALSE(Exists(c.node)) << c.node;
  }
}

// CCds_Utils: locale ranking and the device list.

struct PrimeCase {
  const char* supported;
  const char* accepted;
  bool matched;
  const char* prime;
};

const char* const kList = "en_US;de_DE;fr_FR;zh_TW";

const PrimeCase kPrimeCases[] = {
    // Single names, as option parsing and the loop's default pass them.
    {kList, "de_DE", true, "de_DE"},
    {kList, "fr-FR.UTF-8", true, "fr_FR"},
    {kList, "en_US.UTF-8", true, "en_US"},
    {kList, "de-DE@euro", true, "de_DE"},
    {kList, "DE-de", true, "de_DE"},
    // Headers ranked by q, ties in header order.
    {kList, "de-DE,de;q=0.9,en;q=0.5", true, "de_DE"},
    {kList, "fr;q=0.5,de;q=0.8", true, "de_DE"},
    {kList, "it,fr;q=0.5", true, "fr_FR"},
    {kList, "  de-DE  ; q = 0.7 , fr", true, "fr_FR"},
    {kList, "fr;q=0.5,de;q=0", true, "fr_FR"},
    {kList, "fr;q=2,de", true, "fr_FR"},      // q above 1 counts as 1
    {kList, "de;q=1,fr;q=5", true, "de_DE"},
    {kList, "de;q=abc", true, "de_DE"},       // malformed q is ignored
    {kList, "de;Q=0.000,fr;q=0.1", true, "fr_FR"},
    // Language and region, then language.
    {kList, "de-AT", true, "de_DE"},
    {kList, "zh_Hant_TW", true, "zh_TW"},
    {kList, "zh-CN", true, "zh_TW"},
    {kList, "en-GB,de-DE", true, "en_US"},    // each range in turn
    {"de_AT;de_DE", "de-DE", true, "de_DE"},
    {"de_DE;de;en_US", "de-AT", true, "de"},  // a bare language is closer
    {"de-DE;en_US", "de_de", true, "de-DE"},  // the name as listed
    {"  ;bogus!!;de_DE", "de", true, "de_DE"},
    // Wildcard: the first supported name.
    {kList, "*", true, "en_US"},
    {"fr_FR;en_US", "ja,*;q=0.1", true, "fr_FR"},
    {"fr_FR;en_US", "*;q=0", false, "en_US"},
    // Nothing usable: en_US when supported, else the first, else en_US.
    {kList, "", false, "en_US"},
    {kList, ";;;", false, "en_US"},
    {kList, ",,, ,;", false, "en_US"},
    {kList, "ja", false, "en_US"},
    {kList, "de;q=0", false, "en_US"},
    {kList, "1234,!!!,d\xC3\xA9", false, "en_US"},
    {kList, "de;q=-1", false, "en_US"},
    {"fr_FR;de_DE", "ja", false, "fr_FR"},
    {"de_DE;en-us", "ja", false, "en-us"},
    {"", "de", false, "en_US"},
    {";;", "*", false, "en_US"},
};

TEST(GetPrimeLocale, RanksAcceptLanguage) {
  for (const PrimeCase& c : kPrimeCases) {
    std::string prime = "stale";
    bool matched = CCds_Utils::getPrimeLocale(c.supported, c.accepted, prime);
    EXPECT_EQ(c.matched, matched) << c.supported << " | " << c.accepted;
    EXPECT_EQ(c.prime, prime) << c.supported << " | " << c.accepted;
  }
}

TEST(GetPrimeLocale, SurvivesHugeHeaders) {
  std::string header;
  while (header.size() < 10240) header += "xx-YY;q=0.1,";
  std::string prime;
  EXPECT_TRUE(CCds_Utils::getPrimeLocale(kList, header + "de", prime));
  EXPECT_EQ("de_DE", prime);

  std::string junk(10240, ';');
  for (size_t i = 0; i < junk.size(); i += 3) junk[i] = '\xff';
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(kList, junk, prime));
  EXPECT_EQ("en_US", prime);

  std::string long_tag(10240, 'a');
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(kList, long_tag, prime));
  EXPECT_FALSE(CCds_Utils::getPrimeLocale(long_tag, "de", prime));
  EXPECT_EQ("en_US", prime);
}

class UtilsStoreTest : public testing_store::StoreTest {};

TEST_F(UtilsStoreTest, DeviceListIsEveryDeviceInPathOrder) {
  const char* const devices[] = {"/Other/UPS", "/A B", "/A/B",
                                 "/Devices/Meter1", "/Devices/Meter1/Sub"};
  for (const char* d : devices) {
    AddNode(d);
    SetText(std::string(d) + "/NodeType", "Device");
  }
  AddNode("/Devices/Panel");
  SetText("/Devices/Panel/NodeType", "Collection");
  AddNode("/Devices/Panel/Breaker");  // no NodeType at all

  CCds_Utils utils(*cds_);
  std::vector<std::string> list{"stale"};
  ASSERT_EQ(5, utils.GetDeviceList(list));
  std::vector<std::string> expected{"/A/B", "/A B", "/Devices/Meter1",
                                    "/Devices/Meter1/Sub", "/Other/UPS"};
  EXPECT_EQ(expected, list);
}

}  // namespace
