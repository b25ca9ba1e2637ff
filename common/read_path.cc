// The read path: normalise, authorise, read, render.

#include "common/read_path.h"

#include "common/bnws_error.h"
#include "common/caller_rights.h"
#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "platform/cds.h"
#include "platform/path.h"

namespace wsgated {

namespace {

// True when `text` begins with `prefix`.
bool startsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// The read-rights test that both halves of a read make. Sub-attributes
// (".Time", ".Source", ...) describe a leaf rather than reveal its value,
// so they are readable without read rights. A malformed path is not judged
// here: the store refuses it (status 5) and the reader answers a syntax
// error, which tells the client more than "Not Authorized" would.
bool readRefused(ServiceContext* context, const ServiceOptions& options,
                 const toolkit::CPath& path, std::string& result) {
  if (!path.is_valid() || !path.getSubAttribute().empty() ||
      callerMay(context, toolkit::PCD_ACCESS_READ, path)) {
    return false;
  }
  logNotice(kLogErrors, "Unauthorized read of %s", path.original().c_str());
  setBnwsError(kBnwsNotAuthorized, "Unauthorized read", result, &options);
  return true;
}

// The text of a sub-attribute of a good leaf; false for an unknown one.
// Prefix matches, so ".Timestamp" reads as ".Time".
bool subAttributeText(const std::string& sub, const toolkit::CElement& element,
                      element_property_t property, bool enumerated,
                      std::string& result) {
  if (startsWith(sub, ".Time")) {
    result = timeSubAttributeText(element);
  } else if (startsWith(sub, ".Source")) {
    result = sourceSubAttributeText(property);
  } else if (startsWith(sub, ".AttribType")) {
    result = attribTypeSubAttributeText(element, enumerated);
  } else {
    return false;
  }
  return true;
}

// readAttribute succeeded but the node may have gone since the store call:
// a removed node's leaves can still be in the snapshot we read. Paths whose
// good read already proves the node exists are not tested again.
bool nodeGone(toolkit::CCds& cds, const toolkit::CPath& path) {
  if (path.getSecondPathFlag()) return false;
  api_status_t status;
  if (cds.test_node(path.getNodePath(), status) == 0 &&
      status == API_STATUS_OK) {
    return false;
  }
  logInfo(kLogErrors, "node no longer accessible at %s",
          path.getNodePath().c_str());
  return true;
}

}  // namespace

void readValue(ServiceContext* context, const ServiceOptions& options,
               const std::string& path, std::string& result) {
  toolkit::CPath parsed(path);
  if (parsed.normalize() != 0) {
    logInfo(kLogErrors, "Error in supplied path %s", path.c_str());
    setBnwsError(kBnwsBadPathSyntax, "CDS Error in supplied path", result,
                 &options);
    return;
  }
  // The rights test, the read and the rendering's own reads (possible
  // values) see one state of the store and pay its locks once.
  toolkit::CCdsSnapshot snapshot(context->cds);
  if (readRefused(context, options, parsed, result)) return;
  if (!options.localeValid) {
    setBnwsError(kBnwsLocaleNotSupported, options.locale.c_str(), result,
                 &options);
    return;
  }
  api_status_t status;
  toolkit::CElement element;
  element_property_t property;
  const int rc = context->cds.get_leaf(path, status, element, property);
  bool enumerated;
  readAttribute(context, options, rc, parsed, status, element, property,
                enumerated, result);
}

bool readAttribute(ServiceContext* context, const ServiceOptions& options,
                   int storeResult, const toolkit::CPath& path,
                   api_status_t status, const toolkit::CElement& element,
                   element_property_t property, bool& enumerated,
                   std::string& result) {
  enumerated = false;
  if (readRefused(context, options, path, result)) return false;
  if (storeResult == 0 && status == API_STATUS_OK &&
      element.get_type() != PCD_TYPE_NONE) {
    const std::string& sub = path.getSubAttribute();
    // ".Time" and ".Source" describe the leaf, not its value: rendering
    // (state names, translation) would only be thrown away.
    if (sub.empty() ||
        (!startsWith(sub, ".Time") && !startsWith(sub, ".Source"))) {
      renderValue(context->cds, options, path, element, result, enumerated);
    }
    if (sub.empty() ||
        subAttributeText(sub, element, property, enumerated, result)) {
      return true;
    }
    setBnwsError(kBnwsIllegalAttribute,
                 ("Unknown sub-Attribute " + sub).c_str(), result, &options);
    return true;
  }
  const int code =
      status == API_STATUS_BAD_PATH ? kBnwsBadPathSyntax : kBnwsNodeNotFound;
  logInfo(kLogDump, "CDS access failed for %s", path.original().c_str());
  setBnwsError(code, "CDS access failed", result, &options);
  return false;
}

void readLeafResults(ServiceContext* context, const ServiceOptions& options,
                     const std::vector<toolkit::CPath>& paths,
                     const std::vector<api_status_t>& statuses,
                     const std::vector<toolkit::CElement>& elements,
                     const std::vector<element_property_t>& properties,
                     std::vector<std::string>& results) {
  results.clear();
  results.reserve(paths.size());
  std::string result;
  bool enumerated;
  for (size_t i = 0; i < paths.size(); ++i) {
    if (readAttribute(context, options, 0, paths[i], statuses[i], elements[i],
                      properties[i], enumerated, result) &&
        nodeGone(context->cds, paths[i])) {
      setBnwsError(kBnwsNodeNotFound, "CDS access failed", result, &options);
    }
    results.push_back(std::move(result));
  }
}

void readValues(ServiceContext* context, const ServiceOptions& options,
                const std::vector<std::string>& paths,
                std::vector<std::string>& results) {
  results.clear();
  std::string error;
  if (paths.empty()) {
    setBnwsError(kBnwsNoPathsProvided, "No paths", error, &options);
  } else if (!options.localeValid) {
    setBnwsError(kBnwsLocaleNotSupported, options.locale.c_str(), error,
                 &options);
  } else {
    // Each path is parsed once here for rendering; the store parses the
    // client's texts itself and answers a malformed one with status 5.
    std::vector<toolkit::CPath> parsed;
    parsed.reserve(paths.size());
    for (const std::string& path : paths) {
      parsed.emplace_back(path);
      parsed.back().normalize();
    }
    std::vector<api_status_t> statuses;
    std::vector<toolkit::CElement> elements;
    std::vector<element_property_t> properties;
    // One snapshot for the read and every rights and presence test after
    // it: without it each of those pays the store's file locks per path.
    toolkit::CCdsSnapshot snapshot(context->cds);
    if (context->cds.get_leaves(paths, statuses, elements, properties) == 0) {
      readLeafResults(context, options, parsed, statuses, elements, properties,
                      results);
      return;
    }
    setBnwsError(kBnwsNodeNotFound, "CDS access failed", error, &options);
  }
  results.push_back(std::move(error));
}

void readRelativeValues(ServiceContext* context, const ServiceOptions& options,
                        const std::string* basePath,
                        const std::vector<std::string>& relativePaths,
                        std::vector<std::string>& results) {
  results.clear();
  if (basePath == nullptr) return;
  std::vector<std::string> paths;
  paths.reserve(relativePaths.size());
  for (const std::string& relative : relativePaths) {
    paths.push_back(*basePath + relative);
  }
  readValues(context, options, paths, results);
}

void readValueWithSuffix(ServiceContext* context, const ServiceOptions& options,
                         const std::string& path, const std::string& suffix,
                         std::string& result) {
  readValue(context, options, suffix.empty() ? path : path + ":" + suffix,
            result);
}

}  // namespace wsgated
