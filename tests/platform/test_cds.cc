// The store client against a real store in a temporary folder: values of
// every type, per-path statuses, computed attributes, removal, groups, the
// event queue, the system log, the watchdog; and several processes on one
// store.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "platform/cds_store.h"
#include "platform/event.h"
#include "tests/platform/child_process.h"
#include "tests/platform/temp_store.h"

namespace {

using testing_child::ChildProcess;
using testing_store::StoreTest;
using testing_store::TempStore;
using toolkit::CCds;
using toolkit::CElement;
using Step = ChildProcess::Step;

// The store client against a real store in a temporary folder: values of
// every type, per-path statuses, computed attributes, removal, groups, the
// event queue, the system log and the watchdog.

long long NowUs() {
  timeval now;
  gettimeofday(&now, nullptr);
  return static_cast<long long>(now.tv_sec) * 1000000 + now.tv_usec;
}

class CdsStoreTest : public StoreTest {
 protected:
  api_status_t Status(const std::string& path) {
    api_status_t status = API_STATUS_UNKNOWN;
    CElement element;
    element_property_t property;
    EXPECT_EQ(0, cds_->get_leaf(path, status, element, property)) << path;
    return status;
  }
  api_status_t Write(const std::string& path, const CElement& value,
                     pcd_tribool_t persist = PCD_TRIBOOL_UNKNOWN) {
    api_status_t status = API_STATUS_UNKNOWN;
    cds_->set_leaf(path, value, status, persist, "test");
    return status;
  }
  element_property_t Property(const std::string& path) {
    api_status_t status;
    CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    cds_->get_leaf(path, status, element, property);
    return property;
  }
};

// A missing file is not created, an existing store only replaced on demand.
TEST(CdsOpenTest, OpeningAndCreating) {
  TempStore store;
  const std::string missing = store.path() + ".missing";
  EXPECT_EQ(nullptr, pcd_open(missing.c_str()));
  EXPECT_NE(0, access(missing.c_str(), F_OK));
  setenv("TOOLKIT_CDS_PATH", missing.c_str(), 1);
  EXPECT_EQ(missing, pcd_default_path());
  EXPECT_FALSE(CCds().is_open());
  unsetenv("TOOLKIT_CDS_PATH");
  api_status_t status;
  ASSERT_EQ(0, store.Open()->add_node("/Old", status, "test"));
  EXPECT_NE(0, cds_create(store.path(), false));
  ASSERT_EQ(0, cds_create(store.path(), true));
  store.Open()->test_node("/Old", status);
  EXPECT_EQ(API_STATUS_NO_NODE, status);
}

TEST_F(CdsStoreTest, EveryTypeReadsBackExactly) {
  AddNode("/P");
  std::vector<CElement> values = {
      CElement(true),
      CElement(false),
      CElement(std::numeric_limits<int32_t>::min()),
      CElement(std::numeric_limits<int32_t>::max()),
      CElement(std::numeric_limits<uint32_t>::max()),
      CElement(0.1),
      CElement(-std::numeric_limits<double>::infinity()),
      CElement(std::string("007")),  // text that looks like a number
      CElement(std::string("a;b\n\xc3\xa9")),
      CElement(std::string()),
      CElement(timeval{-1, 250000}),
      CElement(timeval{1700000000, 999999}),
  };
  for (size_t i = 0; i < values.size(); ++i) {
    values[i].set_time(timeval{1600000000 + static_cast<time_t>(i), 42});
    ASSERT_EQ(API_STATUS_OK, Write("/P/Value", values[i])) << i;
    const CElement read = Get("/P/Value");
    EXPECT_EQ(values[i].get_type(), read.get_type()) << i;
    EXPECT_EQ(values[i], read) << i << " " << values[i].to_string();
    EXPECT_EQ(values[i].get_time().tv_sec, read.get_time().tv_sec) << i;
    EXPECT_EQ(42, read.get_time().tv_usec) << i;
  }
  // NaN survives the database; an unstamped write gets the present time.
  const time_t before = time(nullptr);
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement(std::nan(""))));
  const CElement read = Get("/P/Value");
  EXPECT_EQ(PCD_TYPE_REAL, read.get_type());
  EXPECT_TRUE(std::isnan(read.to_double()));
  EXPECT_GE(read.get_time().tv_sec, before);
  EXPECT_LE(read.get_time().tv_sec, time(nullptr));
}

