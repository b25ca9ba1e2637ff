// Connection tracking and the choice of the request's locale.

#include "host/request_context.h"

#include <stdlib.h>
#include <sys/socket.h>

#include <memory>

#include "host/service_context.h"
#include "platform/syslog.h"
#include "platform/utils.h"

using toolkit::g_syslog;

namespace {

const char* const kKnownCallerLocale = "en_US.UTF-8";

// The locale for a new caller: the map entry of the best supported name,
// or the map's first entry when that name has none. Null with an empty map.
const std::locale* NegotiatedLocale(ServiceContext* ctx,
                                    const std::string& languages) {
  std::string prime;
  toolkit::CCds_Utils::getPrimeLocale(ctx->supported_locales, languages, prime);
  auto found = ctx->locale_map.find(prime);
  if (found != ctx->locale_map.end()) return &found->second;
  if (g_syslog) g_syslog->warn(2, "Locale map lookup failed for %s", prime.c_str());
  if (ctx->locale_map.empty()) return nullptr;
  return &ctx->locale_map.begin()->second;
}

void AddNewCaller(ServiceContext* ctx, const RequestIdentity& caller) {
  sockaddr_storage address{};
  std::string host, host2;
  if (toolkit::CCDS_Connxns::HostLookup(caller.address, AF_INET, &address,
                                        host, host2, g_syslog) != 0 &&
      g_syslog) {
    g_syslog->warn(2, "HostLookup failed for %s", caller.address.c_str());
  }
  const std::string scheme = caller.https ? "https" : "http";
  std::shared_ptr<void> user_data;
  if (ctx->locale_support) {
    if (const std::locale* chosen = NegotiatedLocale(ctx, caller.languages)) {
      ctx->current_locale = *chosen;
      user_data = std::make_shared<std::locale>(*chosen);
    }
  }
  unsigned number = ctx->connxns.AddConnxn(scheme, caller.address, host, host2,
                                           caller.user, user_data);
  if (number != 0 && g_syslog) {
    const std::string who = caller.user + "@" + scheme + ":" + caller.address;
    g_syslog->info(2, "New wsgated connection %u for %s", number, who.c_str());
  }
}

}  // namespace

const char* RequestUser() {
  const char* user = getenv("REMOTE_USER");
  return user != nullptr ? user : "";
}

const char* RequestAddress() {
  const char* address = getenv("REMOTE_ADDR");
  return address != nullptr ? address : "";
}

void SetupRequestContext(ServiceContext* ctx, const RequestIdentity& caller) {
  if (ctx->connxns.FindUpdateConnxn(caller.address, nullptr) != 0) {
    if (ctx->locale_support) {
      ctx->current_locale = ctx->locale_generator.generate(kKnownCallerLocale);
    }
    return;
  }
  AddNewCaller(ctx, caller);
}
