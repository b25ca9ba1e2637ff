// Reading a log for a request: the limits and their error results, the
// retry rule's attempts (a reader in front of a real log fails on demand;
// the pause is counted, never slept) and the trimming of an incomplete
// last group.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "common/service_options.h"
#include "logs/log_retrieval.h"
#include "tests/platform/temp_dir.h"

namespace wsgated {

namespace {

using toolkit::CEvent;

// The platform's reader of a real log, failing the retrievals whose
// numbers (from 1, counting every retrieve call) are in `failing`.
class FailingReader : public LogReader {
 public:
  explicit FailingReader(std::set<int> failing) : failing_(failing) {}
  int open(const std::string& path) override {
    ++opens;
    return reader_.open(path);
  }
  int retrieve(std::vector<CEvent>& records, const char* filter,
               const timeval* start, const timeval* end, int max, bool latest,
               bool reverse) override {
    if (failing_.count(++retrieves) != 0) {
      records.clear();
      return LOG_STATUS_BUSY;
    }
    return reader_.retrieve(records, filter, start, end, max, latest, reverse);
  }
  void close() override { reader_.close(); }

  int opens = 0;
  int retrieves = 0;

 private:
  std::set<int> failing_;
  PlatformLogReader reader_{0, 0, 0};
};

CEvent Record(time_t second, uint32_t seq, const std::string& path) {
  CEvent record;
  record.kind = toolkit::EVENT_KIND_VALUE_CHANGE;
  record.source_path = path;
  record.time = {second, 0};
  record.sequence_index = seq;
  record.value = toolkit::CElement(static_cast<int32_t>(seq));
  return record;
}

// The log: four records at second 10, five of /A at second 20 and one of
// /B at second 20 (sequence indexes 1..10 in that order).
class LogRetrievalTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::vector<CEvent> records;
    for (uint32_t seq = 1; seq <= 10; ++seq) {
      records.push_back(
          Record(seq <= 4 ? 10 : 20, seq, seq == 10 ? "/B/Value" : "/A/Value"));
    }
    pcd_log_writer_t writer = nullptr;
    ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), nullptr, &writer));
    ASSERT_EQ(0, pcd_log_append(writer, records));
    pcd_log_close_writer(writer);
  }

  // Retrieves `query` through `reader` with a maximum of 2500.
  bool Retrieve(FailingReader& reader, const LogQuery& query,
                const std::string& path = "") {
    LogSource source{&reader, path.empty() ? path_ : path, 2500,
                     [this] { ++pauses_; }};
    return retrieveLog(source, query, options_, records_, trimmed_, result_);
  }
  std::vector<uint32_t> Seqs() const {
    std::vector<uint32_t> seqs;
    for (const CEvent& record : records_) seqs.push_back(record.sequence_index);
    return seqs;
  }

  testing_files::TempDir dir_;
  std::string path_ = dir_ / "log.db";
  ServiceOptions options_;
  std::vector<CEvent> records_;
  int trimmed_ = -1;
  std::string result_;
  int pauses_ = 0;
};

TEST_F(LogRetrievalTest, RetriesAndTheAttemptsThatCount) {
  const struct {
    const char* name;
    std::set<int> failing;
    bool trim;
    bool answered;
    int retrieves;
    int pauses;
  } cases[] = {
      {"first attempt", {}, false, true, 1, 0},
      {"third attempt", {1, 2}, false, true, 3, 2},
      {"fourth attempt is too late", {1, 2, 3}, false, false, 4, 3},
      {"fifth attempt is too late", {1, 2, 3, 4}, false, false, 5, 4},
      {"every attempt fails", {1, 2, 3, 4, 5}, false, false, 5, 4},
      // Calls 1 and 2 are the first attempt's retrieval and re-query.
      {"failed re-query retries at once", {2}, true, true, 4, 0},
      {"failed re-queries count as attempts", {2, 4, 6}, true, false, 8, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FailingReader reader(c.failing);
    pauses_ = 0;
    LogQuery query;
    query.maxToReturn = 7;
    query.trimIncomplete = c.trim;
    EXPECT_EQ(c.answered, Retrieve(reader, query));
    EXPECT_EQ(c.retrieves, reader.retrieves);
    EXPECT_EQ(c.pauses, pauses_);
    EXPECT_EQ(1, reader.opens);
    if (c.answered) {
      EXPECT_EQ("", result_);
      EXPECT_EQ(c.trim ? 4u : 7u, records_.size());
    } else {
      EXPECT_EQ(
          "? 22 No Data Available : Database retrieval failed with "
          "these params",
          result_);
      EXPECT_TRUE(records_.empty());
      EXPECT_EQ(0, trimmed_);
    }
  }
}

TEST_F(LogRetrievalTest, TooManyRecordsAreRefusedBeforeTheLogIsOpened) {
  FailingReader reader({});
  LogQuery query;
  query.maxToReturn = 2501;
  EXPECT_FALSE(Retrieve(reader, query));
  EXPECT_EQ(
      "? 34 Result Too Big to Return : Please request less than 2500 records.",
      result_);
  EXPECT_EQ(0, reader.opens);

  query.maxToReturn = 2500;
  EXPECT_TRUE(Retrieve(reader, query));
  EXPECT_EQ(10u, records_.size());
}

TEST_F(LogRetrievalTest, LogsThatCannotBeOpenedHaveNoHistory) {
  FailingReader reader({});
  EXPECT_FALSE(Retrieve(reader, LogQuery(), dir_ / "missing.db"));
  EXPECT_EQ("? 21 No History : Failed to open event log database", result_);
  EXPECT_EQ(0, reader.retrieves);
}

// The trimmed count is what the log holds at the cut time stamp (within
// the path filter), not the number of records taken off.
TEST_F(LogRetrievalTest, TrimsAnIncompleteLastGroup) {
  const struct {
    const char* name;
    int max;
    std::string filter;
    std::vector<uint32_t> seqs;
    int trimmed;
  } cases[] = {
      {"three of six at the cut", 7, "", {1, 2, 3, 4}, 6},
      {"complete answer", 0, "", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, 0},
      {"last group complete within the filter",
       9,
       "/A",
       {1, 2, 3, 4, 5, 6, 7, 8, 9},
       0},
      {"every record at the cut", 2, "/A", {}, 4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FailingReader reader({});
    LogQuery query;
    query.maxToReturn = c.max;
    query.pathFilter = c.filter;
    query.trimIncomplete = true;
    ASSERT_TRUE(Retrieve(reader, query));
    EXPECT_EQ(c.seqs, Seqs());
    EXPECT_EQ(c.trimmed, trimmed_);
  }
}

TEST_F(LogRetrievalTest, BoundsAndOrder) {
  const struct {
    const char* name;
    int64_t start, end;
    bool latest, reverse;
    std::vector<uint32_t> seqs;
  } cases[] = {
      {"negative bounds are none", -5, -1, false, false, {1, 2, 3}},
      {"start bound", 20000000, 0, false, false, {5, 6, 7}},
      {"end before start", 20000000, 10000000, false, false, {}},
      {"far future", 4102444800000000LL, 0, false, false, {}},
      {"latest", 0, 0, true, false, {8, 9, 10}},
      {"latest reversed", 0, 0, true, true, {10, 9, 8}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FailingReader reader({});
    LogQuery query;
    query.maxToReturn = 3;
    query.startTime = c.start;
    query.endTime = c.end;
    query.latestFirst = c.latest;
    query.reverse = c.reverse;
    ASSERT_TRUE(Retrieve(reader, query));
    EXPECT_EQ(c.seqs, Seqs());
  }
}

}  // namespace

}  // namespace wsgated
