// The read direction of value conversion: the text a read returns for a
// stored element, and the texts of its sub-attributes (see
// value_conversion.h).

#include <exception>

#include "common/event_text.h"
#include "common/log.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "platform/attributes.h"
#include "platform/multistate.h"
#include "platform/path.h"
#include "platform/qrxtime.h"

using toolkit::CCds_Multistate;
using toolkit::CElement;
namespace wsgated {

namespace {

const char* const kDomain = "toolkit";

// A possible-values list in the caller's language.
std::string translatedList(const ServiceOptions& options,
                           const std::string& list) {
  return translateStateList(list,
                            options.localeSupport ? &options.stdLocale : nullptr);
}

// A boolean as its node's text for true or false ("Open"/"Closed"), unless
// the client asked for the canonical "true"/"false".
void renderBoolean(toolkit::CCds& cds, const ServiceOptions& options,
                   const std::string& node, const CElement& element,
                   std::string& result) {
  if (options.canonical) {
    result = element.to_bool() ? "true" : "false";
    return;
  }
  std::string list = CCds_Multistate(cds).GetBoolPossibleValues(node, false);
  result = CCds_Multistate::GetBoolPossibleValue(translatedList(options, list),
                                                 element.to_bool());
}

// A multistate's state name. Numbers alone mean nothing to a reader, so
// canonical does not apply here; only booleans have a canonical text.
// Integers that are not multistate keep their digits.
void renderMultistate(toolkit::CCds& cds, const ServiceOptions& options,
                      const std::string& node, const CElement& element,
                      std::string& result, bool& enumerated) {
  CCds_Multistate multistate(cds);
  if (!multistate.IsMultistate(node, true)) return;
  enumerated = true;
  std::string list;
  multistate.GetPossibleValues(node, false, list);
  result = CCds_Multistate::GetStringValue(translatedList(options, list),
                                           element.to_int());
}

bool isTranslatedLabel(int code) {
  return code == PCD_ATTR_DISPLAY_NAME || code == PCD_ATTR_UNITS ||
         code == PCD_ATTR_DESCRIPTION || code == PCD_ATTR_SHORT_NAME ||
         code == PCD_ATTR_CATEGORY;
}

bool isEventText(int code) {
  return (code >= PCD_ATTR_ALARM_TEXT && code <= PCD_ATTR_FAULT_TEXT) ||
         code == PCD_ATTR_EVENT_TEXT;
}

// Texts meant for people (labels, units, event texts) in the caller's
// language; every other attribute reads as stored.
void renderLabel(const ServiceOptions& options, int code,
                 const CElement& element, std::string& result) {
  if (!options.localeSupport) return;
  if (isTranslatedLabel(code)) {
    result = element.to_translated_string(options.stdLocale, kDomain);
  } else if (isEventText(code)) {
    result = localizeEventText(result, &options.stdLocale);
  }
}

}  // namespace

std::string translateStateList(const std::string& list,
                               const std::locale* locale) {
  if (locale == nullptr) return list;
  return CElement(list).to_translated_string(*locale, kDomain);
}

void renderValue(toolkit::CCds& cds, const ServiceOptions& options,
                 const toolkit::CPath& path, const CElement& element,
                 std::string& result, bool& enumerated) {
  enumerated = false;
  result = element.to_string();
  int code = pcd_attr_str_to_enum(path.getPathAttribute().c_str());
  // Each step assigns the result only once its text is complete, so a
  // failed translation leaves the text of the step before.
  try {
    if (code != PCD_ATTR_VALUE && code != PCD_ATTR_ALARM_ON_VALUE) {
      renderLabel(options, code, element, result);
    } else if (element.get_type() == PCD_TYPE_BOOL) {
      enumerated = true;
      renderBoolean(cds, options, path.getNodePath(), element, result);
    } else if (element.get_type() == PCD_TYPE_UINT ||
               element.get_type() == PCD_TYPE_INT) {
      renderMultistate(cds, options, path.getNodePath(), element, result,
                       enumerated);
    }
  } catch (const std::exception& e) {
    logNotice(kLogErrors, "Exception in string localizing: %s", e.what());
  }
}

std::string timeSubAttributeText(const CElement& element) {
  return std::to_string(qrx_UNIXtoQRXtime64(&element.get_time()));
}

std::string sourceSubAttributeText(element_property_t property) {
  switch (property) {
    case PCD_PROP_NORMAL:
      return "Normal";
    case PCD_PROP_PERSISTENT:
      return "Persistent";
    case PCD_PROP_AUTOMATIC:
      return "Automatic";
    case PCD_PROP_MPL:
      return "MPL";
  }
  return std::string();  // the store reports no other property
}

std::string attribTypeSubAttributeText(const CElement& element,
                                       bool enumerated) {
  data_type_t type = element.get_type();
  if (type == PCD_TYPE_REAL) return "Real";
  if (enumerated && (type == PCD_TYPE_UINT || type == PCD_TYPE_INT)) {
    return "Multistate";
  }
  const char* name = pcd_enum_to_str(type);
  return name != nullptr ? name : CElement::_invalid;
}

}  // namespace wsgated