TEST_F(CdsStoreTest, PersistenceFlag) {
  AddNode("/P");
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement(1)));
  EXPECT_EQ(PCD_PROP_NORMAL, Property("/P/Value"));
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement(2), PCD_TRIBOOL_TRUE));
  EXPECT_EQ(PCD_PROP_PERSISTENT, Property("/P/Value"));
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement(3)));
  EXPECT_EQ(PCD_PROP_PERSISTENT, Property("/P/Value"));  // UNKNOWN keeps
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement(4), PCD_TRIBOOL_FALSE));
  EXPECT_EQ(PCD_PROP_NORMAL, Property("/P/Value"));
  ASSERT_EQ(API_STATUS_OK, Write("/P:New", CElement(1), PCD_TRIBOOL_TRUE));
  EXPECT_EQ(PCD_PROP_PERSISTENT, Property("/P:New"));
}

TEST_F(CdsStoreTest, ReadAndWriteStatuses) {
  AddNode("/P");
  SetText("/P/Units", "V");
  ASSERT_EQ(API_STATUS_OK, Write("/P/Value", CElement()));
  EXPECT_EQ(API_STATUS_OK, Status("/P/Units"));
  EXPECT_EQ(API_STATUS_OK, Status("/P/Units.Time"));  // the leaf's view
  EXPECT_EQ(API_STATUS_NO_NODE, Status("/Q/Units"));
  EXPECT_EQ(API_STATUS_NO_ATTRIBUTE, Status("/P/Description"));
  EXPECT_EQ(API_STATUS_NOT_TYPED, Status("/P/Value"));
  EXPECT_EQ(API_STATUS_BAD_PATH, Status("P/Units"));
  EXPECT_EQ(API_STATUS_BAD_PATH, Status("/P/../Units"));
  EXPECT_EQ(API_STATUS_NO_NODE, Write("/Q/Value", CElement(1)));
  EXPECT_EQ(API_STATUS_BAD_PATH, Write("no/slash", CElement(1)));
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, Write("/P/Children", CElement("x")));
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, Write("/P/.ChangeCount", CElement(1)));
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, Write("/P/Value.Time", CElement(1)));
  api_status_t status;
  EXPECT_EQ(0, cds_->add_node("/P", status, "test"));
  EXPECT_EQ(API_STATUS_EXISTS, status);
  EXPECT_EQ(0, cds_->add_node("/", status, "test"));
  EXPECT_EQ(API_STATUS_EXISTS, status);
}

TEST_F(CdsStoreTest, ComputedAttributesFollowCreationOrder) {
  AddNode("/D/Zeta");
  AddNode("/D/Alpha");
  AddNode("/D/Alpha/Deep");
  Set("/D/Units", CElement("V"));
  Set("/D/Value", CElement(1));
  Set("/D:Custom", CElement(2));
  EXPECT_EQ("Zeta;Alpha", Get("/D/Children").to_string());
  EXPECT_EQ(2u, Get("/D/ChildCount").to_uint());
  EXPECT_EQ("Units;Value;Custom", Get("/D/Attributes").to_string());
  EXPECT_EQ("Alpha", Get("/D/Alpha/Name").to_string());
  EXPECT_EQ("", Get("/D/Zeta/Children").to_string());
  EXPECT_EQ(0u, Get("/D/Zeta/ChildCount").to_uint());
  EXPECT_EQ(API_STATUS_NO_NODE, Status("/Nope/Children"));
}

TEST_F(CdsStoreTest, ChangeCountCountsValueWrites) {
  AddNode("/P");
  EXPECT_EQ(0u, Get("/P/.ChangeCount").to_uint());
  Set("/P/Value", CElement(1));
  Set("/P/Value", CElement(1));  // an equal value is still a write
  Set("/P/Units", CElement("V"));
  EXPECT_EQ(2u, Get("/P/.ChangeCount").to_uint());
}

TEST_F(CdsStoreTest, RemoveTakesDescendantsButNotLookalikes) {
  for (const char* node : {"/A/B/C/D", "/A/B0", "/A/B.1", "/A/B-x", "/A/BB"}) {
    AddNode(node);
  }
  Set("/A/B/C/Value", CElement(1));
  Set("/A/B.1/Value", CElement(2));
  api_status_t status;
  ASSERT_EQ(0, cds_->remove_node("/A/B", status, "test"));
  ASSERT_EQ(API_STATUS_OK, status);
  EXPECT_FALSE(Exists("/A/B"));
  EXPECT_FALSE(Exists("/A/B/C/D"));
  EXPECT_EQ("B0;B.1;B-x;BB", Get("/A/Children").to_string());
  EXPECT_EQ(2, Get("/A/B.1/Value").to_int());
  // A node made again under the old name starts without leaves.
  AddNode("/A/B/C");
  EXPECT_EQ(API_STATUS_NO_ATTRIBUTE, Status("/A/B/C/Value"));
  EXPECT_EQ(0, cds_->remove_node("/", status, "test"));
  EXPECT_EQ(API_STATUS_BAD_PATH, status);
  EXPECT_EQ(0, cds_->remove_node("/Nope", status, "test"));
  EXPECT_EQ(API_STATUS_NO_NODE, status);
}

