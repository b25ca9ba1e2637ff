// wsgated: start-up, the request loop, and the orderly shutdown.
//
// The order of start-up matters: the fork happens before the store is
// trusted (an SQLite connection must not cross a fork), the software status
// is reported before the watchdog starts counting, and the engine's string
// modes depend on whether locale support could be set up.

#include <stdsoap2.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/log.h"
#include "common/service_context.h"
#include "host/command_line.h"
#include "host/daemon.h"
#include "host/engine_setup.h"
#include "host/locale_support.h"
#include "host/request_context.h"
#include "host/request_loop.h"
#include "host/signals.h"
#include "host/single_instance.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

namespace wsgated {
namespace {

// The watchdog period; WSGATED_WATCHDOG_S changes it (tests use seconds).
const int kDefaultWatchdogSeconds = 90;
const char* const kProgram = "wsgated";
// Nodes the host binds or consults at start-up.
const char* const kSwInfoNode = "/Software/Data Servers/BACnet WebServices";
const char* const kReadOnlyCdsPath = "/ReadOnlyCDS";

int watchdogSeconds() {
  const char* text = getenv("WSGATED_WATCHDOG_S");
  const int seconds = text != nullptr ? atoi(text) : 0;
  return seconds > 0 ? seconds : kDefaultWatchdogSeconds;
}

// A second daemon must not take the socket of a running one.
bool refuseSecondInstance(ServiceContext* ctx) {
  pid_t pid = 0;
  const std::string socket = fcgiSocketPath();
  if (!findRunningInstance(socket, ctx->cds, kProgram, &pid)) return false;
  fprintf(stderr, "%s: already running as pid %d on %s\n", kProgram,
          static_cast<int>(pid), socket.c_str());
  return true;
}

void applyCommandLine(const CommandLine& line, ServiceContext* ctx) {
  ctx->deltaLog = line.deltaLog;
  ctx->eventLog = line.eventLog;
  ctx->systemLog = line.systemLog;
  ctx->trendLogPath = line.trendLog;
  ctx->maxDeltaRecords = line.maxDeltaRecords;
  ctx->sqlitePageSize = line.sqlitePageSize;
  ctx->sqliteCacheSize = line.sqliteCacheSize;
  ctx->sqliteHeapLimit = line.sqliteHeapLimit;
  ctx->waveFolder = line.waveFolder;
  g_syslog->level = line.verbosity;
}

void openStoreOrExit(ServiceContext* ctx) {
  if (ctx->cds.handle == nullptr) ctx->cds.handle = pcd_init();
  if (ctx->cds.handle == nullptr) {
    logError(kLogAlways, "Error: CCds::init() failed");
    exit(1);
  }
  logInfo(kLogAlways, "Service incoming requests");
}

void bindNodes(ServiceContext* ctx) {
  logInfo(kLogAlways, "Initialize %s", kSwInfoNode);
  ctx->swinfo.bind(&ctx->cds, kSwInfoNode);
  logInfo(kLogAlways, "Initialize %s", kConnxnsNode);
  ctx->connxns.bind(&ctx->cds, kConnxnsNode, g_syslog);
  ctx->nodesBound = 0;
}

void applyReadOnlyFlag(ServiceContext* ctx) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  if (ctx->cds.get_leaf(kReadOnlyCdsPath, status, element, property) == 0 &&
      status == API_STATUS_OK && element.to_bool()) {
    ctx->cds.setReadOnly();
  }
}

void shutDown(ServiceContext* ctx, struct soap* soap, bool background) {
  logInfo(kLogAlways, "Cleanup");
  soap_destroy(soap);
  soap_end(soap);
  soap_free(soap);
  ctx->swinfo.SetAppStatus(toolkit::APP_STATUS_STOPPED);
  if (background) {
    api_status_t status = API_STATUS_UNKNOWN;
    ctx->cds.watchdog_clear(status);
  }
  if (ctx->trendLog != nullptr && ctx->trendLogClose != nullptr) {
    ctx->trendLogClose(ctx->trendLog);
    ctx->trendLog = nullptr;
  }
  ctx->connxns.RemoveAllConnxns();
  if (ctx->localeSupport) teardownLocaleSupport(ctx);
  logNotice(kLogAlways, "Exiting wsgated");
  delete g_syslog;
  g_syslog = nullptr;
  ctx->connxns.log = nullptr;
  pcd_close(ctx->cds.handle);
  ctx->cds.handle = nullptr;
  restoreTerminationDefaults();
}

}  // namespace

int runDaemon(int argc, char** argv) {
  ServiceContext ctx;
  installTerminationHandler();
  installCrashHandler();
  g_syslog = new toolkit::CSysLog("wsgated", 0, false, true, true, nullptr);
  ctx.connxns.log = g_syslog;

  CommandLine line;
  // The -D check trusts errno as the parser finds it; start-up so far
  // (probing the store's files) may have left a stale ENOENT behind.
  errno = 0;
  CommandLineOutcome outcome =
      parseCommandLine(argc, argv, &line, stdout, stderr);
  if (outcome == CommandLineOutcome::kExitSuccess) return 0;
  if (outcome == CommandLineOutcome::kExitFailure) return 1;
  applyCommandLine(line, &ctx);
  if (refuseSecondInstance(&ctx)) return 1;

  if (line.fork) {
    // Reopened below by the daemon itself.
    pcd_close(ctx.cds.handle);
    ctx.cds.handle = nullptr;
    if (daemonize() != 0) {
      logError(kLogAlways, "Error fork()ing new process");
      return 1;
    }
  }
  openStoreOrExit(&ctx);

  struct soap* soap = soap_new();
  soap->user = &ctx;
  applyInputLimits(soap);
  useLiteralTrees(soap);
  logInfo(kLogAlways, "Initializing wsgated");
  bindNodes(&ctx);
  ctx.swinfo.SetAppStatus(toolkit::APP_STATUS_RUNNING);
  ctx.swinfo.SetAppError(0);
  if (line.fork) {
    api_status_t status = API_STATUS_UNKNOWN;
    ctx.cds.watchdog_register(status, kProgram, watchdogSeconds(), true);
  }
  if (setupLocaleSupport(&ctx)) enableUtf8Modes(soap);
  applyReadOnlyFlag(&ctx);

  logInfo(kLogAlways, "Service incoming requests");
  // A socket that could not be set up (or given to the web server's
  // group) is a failed start: exit 1, so that systemd reports it.
  const bool listened = runRequestLoop(soap, line.fork) >= 0;
  shutDown(&ctx, soap, line.fork);
  return listened ? 0 : 1;
}

}  // namespace wsgated

int main(int argc, char** argv) { return wsgated::runDaemon(argc, argv); }
