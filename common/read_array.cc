// Arrays: ";"-separated attribute texts read as lists of items.

#include "common/read_array.h"

#include "common/bnws_error.h"
#include "common/read_path.h"
#include "common/service_options.h"
#include "platform/element.h"
#include "platform/path.h"

namespace wsgated {

const char* const kArrayAttributes =
    "Attributes;Children;PossibleValues;WritableValues;.NotifyActions;"
    ".TrendTraits;.AlarmBatch";

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// A read result that is an error result rather than a value: the default
// form begins with "?", a client's errorPrefix with that prefix.
bool isErrorText(const std::string& text, const ServiceOptions& options) {
  return startsWith(text, "?") || (!options.errorPrefix.empty() &&
                                   startsWith(text, options.errorPrefix));
}

}  // namespace

bool isArrayAttribute(const std::string& attribute) {
  return std::string(kArrayAttributes).find(attribute) != std::string::npos;
}

void readArray(ServiceContext* context, const ServiceOptions& options,
               const std::string* path, std::vector<std::string>& items) {
  items.clear();
  std::string text;
  if (path == nullptr || path->empty()) {
    setBnwsError(kBnwsBadPathSyntax, "No Path provided", text, &options);
  } else {
    // A malformed path has no attribute, and "" passes the test: readValue
    // then answers the syntax error.
    toolkit::CPath parsed(*path);
    parsed.normalize();
    if (!isArrayAttribute(parsed.getPathAttribute())) {
      setBnwsError(kBnwsNotAnArray, "Invalid attribute for array", text,
                   &options);
    } else {
      readValue(context, options, *path, text);
      if (!isErrorText(text, options)) {
        items = toolkit::CElement::split_string(text, ';');
        return;
      }
    }
  }
  items.push_back(std::move(text));
}

}  // namespace wsgated