TEST_F(CdsStoreTest, ClearLeaf) {
  AddNode("/P");
  Set("/P/Units", CElement("V"));
  api_status_t status;
  ASSERT_EQ(0, cds_->clear_leaf("/P:Units", status, "test"));
  EXPECT_EQ(API_STATUS_OK, status);
  EXPECT_EQ(API_STATUS_NO_ATTRIBUTE, Status("/P/Units"));
  cds_->clear_leaf("/P:Units", status, "test");
  EXPECT_EQ(API_STATUS_NO_ATTRIBUTE, status);
  cds_->clear_leaf("/Q:Units", status, "test");
  EXPECT_EQ(API_STATUS_NO_NODE, status);
  cds_->clear_leaf("/P", status, "test");  // names no attribute
  EXPECT_EQ(API_STATUS_BAD_PATH, status);
  cds_->clear_leaf("/P:Children", status, "test");
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, status);
}

TEST_F(CdsStoreTest, IncrementLeaf) {
  AddNode("/C");
  api_status_t status;
  int32_t value = 0;
  ASSERT_EQ(0, cds_->increment_leaf("/C/Value", 5, status, &value, "test"));
  EXPECT_EQ(API_STATUS_OK, status);
  EXPECT_EQ(5, value);  // a missing leaf counts from 0 as an Integer
  EXPECT_EQ(PCD_TYPE_INT, Get("/C/Value").get_type());
  cds_->increment_leaf("/C/Value", -7, status, &value, "test");
  EXPECT_EQ(-2, value);
  Set("/C/Value", CElement(std::numeric_limits<uint32_t>::max()));
  cds_->increment_leaf("/C/Value", 1, status, nullptr, "test");
  EXPECT_EQ(0u, Get("/C/Value").to_uint());  // Unsigned wraps
  EXPECT_EQ(PCD_TYPE_UINT, Get("/C/Value").get_type());
  Set("/C/Value", CElement(1.5));
  cds_->increment_leaf("/C/Value", 1, status, nullptr, "test");
  EXPECT_EQ(API_STATUS_TYPE_MISMATCH, status);
  cds_->increment_leaf("/Nope/Value", 1, status, nullptr, "test");
  EXPECT_EQ(API_STATUS_NO_NODE, status);
}

TEST_F(CdsStoreTest, ReadOnlyHandleRefusesTreeWrites) {
  AddNode("/P");
  Set("/P/Value", CElement(1));
  cds_->setReadOnly();
  EXPECT_TRUE(cds_->isReadOnly());
  api_status_t status;
  EXPECT_NE(0, cds_->set_leaf("/P/Value", CElement(2), status,
                              PCD_TRIBOOL_UNKNOWN, "test"));
  EXPECT_EQ(API_STATUS_READ_ONLY, status);
  EXPECT_NE(0, cds_->add_node("/Q", status, "test"));
  EXPECT_EQ(API_STATUS_READ_ONLY, status);
  EXPECT_NE(0, cds_->remove_node("/P", status, "test"));
  EXPECT_NE(0, cds_->clear_leaf("/P:Value", status, "test"));
  EXPECT_NE(0, cds_->increment_leaf("/P/Value", 1, status, nullptr, "test"));
  std::vector<api_status_t> statuses;
  EXPECT_NE(
      0, cds_->set_leaves({"/P/Value"}, {CElement(3)}, {}, statuses, "test"));
  EXPECT_EQ(API_STATUS_READ_ONLY, statuses[0]);
  std::vector<toolkit::CEvent> events(1);
  EXPECT_NE(0, cds_->events_send(events, statuses));
  EXPECT_EQ(1, Get("/P/Value").to_int());
  // Supervision and the system log are not data: they keep working.
  EXPECT_EQ(0, cds_->watchdog_register(status, "ro", 30, false));
  EXPECT_EQ(0, cds_->watchdog_ping(status));
  EXPECT_EQ(0, cds_->syslog_add(6, "still logging"));
}

