// Reset and the reboot program: the override, the exec sequence (in a
// child process, which the program replaces), the failure result, the log.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "admin/node_admin.h"
#include "admin/reboot.h"
#include "common/write_path.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

class ResetTest : public AdminTest {
 protected:
  // A script at `dir_/name` with `body`, made executable when `executable`.
  std::string Script(const std::string& name, const std::string& body,
                     bool executable) {
    const std::string path = dir_ + "/" + name;
    std::ofstream(path) << "#!/bin/sh\n" << body;
    chmod(path.c_str(), executable ? 0755 : 0644);
    return path;
  }

  std::string FileText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  // run execReboot in a child and return the child's wait status. A child
  // whose exec failed exits with 100 + errno.
  int RebootInChild() {
    const pid_t pid = fork();
    if (pid == 0) _exit(100 + execReboot());
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
  }
};

TEST_F(ResetTest, CommandComesFromTheEnvironment) {
  unsetenv(kRebootCommandVariable);
  EXPECT_EQ("/sbin/reboot", rebootCommand());
  setenv(kRebootCommandVariable, "", 1);
  EXPECT_EQ("/sbin/reboot", rebootCommand());
  setenv(kRebootCommandVariable, "/tmp/x", 1);
  EXPECT_EQ("/tmp/x", rebootCommand());
}

// The program replaces the process and is started without arguments first.
TEST_F(ResetTest, ProgramReplacesTheProcessWithoutArguments) {
  const std::string record = dir_ + "/argv";
  setenv(kRebootCommandVariable,
         Script("reboot", "echo \"$# $*\" > " + record + "\nexit 3\n", true)
             .c_str(), 1);
  const int status = RebootInChild();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(3, WEXITSTATUS(status));
  EXPECT_EQ("0 \n", FileText(record));
}

TEST_F(ResetTest, ProgramThatCannotRunReportsTheLastError) {
  setenv(kRebootCommandVariable,
         Script("reboot", "exit 0\n", false).c_str(), 1);
  int status = RebootInChild();
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(100 + EACCES, WEXITSTATUS(status));
}

TEST_F(ResetTest, FailedRebootIsTheResultAndIsLogged) {
  std::string result = "stale";
  ASSERT_EQ(0, resetCard(ctx_.get(), result));
  EXPECT_EQ("? System Reboot Failed: No such file or directory", result);
  EXPECT_TRUE(LogHas("? System Reboot Failed: No such file or directory"));
  EXPECT_TRUE(DeviceLogHas("Network Card Reset requested via web services "
                          "by admin at 127.0.0.1"));
  EXPECT_TRUE(rebootRequested());
}

TEST_F(ResetTest, RefusedResetLogsNothingInTheDevicesLog) {
  const bool requested = rebootRequested();
  SetCaller("operator", "10.0.0.9");
  std::string result = "stale";
  EXPECT_EQ(kWriteNotAuthorized, resetCard(ctx_.get(), result));
  EXPECT_TRUE(LogHas("operator is Not authorized for Reset"));
  EXPECT_FALSE(DeviceLogHas("Network Card Reset"));
  EXPECT_EQ(requested, rebootRequested());
}

}  // namespace

}  // namespace wsgated
