// Reset: restart the network card on an Administrator's request.

#include <cstring>
#include <string>

#include "admin/node_admin.h"
#include "admin/reboot.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/write_path.h"
#include "platform/cds.h"
#include "platform/path.h"
#include "soapH.h"

namespace wsgated {

namespace {

// syslog(3) priority of the line in the device's system log: critical, a
// restart is always worth seeing.
constexpr int kResetLogLevel = 2;

}  // namespace

int resetCard(ServiceContext* context, std::string& result) {
  result.clear();
  toolkit::CPath root("/");
  root.normalize();
  const RequestCaller& caller = context->caller;
  if (!callerMay(context, toolkit::PCD_ACCESS_RESET, root)) {
    logNotice(kLogErrors, "%s is Not authorized for Reset",
              caller.user.c_str());
    return kWriteNotAuthorized;
  }
  context->cds.syslog_add(kResetLogLevel,
                          std::string("Network Card Reset requested via web "
                                      "services by ") +
                              caller.user + " at " + caller.address);
  setRebootRequested();
  const int error = execReboot();
  result = std::string("? System Reboot Failed: ") + strerror(error);
  logError(kLogErrors, "%s", result.c_str());
  return 0;
}

}  // namespace wsgated

// The options are accepted and not consulted: a restart has none.
int __nst1__Reset(struct soap* soap, struct _nst1__Reset*,
                  struct _nst1__ResetResponse& response) {
  return wsgated::resetCard(wsgated::serviceContext(soap),
                            response.ResetResult);
}