TEST_F(CdsStoreTest, SetLeavesIsAllOrNothing) {
  AddNode("/P");
  Set("/P/Value", CElement(1));
  std::vector<api_status_t> statuses;
  ASSERT_EQ(0, cds_->set_leaves(
                   {"/P/Value", "/Missing/Value", "/P/Units", "/P/Children"},
                   {CElement(2), CElement(3), CElement("V"), CElement("x")}, {},
                   statuses, "test"));
  EXPECT_EQ(API_STATUS_ROLLED_BACK, statuses[0]);
  EXPECT_EQ(API_STATUS_NO_NODE, statuses[1]);
  EXPECT_EQ(API_STATUS_ROLLED_BACK, statuses[2]);
  EXPECT_EQ(API_STATUS_READ_ONLY_LEAF, statuses[3]);
  EXPECT_EQ(1, Get("/P/Value").to_int());
  EXPECT_EQ(API_STATUS_NO_ATTRIBUTE, Status("/P/Units"));

  ASSERT_EQ(0, cds_->set_leaves(
                   {"/P/Value", "/P/Units"}, {CElement(2), CElement("V")},
                   {PCD_TRIBOOL_TRUE, PCD_TRIBOOL_UNKNOWN}, statuses, "test"));
  EXPECT_EQ(std::vector<api_status_t>(2, API_STATUS_OK), statuses);
  EXPECT_EQ(2, Get("/P/Value").to_int());
  EXPECT_EQ(PCD_PROP_PERSISTENT, Property("/P/Value"));
  EXPECT_NE(0, cds_->set_leaves({"/P/Value"}, {}, {}, statuses, "test"));
}

TEST_F(CdsStoreTest, GroupCommitsOrDiscardsEverything) {
  auto other = store_.Open();
  ASSERT_EQ(0, pcd_begin(cds_->handle));
  EXPECT_NE(0, pcd_begin(cds_->handle));  // groups do not nest
  AddNode("/G");
  Set("/G/Value", CElement(1));
  EXPECT_EQ(PCD_TYPE_NONE, Get(*other, "/G/Value").get_type());
  ASSERT_EQ(0, pcd_rollback(cds_->handle));
  EXPECT_FALSE(Exists("/G"));

  ASSERT_EQ(0, pcd_begin(cds_->handle));
  AddNode("/G");
  Set("/G/Value", CElement(1));
  // A failing call inside the group undoes only itself.
  std::vector<api_status_t> statuses;
  cds_->set_leaves({"/G/Units", "/Missing/Value"}, {CElement("V"), CElement(2)},
                   {}, statuses, "test");
  EXPECT_EQ(API_STATUS_ROLLED_BACK, statuses[0]);
  ASSERT_EQ(0, pcd_commit(cds_->handle));
  EXPECT_EQ(1, Get(*other, "/G/Value").to_int());
  EXPECT_EQ(PCD_TYPE_NONE, Get(*other, "/G/Units").get_type());
  EXPECT_NE(0, pcd_commit(cds_->handle));
}

// CCdsGroup: all or nothing for its lifetime, and a member of an
// enclosing group leaves the decision to that group.
TEST_F(CdsStoreTest, GroupObjectRollsBackUnlessCommitted) {
  {
    toolkit::CCdsGroup group(*cds_);
    AddNode("/G");
  }
  EXPECT_FALSE(Exists("/G"));
  ASSERT_EQ(0, pcd_begin(cds_->handle));
  {
    toolkit::CCdsGroup inner(*cds_);
    AddNode("/G");
    EXPECT_EQ(0, inner.Commit());
  }
  ASSERT_EQ(0, pcd_rollback(cds_->handle));
  EXPECT_FALSE(Exists("/G"));
}

// Only a write that asks for it creates the leaf's missing node, and only
// below a parent with dynamic children; a write that fails leaves no node.
TEST_F(CdsStoreTest, WriteCreatesDynamicNodesWhenAsked) {
  AddNode("/Q");
  Set("/Q:HasDynamicChildren", CElement(true));
  AddNode("/Static");
  const struct {
    const char* path;
    unsigned options;
    api_status_t status;
  } cases[] = {
      {"/Q/1/Value", PCD_WRITE_DEFAULT, API_STATUS_NO_NODE},
      {"/Static/1/Value", PCD_WRITE_CREATE_DYNAMIC_NODE, API_STATUS_NO_NODE},
      {"/Missing/1/Value", PCD_WRITE_CREATE_DYNAMIC_NODE, API_STATUS_NO_NODE},
      {"/Q/2:Children", PCD_WRITE_CREATE_DYNAMIC_NODE,
       API_STATUS_READ_ONLY_LEAF},
      {"/Q/3/Value", PCD_WRITE_CREATE_DYNAMIC_NODE, API_STATUS_OK},
      {"/Q/3/Units", PCD_WRITE_CREATE_DYNAMIC_NODE, API_STATUS_OK},
  };
  for (const auto& c : cases) {
    api_status_t status;
    cds_->set_leaf(c.path, CElement("x"), status, PCD_TRIBOOL_UNKNOWN, "test",
                   c.options);
    EXPECT_EQ(c.status, status) << c.path;
  }
  EXPECT_EQ("3", Get("/Q:Children").to_string());
  EXPECT_EQ("x", Get("/Q/3/Value").to_string());
  EXPECT_EQ("", Get("/Static:Children").to_string());
}

