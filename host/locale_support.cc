// Locale set-up and tear-down.

#include "host/locale_support.h"

#include <cstdlib>
#include <exception>
#include <vector>

#include "host/service_context.h"
#include "platform/element.h"
#include "platform/syslog.h"
#include "platform/utils.h"

using toolkit::g_syslog;

namespace {

const char* const kDefaultMessagesPath = "/usr/share/locale";
const char* const kGlobalLocaleName = "en_US.UTF-8";

void AddLocale(ServiceContext* ctx, const std::string& name) {
  const std::string full_name = name + ".UTF-8";
  std::locale generated = ctx->locale_generator.generate(full_name);
  if (ctx->locale_map.emplace(name, generated).second && g_syslog) {
    g_syslog->info(2, "Added locale %s support", full_name.c_str());
  }
  if (full_name == kGlobalLocaleName) std::locale::global(generated);
}

}  // namespace

boost::locale::localization_backend_manager CatalogueBackend() {
  boost::locale::localization_backend_manager backends =
      boost::locale::localization_backend_manager::global();
  backends.select("std");
  return backends;
}

std::string LocaleMessagesPath() {
  const char* dir = getenv("WSGATED_LOCALE_DIR");
  return (dir != nullptr && dir[0] != '\0') ? dir : kDefaultMessagesPath;
}

bool SetupLocaleSupport(ServiceContext* ctx) {
  std::string supported;
  toolkit::CCds_Utils(ctx->cds).getSupportedLocales(supported);
  return SetupLocalesFromList(ctx, supported, LocaleMessagesPath());
}

bool SetupLocalesFromList(ServiceContext* ctx, const std::string& supported,
                          const std::string& messages_path) {
  ctx->locale_support = false;
  try {
    ctx->locale_generator.characters(boost::locale::char_facet);
    // Every later request from a known caller asks the generator for
    // en_US.UTF-8 again; building a locale costs far more than a request,
    // so let the generator hand out its cached copy.
    ctx->locale_generator.locale_cache_enabled(true);
    ctx->locale_generator.add_messages_path(messages_path);
    ctx->locale_generator.add_messages_domain("toolkit/UTF-8");
    ctx->supported_locales = supported;
    for (const std::string& name :
         toolkit::CElement::split_string(supported, ';')) {
      AddLocale(ctx, name);
    }
  } catch (const std::exception& e) {
    if (g_syslog) g_syslog->warn(1, "Exception in setting up locales: %s", e.what());
    return false;
  }
  ctx->locale_support = true;
  return true;
}

void TeardownLocaleSupport(ServiceContext* ctx) {
  ctx->locale_map.clear();
  ctx->locale_generator.clear_domains();
  ctx->locale_generator.clear_paths();
  ctx->locale_generator.clear_cache();
}
