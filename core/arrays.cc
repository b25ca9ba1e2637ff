// Arrays: ";"-separated attribute texts read as lists of items.

#include "core/arrays.h"

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

// What getArraySize and getArrayRange take for "readArray gave an error".
// Under the default empty errorPrefix every one-item array qualifies too;
// clients of the device expect exactly that.
bool isSingleErrorItem(const std::vector<std::string>& items,
                       const ServiceOptions& options) {
  return items.size() == 1 && startsWith(items[0], options.errorPrefix);
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

std::string arraySizeResult(const std::vector<std::string>& items,
                            const ServiceOptions& options) {
  if (isSingleErrorItem(items, options)) return items[0];
  return std::to_string(items.size());
}

// The arithmetic is 32-bit unsigned on purpose, wrap-around included:
// count 0 from index 0 answers everything (last wraps and is clamped),
// count 0 from index 2 answers the first two items (index > last, so
// nothing goes at the front), and an index past the end answers nothing.
// Clients of the device depend on these answers.
void selectArrayRange(std::vector<std::string>& items, uint32_t index,
                      uint32_t count, const ServiceOptions& options) {
  const uint32_t n = static_cast<uint32_t>(items.size());
  if (isSingleErrorItem(items, options)) {
    items.clear();
    return;
  }
  if (index >= n) {
    // Formed for the log only: the client gets an empty list, not the text.
    std::string unused;
    setBnwsError(kBnwsIndexOutOfRange, nullptr, unused, &options);
    items.clear();
    return;
  }
  uint32_t last = index + count - 1;
  if (last > n) last = n - 1;
  uint32_t dropped = 0;
  if (index != 0 && index <= last) {
    items.erase(items.begin(), items.begin() + index);
    dropped = index;
  }
  if (last < n - 1) items.resize(last + 1 - dropped);
}

std::vector<std::string> readRequestedArray(ServiceContext* context,
                                            const std::string* optionsText,
                                            const std::string* path,
                                            ServiceOptions& options) {
  parseServiceOptions(context, optionsText, options);
  std::vector<std::string> items;
  readArray(context, options, path, items);
  return items;
}

}  // namespace wsgated
