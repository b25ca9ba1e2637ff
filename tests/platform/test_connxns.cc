// CCDS_Connxns: the caller table in memory and in the store, and HostLookup.

#include "platform/connxns.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <netinet/in.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/path.h"
#include "tests/platform/temp_store.h"

namespace {

using toolkit::CCDS_Connxns;

const char* const kNode = "/Software/Data Servers/Connections/Test";

class ConnxnsTest : public testing_store::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    ASSERT_EQ(0, table_.bind(cds_.get(), kNode, nullptr));
  }
  std::string Entry(unsigned number, const char* point) {
    return std::string(kNode) + "/" + std::to_string(number) + point +
           "/Value";
  }
  std::vector<std::string> Children() {
    std::vector<std::string> children;
    EXPECT_EQ(0, toolkit::CPath::getChildPaths(*cds_, kNode, children));
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
  EXPECT_FALSE(Exists(std::string(kNode) + "/" + std::to_string(n)));
  // A dropped caller comes back as a new entry with a new number.
  EXPECT_NE(n, Add("192.0.2.1"));
}

TEST_F(ConnxnsTest, BindRemovesEntriesOfAnEarlierRun) {
  Add("192.0.2.1");
  CCDS_Connxns next_run;
  ASSERT_EQ(0, next_run.bind(cds_.get(), kNode, nullptr));
  EXPECT_TRUE(Children().empty());
  EXPECT_EQ(0u, next_run.size());
}

TEST_F(ConnxnsTest, WorksInMemoryWithoutAStore) {
  CCDS_Connxns table;
  unsigned n = table.AddConnxn("http", "192.0.2.9", "", "", "", nullptr);
  EXPECT_NE(0u, n);
  EXPECT_EQ(n, table.FindUpdateConnxn("192.0.2.9", nullptr));
  EXPECT_EQ(1, table.RemoveAllConnxns());
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

}  // namespace
