// CSysLog: level gating, the file mirror, truncation and the stderr echo.

#include "platform/syslog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/platform/temp_dir.h"

namespace {

using toolkit::CSysLog;

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Redirects fd 2 into a pipe for the life of the object.
class StderrCapture {
 public:
  StderrCapture() {
    saved_ = dup(STDERR_FILENO);
    EXPECT_EQ(0, pipe(fds_));
    fcntl(fds_[0], F_SETFL, O_NONBLOCK);
    dup2(fds_[1], STDERR_FILENO);
  }
  ~StderrCapture() {
    Restore();
    close(fds_[0]);
  }
  // Everything written so far; stops capturing.
  std::string Take() {
    Restore();
    std::string out;
    char buf[4096];
    ssize_t n;
    while ((n = read(fds_[0], buf, sizeof(buf))) > 0) out.append(buf, n);
    return out;
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    close(fds_[1]);
    saved_ = -1;
  }
  int fds_[2];
  int saved_;
};

class SysLogTest : public ::testing::Test {
 protected:
  testing_files::TempDir dir_;
  std::string file_ = dir_ / "daemon.log";
};

TEST_F(SysLogTest, LevelGatesEveryCall) {
  {
    CSysLog log("gate", 2, false, true, false, file_.c_str());
    log.err(0, "err0");
    log.warn(2, "warn2");
    log.notice(3, "notice3");  // above the verbosity
    log.info(6, "info6");      // above the verbosity
    log.level = 6;             // the command line writes it directly
    log.info(6, "info6-later");
    log.level = -1;            // negative: silence everything
    log.err(0, "silenced");
    log.write(LOG_CRIT, "write-is-not-gated");
  }
  std::vector<std::string> lines = Lines(ReadFile(file_));
  ASSERT_EQ(4u, lines.size());
  EXPECT_NE(std::string::npos, lines[0].find("err0"));
  EXPECT_NE(std::string::npos, lines[1].find("warn2"));
  EXPECT_NE(std::string::npos, lines[2].find("info6-later"));
  EXPECT_NE(std::string::npos, lines[3].find("write-is-not-gated"));
}

// One line per message, however long, each with time, ident and pid; a
// second log appends to the file.
TEST_F(SysLogTest, FileLinesAreWholeStampedAndAppended) {
  {
    CSysLog log("mirror", 0, false, true, false, file_.c_str());
    log.info(0, "value %d of %s", 42, "answer");
    log.info(0, "trailing newline is not doubled\n");
    log.info(0, "%s", std::string(100000, 'x').c_str());
  }
  { CSysLog("two", 0, false, false, false, file_.c_str()).info(0, "after"); }
  std::vector<std::string> lines = Lines(ReadFile(file_));
  ASSERT_EQ(4u, lines.size());
  const std::string& line = lines[0];
  // "YYYY-MM-DDTHH:MM:SS.mmmZ mirror[pid]: value 42 of answer"
  ASSERT_GT(line.size(), 25u);
  EXPECT_EQ('T', line[10]);
  EXPECT_EQ('Z', line[23]);
  EXPECT_EQ(" mirror[" + std::to_string(getpid()) + "]: value 42 of answer",
            line.substr(24));
  EXPECT_NE(std::string::npos, lines[1].find("not doubled"));
  EXPECT_LT(lines[2].size(), 4096u);
  EXPECT_GT(lines[2].size(), 1000u);
  EXPECT_NE(std::string::npos, lines[3].find("two["));
}

// Echoed lines are gated like the others; with LOG_PERROR as well, a line
// still shows once.
TEST_F(SysLogTest, EchoesToStderrWhenItIsLive) {
  StderrCapture capture;
  {
    CSysLog log("echo", 1, false, true, true, nullptr);
    log.notice(1, "hello %s", "there");
    log.notice(2, "too verbose");
    CSysLog both("both", 0, true, false, true, nullptr);
    both.info(0, "once");
  }
  const std::string out = capture.Take();
  EXPECT_EQ(0u, out.find("echo[" + std::to_string(getpid()) +
                         "]: hello there\n"));
  EXPECT_EQ(std::string::npos, out.find("too verbose"));
  ASSERT_NE(std::string::npos, out.find("once"));
  EXPECT_EQ(out.find("once"), out.rfind("once"));
}

// A daemon starts with fd 2 on /dev/null; whether to echo is decided per
// line, so a log made then still echoes once fd 2 points somewhere real.
TEST_F(SysLogTest, EchoFollowsFd2AfterStartingOnDevNull) {
  int saved = dup(STDERR_FILENO);
  int devnull = open("/dev/null", O_WRONLY);
  ASSERT_GE(devnull, 0);
  dup2(devnull, STDERR_FILENO);
  CSysLog log("late", 0, false, false, true, nullptr);
  dup2(saved, STDERR_FILENO);
  close(saved);
  close(devnull);
  StderrCapture capture;
  log.info(0, "now visible");
  EXPECT_NE(std::string::npos, capture.Take().find("now visible"));
}

TEST_F(SysLogTest, DestructorClearsTheGlobalPointer) {
  CSysLog* log = new CSysLog("global", 0, false, false, false, nullptr);
  toolkit::g_syslog = log;
  delete log;
  EXPECT_EQ(nullptr, toolkit::g_syslog);
}

}  // namespace