// A number is taken and the counter written back plus one (in its own type
// unless asked otherwise: the command queue's is tested with it); a
// counter that cannot be read is left alone.
TEST_F(CdsStoreTest, FetchIncrementTakesTheValueRead) {
  AddNode("/N");
  Set("/N/Value", CElement(7));
  api_status_t status;
  int32_t taken = -1;
  ASSERT_EQ(0, cds_->fetch_increment_leaf("/N", status, taken, PCD_TYPE_NONE,
                                          PCD_TRIBOOL_UNKNOWN, "test"));
  EXPECT_EQ(7, taken);
  EXPECT_EQ(PCD_TYPE_INT, Get("/N/Value").get_type());
  EXPECT_EQ(8, Get("/N/Value").to_int());
  for (const char* path : {"/Nope/Value", "/N/Units"}) {
    taken = -1;
    cds_->fetch_increment_leaf(path, status, taken, PCD_TYPE_NONE,
                               PCD_TRIBOOL_UNKNOWN, "test");
    EXPECT_NE(API_STATUS_OK, status) << path;
    EXPECT_EQ(-1, taken) << path;
  }
}

// Every stored leaf keeps the source of its last write; computed
// attributes have none.
TEST_F(CdsStoreTest, LeafWriterIsTheLastWritersSource) {
  AddNode("/W");
  Set("/W/Value", CElement(1));
  api_status_t status;
  std::string writer;
  for (const char* path : {"/W/Value", "/W:Children", "/Nope/Value"}) {
    cds_->get_leaf_writer(path, status, writer);
    EXPECT_EQ(path == std::string("/W/Value") ? "test" : "", writer) << path;
  }
  EXPECT_EQ(API_STATUS_NO_NODE, status);
}

TEST_F(CdsStoreTest, SnapshotReadsOneStateAndRefusesWrites) {
  auto other = store_.Open();
  AddNode("/S");
  Set("/S/Value", CElement(1));
  {
    toolkit::CCdsSnapshot snapshot(*cds_);
    EXPECT_EQ(1, Get("/S/Value").to_int());
    // Another process commits: the snapshot keeps reading what it saw.
    api_status_t status;
    ASSERT_EQ(0, other->set_leaf("/S/Value", CElement(2), status,
                                 PCD_TRIBOOL_UNKNOWN, "test"));
    EXPECT_EQ(1, Get("/S/Value").to_int());
    const unsigned long long counter = pcd_change_counter(cds_->handle);
    EXPECT_EQ(counter, pcd_change_counter(cds_->handle));
    // Nested snapshots and groups join the open one.
    EXPECT_NE(0, pcd_begin_snapshot(cds_->handle));
    EXPECT_NE(0, pcd_begin(cds_->handle));
    EXPECT_NE(0, cds_->set_leaf("/S/Value", CElement(3), status,
                                PCD_TRIBOOL_UNKNOWN, "test"));
  }
  EXPECT_EQ(2, Get("/S/Value").to_int());
  EXPECT_NE(0, pcd_end_snapshot(cds_->handle));
  // Inside a group a snapshot is not started and ends nothing.
  ASSERT_EQ(0, pcd_begin(cds_->handle));
  { toolkit::CCdsSnapshot joined(*cds_); }
  Set("/S/Value", CElement(4));
  ASSERT_EQ(0, pcd_commit(cds_->handle));
  EXPECT_EQ(4, Get(*other, "/S/Value").to_int());
}

TEST_F(CdsStoreTest, EventsAreQueuedInOrder) {
  std::vector<toolkit::CEvent> events(3);
  for (int i = 0; i < 3; ++i) {
    events[i].kind = toolkit::EVENT_KIND_ACKNOWLEDGE;
    events[i].source_path = "/Alarms/A" + std::to_string(i);
  }
  std::vector<api_status_t> statuses;
  ASSERT_EQ(0, cds_->events_send(events, statuses));
  EXPECT_EQ(std::vector<api_status_t>(3, API_STATUS_OK), statuses);
  EXPECT_LT(events[0].queue_id, events[1].queue_id);
  EXPECT_LT(events[1].queue_id, events[2].queue_id);

  std::vector<CdsQueuedEvent> queued;
  ASSERT_EQ(0, cds_events_read(cds_->handle, events[0].queue_id, 10, queued));
  ASSERT_EQ(2u, queued.size());
  toolkit::CEvent read;
  ASSERT_TRUE(read.deserialize(queued[0].payload));
  EXPECT_EQ("/Alarms/A1", read.source_path);
  EXPECT_EQ(events[2].queue_id, queued[1].queue_id);
  ASSERT_EQ(0, cds_events_read(cds_->handle, 0, 1, queued));
  EXPECT_EQ(1u, queued.size());
}

