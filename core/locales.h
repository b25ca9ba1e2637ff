// What the two locale operations share.

#ifndef CORE_LOCALES_H_
#define CORE_LOCALES_H_

namespace wsgated {

// The locale the service renders in when a client names none, in the form
// locale names travel in ("en-US"; the context keys its locales "en_US").
extern const char* const kDefaultWireLocale;

}  // namespace wsgated

#endif  // CORE_LOCALES_H_
