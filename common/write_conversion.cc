// The conversion every write makes (write_conversion.h).

#include "common/write_conversion.h"

#include "common/bnws_error.h"
#include "common/log.h"
#include "common/service_options.h"
#include "common/value_conversion.h"
#include "platform/multistate.h"

namespace wsgated {

const StateNameRules kSingleWriteRules = {
    StateList::kWriterStates,
    "Cannot find PossibleValue match to write %s to %s",
    "Cannot find PossibleValue match to write",
    "Cannot find PossibleValue match to write %s to %s",
    "Cannot find PossibleValue match to write",
};

const StateNameRules kMultiWriteRules = {
    StateList::kPossibleValues,
    "Cannot find bool match for %s to write to %s",
    "Cannot find bool match to write",
    "Cannot find enum match for %s to write to %s",
    "Cannot find PossibleValue match to write",
};

bool convertWriteText(const StateNameRules& rules, const WriteTarget& target,
                      const std::string& path, const std::string& text,
                      toolkit::CElement& element, std::string& result,
                      const ServiceOptions& options) {
  if (!target.stateNames) {
    return convertTextToType(element, target.type, result, &options) ==
           kConversionOk;
  }
  if (toolkit::CCds_Multistate::TextToState(target.states, target.type, text,
                                            element)) {
    result = element.to_string();
    return true;
  }
  const bool flag = target.type == PCD_TYPE_BOOL;
  logInfo(kLogErrors, flag ? rules.boolLogFormat : rules.enumLogFormat,
          text.c_str(), path.c_str());
  setBnwsError(kBnwsBadValueFormat, flag ? rules.boolDetail : rules.enumDetail,
               result, &options);
  return false;
}

}  // namespace wsgated