// The journal names every node a call created or removed, with its source,
// once, and only changes that took place; the newest ids tell a new reader
// where to begin.
TEST_F(CdsStoreTest, StructureJournalRecordsWhatChangedAndWho) {
  CdsLastIds before;
  ASSERT_EQ(0, cds_last_ids(cds_->handle, before));
  api_status_t status;
  ASSERT_EQ(0, cds_->add_node("/A/B", status, "Web-Services:admin"));
  cds_->add_node("/A/B", status, "again");  // exists: no change
  cds_->remove_node("/", status, "root");   // refused: no change
  ASSERT_EQ(0, cds_->remove_node("/A", status, "cdsctl"));
  cds_->remove_node("/A", status, "gone");  // no node: no change

  std::vector<CdsStructureChange> changes;
  ASSERT_EQ(0, cds_structure_read(cds_->handle, before.structure, 10,
                                  changes));
  ASSERT_EQ(2u, changes.size());
  EXPECT_EQ("created", changes[0].action);
  EXPECT_EQ("/A/B", changes[0].path);
  EXPECT_EQ("Web-Services:admin", changes[0].source);
  EXPECT_EQ("removed", changes[1].action);
  EXPECT_EQ("/A", changes[1].path);
  EXPECT_EQ("cdsctl", changes[1].source);
  EXPECT_LT(changes[0].id, changes[1].id);

  ASSERT_EQ(0, cds_->syslog_add(2, "line"));
  CdsLastIds after;
  ASSERT_EQ(0, cds_last_ids(cds_->handle, after));
  EXPECT_EQ(changes[1].id, after.structure);
  std::vector<CdsSyslogLine> lines;
  ASSERT_EQ(0, cds_syslog_read_after(cds_->handle, before.syslog, 10, lines));
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(after.syslog, lines[0].id);
  ASSERT_EQ(0, cds_structure_read(cds_->handle, after.structure, 10, changes));
  EXPECT_TRUE(changes.empty());
}

TEST_F(CdsStoreTest, SyslogKeepsLinesOldestFirst) {
  ASSERT_EQ(0, cds_->syslog_add(2, "first"));
  ASSERT_EQ(0, cds_->syslog_add(99, "second"));  // clamped to debug
  std::vector<CdsSyslogLine> lines;
  ASSERT_EQ(0, cds_syslog_read(cds_->handle, 10, lines));
  ASSERT_EQ(2u, lines.size());
  EXPECT_EQ("first", lines[0].message);
  EXPECT_EQ(2, lines[0].level);
  EXPECT_EQ(7, lines[1].level);
  ASSERT_EQ(0, cds_syslog_read(cds_->handle, 1, lines));
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ("second", lines[0].message);
}

TEST_F(CdsStoreTest, LogsKeepOnlyTheNewestRows) {
  constexpr long long kExtra = 5;
  ASSERT_EQ(0, pcd_begin(cds_->handle));  // one commit keeps the test quick
  for (long long i = 0; i < toolkit::store::kSyslogCap + kExtra; ++i) {
    ASSERT_EQ(0, cds_->syslog_add(6, "line " + std::to_string(i)));
  }
  std::vector<toolkit::CEvent> events(toolkit::store::kEventQueueCap + kExtra);
  std::vector<api_status_t> statuses;
  ASSERT_EQ(0, cds_->events_send(events, statuses));
  ASSERT_EQ(0, pcd_commit(cds_->handle));

  std::vector<CdsSyslogLine> lines;
  ASSERT_EQ(0, cds_syslog_read(cds_->handle, 1 << 20, lines));
  ASSERT_EQ(static_cast<size_t>(toolkit::store::kSyslogCap), lines.size());
  EXPECT_EQ("line " + std::to_string(kExtra), lines.front().message);
  std::vector<CdsQueuedEvent> queued;
  ASSERT_EQ(0, cds_events_read(cds_->handle, 0, 1 << 20, queued));
  ASSERT_EQ(static_cast<size_t>(toolkit::store::kEventQueueCap), queued.size());
  EXPECT_EQ(events[kExtra].queue_id, queued.front().queue_id);
  EXPECT_EQ(events.back().queue_id, queued.back().queue_id);
}

