// Steps shared by the single write and the multi-write.

#include "common/write_steps.h"

#include <sys/time.h>

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "platform/attributes.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

namespace wsgated {

bool normalizeWritePath(const std::string& text, toolkit::CPath& path,
                        std::string& result, const ServiceOptions& options) {
  path.set(text);
  if (path.normalize() == 0) return true;
  logInfo(kLogErrors, "Error in supplied path %s", text.c_str());
  setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path", result,
               &options);
  return false;
}

bool writeAuthorized(ServiceContext* context, const toolkit::CPath& path,
                     bool adminFlag) {
  if (callerMay(context,
                adminFlag ? toolkit::PCD_ACCESS_ADMIN : toolkit::PCD_ACCESS_WRITE,
                path)) {
    return true;
  }
  logNotice(kLogErrors, "Unauthorized attempt to write to %s",
            path.getPath().c_str());
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

}  // namespace wsgated
