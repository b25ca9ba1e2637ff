// Locale set-up and tear-down.

#include "host/locale_support.h"

#include <cstdlib>
#include <exception>
#include <vector>

#include "common/log.h"
#include "common/service_context.h"
#include "platform/element.h"
#include "platform/utils.h"

namespace wsgated {

namespace {

const char* const kDefaultMessagesPath = "/usr/share/locale";
const char* const kGlobalLocaleName = "en_US.UTF-8";

void addLocale(ServiceContext* ctx, const std::string& name) {
  const std::string fullName = name + ".UTF-8";
  std::locale generated = ctx->localeGenerator.generate(fullName);
  if (ctx->localeMap.emplace(name, generated).second) {
    logInfo(kLogActivity, "Added locale %s support", fullName.c_str());
  }
  if (fullName == kGlobalLocaleName) std::locale::global(generated);
}

}  // namespace

std::string localeMessagesPath() {
  const char* dir = getenv("WSGATED_LOCALE_DIR");
  return (dir != nullptr && dir[0] != '\0') ? dir : kDefaultMessagesPath;
}

bool setupLocaleSupport(ServiceContext* ctx) {
  std::string supported;
  toolkit::CCds_Utils(ctx->cds).getSupportedLocales(supported);
  return setupLocalesFromList(ctx, supported, localeMessagesPath());
}

bool setupLocalesFromList(ServiceContext* ctx, const std::string& supported,
                          const std::string& messagesPath) {
  ctx->localeSupport = false;
  try {
    ctx->localeGenerator.characters(boost::locale::char_facet);
    // Every later request from a known caller asks the generator for
    // en_US.UTF-8 again; building a locale costs far more than a request,
    // so let the generator hand out its cached copy.
    ctx->localeGenerator.locale_cache_enabled(true);
    ctx->localeGenerator.add_messages_path(messagesPath);
    ctx->localeGenerator.add_messages_domain("toolkit/UTF-8");
    ctx->supportedLocales = supported;
    for (const std::string& name :
         toolkit::CElement::split_string(supported, ';')) {
      addLocale(ctx, name);
    }
  } catch (const std::exception& e) {
    logWarning(kLogErrors, "Exception in setting up locales: %s", e.what());
    return false;
  }
  ctx->localeSupport = true;
  return true;
}

void teardownLocaleSupport(ServiceContext* ctx) {
  ctx->localeMap.clear();
  ctx->localeGenerator.clear_domains();
  ctx->localeGenerator.clear_paths();
  ctx->localeGenerator.clear_cache();
}

}  // namespace wsgated
