// The select/accept loop, one request's FastCGI frame, and housekeeping.

#include "host/request_loop.h"

#include <fcgiapp.h>
#include <stdsoap2.h>
#include <sys/select.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "host/fcgi_io.h"
#include "host/request_context.h"
#include "host/serve.h"
#include "host/service_context.h"
#include "host/signals.h"
#include "platform/qrxtime.h"
#include "platform/syslog.h"

using toolkit::g_syslog;

namespace {

const char* const kDefaultSocket = "/tmp/wsgated.socket";
const int kListenBacklog = 64;
const time_t kSelectSeconds = 5;
const time_t kHousekeepingSeconds = 6;   // at least this often while busy
const time_t kFirstConnxnCheck = 60;
const time_t kConnxnCheckSeconds = 600;
const size_t kMaxIdentity = 64;
const size_t kMaxLanguages = 256;
const char* const kDefaultLanguages = "en_US.UTF-8";

// Sent when a request would otherwise end without any reply: nginx answers
// a silent FastCGI request with 502, which hides what went wrong.
const char kNoReply[] =
    "Status: 500 Internal Server Error\r\n"
    "Content-Type: text/plain\r\n\r\n"
    "wsgated: the request could not be answered\n";

// FastCGI on descriptor 0: libfcgi's accept calls expect the listening
// socket there, like a server started by a FastCGI process manager.
int OpenListeningSocket() {
  if (FCGX_Init() < 0) return -1;
  const std::string path = FcgiSocketPath();
  int fd = FCGX_OpenSocket(path.c_str(), kListenBacklog);
  if (fd == -1) return -1;
  if (fd != 0) {
    close(0);
    if (dup2(fd, 0) != 0) return -1;
    close(fd);
  }
  if (g_syslog) {
    g_syslog->info(2, "FCGI app listening at socket %s [%d]", path.c_str(), 0);
  }
  return 0;
}

// Export a CGI variable of the request into the process environment, where
// the operations read the caller's identity; returns it cut to 64 chars.
std::string ExportParam(FCGX_Request* request, const char* name) {
  const char* value = FCGX_GetParam(name, request->envp);
  if (value == nullptr || setenv(name, value, 1) != 0) {
    if (g_syslog) g_syslog->notice(6, "Failed to get %s", name);
    return std::string();
  }
  return std::string(value).substr(0, kMaxIdentity);
}

void LogEnvironment(FCGX_Request* request) {
  if (g_syslog == nullptr || request->envp == nullptr) return;
  for (char** entry = request->envp; *entry != nullptr; ++entry) {
    g_syslog->info(6, "Received envp[] = %s", *entry);
  }
}

RequestIdentity ReadCaller(FCGX_Request* request, bool first_request) {
  RequestIdentity caller;
  caller.user = ExportParam(request, "REMOTE_USER");
  caller.address = ExportParam(request, "REMOTE_ADDR");
  const char* https = FCGX_GetParam("HTTPS", request->envp);
  caller.https = https != nullptr && strcmp(https, "on") == 0;
  const char* languages = FCGX_GetParam("HTTP_ACCEPT_LANGUAGE", request->envp);
  if (languages != nullptr) {
    caller.languages = std::string(languages).substr(0, kMaxLanguages);
  } else {
    caller.languages = kDefaultLanguages;
    if (first_request) LogEnvironment(request);
  }
  return caller;
}

// Accept and serve one request. Returns non-zero when accepting failed.
int ServeFastCgiRequest(ServiceContext* ctx, struct soap* soap,
                        FCGX_Request* request, bool first_request) {
  ctx->request = request;
  if (FCGX_Accept_r(request) < 0) return -1;
  SetupRequestContext(ctx, ReadCaller(request, first_request));
  ResetFcgiBytesSent();
  ServeSoapMessage(soap);
  if (FcgiBytesSent() == 0) {
    FCGX_PutStr(kNoReply, static_cast<int>(sizeof kNoReply - 1), request->out);
  }
  unsetenv("REMOTE_USER");
  unsetenv("REMOTE_ADDR");
  FCGX_Finish_r(request);
  return 0;
}

void Housekeeping(ServiceContext* ctx, bool background, time_t now) {
  if (background) {
    api_status_t status = API_STATUS_UNKNOWN;
    if (ctx->cds.watchdog_ping(status) != 0 || status != API_STATUS_OK) {
      // A store that cannot take a ping is not trusted for requests either.
      pcd_close(ctx->cds.handle);
      ctx->cds.handle = nullptr;
      return;
    }
  }
  if (now < ctx->next_connxn_check) return;
  ctx->next_connxn_check = now + kConnxnCheckSeconds;
  ctx->connxns.CheckAllConnxns();
}

int LeaveOnTermination(FCGX_Request* request) {
  if (g_syslog) g_syslog->info(1, "Caught term signal, exiting soap_serve loop now...");
  FCGX_Free(request, 1);
  return 0;
}

int LeaveOnAcceptFailure(struct soap* soap, FCGX_Request* request) {
  if (g_syslog) g_syslog->err(1, "Error in Accept(), exiting now...");
  soap->error = SOAP_EOF;
  int result = soap_send_fault(soap);
  FCGX_Free(request, 1);
  return result;
}

}  // namespace

std::string FcgiSocketPath() {
  const char* path = getenv("WSGATED_SOCKET");
  return (path != nullptr && path[0] != '\0') ? path : kDefaultSocket;
}

int RunRequestLoop(struct soap* soap, bool background) {
  ServiceContext* ctx = service_context(soap);
  if (OpenListeningSocket() != 0) return -1;
  FCGX_Request request;
  FCGX_InitRequest(&request, 0, 0);
  InstallFcgiHooks(soap);
  ctx->request = &request;
  time_t last_housekeeping = qrx_GetMonoTime();
  ctx->next_connxn_check = last_housekeeping + kFirstConnxnCheck;
  timeval timeout = {kSelectSeconds, 0};
  bool first_request = true;
  for (;;) {
    if (g_terminate) return LeaveOnTermination(&request);
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(0, &readable);
    if (select(1, &readable, nullptr, nullptr, &timeout) < 0) continue;
    if (FD_ISSET(0, &readable)) {
      if (ServeFastCgiRequest(ctx, soap, &request, first_request) != 0) {
        return LeaveOnAcceptFailure(soap, &request);
      }
      first_request = false;
    }
    // select() leaves the unused part of the time-out: while requests keep
    // arriving, housekeeping still runs at least every 6 seconds.
    time_t now = qrx_GetMonoTime();
    bool returned_early = timeout.tv_sec > 0 || timeout.tv_usec >= 1;
    if (returned_early && now - last_housekeeping < kHousekeepingSeconds) continue;
    timeout = {kSelectSeconds, 0};
    last_housekeeping = now;
    Housekeeping(ctx, background, now);
  }
}
