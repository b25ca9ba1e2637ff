// The write direction of value conversion: type names, checking and
// converting client text, re-casting stored values, and finding a node's
// type (see value_conversion.h). Rendering for reads is value_render.cc.

#include "common/value_conversion.h"

#include <strings.h>

#include <cerrno>
#include <cfloat>
#include <cstdint>
#include <cstdlib>

#include "common/bnws_error.h"
#include "common/log.h"
#include "platform/attributes.h"
#include "platform/cds.h"
#include "platform/multistate.h"
#include "platform/path.h"

using toolkit::CElement;
namespace wsgated {

namespace {

// A ValueType shorter than this is no type name ("", "?"); such nodes are
// treated as text.
const size_t kShortestTypeName = 3;

// What lookupValueType reports for an enumerated node without a readable
// PossibleValues.
const char* const kNoPossibleValues = "null";

// The device's strtol saturates at INT32_MAX, so a text that reads as
// exactly that value may have overflowed: refuse it. The downward overflow
// is let through as INT32_MIN, as the device does.
bool isIntegerText(const std::string& text) {
  size_t end = 0;
  int32_t value = toolkit::pcd_strtol32(text.c_str(), &end);
  return end == text.size() && value != INT32_MAX;
}

// strtod overflow gives HUGE_VAL (inf), which is refused; "-inf" and "nan"
// are not, on purpose.
bool isRealText(const std::string& text) {
  char* end = nullptr;
  double value = strtod(text.c_str(), &end);
  return end == text.c_str() + text.size() && !(value > DBL_MAX);
}

bool isBooleanText(const std::string& text) {
  return strcasecmp(text.c_str(), "true") == 0 ||
         strcasecmp(text.c_str(), "false") == 0;
}

// Whether `text` reads as a value of `type` by the device's rules; types
// without such rules are left to the platform's conversion.
bool passesTextCheck(const std::string& text, data_type_t type) {
  switch (type) {
    case PCD_TYPE_BOOL:
      return isBooleanText(text);
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT:
      return isIntegerText(text);
    case PCD_TYPE_REAL:
      return isRealText(text);
    default:
      return true;
  }
}

int failureMarkOf(data_type_t type) {
  switch (type) {
    case PCD_TYPE_BOOL:
      return kConversionBadBool;
    case PCD_TYPE_UINT:
    case PCD_TYPE_INT:
      return kConversionBadInteger;
    case PCD_TYPE_REAL:
      return kConversionBadReal;
    default:
      return kConversionBadOther;
  }
}

// "<node>/<attribute>" in the store's canonical form.
std::string attributePath(const std::string& nodePath,
                          const std::string& attribute) {
  toolkit::CPath node(nodePath);
  node.normalize();
  return node.getNewPathStr(attribute);
}

// The text of a good leaf; false when the store has none.
bool readLeafText(toolkit::CCds& cds, const std::string& path,
                  std::string& text) {
  CElement element;
  if (!readGoodLeaf(cds, path, element)) return false;
  text = element.to_string();
  return true;
}

unsigned long long g_prefetchedComparisons = 0;

const std::string* findPrefetched(const PrefetchedLeaves* prefetched,
                                  const std::string& path) {
  return prefetched == nullptr ? nullptr : prefetched->find(path);
}

// The element converted to `type` as a re-cast does it: enumerated types
// by their state names where the node has states, the rest like a client's
// text. Returns 0 when converted.
int recastElement(toolkit::CCds& cds, const std::string& nodePath,
                  data_type_t type, bool enumerated, CElement& element) {
  if (enumerated) {
    bool multistate = false;
    int rc = toolkit::CCds_Multistate(cds).StringToMultiValue(
        nodePath, type, element.to_string(), element, multistate);
    // Without states of its own the node's text converts like any other.
    if (rc == 0 || multistate) return rc;
  }
  std::string scratch;
  return convertTextToType(element, type, scratch, nullptr);
}

}  // namespace

data_type_t valueTypeFromText(const std::string& text, bool& enumerated) {
  enumerated = false;
  if (strcasecmp(text.c_str(), "Real") == 0) return PCD_TYPE_REAL;
  // Multistate values are stored as integers; their texts are the states.
  if (strcasecmp(text.c_str(), "Multistate") == 0) {
    enumerated = true;
    return PCD_TYPE_INT;
  }
  int type = pcd_human_str_to_enum(text.c_str());
  if (type == PCD_TYPE_NONE) return PCD_TYPE_STRING;
  if (type == PCD_TYPE_BOOL) enumerated = true;
  return static_cast<data_type_t>(type);
}

int convertTextToType(CElement& element, data_type_t type, std::string& result,
                      const ServiceOptions* options) {
  const std::string text = element.to_string();
  // The platform may still refuse what the text check let through ("-5" as
  // Unsigned); to the client that is the same bad value.
  if (!passesTextCheck(text, type) || element.convert_type(type) != 0) {
    setBnwsError(kBnwsBadValueFormat, ("Could not transform " + text).c_str(),
                 result, options);
    return failureMarkOf(type);
  }
  result = element.to_string();
  return kConversionOk;
}

int convertTextToNamedType(CElement& element, const std::string& typeName,
                           std::string& result, const ServiceOptions* options) {
  data_type_t type =
      static_cast<data_type_t>(pcd_human_str_to_enum(typeName.c_str()));
  return convertTextToType(element, type, result, options);
}

int recastAttribute(toolkit::CCds& cds, const std::string& nodePath,
                    const std::string& valueTypeText,
                    const std::string& attributeName) {
  const std::string path = attributePath(nodePath, attributeName);
  api_status_t status = API_STATUS_UNKNOWN;
  CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  int rc = cds.get_leaf(path, status, element, property);
  if (rc != 0) return rc;
  if (status != API_STATUS_OK) return 0;  // nothing stored, nothing to re-cast

  bool enumerated = false;
  data_type_t type = valueTypeFromText(valueTypeText, enumerated);
  // Unsigned values (counters) are never re-cast.
  if (element.get_type() == PCD_TYPE_UINT || element.get_type() == type)
    return 0;

  rc = recastElement(cds, nodePath, type, enumerated, element);
  if (rc == 0) {
    // Keep the leaf's persistence: a re-cast is no new configuration.
    pcd_tribool_t persist =
        property == PCD_PROP_PERSISTENT ? PCD_TRIBOOL_TRUE : PCD_TRIBOOL_FALSE;
    rc = cds.set_leaf(path, element, status, persist, "");
    if (rc == 0 && status != API_STATUS_OK) rc = status;
  }
  if (rc == 0) {
    logInfo(kLogActivity, "Recasting %s as %s", path.c_str(),
            valueTypeText.c_str());
  } else {
    logInfo(kLogErrors, "Failed to re-cast %s as %s", path.c_str(),
            valueTypeText.c_str());
  }
  return rc;
}

PrefetchedLeaves::PrefetchedLeaves(const std::vector<PrefetchedLeaf>& leaves) {
  texts_.reserve(leaves.size());
  for (const PrefetchedLeaf& leaf : leaves) texts_.emplace(leaf.path, leaf.text);
}

const std::string* PrefetchedLeaves::find(const std::string& path) const {
  const auto found = texts_.find(path);
  return found == texts_.end() ? nullptr : &found->second;
}

unsigned long long PrefetchedLeaves::comparisons() {
  return g_prefetchedComparisons;
}

bool PrefetchedLeaves::CountingEqual::operator()(const std::string& a,
                                                 const std::string& b) const {
  ++g_prefetchedComparisons;
  return a == b;
}

data_type_t lookupValueType(toolkit::CCds& cds, const std::string& nodePath,
                            const PrefetchedLeaves* prefetched,
                            std::string& possibleValues, bool& enumerated) {
  const std::string typePath = attributePath(nodePath, "ValueType");
  const std::string* typeText = findPrefetched(prefetched, typePath);
  // valueTypeFromText never answers None, so None means "not found yet".
  data_type_t type = typeText != nullptr
                         ? valueTypeFromText(*typeText, enumerated)
                         : PCD_TYPE_NONE;
  if (type == PCD_TYPE_NONE) {
    std::string stored;
    if (readLeafText(cds, typePath, stored) &&
        stored.size() >= kShortestTypeName) {
      type = valueTypeFromText(stored, enumerated);
    } else {
      enumerated = false;
      type = PCD_TYPE_STRING;
    }
  }
  if (!enumerated) return type;

  const std::string valuesPath = attributePath(nodePath, "PossibleValues");
  const std::string* values = findPrefetched(prefetched, valuesPath);
  if (values != nullptr) {
    possibleValues = *values;
  } else if (!readLeafText(cds, valuesPath, possibleValues)) {
    possibleValues = kNoPossibleValues;
  }
  return type;
}

bool readGoodLeaf(toolkit::CCds& cds, const std::string& path,
                  toolkit::CElement& element) {
  api_status_t status = API_STATUS_UNKNOWN;
  element_property_t property = PCD_PROP_NORMAL;
  return cds.get_leaf(path, status, element, property) == 0 &&
         status == API_STATUS_OK;
}

bool parseDecimalNumber(const std::string& text, uint64_t& number) {
  // Twenty digits hold every 64-bit number; strtoull reports the rest.
  if (text.empty() || text.size() > 20 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  errno = 0;
  number = strtoull(text.c_str(), nullptr, 10);
  return errno == 0;
}

}  // namespace wsgated
