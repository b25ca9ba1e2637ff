// Translation of event texts (alarm, normal, warning, fault and event texts
// of a point, and log descriptions) into the caller's language.
//
// Such texts are often "<what> : <detail>", and the catalogue knows the two
// halves, not the combination, so each half is translated on its own.

#ifndef COMMON_EVENT_TEXT_H_
#define COMMON_EVENT_TEXT_H_

#include <locale>
#include <string>

namespace wsgated {

// `text` translated with the domain "toolkit" in `locale`; null `locale`
// (the request has none) keeps the text. A text holding " : " is translated
// as the part before it and the part that begins four characters after the
// separator begins, joined with " : " (so the character right after " : "
// is dropped, as on the device). May throw what Boost.Locale throws.
std::string localizeEventText(const std::string& text,
                              const std::locale* locale);

}  // namespace wsgated

#endif  // COMMON_EVENT_TEXT_H_
