// Several processes on one log: a reader never sees part of a batch while
// another process appends, and a writer killed with SIGKILL in the middle of
// its appends leaves every committed batch and all or nothing of the last.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/platform/temp_log.h"

namespace {

using testing_log::Record;
using testing_log::TempDir;
using toolkit::CEvent;

// A forked process appending `batches` batches of `size` records (without
// end when `batches` is negative), writing one byte into a pipe after each
// commit. A hang guard (alarm) ends it after five seconds.
class WriterProcess {
 public:
  WriterProcess(const std::string& path, int batches, int size) {
    int fds[2];
    if (pipe(fds) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      close(fds[0]);
      alarm(5);  // ten times what the longest run here takes
      _exit(Run(path, batches, size, fds[1]));
    }
    close(fds[1]);
    progress_ = fds[0];
  }
  ~WriterProcess() {
    if (pid_ > 0 && !reaped_) Kill();
    if (progress_ >= 0) close(progress_);
  }
  WriterProcess(const WriterProcess&) = delete;
  WriterProcess& operator=(const WriterProcess&) = delete;

  bool started() const { return pid_ > 0; }
  // Blocks until `batches` more batches were committed; false when the
  // writer ended first.
  bool AwaitBatches(int batches) {
    for (char byte; batches > 0; --batches) {
      if (read(progress_, &byte, 1) != 1) return false;
    }
    return true;
  }
  // True once the writer ended; `exit_code` then holds its status.
  bool Finished(int* exit_code) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) != pid_) return false;
    reaped_ = true;
    *exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return true;
  }
  void Kill() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    reaped_ = true;
  }

 private:
  static int Run(const std::string& path, int batches, int size, int out) {
    pcd_log_writer_t writer = nullptr;
    if (pcd_log_open_writer(path.c_str(), nullptr, &writer) != 0) return 2;
    for (int b = 0; batches < 0 || b < batches; ++b) {
      std::vector<CEvent> batch;
      for (int i = 0; i < size; ++i) {
        batch.push_back(Record(1000 + b, i, static_cast<uint32_t>(i)));
      }
      if (pcd_log_append(writer, batch) != 0) return 3;
      const char byte = 1;
      if (write(out, &byte, 1) != 1) return 4;
    }
    pcd_log_close_writer(writer);
    return 0;
  }

  pid_t pid_ = -1;
  int progress_ = -1;
  bool reaped_ = false;
};

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
  WriterProcess writer(path_, kBatches, kSize);
  ASSERT_TRUE(writer.started());
  int exit_code = -1, reads = 0;
  size_t last = 0;
  while (!writer.Finished(&exit_code)) {
    const size_t count = Count();
    ASSERT_EQ(0u, count % kSize) << "read " << count << " records";
    ASSERT_LE(last, count);
    last = count;
    ++reads;
  }
  EXPECT_EQ(0, exit_code);
  EXPECT_GT(reads, 0);
  EXPECT_EQ(static_cast<size_t>(kBatches * kSize), Count());
}

TEST_F(LogProcessTest, KilledWriterLosesNoCommittedBatch) {
  constexpr int kSize = 50;
  size_t committed = 0;
  for (int round = 0; round < 3; ++round) {
    WriterProcess writer(path_, -1, kSize);
    ASSERT_TRUE(writer.started());
    ASSERT_TRUE(writer.AwaitBatches(2 + round));
    writer.Kill();  // most likely inside the next batch
    committed += static_cast<size_t>((2 + round) * kSize);
    const size_t count = Count();
    EXPECT_EQ(0u, count % kSize) << "round " << round;
    EXPECT_LE(committed, count) << "round " << round;
    committed = count;
  }
  // The log is still whole for the next writer.
  WriterProcess next(path_, 1, kSize);
  ASSERT_TRUE(next.AwaitBatches(1));
  EXPECT_EQ(committed + kSize, Count());
}

}  // namespace
