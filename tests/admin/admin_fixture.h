// The core fixture (a ServiceContext over a fresh store, callers admin,
// operator and viewer) with a small device to administer, helpers that look
// at the store directly, and the reboot program pointed at a file that does
// not exist, so that no test can restart the machine it runs on.

#ifndef TESTS_ADMIN_ADMIN_FIXTURE_H_
#define TESTS_ADMIN_ADMIN_FIXTURE_H_

#include <stdlib.h>

#include <string>
#include <vector>

#include "admin/reboot.h"
#include "platform/cds.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

class AdminTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    setenv(kRebootCommandVariable, (dir_ + "/no-such-reboot").c_str(), 1);
    Seed("[/Devices/Dev1]\nNodeType = Device\n"
         "[/Devices/Dev1/Point]\nNodeType = Point\nValueType = Integer\n"
         "Value = 5\nUnits = V\nWritable = false\n");
  }

  void TearDown() override {
    unsetenv(kRebootCommandVariable);
    ServiceTest::TearDown();
  }

  // The stored text of a leaf, or "<missing>" when it cannot be read.
  std::string Leaf(const std::string& path) {
    api_status_t status = API_STATUS_UNKNOWN;
    toolkit::CElement element;
    element_property_t property = PCD_PROP_NORMAL;
    if (ctx_->cds.get_leaf(path, status, element, property) != 0 ||
        status != API_STATUS_OK) {
      return "<missing>";
    }
    return element.to_string();
  }

  bool NodeExists(const std::string& path) {
    api_status_t status = API_STATUS_UNKNOWN;
    return ctx_->cds.test_node(path, status) == 0 && status == API_STATUS_OK;
  }

  // Whether a line of the device's system log (kept in the store) holds
  // `needle`.
  bool DeviceLogHas(const std::string& needle) {
    std::vector<CdsSyslogLine> lines;
    if (cds_syslog_read(ctx_->cds.handle, 100, lines) != 0) return false;
    for (const CdsSyslogLine& line : lines) {
      if (line.message.find(needle) != std::string::npos) return true;
    }
    return false;
  }
};

}  // namespace wsgated

#endif  // TESTS_ADMIN_ADMIN_FIXTURE_H_
