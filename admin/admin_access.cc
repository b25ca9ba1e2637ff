// The administration check of every path a call touches.

#include "admin/admin_access.h"

#include "platform/cds.h"
#include "platform/path.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

const char* const kRefusedWriteLog = "Unauthorized attempt to write to %s";
const char* const kRefusedCreationLog =
    "Unauthorized node creation attempted on %s";

bool mayAdminister(toolkit::CCds& cds, const std::vector<std::string>& paths,
                   const char* refusalFormat) {
  for (const std::string& text : paths) {
    toolkit::CPath path(text);
    if (path.normalize() != 0) continue;
    if (!path.is_admin_authorized(cds)) {
      if (g_syslog) g_syslog->notice(1, refusalFormat, text.c_str());
      return false;
    }
  }
  return true;
}
