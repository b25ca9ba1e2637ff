// Connection tracking and the choice of the request's locale.

#include "host/request_context.h"

#include <stdlib.h>
#include <sys/socket.h>

#include <memory>

#include "common/log.h"
#include "common/service_context.h"
#include "platform/syslog.h"
#include "platform/utils.h"

using toolkit::g_syslog;

namespace wsgated {

const char* const kConnxnsNode =
    "/Software/Data Servers/Connections/BACnet WebServices";

namespace {

const char* const kKnownCallerLocale = "en_US.UTF-8";

// The locale for a new caller: the map entry of the best supported name,
// or the map's first entry when that name has none. Null with an empty map.
const std::locale* negotiatedLocale(ServiceContext* ctx,
                                    const std::string& languages) {
  std::string prime;
  toolkit::CCds_Utils::getPrimeLocale(ctx->supportedLocales, languages, prime);
  auto found = ctx->localeMap.find(prime);
  if (found != ctx->localeMap.end()) return &found->second;
  logWarning(kLogActivity, "Locale map lookup failed for %s", prime.c_str());
  if (ctx->localeMap.empty()) return nullptr;
  return &ctx->localeMap.begin()->second;
}

void addNewCaller(ServiceContext* ctx, const RequestCaller& caller) {
  sockaddr_storage address{};
  std::string host, host2;
  if (toolkit::CCDS_Connxns::HostLookup(caller.address, AF_INET, &address, host,
                                        host2, g_syslog) != 0) {
    logWarning(kLogActivity, "HostLookup failed for %s",
               caller.address.c_str());
  }
  const std::string scheme = caller.https ? "https" : "http";
  std::shared_ptr<void> userData;
  if (ctx->localeSupport) {
    if (const std::locale* chosen = negotiatedLocale(ctx, caller.languages)) {
      ctx->currentLocale = *chosen;
      userData = std::make_shared<std::locale>(*chosen);
    }
  }
  unsigned number = ctx->connxns.AddConnxn(scheme, caller.address, host, host2,
                                           caller.user, userData);
  if (number != 0) {
    const std::string who = caller.user + "@" + scheme + ":" + caller.address;
    logInfo(kLogActivity, "New wsgated connection %u for %s", number,
            who.c_str());
  }
}

}  // namespace

void setupRequestContext(ServiceContext* ctx) {
  if (ctx->connxns.FindUpdateConnxn(ctx->caller.address, nullptr) != 0) {
    if (ctx->localeSupport) {
      ctx->currentLocale = ctx->localeGenerator.generate(kKnownCallerLocale);
    }
    return;
  }
  addNewCaller(ctx, ctx->caller);
}

}  // namespace wsgated