// A datagram socket standing in for systemd's notification socket.
class NotifySocket {
 public:
  explicit NotifySocket(const std::string& path) : path_(path) {
    fd_ = socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address;
    memset(&address, 0, sizeof(address));
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    bound_ =
        bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~NotifySocket() {
    close(fd_);
    unlink(path_.c_str());
  }
  bool bound() const { return bound_; }
  std::string Receive() {
    char buffer[64] = {};
    const ssize_t n = recv(fd_, buffer, sizeof(buffer) - 1, MSG_DONTWAIT);
    return n > 0 ? std::string(buffer, n) : "";
  }

 private:
  std::string path_;
  int fd_;
  bool bound_;
};

TEST_F(CdsStoreTest, WatchdogRowsAndSystemdNotices) {
  NotifySocket systemd(store_.path() + ".notify");
  ASSERT_TRUE(systemd.bound());
  setenv("NOTIFY_SOCKET", (store_.path() + ".notify").c_str(), 1);
  api_status_t status;
  EXPECT_NE(0, cds_->watchdog_ping(status));  // not registered yet
  EXPECT_EQ(API_STATUS_NO_NODE, status);

  ASSERT_EQ(0, cds_->watchdog_register(status, "daemon", 90, true));
  EXPECT_EQ("READY=1\nMAINPID=" + std::to_string(getpid()), systemd.Receive());
  std::vector<CdsWatchdog> rows;
  ASSERT_EQ(0, cds_watchdogs_read(cds_->handle, rows));
  ASSERT_EQ(1u, rows.size());
  EXPECT_EQ("daemon", rows[0].name);
  EXPECT_EQ(getpid(), rows[0].pid);
  EXPECT_EQ(90, rows[0].period_seconds);
  const long long before = NowUs();
  ASSERT_EQ(0, cds_->watchdog_ping(status));
  const long long after = NowUs();
  EXPECT_EQ("WATCHDOG=1", systemd.Receive());
  cds_watchdogs_read(cds_->handle, rows);
  EXPECT_GE(rows[0].last_ping_us, before);
  EXPECT_LE(rows[0].last_ping_us, after);

  ASSERT_EQ(0, cds_->watchdog_clear(status));
  EXPECT_EQ("STOPPING=1", systemd.Receive());
  cds_watchdogs_read(cds_->handle, rows);
  EXPECT_TRUE(rows.empty());
  EXPECT_NE(0, cds_->watchdog_ping(status));
  unsetenv("NOTIFY_SOCKET");
}

// --- Several processes on one store -------------------------------------

// A child's body run on the child's own connection to the store.
using Body = std::function<int(CCds&, const Step&)>;
std::function<int(const Step&)> OnStore(const std::string& store, Body body) {
  return [store, body](const Step& step) {
    CCds cds(pcd_open(store.c_str()));
    return cds.is_open() ? body(cds, step) : 2;
  };
}

class CdsProcessTest : public StoreTest {
 protected:
  // Nodes "<base>/L0" .. and their Values, all set to 0, in one call.
  std::vector<std::string> MakeLeaves(const std::string& base, int count) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
      AddNode(base + "/L" + std::to_string(i));
      paths.push_back(base + "/L" + std::to_string(i) + "/Value");
    }
    std::vector<api_status_t> statuses;
    EXPECT_EQ(0, cds_->set_leaves(paths,
                                  std::vector<CElement>(count, CElement(0)),
                                  {}, statuses, "test"));
    return paths;
  }
  // Do all leaves hold one value (then in `value`)? Reports the first
  // leaf that differs.
  bool AllEqual(const std::vector<std::string>& paths, int* value) {
    std::vector<api_status_t> statuses;
    std::vector<CElement> elements;
    std::vector<element_property_t> properties;
    if (cds_->get_leaves(paths, statuses, elements, properties) != 0) {
      ADD_FAILURE() << "get_leaves failed";
      return false;
    }
    for (size_t i = 0; i < elements.size(); ++i) {
      if (statuses[i] != API_STATUS_OK ||
          elements[i].to_int() != elements[0].to_int()) {
        ADD_FAILURE() << paths[i] << " holds " << elements[i].to_int()
                      << ", " << paths[0] << " holds "
                      << elements[0].to_int();
        return false;
      }
    }
    *value = elements[0].to_int();
    return true;
  }
};

// Each child bumps a shared counter and writes a pair of leaves to the same
// value, `rounds` times.
int CountAndWritePairs(CCds& cds, int id, int rounds,
                       const std::vector<std::string>& pair) {
  for (int i = 1; i <= rounds; ++i) {
    api_status_t status;
    if (cds.increment_leaf("/Shared/Value", 1, status, nullptr, "child") != 0 ||
        status != API_STATUS_OK) {
      return 10;
    }
    const CElement value(id * 100000 + i);
    std::vector<api_status_t> statuses;
    if (cds.set_leaves(pair, {value, value}, {}, statuses, "child") != 0 ||
        statuses[0] != API_STATUS_OK) {
      return 11;
    }
  }
  return 0;
}

