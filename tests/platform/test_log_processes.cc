// Several processes on one log: a reader never sees part of a batch while
// another process appends, and a writer killed with SIGKILL in the middle of
// its appends leaves every committed batch and all or nothing of the last.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/platform/child_process.h"
#include "tests/platform/temp_log.h"

namespace {

using testing_child::ChildProcess;
using testing_log::Record;
using testing_log::TempDir;
using toolkit::CEvent;

// A child appending `batches` batches of `size` records (without end when
// `batches` is negative), one step after each commit.
std::function<int(const ChildProcess::Step&)> Appender(const std::string& path,
                                                       int batches, int size) {
  return [=](const ChildProcess::Step& step) {
    pcd_log_writer_t writer = nullptr;
    if (pcd_log_open_writer(path.c_str(), nullptr, &writer) != 0) return 2;
    for (int b = 0; batches < 0 || b < batches; ++b) {
      std::vector<CEvent> batch;
      for (int i = 0; i < size; ++i) {
        batch.push_back(Record(1000 + b, i, static_cast<uint32_t>(i)));
      }
      if (pcd_log_append(writer, batch) != 0) return 3;
      step();
    }
    pcd_log_close_writer(writer);
    return 0;
  };
}

class LogProcessTest : public ::testing::Test {
 protected:
  void SetUp() override {
    pcd_log_writer_t creator = nullptr;
    ASSERT_EQ(0, pcd_log_open_writer(path_.c_str(), nullptr, &creator));
    pcd_log_close_writer(creator);
  }
  void TearDown() override { pcd_log_close(reader_); }
  // All records; the reader is opened on first use, after the fork.
  size_t Count() {
    if (reader_ == nullptr) {
      EXPECT_EQ(0,
                pcd_log_init(path_.c_str(), 0, 0, 0, 1, 1, 0, 0, 0, &reader_));
    }
    std::vector<CEvent> records;
    EXPECT_EQ(0, toolkit::CLog(reader_).retrieve(records, nullptr, nullptr,
                                                 nullptr, 0, false, false, 0));
    return records.size();
  }

  TempDir dir_;
  std::string path_ = dir_.path("shared.db");
  pcd_log_handle_t reader_ = nullptr;
};

TEST_F(LogProcessTest, ReaderNeverSeesPartOfABatch) {
  constexpr int kBatches = 150, kSize = 7;
  ChildProcess writer(Appender(path_, kBatches, kSize));
  ASSERT_TRUE(writer.started());
  int reads = 0;
  size_t last = 0;
  while (!writer.Finished()) {
    const size_t count = Count();
    ASSERT_EQ(0u, count % kSize) << "read " << count << " records";
    ASSERT_LE(last, count);
    last = count;
    ++reads;
  }
  EXPECT_EQ(0, writer.exit_code());
  EXPECT_GT(reads, 0);
  EXPECT_EQ(static_cast<size_t>(kBatches * kSize), Count());
}

TEST_F(LogProcessTest, KilledWriterLosesNoCommittedBatch) {
  constexpr int kSize = 50;
  size_t committed = 0;
  for (int round = 0; round < 3; ++round) {
    ChildProcess writer(Appender(path_, -1, kSize));
    ASSERT_TRUE(writer.started());
    ASSERT_TRUE(writer.AwaitSteps(2 + round));
    writer.Kill();  // most likely inside the next batch
    committed += static_cast<size_t>((2 + round) * kSize);
    const size_t count = Count();
    EXPECT_EQ(0u, count % kSize) << "round " << round;
    EXPECT_LE(committed, count) << "round " << round;
    committed = count;
  }
  // The log is still whole for the next writer.
  ChildProcess next(Appender(path_, 1, kSize));
  ASSERT_TRUE(next.AwaitSteps(1));
  EXPECT_EQ(committed + kSize, Count());
}

}  // namespace
