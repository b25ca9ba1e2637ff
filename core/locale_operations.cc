// nsc1:getDefaultLocale and nsc1:getSupportedLocales.
//
// Locale names travel as "en-US"; the context keys its locales "en_US".

#include <locale>
#include <string>
#include <vector>

#include <boost/locale/info.hpp>

#include "contract/string_lists.h"
#include "core/service_options.h"
#include "host/service_context.h"
#include "platform/syslog.h"
#include "soapH.h"

using toolkit::g_syslog;

namespace {

// The locale the service renders in when a client names none.
const char* const kDefaultLocale = "en-US";

// What the log says of a locale; the default C++ locale carries no
// Boost.Locale description and counts as neither named nor UTF-8.
struct LocaleFacts {
  std::string name;
  std::string encoding;
  const char* utf8;  // "is" or "is NOT", read as "<utf8> UTF-8"
};

LocaleFacts describe(const std::locale& locale) {
  if (!std::has_facet<boost::locale::info>(locale)) {
    return {locale.name(), std::string(), "is NOT"};
  }
  const auto& info = std::use_facet<boost::locale::info>(locale);
  return {info.name(), info.encoding(), info.utf8() ? "is" : "is NOT"};
}

// "de_DE" -> "de-DE"; only the first "_" ("zh_Hant_TW" -> "zh-Hant_TW").
std::string wireLocaleName(std::string name) {
  const size_t underscore = name.find('_');
  if (underscore != std::string::npos) name[underscore] = '-';
  return name;
}

std::vector<std::string> supportedLocaleNames(const ServiceContext& context) {
  if (!context.locale_support) return {kDefaultLocale};
  std::vector<std::string> names;
  for (const auto& entry : context.locale_map) {
    names.push_back(wireLocaleName(entry.first));
    if (g_syslog && g_syslog->enabled(2)) {
      const LocaleFacts facts = describe(entry.second);
      g_syslog->info(2, "Locale name = %s encoding = %s (%s UTF-8) ",
                     names.back().c_str(), facts.encoding.c_str(), facts.utf8);
    }
  }
  return names;
}

void logRequestedLocale(const ServiceOptions& options) {
  if (g_syslog == nullptr || !g_syslog->enabled(2)) return;
  if (options.localeValid) {
    const LocaleFacts facts = describe(options.stdLocale);
    g_syslog->info(2, "Locale from Service options: name = %s (%s UTF-8) ",
                   facts.name.c_str(), facts.utf8);
  } else {
    g_syslog->info(2, "No valid Locales; Service options requested = %s ",
                   options.locale.c_str());
  }
}

}  // namespace

// Always the same answer; the options are not even parsed.
int __nsc1__getDefaultLocale(struct soap*, struct _nsc1__getDefaultLocale*,
                             struct _nsc1__getDefaultLocaleResponse& response) {
  response.getDefaultLocaleResult = kDefaultLocale;
  return SOAP_OK;
}

// Parsing the options may change the context's current locale, as for any
// other operation; an unusable "locale" option only shows in the log.
int __nsc1__getSupportedLocales(
    struct soap* soap, struct _nsc1__getSupportedLocales* request,
    struct _nsc1__getSupportedLocalesResponse& response) {
  ServiceContext* context = service_context(soap);
  ServiceOptions options;
  parseServiceOptions(context, request->options, options);
  std::vector<std::string> names = supportedLocaleNames(*context);
  logRequestedLocale(options);
  nsc1__ArrayOfString& list = response.getSupportedLocalesResult;
  return StringsToSoap(soap, std::move(names), list.__sizestring, list.string)
             ? SOAP_OK
             : SOAP_EOM;
}
