// Locale support: one std::locale per language the device supports.
//
// Texts the service returns (state names, units, event texts) are
// translated with the message catalogues of the domain "toolkit". The
// locales are generated once at start-up, because generating one costs far
// more than a request; requests only pick one of them (request_context.h).
//
// Catalogues are looked up under $WSGATED_LOCALE_DIR, default
// "/usr/share/locale", as <dir>/<lang_COUNTRY>/LC_MESSAGES/toolkit.mo.

#ifndef HOST_LOCALE_SUPPORT_H_
#define HOST_LOCALE_SUPPORT_H_

#include <string>

namespace wsgated {

struct ServiceContext;

// The catalogue folder: $WSGATED_LOCALE_DIR or "/usr/share/locale".
std::string localeMessagesPath();

// Read the supported list from the store ("/Software/Locales") and set up
// the locales with setupLocalesFromList. Returns ctx->localeSupport.
bool setupLocaleSupport(ServiceContext* ctx);

// Configure the generator for narrow UTF-8 catalogues of the domain
// "toolkit" under `messagesPath`, then generate a locale for every entry
// of `supported` (";"-separated names such as "en_US;de_DE"), keyed by the
// name as listed. en_US also becomes the process's global locale. Any
// exception stops the set-up and leaves ctx->localeSupport false.
bool setupLocalesFromList(ServiceContext* ctx, const std::string& supported,
                          const std::string& messagesPath);

// Drop the locales and everything the generator cached (shutdown).
void teardownLocaleSupport(ServiceContext* ctx);

}  // namespace wsgated

#endif  // HOST_LOCALE_SUPPORT_H_
