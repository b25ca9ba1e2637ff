// ServiceContext: the one record that lives for the whole process.
//
// main() builds it on its own frame and hands it to the gSOAP engine as the
// engine's user-data pointer, so every operation reaches the data store, the
// log locations and the request's locale through service_context(soap).
// Members are declared in the order in which start-up fills them; nothing
// here is shared between threads (the daemon has exactly one).

#ifndef HOST_SERVICE_CONTEXT_H_
#define HOST_SERVICE_CONTEXT_H_

#include <boost/locale/generator.hpp>

#include <cstdint>
#include <ctime>
#include <locale>
#include <string>
#include <unordered_map>

#include "platform/cds.h"
#include "platform/connxns.h"
#include "platform/swinfo.h"

struct soap;
struct FCGX_Request;

namespace toolkit {
namespace trend {
class CLog;
}  // namespace trend
}  // namespace toolkit

// CDS nodes the host binds at start-up.
extern const char* const kSwInfoNode;      // "/Software/Data Servers/BACnet WebServices"
extern const char* const kConnxnsNode;     // ".../Connections/BACnet WebServices"
extern const char* const kReadOnlyCdsPath; // "/ReadOnlyCDS"

// Defaults of the values the command line may change.
constexpr int32_t kDefaultMaxDeltaRecords = 10000;

// Name -> locale map; sized small because a device supports a handful of
// languages and the map never changes while requests are served.
using LocaleMap = std::unordered_map<std::string, std::locale>;

struct ServiceContext {
  ServiceContext();
  ServiceContext(const ServiceContext&) = delete;
  ServiceContext& operator=(const ServiceContext&) = delete;

  // The data store; cds.handle is 0 while it is not open.
  toolkit::CCds cds;
  // "/Software/Data Servers/BACnet WebServices" (AppStatus, AppError).
  toolkit::CCds_SwInfo swinfo;
  // Callers seen so far; each entry carries the locale chosen for it.
  toolkit::CCDS_Connxns connxns;

  std::string delta_log;   // -h, "./deadband.db"
  std::string event_log;   // -a, "./alarms.db"
  std::string system_log;  // -s, "./system.db"

  // The trend reader, opened on first use by the trend operations and kept
  // for the process. Whoever opens it also sets trend_log_close, so that the
  // host can close it at shutdown without knowing the reader's type.
  toolkit::trend::CLog* trend_log;
  void (*trend_log_close)(toolkit::trend::CLog*);

  std::string trend_log_path;  // -t, "./interval-trends.db"

  // Most Delta records one request may return (-m). Events get a quarter
  // and trend snapshots a twelfth of it (integer division).
  int32_t max_delta_records;
  int32_t sqlite_page_size;    // -p, bytes; 0 = library default
  int32_t sqlite_cache_size;   // -c, bytes; 0 = library default
  int32_t sqlite_heap_limit;   // -l, bytes; 0 = library default
  int32_t nodes_bound;         // zero once the CDS nodes are bound

  std::string wave_folder;     // -w, COMTRADE files; "" = none

  // The FastCGI request being served (read by the engine's I/O hooks) and
  // the monotonic time of the next connection-table check.
  FCGX_Request* request;
  time_t next_connxn_check;

  // Locale support: the ";"-separated list the device supports, whether
  // set-up succeeded, one locale per supported name, the locale of the
  // request being served and the generator that made them.
  std::string supported_locales;
  bool locale_support;
  LocaleMap locale_map;
  std::locale current_locale;
  boost::locale::generator locale_generator;
};

// The context of the engine `soap` (its user-data pointer).
ServiceContext* service_context(struct soap* soap);

#endif  // HOST_SERVICE_CONTEXT_H_
