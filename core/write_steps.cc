// Steps shared by the single write and the multi-write.

#include "core/write_steps.h"

#include <sys/time.h>

#include "core/bnws_error.h"
#include "core/service_options.h"
#include "platform/attributes.h"
#include "platform/path.h"
#include "platform/qrxtime.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

bool normalizeWritePath(const std::string& text, toolkit::CPath& path,
                        std::string& result, const ServiceOptions& options) {
  path.set(text);
  if (path.normalize() == 0) return true;
  if (g_syslog) g_syslog->info(1, "Error in supplied path %s", text.c_str());
  setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path", result,
               &options);
  return false;
}

bool writeAuthorized(toolkit::CCds& cds, const toolkit::CPath& path,
                     bool adminFlag) {
  if (adminFlag ? path.is_admin_authorized(cds)
                : path.is_write_authorized(cds)) {
    return true;
  }
  if (g_syslog) {
    g_syslog->notice(1, "Unauthorized attempt to write to %s",
                     path.getPath().c_str());
  }
  return false;
}

bool writeLocaleValid(const ServiceOptions& options, std::string& result) {
  if (options.localeValid) return true;
  setBnwsError(kBnwsLocaleNotSupported, options.locale.c_str(), result,
               &options);
  return false;
}

void stampClientText(const std::string& text, toolkit::CElement& element) {
  element.set_string(text);
  // The device clock in its own time base, so the stamp agrees with what
  // other writers of the store record.
  timeval now{};
  qrx_QRXtoUNIXtime64(qrx_UTCtime64(), &now);
  element.set_time(now);
}

pcd_tribool_t persistenceFlag(const ServiceOptions& options) {
  return options.persist ? PCD_TRIBOOL_TRUE : PCD_TRIBOOL_FALSE;
}

int attributeCode(const toolkit::CPath& path) {
  return pcd_attr_str_to_enum(path.getPathAttribute().c_str());
}

bool takesStateNames(int code, data_type_t type) {
  return (code == PCD_ATTR_VALUE || code == PCD_ATTR_ALARM_ON_VALUE) &&
         (type == PCD_TYPE_BOOL || type == PCD_TYPE_UINT ||
          type == PCD_TYPE_INT);
}
