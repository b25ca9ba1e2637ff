// Rights tests that remember their refusals, and the line that tells them.

#include "common/caller_rights.h"

#include "common/log.h"
#include "common/service_context.h"
#include "platform/path.h"

namespace wsgated {

namespace {

// The access as a person would name it.
const char* accessName(toolkit::pcd_access_t access) {
  switch (access) {
    case toolkit::PCD_ACCESS_READ:
      return "read";
    case toolkit::PCD_ACCESS_WRITE:
      return "write";
    case toolkit::PCD_ACCESS_REMOVE:
      return "removal";
    case toolkit::PCD_ACCESS_RESET:
      return "reset";
    case toolkit::PCD_ACCESS_ADMIN:
      return "administration";
  }
  return "access";
}

void noteRefusal(ServiceContext* context, toolkit::pcd_access_t access,
                 const toolkit::CPath& path) {
  RequestRefusals& refusals = context->refusals;
  if (refusals.count++ > 0) return;  // the first one speaks for the rest
  refusals.access = access;
  refusals.path = path.original();  // as the client wrote it
  refusals.judged =
      toolkit::pcd_required_role(context->cds, access, path, &refusals.needs);
}

}  // namespace

bool callerMay(ServiceContext* context, toolkit::pcd_access_t access,
               const toolkit::CPath& path) {
  if (toolkit::pcd_authorize(context->cds, context->caller.user.c_str(),
                             access, path)) {
    return true;
  }
  noteRefusal(context, access, path);
  return false;
}

void clearRefusals(ServiceContext* context) {
  context->refusals = RequestRefusals();
}

std::string refusalSummary(ServiceContext* context,
                           const std::string& operation) {
  const RequestRefusals& refusals = context->refusals;
  if (refusals.count == 0) return "";
  const RequestCaller& caller = context->caller;
  const toolkit::pcd_role_t role =
      toolkit::pcd_user_role(context->cds, caller.user.c_str());
  std::string line = "Refused " +
                     (operation.empty() ? "(no operation)" : operation) +
                     " to " + (caller.user.empty() ? "(anonymous)" : caller.user) +
                     "@" + caller.address + " (role " +
                     toolkit::pcd_role_name(role) + "): " +
                     accessName(refusals.access) + " of " + refusals.path;
  line += refusals.judged ? std::string(" needs ") +
                                toolkit::pcd_role_name(refusals.needs)
                          : std::string(" is not a valid path");
  if (refusals.count > 1) {
    line += "; " + std::to_string(refusals.count) + " refusals in all";
  }
  return line;
}

void logRefusals(ServiceContext* context, const std::string& operation) {
  const std::string line = refusalSummary(context, operation);
  if (!line.empty()) logNotice(kLogErrors, "%s", line.c_str());
}

}  // namespace wsgated
