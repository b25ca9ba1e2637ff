// Translation of event texts (see event_text.h).

#include "common/event_text.h"

#include "platform/element.h"

namespace wsgated {

namespace {

const char* const kDomain = "toolkit";
const char* const kSeparator = " : ";
// The second half is taken from one character past the separator's end,
// so the character right after " : " is dropped. Texts shown by the
// device's other interfaces have always been cut this way; ours match them.
const size_t kSecondHalfOffset = 4;

std::string translated(const std::string& text, const std::locale& locale) {
  return toolkit::CElement(text).to_translated_string(locale, kDomain);
}

}  // namespace

std::string localizeEventText(const std::string& text,
                              const std::locale* locale) {
  if (locale == nullptr) return text;
  size_t separator = text.find(kSeparator);
  if (separator == std::string::npos) return translated(text, *locale);
  size_t second = separator + kSecondHalfOffset;
  std::string detail =
      second < text.size() ? text.substr(second) : std::string();
  return translated(text.substr(0, separator), *locale) + kSeparator +
         translated(detail, *locale);
}

}  // namespace wsgated
