// Reset and the reboot program: the override, the exec sequence (in a
// child process, which the program replaces), the failure result, the log.

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "admin/node_admin.h"
#include "admin/reboot.h"
#include "common/write_path.h"
#include "tests/admin/admin_fixture.h"

namespace wsgated {

namespace {

const char kFailed[] = "? System Reboot Failed: No such file or directory";

class ResetTest : public AdminTest {
 protected:
  // A script at `dir_/reboot` with `body`, executable when `executable`,
  // made the reboot program.
  void RebootScript(const std::string& body, bool executable) {
    const std::string path = dir_ + "/reboot";
    std::ofstream(path) << "#!/bin/sh\n" << body;
    chmod(path.c_str(), executable ? 0755 : 0644);
    setenv(kRebootCommandVariable, path.c_str(), 1);
  }

  // Runs `body` in a forked child and returns the child's wait status.
  static int InChild(const std::function<int()>& body) {
    const pid_t pid = fork();
    if (pid == 0) _exit(body());
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

// The program replaces the process and is started without arguments first;
// one that cannot run leaves the last error. (A child whose exec failed
// exits with 100 + errno.)
TEST_F(ResetTest, ProgramReplacesTheProcessOrReportsTheLastError) {
  const std::string record = dir_ + "/argv";
  RebootScript("echo \"$# $*\" > " + record + "\nexit 3\n", true);
  int status = InChild([] { return 100 + execReboot(); });
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(3, WEXITSTATUS(status));
  std::stringstream argv;
  argv << std::ifstream(record).rdbuf();
  EXPECT_EQ("0 \n", argv.str());

  RebootScript("exit 0\n", false);
  status = InChild([] { return 100 + execReboot(); });
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(100 + EACCES, WEXITSTATUS(status));
}

// The reboot-requested flag is never cleared in a process, so the resets
// run in a child that starts without it: each step sees whether it rose.
// The child has its own connection to the store.
TEST_F(ResetTest, OnlyAnAdministratorsResetIsLoggedAndRaisesTheFlag) {
  const int status = InChild([] {
    if (rebootRequested()) return 1;
    ServiceContext own;
    own.caller.user = "operator";
    own.caller.address = "10.0.0.9";
    std::string result = "stale";
    if (resetCard(&own, result) != kWriteNotAuthorized) return 2;
    if (rebootRequested()) return 3;
    own.caller.user = "admin";
    own.caller.address = "127.0.0.1";
    if (resetCard(&own, result) != 0 || result != kFailed) return 4;
    return rebootRequested() ? 0 : 5;
  });
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(0, WEXITSTATUS(status));
  EXPECT_TRUE(LogHas("operator is Not authorized for Reset"));
  EXPECT_TRUE(LogHas(kFailed));
  EXPECT_TRUE(DeviceLogHas("Network Card Reset requested via web services "
                           "by admin at 127.0.0.1"));
  EXPECT_FALSE(DeviceLogHas("by operator"));
}

}  // namespace

}  // namespace wsgated
