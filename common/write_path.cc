// The single write, the writability rules every write applies, and the
// validation of a multi-write's lists.

#include "common/write_path.h"

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "common/write_conversion.h"
#include "common/write_steps.h"
#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/event.h"
#include "platform/multistate.h"
#include "platform/path.h"

namespace wsgated {

const char* const kChangeOrigin = "Web-Services";

namespace {

void logInfo1(const char* format, const std::string& path) {
  logInfo(kLogErrors, format, path.c_str());
}

// Step one of checkWritable. Ordinary writes need a readable, typed leaf;
// node administration may create leaves, so for it a failed read only
// leaves `element` without a type.
bool readLeafForWrite(toolkit::CCds& cds, const toolkit::CPath& path,
                      bool adminFlag, toolkit::CElement& element,
                      std::string& result, const ServiceOptions& options) {
  api_status_t status = API_STATUS_UNKNOWN;
  element_property_t property = PCD_PROP_NORMAL;
  const std::string where = path.getPath();
  if (cds.get_leaf(where, status, element, property) == 0 &&
      status == API_STATUS_OK && element.get_type() != PCD_TYPE_NONE) {
    return true;
  }
  element.clear();
  if (adminFlag) return true;
  if (status == API_STATUS_NO_NODE) {
    logInfo1("Node does not exist for %s", where);
    setBnwsError(kBnwsNodeNotFound, "Node does not exist", result, &options);
  } else {
    logInfo1("CCds::get_leaf() call failed for %s", where);
    setBnwsError(kBnwsNodeNotFound, "CDS access failed", result, &options);
  }
  return false;
}

// A node's Value is writable only when its Writable attribute reads true.
bool valueIsWritable(toolkit::CCds& cds, const toolkit::CPath& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement writable;
  element_property_t property = PCD_PROP_NORMAL;
  return cds.get_leaf(path.getNewPathStr("Writable"), status, writable,
                      property) == 0 &&
         status == API_STATUS_OK && writable.to_bool();
}

WritableCheck refuseAttribute(const char* prefix, const std::string& name,
                              const char* suffix, WritableCheck check,
                              std::string& result,
                              const ServiceOptions& options) {
  const std::string detail = prefix + name + suffix;
  setBnwsError(kBnwsIllegalAttribute, detail.c_str(), result, &options);
  return check;
}

// Ordinary writers may write a Value that is marked Writable and the alarm
// and warning limits, nothing else.
WritableCheck checkOrdinaryWrite(toolkit::CCds& cds, const toolkit::CPath& path,
                                 int code, std::string& result,
                                 const ServiceOptions& options) {
  if (code == PCD_ATTR_VALUE) {
    if (valueIsWritable(cds, path)) return kMayWrite;
    logInfo1("Value is not Writable for %s", path.getPath());
    setBnwsError(kBnwsNotWritable, "Value is not Writable", result, &options);
    return kValueNotWritable;
  }
  if (code >= PCD_ATTR_HIGH_ALARM_LIMIT && code <= PCD_ATTR_LOW_WARNING_LIMIT) {
    return kMayWrite;
  }
  return refuseAttribute("Attribute ", path.getPathAttribute(),
                         " is not Writable", kAttributeNotWritable, result,
                         options);
}

// Administrators may write anything but what the store computes, and may
// not clear a request flag: only the platform sets those back to false,
// once the request has been carried out.
WritableCheck checkAdminWrite(const toolkit::CPath& path, int code,
                              const std::string& valueText, std::string& result,
                              const ServiceOptions& options) {
  const std::string& name = path.getPathAttribute();
  switch (code) {
    case PCD_ATTR_CHILDREN:
    case PCD_ATTR_ATTRIBUTES:
    case PCD_ATTR_CHANGE_COUNT:
    case PCD_ATTR_NAME:
    case PCD_ATTR_CHILD_COUNT:
      return refuseAttribute("Automatic Attribute ", name, " is not Writable",
                             kAutomaticAttribute, result, options);
    case PCD_ATTR_RESET_MIN_MAX:
    case PCD_ATTR_RESET_COUNTER:
    case PCD_ATTR_REFRESH_REQUEST:
      if (valueText != "false") return kMayWrite;
      return refuseAttribute("Attribute ", name,
                             " is automatically set to false",
                             kAutomaticAttribute, result, options);
    default:
      return kMayWrite;
  }
}

// The type of the node's Value; String when it has none.
data_type_t nodeValueType(toolkit::CCds& cds, const toolkit::CPath& path) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement value;
  element_property_t property = PCD_PROP_NORMAL;
  if (cds.get_leaf(path.getNewPathStr("Value"), status, value, property) != 0 ||
      status != API_STATUS_OK || value.get_type() == PCD_TYPE_NONE) {
    return PCD_TYPE_STRING;
  }
  return value.get_type();
}

// What the client's text becomes: the leaf's own type, else the
// attribute's fixed type, else String. A Value (or alarm value) whose node
// has states a writer may set takes a state's name.
WriteTarget singleWriteTarget(toolkit::CCds& cds, const toolkit::CPath& path,
                              int code, data_type_t stored) {
  WriteTarget target;
  target.type = stored;
  if (target.type == PCD_TYPE_NONE) {
    const data_type_t fixed = fixedAttributeType(code);
    if (fixed == kTypeOfNodeValue) {
      target.type = nodeValueType(cds, path);
    } else {
      target.type = fixed == PCD_TYPE_NONE ? PCD_TYPE_STRING : fixed;
    }
  }
  if (takesStateNames(code, target.type)) {
    target.stateNames = toolkit::CCds_Multistate(cds).GetWriterStates(
        path.getPath(), target.type, target.states);
  }
  return target;
}

// Everything a single write needs once the checks have passed.
struct SingleWrite {
  toolkit::CCds& cds;
  const ServiceOptions& options;
  const toolkit::CPath& path;
  const std::string& text;
  int code;
  WriteTarget target;
  std::string source;
};

// Steps after the checks: convert and store (or, for a ValueType written
// by node administration, re-cast the values that depend on it).
void storeValue(const SingleWrite& write, bool adminFlag,
                toolkit::CElement& element, std::string& result) {
  const std::string where = write.path.getPath();
  if (!takesStateNames(write.code, write.target.type)) {
    logInfo(kLogActivity, "Will write to %s with type = %d, from %s",
            where.c_str(), static_cast<int>(write.target.type),
            write.source.c_str());
  }
  stampClientText(write.text, element);
  if (!convertWriteText(kSingleWriteRules, write.target, where, write.text,
                        element, result, write.options)) {
    return;
  }
  if (adminFlag && write.code == PCD_ATTR_VALUE_TYPE) {
    // Deliberately nothing else is written: a ValueType sent by node
    // administration re-casts the values the node already holds.
    const std::string& node = write.path.getNodePath();
    recastAttribute(write.cds, node, write.text, "Value");
    recastAttribute(write.cds, node, write.text, ".AlarmOnValue");
    return;
  }
  api_status_t status = API_STATUS_UNKNOWN;
  if (write.cds.set_leaf(where, element, status, persistenceFlag(write.options),
                         write.source) != 0 ||
      status != API_STATUS_OK) {
    logInfo1("CCds::set_leaf() call failed for %s", where);
    setBnwsError(kBnwsWriteFailed, "CDS write access failed", result,
                 &write.options);
    return;
  }
  // A state is answered as the client named it, not as its number.
  if (write.target.stateNames) result = write.text;
}

}  // namespace

