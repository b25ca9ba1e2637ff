// Reset: restart the network card on an Administrator's request.

#include <string.h>

#include <string>

#include "admin/node_admin.h"
#include "admin/reboot.h"
#include "core/write_path.h"
#include "host/request_context.h"
#include "host/service_context.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

namespace {

// syslog(3) priority of the line in the device's system log: critical, a
// restart is always worth seeing.
constexpr int kResetLogLevel = 2;

}  // namespace

int resetCard(ServiceContext* context, std::string& result) {
  result.clear();
  toolkit::CPath root("/");
  root.normalize();
  const char* user = RequestUser();
  if (!root.is_reset_authorized(context->cds)) {
    if (g_syslog) g_syslog->notice(1, "%s is Not authorized for Reset", user);
    return kWriteNotAuthorized;
  }
  context->cds.syslog_add(
      kResetLogLevel, std::string("Network Card Reset requested via web "
                                  "services by ") +
                          user + " at " + RequestAddress());
  setRebootRequested();
  const int error = execReboot();
  result = std::string("? System Reboot Failed: ") + strerror(error);
  if (g_syslog) g_syslog->err(1, "%s", result.c_str());
  return 0;
}
