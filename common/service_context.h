// ServiceContext: the one record that lives for the whole process, and the
// caller of the request being served.
//
// main() builds the context on its own frame and hands it to the gSOAP
// engine as the engine's user-data pointer, so every operation reaches the
// data store, the log locations, the caller and the request's locale
// through serviceContext(soap). Members are declared in the order in which
// start-up fills them; nothing here is shared between threads (the daemon
// has exactly one).

#ifndef COMMON_SERVICE_CONTEXT_H_
#define COMMON_SERVICE_CONTEXT_H_

#include <boost/locale/generator.hpp>
#include <cstdint>
#include <ctime>
#include <locale>
#include <string>
#include <unordered_map>

#include "platform/cds.h"
#include "platform/connxns.h"
#include "platform/security.h"
#include "platform/swinfo.h"

struct soap;
struct FCGX_Request;

namespace toolkit {
namespace trend {
class CLog;
}  // namespace trend
}  // namespace toolkit

namespace wsgated {

// Defaults of the values the command line may change.
constexpr int32_t kDefaultMaxDeltaRecords = 10000;

// Name -> locale map; sized small because a device supports a handful of
// languages and the map never changes while requests are served.
using LocaleMap = std::unordered_map<std::string, std::locale>;

// Who sent the request being served, as the web server told the daemon.
// The web server authenticates; `user` is whom it let in ("" when it sent
// no user: the anonymous role). Rights tests, change sources and whoAmI
// all read the caller from here.
struct RequestCaller {
  std::string user;       // REMOTE_USER, at most 64 characters
  std::string address;    // REMOTE_ADDR, at most 64 characters
  bool https = false;     // HTTPS == "on"
  std::string languages;  // HTTP_ACCEPT_LANGUAGE or "en_US.UTF-8"
};

// What the request being served was refused (caller_rights.h): how many
// times, and the first refusal, with the role it needed. Enough for one
// log line however many paths a search or log read was refused.
struct RequestRefusals {
  int count = 0;
  toolkit::pcd_access_t access = toolkit::PCD_ACCESS_READ;  // of the first
  std::string path;      // the first refused path
  bool judged = false;   // whether `needs` is known (the path parsed)
  toolkit::pcd_role_t needs = toolkit::PCD_ROLE_NONE;
};

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

  std::string deltaLog;   // -h, "./deadband.db"
  std::string eventLog;   // -a, "./alarms.db"
  std::string systemLog;  // -s, "./system.db"

  // The trend reader, opened on first use by the trend operations and kept
  // for the process. Whoever opens it also sets trendLogClose, so that the
  // host can close it at shutdown without knowing the reader's type.
  toolkit::trend::CLog* trendLog;
  void (*trendLogClose)(toolkit::trend::CLog*);

  std::string trendLogPath;  // -t, "./interval-trends.db"

  // Most Delta records one request may return (-m). Events get a quarter
  // and trend snapshots a twelfth of it (integer division).
  int32_t maxDeltaRecords;
  int32_t sqlitePageSize;   // -p, bytes; 0 = library default
  int32_t sqliteCacheSize;  // -c, bytes; 0 = library default
  int32_t sqliteHeapLimit;  // -l, bytes; 0 = library default
  int32_t nodesBound;       // zero once the CDS nodes are bound

  std::string waveFolder;  // -w, COMTRADE files; "" = none

  // The FastCGI request being served (read by the engine's I/O hooks), its
  // caller and what it was refused, and the monotonic time of the next connection-table check.
  FCGX_Request* request;
  RequestCaller caller;
  RequestRefusals refusals;
  time_t nextConnxnCheck;

  // Locale support: the ";"-separated list the device supports, whether
  // set-up succeeded, one locale per supported name, the locale of the
  // request being served and the generator that made them.
  std::string supportedLocales;
  bool localeSupport;
  LocaleMap localeMap;
  std::locale currentLocale;
  boost::locale::generator localeGenerator;
};

// The context of the engine `soap` (its user-data pointer).
ServiceContext* serviceContext(struct soap* soap);

}  // namespace wsgated

#endif  // COMMON_SERVICE_CONTEXT_H_
