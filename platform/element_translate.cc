// CElement::to_translated_string: kept apart from element.cc so that only
// the code that translates pulls in Boost.Locale.

#include <boost/locale/message.hpp>

#include "platform/element.h"

namespace toolkit {

namespace {

typedef boost::locale::message_format<char> MessageFacet;

// The catalogue's text for `text`, or `text` itself when it has none.
std::string lookup(const std::string& text, const std::locale& locale,
                   const char* domain) {
  if (text.empty()) return text;
  boost::locale::message message = boost::locale::translate(text);
  return domain != nullptr ? message.str(locale, domain)
                           : message.str(locale);
}

// Length of an item's "N=" prefix ("1=Open", "-2=Low"), 0 when none.
size_t number_prefix(const std::string& item) {
  size_t i = (!item.empty() && item[0] == '-') ? 1 : 0;
  size_t digits = i;
  while (digits < item.size() && item[digits] >= '0' && item[digits] <= '9') {
    ++digits;
  }
  if (digits == i || digits >= item.size() || item[digits] != '=') return 0;
  return digits + 1;
}

// Possible-values texts ("Off;On", "1=Open;2=Closed") are catalogued item
// by item; the numbers are not part of what a translator sees.
std::string translate_items(const std::string& text,
                            const std::locale& locale, const char* domain) {
  std::string result;
  size_t start = 0;
  for (;;) {
    size_t end = text.find(';', start);
    std::string item =
        text.substr(start, end == std::string::npos ? end : end - start);
    size_t prefix = number_prefix(item);
    result += item.substr(0, prefix);
    result += lookup(item.substr(prefix), locale, domain);
    if (end == std::string::npos) break;
    result += ';';
    start = end + 1;
  }
  return result;
}

}  // namespace

std::string CElement::to_translated_string(const std::locale& locale,
                                           const char* domain) const {
  std::string text = to_string();
  if (text.empty() || !std::has_facet<MessageFacet>(locale)) return text;
  try {
    std::string whole = lookup(text, locale, domain);
    if (whole != text || text.find(';') == std::string::npos) return whole;
    return translate_items(text, locale, domain);
  } catch (const std::exception&) {
    // A broken catalogue must not take a read down; show the stored text.
    return text;
  }
}

}  // namespace toolkit
