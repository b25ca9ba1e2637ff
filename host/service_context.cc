// The process-wide context: defaults and the engine's back-pointer.

#include "host/service_context.h"

#include <stdsoap2.h>

#include "host/locale_support.h"

const char* const kSwInfoNode = "/Software/Data Servers/BACnet WebServices";
const char* const kConnxnsNode =
    "/Software/Data Servers/Connections/BACnet WebServices";
const char* const kReadOnlyCdsPath = "/ReadOnlyCDS";

ServiceContext::ServiceContext()
    : delta_log("./deadband.db"),
      event_log("./alarms.db"),
      system_log("./system.db"),
      trend_log(nullptr),
      trend_log_close(nullptr),
      trend_log_path("./interval-trends.db"),
      max_delta_records(kDefaultMaxDeltaRecords),
      sqlite_page_size(0),
      sqlite_cache_size(0),
      sqlite_heap_limit(0),
      nodes_bound(0),
      request(nullptr),
      next_connxn_check(0),
      locale_support(false),
      locale_map(10),
      locale_generator(CatalogueBackend()) {
  locale_map.max_load_factor(1.0f);
}

ServiceContext* service_context(struct soap* soap) {
  return soap ? static_cast<ServiceContext*>(soap->user) : nullptr;
}
