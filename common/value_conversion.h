// Value conversion between the texts that travel in SOAP messages and the
// typed elements (toolkit::CElement) that the data store holds.
//
// Write direction: a node's ValueType text names a data type; a client's
// text is checked and converted to that type with the device's own number
// rules (32-bit strtol, strtod). Read direction: a stored element becomes
// the text a read returns, booleans and multistate values as their state
// names, translated into the caller's locale.

#ifndef COMMON_VALUE_CONVERSION_H_
#define COMMON_VALUE_CONVERSION_H_

#include <cstdint>
#include <locale>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/element.h"
#include "platform/types.h"

namespace toolkit {
class CCds;
class CPath;
}  // namespace toolkit

namespace wsgated {

struct ServiceOptions;

// A text of decimal digits only (no sign, no blanks) as a 64-bit number:
// alarm and queue numbers, which outgrow the store's 32-bit integers and
// are kept as node names and texts. False for any other text and for a
// number beyond 64 bits.
bool parseDecimalNumber(const std::string& text, uint64_t& number);

// The element of the leaf at `path` when the store has it: false when the
// call failed or the leaf is not there (any status but OK).
bool readGoodLeaf(toolkit::CCds& cds, const std::string& path,
                  toolkit::CElement& element);

// Failure marks of convertTextToType.
enum ConversionFailure {
  kConversionOk = 0,
  kConversionBadBool = 1,
  kConversionBadInteger = 2,
  kConversionBadReal = 3,
  // A type without a text check of its own whose conversion the platform
  // refuses ("tomorrow" as timeval).
  kConversionBadOther = 4,
};

// One leaf a multi-write has already seen: its normalised path and the
// client's text for it. lookupValueType prefers these to the store.
struct PrefetchedLeaf {
  std::string path;
  std::string text;
};

// The leaves of one multi-write by path. A setValues looks up the type and
// states of each entry's node here, so a lookup must not cost more with
// more entries: searching a list from the front made a call of n entries
// cost n * n (100,000 entries held the daemon for 17 s).
class PrefetchedLeaves {
 public:
  PrefetchedLeaves() = default;
  // The first leaf of a path wins, as it would in a search from the front.
  explicit PrefetchedLeaves(const std::vector<PrefetchedLeaf>& leaves);

  // The client's text for `path`, or nullptr.
  const std::string* find(const std::string& path) const;

  // Paths compared with a looked-up path so far, in this process: the cost
  // meter that tests read to see that lookups stay constant.
  static unsigned long long comparisons();

 private:
  struct CountingEqual {
    bool operator()(const std::string& a, const std::string& b) const;
  };
  std::unordered_map<std::string, std::string, std::hash<std::string>,
                     CountingEqual>
      texts_;
};

// "Real" -> 4, "Multistate" -> 3 (enumerated), otherwise the platform's
// human type names: unknown -> 6 (text), boolean -> 1 (enumerated).
// `enumerated` is cleared first.
data_type_t valueTypeFromText(const std::string& text, bool& enumerated);

// Check the element's text against `type` and convert it in place.
// Returns kConversionOk with `result` the converted element's text, or a
// failure mark with `result` the error 12 text ("Could not transform <text>")
// and the element unchanged. `options` may be null.
int convertTextToType(toolkit::CElement& element, data_type_t type,
                      std::string& result, const ServiceOptions* options);

// The same with the type given by its human name (pcd_human_str_to_enum).
int convertTextToNamedType(toolkit::CElement& element,
                           const std::string& typeName, std::string& result,
                           const ServiceOptions* options);

// Re-cast the stored attribute `attributeName` of `nodePath` to the type
// named by `valueTypeText`, keeping the leaf's persistence. Returns the
// store's result (0 = written); leaves it alone when there is nothing to do.
int recastAttribute(toolkit::CCds& cds, const std::string& nodePath,
                    const std::string& valueTypeText,
                    const std::string& attributeName);

// The data type of the node's Value, from "<node>/ValueType" (prefetched
// entries first, then the store; 6 when unknown). For enumerated types
// `possibleValues` receives the node's PossibleValues text ("null" when the
// store has none). `prefetched` may be null.
data_type_t lookupValueType(toolkit::CCds& cds, const std::string& nodePath,
                            const PrefetchedLeaves* prefetched,
                            std::string& possibleValues, bool& enumerated);

// A possible-values list ("Off;On", "1=Open;2=Closed") in `locale`, with
// the domain "toolkit"; the platform translates it item by item, keeping
// the states' numbers. Null `locale` (no locale support) keeps the list.
// May throw what Boost.Locale throws.
std::string translateStateList(const std::string& list,
                               const std::locale* locale);

// The text a read returns for `element`, stored at the normalised `path`.
// Sets `enumerated` when the value was rendered as a state name. Never
// throws: a failed translation leaves the untranslated text.
void renderValue(toolkit::CCds& cds, const ServiceOptions& options,
                 const toolkit::CPath& path, const toolkit::CElement& element,
                 std::string& result, bool& enumerated);

// Sub-attribute texts of a read:
//   ".Time"        the time stamp in device time (qrx), decimal
//   ".Source"      "Normal", "Persistent", "Automatic", "MPL"
//   ".AttribType"  "Real", "Multistate" (enumerated integers) or the
//                  platform's type name
std::string timeSubAttributeText(const toolkit::CElement& element);
std::string sourceSubAttributeText(element_property_t property);
std::string attribTypeSubAttributeText(const toolkit::CElement& element,
                                       bool enumerated);

}  // namespace wsgated

#endif  // COMMON_VALUE_CONVERSION_H_