std::string changeSource(const RequestCaller& caller) {
  std::string source;
  toolkit::CEvent::format_source_string(
      source, kChangeOrigin, caller.user.c_str(), caller.address.c_str());
  return source;
}

data_type_t fixedAttributeType(int code) {
  const AttributeInfo* info = pcd_attr_info(code);
  if (info == nullptr || (info->flags & PCD_AF_FIXED_TYPE) == 0) {
    return PCD_TYPE_NONE;
  }
  return static_cast<data_type_t>(info->default_type);
}

WritableCheck checkWritable(toolkit::CCds& cds, const toolkit::CPath& path,
                            bool adminFlag, const std::string& valueText,
                            toolkit::CElement& element, std::string& result,
                            const ServiceOptions& options) {
  if (!readLeafForWrite(cds, path, adminFlag, element, result, options)) {
    return kLeafUnreadable;
  }
  const int code = attributeCode(path);
  if (adminFlag) return checkAdminWrite(path, code, valueText, result, options);
  return checkOrdinaryWrite(cds, path, code, result, options);
}

int writeValue(ServiceContext* context, bool adminFlag,
               const ServiceOptions& options, const std::string* path,
               const std::string* value, std::string& result) {
  if (path == nullptr || path->empty()) {
    setBnwsError(kBnwsBadPathSyntax, "No Path provided", result, &options);
    return 0;
  }
  if (value == nullptr || value->empty()) {
    setBnwsError(kBnwsBadValueFormat, "No Value provided", result, &options);
    return 0;
  }
  toolkit::CCds& cds = context->cds;
  toolkit::CPath cpath;
  if (!normalizeWritePath(*path, cpath, result, options)) return 0;
  if (!writeAuthorized(context, cpath, adminFlag)) return kWriteNotAuthorized;
  if (!writeLocaleValid(options, result)) return 0;
  toolkit::CElement element;
  if (checkWritable(cds, cpath, adminFlag, *value, element, result, options) !=
      kMayWrite) {
    return 0;
  }
  const int code = attributeCode(cpath);
  const SingleWrite write{
      cds,
      options,
      cpath,
      *value,
      code,
      singleWriteTarget(cds, cpath, code, element.get_type()),
      changeSource(context->caller)};
  storeValue(write, adminFlag, element, result);
  logInfo(kLogActivity, "Wrote %s to %s", result.c_str(),
          cpath.getPath().c_str());
  return 0;
}

bool checkWriteLists(const std::vector<std::string>& paths,
                     const std::vector<std::string>& values,
                     const ServiceOptions& options,
                     std::vector<std::string>& results) {
  int code = -1;
  const char* detail = nullptr;
  if (paths.empty()) {
    code = kBnwsNoPathsProvided;
    detail = "No Paths provided";
  } else if (values.empty()) {
    code = kBnwsEmptyArray;
    detail = "No Values provided";
  } else if (paths.size() != values.size()) {
    code = kBnwsIndexOutOfRange;
    detail = "Mismatched array sizes";
  } else {
    return true;
  }
  std::string error;
  setBnwsError(code, detail, error, &options);
  results.push_back(error);
  return false;
}

}  // namespace wsgated