TEST_F(CdsProcessTest, ConcurrentWritersLoseAndTearNothing) {
  constexpr int kRounds = 300;
  AddNode("/Shared");
  Set("/Shared/Value", CElement(0));
  const std::vector<std::string> pair = MakeLeaves("/Pair", 2);
  auto body = [&](int id) {
    return OnStore(store_.path(), [&, id](CCds& cds, const Step&) {
      return CountAndWritePairs(cds, id, kRounds, pair);
    });
  };
  ChildProcess first(body(1));
  ChildProcess second(body(2));
  ASSERT_TRUE(first.started() && second.started());
  // Read the pair while both write it: it must never be half written.
  int reads = 0;
  bool first_done = false, second_done = false;
  while (!(first_done && second_done)) {
    first_done = first_done || first.Finished();
    second_done = second_done || second.Finished();
    int value = 0;
    if (!AllEqual(pair, &value)) break;
    ++reads;
  }
  EXPECT_TRUE(first_done && second_done);
  EXPECT_EQ(0, first.exit_code());
  EXPECT_EQ(0, second.exit_code());
  EXPECT_GT(reads, 0);
  EXPECT_EQ(2 * kRounds, Get("/Shared/Value").to_int());
}

TEST_F(CdsProcessTest, KilledWriterLeavesAllOrNothing) {
  const std::vector<std::string> paths = MakeLeaves("/Bulk", 400);
  // One child writes with set_leaves, the other with a group of set_leaf
  // calls; each is killed while it keeps writing.
  const Body with_set_leaves = [&](CCds& cds, const Step& step) {
    for (int i = 1;; ++i) {
      std::vector<api_status_t> statuses;
      cds.set_leaves(paths, std::vector<CElement>(paths.size(), CElement(i)),
                     {}, statuses, "child");
      step();
    }
    return 0;
  };
  const Body with_group = [&](CCds& cds, const Step& step) {
    for (int i = 1;; ++i) {
      pcd_begin(cds.handle);
      for (const std::string& path : paths) {
        api_status_t status;
        cds.set_leaf(path, CElement(-i), status, PCD_TRIBOOL_UNKNOWN, "child");
      }
      pcd_commit(cds.handle);
      step();
    }
    return 0;
  };
  for (const Body& body : {with_set_leaves, with_group}) {
    for (int round = 0; round < 3; ++round) {
      ChildProcess writer(OnStore(store_.path(), body));
      ASSERT_TRUE(writer.started());
      ASSERT_TRUE(writer.AwaitSteps(2 + round));
      writer.Kill();
      int value = 0;
      EXPECT_TRUE(AllEqual(paths, &value));
      EXPECT_NE(0, value);  // the awaited writes are there
    }
  }
}

TEST_F(CdsProcessTest, LockedStoreAnswersBusyInsteadOfHanging) {
  AddNode("/P");
  Set("/P/Value", CElement(0));
  setenv("TOOLKIT_CDS_BUSY_MS", "50", 1);
  auto impatient = store_.Open();  // takes the short time-out
  unsetenv("TOOLKIT_CDS_BUSY_MS");
  ASSERT_TRUE(impatient->is_open());

  ChildProcess locker(OnStore(store_.path(), [](CCds& cds, const Step& step) {
    api_status_t status;
    if (pcd_begin(cds.handle) != 0) return 1;
    cds.set_leaf("/P/Value", CElement(99), status, PCD_TRIBOOL_UNKNOWN, "x");
    step();
    for (;;) pause();  // holds the write lock until killed
    return 0;
  }));
  ASSERT_TRUE(locker.AwaitSteps(1));

  api_status_t status = API_STATUS_UNKNOWN;
  EXPECT_NE(0, impatient->set_leaf("/P/Value", CElement(1), status,
                                   PCD_TRIBOOL_UNKNOWN, "test"));
  EXPECT_EQ(API_STATUS_BUSY, status);
  EXPECT_NE(0, impatient->add_node("/Q", status, "test"));
  EXPECT_EQ(API_STATUS_BUSY, status);
  std::vector<api_status_t> statuses;
  EXPECT_NE(0, impatient->set_leaves({"/P/Value"}, {CElement(2)}, {},
                                     statuses, "test"));
  EXPECT_EQ(API_STATUS_BUSY, statuses[0]);
  EXPECT_NE(0, pcd_begin(impatient->handle));
  // Readers are not blocked, and see only committed data.
  EXPECT_EQ(0, Get(*impatient, "/P/Value").to_int());

  locker.Kill();
  impatient->set_leaf("/P/Value", CElement(3), status, PCD_TRIBOOL_UNKNOWN,
                      "test");
  EXPECT_EQ(API_STATUS_OK, status);
  EXPECT_EQ(3, Get("/P/Value").to_int());
}

}  // namespace
