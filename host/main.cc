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

#include "host/command_line.h"
#include "host/daemon.h"
#include "host/engine_setup.h"
#include "host/locale_support.h"
#include "host/request_loop.h"
#include "host/service_context.h"
#include "host/signals.h"
#include "platform/syslog.h"


using toolkit::g_syslog;

namespace {

const int kWatchdogSeconds = 90;

void ApplyCommandLine(const CommandLine& line, ServiceContext* ctx) {
  ctx->delta_log = line.delta_log;
  ctx->event_log = line.event_log;
  ctx->system_log = line.system_log;
  ctx->trend_log_path = line.trend_log;
  ctx->max_delta_records = line.max_delta_records;
  ctx->sqlite_page_size = line.sqlite_page_size;
  ctx->sqlite_cache_size = line.sqlite_cache_size;
  ctx->sqlite_heap_limit = line.sqlite_heap_limit;
  ctx->wave_folder = line.wave_folder;
  g_syslog->level = line.verbosity;
}

void OpenStoreOrExit(ServiceContext* ctx) {
  if (ctx->cds.handle == nullptr) ctx->cds.handle = pcd_init();
  if (ctx->cds.handle == nullptr) {
    g_syslog->err(0, "Error: CCds::init() failed");
    exit(1);
  }
  g_syslog->info(0, "Service incoming requests");
}

void BindNodes(ServiceContext* ctx) {
  g_syslog->info(0, "Initialize %s", kSwInfoNode);
  ctx->swinfo.bind(&ctx->cds, kSwInfoNode);
  g_syslog->info(0, "Initialize %s", kConnxnsNode);
  ctx->connxns.bind(&ctx->cds, kConnxnsNode, g_syslog);
  ctx->nodes_bound = 0;
}

void ApplyReadOnlyFlag(ServiceContext* ctx) {
  api_status_t status = API_STATUS_UNKNOWN;
  toolkit::CElement element;
  element_property_t property = PCD_PROP_NORMAL;
  if (ctx->cds.get_leaf(kReadOnlyCdsPath, status, element, property) == 0 &&
      status == API_STATUS_OK && element.to_bool()) {
    ctx->cds.setReadOnly();
  }
}

void Shutdown(ServiceContext* ctx, struct soap* soap, bool background) {
  g_syslog->info(0, "Cleanup");
  soap_destroy(soap);
  soap_end(soap);
  soap_free(soap);
  ctx->swinfo.SetAppStatus(toolkit::APP_STATUS_STOPPED);
  if (background) {
    api_status_t status = API_STATUS_UNKNOWN;
    ctx->cds.watchdog_clear(status);
  }
  if (ctx->trend_log != nullptr && ctx->trend_log_close != nullptr) {
    ctx->trend_log_close(ctx->trend_log);
    ctx->trend_log = nullptr;
  }
  ctx->connxns.RemoveAllConnxns();
  if (ctx->locale_support) TeardownLocaleSupport(ctx);
  g_syslog->notice(0, "Exiting wsgated");
  delete g_syslog;
  g_syslog = nullptr;
  ctx->connxns.log = nullptr;
  pcd_close(ctx->cds.handle);
  ctx->cds.handle = nullptr;
  RestoreTerminationDefaults();
}

}  // namespace

int main(int argc, char** argv) {
  ServiceContext ctx;
  InstallTerminationHandler();
  InstallCrashHandler();
  g_syslog = new toolkit::CSysLog("wsgated", 0, false, true, true, nullptr);
  ctx.connxns.log = g_syslog;

  CommandLine line;
  // The -D check trusts errno as the parser finds it; start-up so far
  // (probing the store's files) may have left a stale ENOENT behind.
  errno = 0;
  CommandLineOutcome outcome = ParseCommandLine(argc, argv, &line, stdout, stderr);
  if (outcome == CommandLineOutcome::kExitSuccess) return 0;
  if (outcome == CommandLineOutcome::kExitFailure) return 1;
  ApplyCommandLine(line, &ctx);

  if (line.fork) {
    // Reopened below by the daemon itself.
    pcd_close(ctx.cds.handle);
    ctx.cds.handle = nullptr;
    if (Daemonize() != 0) {
      g_syslog->err(0, "Error fork()ing new process");
      return 1;
    }
  }
  OpenStoreOrExit(&ctx);

  struct soap* soap = soap_new();
  soap->user = &ctx;
  ApplyInputLimits(soap);
  UseLiteralTrees(soap);
  g_syslog->info(0, "Initializing wsgated");
  BindNodes(&ctx);
  ctx.swinfo.SetAppStatus(toolkit::APP_STATUS_RUNNING);
  ctx.swinfo.SetAppError(0);
  if (line.fork) {
    api_status_t status = API_STATUS_UNKNOWN;
    ctx.cds.watchdog_register(status, "wsgated", kWatchdogSeconds, true);
  }
  if (SetupLocaleSupport(&ctx)) EnableUtf8Modes(soap);
  ApplyReadOnlyFlag(&ctx);

  g_syslog->info(0, "Service incoming requests");
  RunRequestLoop(soap, line.fork);
  Shutdown(&ctx, soap, line.fork);
  return 0;
}
