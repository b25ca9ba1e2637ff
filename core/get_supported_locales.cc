// nsc1:getSupportedLocales: the languages the device renders texts in.
//
// Locale names travel as "en-US"; the context keys its locales "en_US".

#include <boost/locale/info.hpp>
#include <locale>
#include <string>
#include <vector>

#include "common/log.h"
#include "common/service_context.h"
#include "common/service_options.h"
#include "contract/string_lists.h"
#include "core/locales.h"
#include "soapH.h"

namespace wsgated {
namespace {

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
  if (!context.localeSupport) return {kDefaultWireLocale};
  std::vector<std::string> names;
  for (const auto& entry : context.localeMap) {
    names.push_back(wireLocaleName(entry.first));
    if (logEnabled(kLogActivity)) {
      const LocaleFacts facts = describe(entry.second);
      logInfo(kLogActivity, "Locale name = %s encoding = %s (%s UTF-8) ",
              names.back().c_str(), facts.encoding.c_str(), facts.utf8);
    }
  }
  return names;
}

void logRequestedLocale(const ServiceOptions& options) {
  if (!logEnabled(kLogActivity)) return;
  if (options.localeValid) {
    const LocaleFacts facts = describe(options.stdLocale);
    logInfo(kLogActivity, "Locale from Service options: name = %s (%s UTF-8) ",
            facts.name.c_str(), facts.utf8);
  } else {
    logInfo(kLogActivity, "No valid Locales; Service options requested = %s ",
            options.locale.c_str());
  }
}

}  // namespace
}  // namespace wsgated

// Parsing the options may change the context's current locale, as for any
// other operation; an unusable "locale" option only shows in the log.
int __nsc1__getSupportedLocales(
    struct soap* soap, struct _nsc1__getSupportedLocales* request,
    struct _nsc1__getSupportedLocalesResponse& response) {
  wsgated::ServiceContext* context = wsgated::serviceContext(soap);
  wsgated::ServiceOptions options;
  wsgated::parseServiceOptions(context, request->options, options);
  std::vector<std::string> names = wsgated::supportedLocaleNames(*context);
  wsgated::logRequestedLocale(options);
  nsc1__ArrayOfString& list = response.getSupportedLocalesResult;
  return wsgated::stringsToSoap(soap, std::move(names), list.__sizestring,
                                list.string)
             ? SOAP_OK
             : SOAP_EOM;
}
