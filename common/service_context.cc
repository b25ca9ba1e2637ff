// The process-wide context: defaults and the engine's back-pointer.

#include "common/service_context.h"

#include <stdsoap2.h>

#include <boost/locale/localization_backend.hpp>

namespace wsgated {

namespace {

// The Boost.Locale back end the service's locales are made with: the
// standard-library one. The service needs only message catalogues and the
// locale's name and encoding, which every back end provides alike; the ICU
// back end would add several MiB of touched library pages to a daemon that
// is meant to fit in a few.
boost::locale::localization_backend_manager catalogueBackend() {
  boost::locale::localization_backend_manager backends =
      boost::locale::localization_backend_manager::global();
  backends.select("std");
  return backends;
}

}  // namespace

ServiceContext::ServiceContext()
    : deltaLog("./deadband.db"),
      eventLog("./alarms.db"),
      systemLog("./system.db"),
      trendLog(nullptr),
      trendLogClose(nullptr),
      trendLogPath("./interval-trends.db"),
      maxDeltaRecords(kDefaultMaxDeltaRecords),
      sqlitePageSize(0),
      sqliteCacheSize(0),
      sqliteHeapLimit(0),
      nodesBound(0),
      request(nullptr),
      nextConnxnCheck(0),
      localeSupport(false),
      localeMap(10),
      localeGenerator(catalogueBackend()) {
  localeMap.max_load_factor(1.0f);
}

ServiceContext* serviceContext(struct soap* soap) {
  return soap ? static_cast<ServiceContext*>(soap->user) : nullptr;
}

}  // namespace wsgated
