// Arrays: ";"-separated attribute texts read as lists of items.

#include "core/arrays.h"

#include "common/bnws_error.h"
#include "common/service_options.h"

namespace wsgated {

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// What getArraySize and getArrayRange take for "readArray gave an error".
// Under the default empty errorPrefix every one-item array qualifies too;
// clients of the device expect exactly that.
bool isSingleErrorItem(const std::vector<std::string>& items,
                       const ServiceOptions& options) {
  return items.size() == 1 && startsWith(items[0], options.errorPrefix);
}

}  // namespace

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
