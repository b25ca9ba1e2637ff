// Several processes on one store: concurrent writers lose nothing and never
// show half a write, a writer killed mid-transaction leaves all or nothing,
// and a store locked by another process answers BUSY instead of hanging.

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "platform/cds.h"
#include "tests/platform/child_process.h"
#include "tests/platform/temp_store.h"

namespace {

using testing_child::ChildProcess;
using testing_store::StoreTest;
using toolkit::CCds;
using toolkit::CElement;

using Step = ChildProcess::Step;

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
