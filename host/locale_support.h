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

#include <boost/locale/localization_backend.hpp>

struct ServiceContext;

// The Boost.Locale back end the service's locales are made with: the
// standard-library one. The service needs only message catalogues and the
// locale's name and encoding, which every back end provides alike; the ICU
// back end would add several MiB of touched library pages to a daemon that
// is meant to fit in a few.
boost::locale::localization_backend_manager CatalogueBackend();

// The catalogue folder: $WSGATED_LOCALE_DIR or "/usr/share/locale".
std::string LocaleMessagesPath();

// Read the supported list from the store ("/Software/Locales") and set up
// the locales with SetupLocalesFromList. Returns ctx->locale_support.
bool SetupLocaleSupport(ServiceContext* ctx);

// Configure the generator for narrow UTF-8 catalogues of the domain
// "toolkit" under `messages_path`, then generate a locale for every entry
// of `supported` (";"-separated names such as "en_US;de_DE"), keyed by the
// name as listed. en_US also becomes the process's global locale. Any
// exception stops the set-up and leaves ctx->locale_support false.
bool SetupLocalesFromList(ServiceContext* ctx, const std::string& supported,
                          const std::string& messages_path);

// Drop the locales and everything the generator cached (shutdown).
void TeardownLocaleSupport(ServiceContext* ctx);

#endif  // HOST_LOCALE_SUPPORT_H_
