// The select/accept loop, one request's FastCGI frame, and housekeeping.

#include "host/request_loop.h"

#include <fcgiapp.h>
#include <stdsoap2.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/service_context.h"
#include "host/fcgi_io.h"
#include "host/request_context.h"
#include "host/serve.h"
#include "host/socket_access.h"
#include "host/signals.h"
#include "platform/qrxtime.h"

namespace wsgated {

namespace {

const char* const kDefaultSocket = "/tmp/wsgated.socket";
const int kListenBacklog = 64;
const time_t kSelectSeconds = 5;
const time_t kHousekeepingSeconds = 6;  // at least this often while busy
const time_t kFirstConnxnCheck = 60;
const time_t kConnxnCheckSeconds = 600;
const size_t kMaxIdentity = 64;
const size_t kMaxLanguages = 256;
const char* const kDefaultLanguages = "en_US.UTF-8";

// Free heap the allocator may keep. A large answer (a Delta log of 10,000
// records needs some 6 MiB while it is built and sent) leaves its memory
// free in the heap, where glibc keeps it, scattered between live blocks;
// beyond this much, housekeeping gives it back to the system, so that the
// daemon returns to its idle size. Not after every request: taking the
// pages back from the system costs a large request as much CPU again as
// it needs otherwise (bench/README.md, log_calls).
const size_t kKeptFreeHeapBytes = 1024 * 1024;

// Sent when a request would otherwise end without any reply: nginx answers
// a silent FastCGI request with 502, which hides what went wrong.
const char kNoReply[] =
    "Status: 500 Internal Server Error\r\n"
    "Content-Type: text/plain\r\n\r\n"
    "wsgated: the request could not be answered\n";

// FastCGI on descriptor 0: libfcgi's accept calls expect the listening
// socket there, like a server started by a FastCGI process manager.
//
// The socket does not block: libfcgi goes back to accept() when a
// connection closes without a request, and on a blocking socket it would
// wait there for the next client, with no pings, no housekeeping and no
// reaction to SIGTERM in between (one empty connection, such as another
// daemon's check whether this one runs, was enough).
int openListeningSocket() {
  if (FCGX_Init() < 0) return -1;
  const std::string path = fcgiSocketPath();
  int fd = FCGX_OpenSocket(path.c_str(), kListenBacklog);
  if (fd == -1) return -1;
  // Only the web server's group may connect (host/socket_access.h).
  std::string accessError;
  if (!restrictSocketAccess(path, socketGroupName(), &accessError)) {
    logError(kLogAlways, "Cannot restrict the FastCGI socket: %s",
             accessError.c_str());
    close(fd);
    return -1;
  }
  if (fd != 0) {
    close(0);
    if (dup2(fd, 0) != 0) return -1;
    close(fd);
  }
  if (fcntl(0, F_SETFL, fcntl(0, F_GETFL) | O_NONBLOCK) != 0) return -1;
  logInfo(kLogActivity, "FCGI app listening at socket %s [%d]", path.c_str(),
          0);
  return 0;
}

// Export a CGI variable of the request into the process environment, where
// the operations read the caller's identity; returns it cut to 64 chars.
std::string exportParam(FCGX_Request* request, const char* name) {
  const char* value = FCGX_GetParam(name, request->envp);
  if (value == nullptr || setenv(name, value, 1) != 0) {
    logNotice(kLogDump, "Failed to get %s", name);
    return std::string();
  }
  return std::string(value).substr(0, kMaxIdentity);
}

// Request variables whose values are credentials: the dump names them but
// never shows their values, whatever the web server forwards.
const char* const kSecretVariables[] = {"HTTP_AUTHORIZATION=",
                                        "HTTP_PROXY_AUTHORIZATION=",
                                        "HTTP_COOKIE="};

// One variable ("NAME=value") as the dump shows it.
std::string shownVariable(const char* entry) {
  for (const char* secret : kSecretVariables) {
    if (strncmp(entry, secret, strlen(secret)) == 0) {
      return std::string(secret) + "(redacted)";
    }
  }
  return entry;
}

void logEnvironment(FCGX_Request* request) {
  if (!logEnabled(kLogDump) || request->envp == nullptr) return;
  for (char** entry = request->envp; *entry != nullptr; ++entry) {
    logInfo(kLogDump, "Received envp[] = %s", shownVariable(*entry).c_str());
  }
}

RequestCaller readCaller(FCGX_Request* request, bool firstRequest) {
  RequestCaller caller;
  caller.user = exportParam(request, "REMOTE_USER");
  caller.address = exportParam(request, "REMOTE_ADDR");
  const char* https = FCGX_GetParam("HTTPS", request->envp);
  caller.https = https != nullptr && strcmp(https, "on") == 0;
  const char* languages = FCGX_GetParam("HTTP_ACCEPT_LANGUAGE", request->envp);
  if (languages != nullptr) {
    caller.languages = std::string(languages).substr(0, kMaxLanguages);
  } else {
    caller.languages = kDefaultLanguages;
    if (firstRequest) logEnvironment(request);
  }
  return caller;
}

void releaseFreedHeap() {
  if (mallinfo2().fordblks > kKeptFreeHeapBytes) malloc_trim(0);
}

enum class Accepted { kServed, kNoRequest, kFailed };

// Accept and serve one request. A connection that brought no request is
// no failure of the socket.
Accepted serveFastCgiRequest(ServiceContext* ctx, struct soap* soap,
                             FCGX_Request* request, bool firstRequest) {
  ctx->request = request;
  const int accepted = FCGX_Accept_r(request);
  if (accepted == -EAGAIN || accepted == -EWOULDBLOCK) {
    logInfo(kLogActivity, "A connection closed without a request");
    return Accepted::kNoRequest;
  }
  if (accepted < 0) return Accepted::kFailed;
  ctx->caller = readCaller(request, firstRequest);
  setupRequestContext(ctx);
  beginFcgiRequest();
  serveSoapMessage(soap, fcgiInputGuard());
  if (fcgiBytesSent() == 0) {
    FCGX_PutStr(kNoReply, static_cast<int>(sizeof kNoReply - 1), request->out);
  }
  unsetenv("REMOTE_USER");
  unsetenv("REMOTE_ADDR");
  ctx->caller = RequestCaller();
  FCGX_Finish_r(request);
  return Accepted::kServed;
}

void housekeeping(ServiceContext* ctx, bool background, time_t now) {
  releaseFreedHeap();
  if (background) {
    api_status_t status = API_STATUS_UNKNOWN;
    if (ctx->cds.watchdog_ping(status) != 0 || status != API_STATUS_OK) {
      // A store that cannot take a ping is not trusted for requests either.
      pcd_close(ctx->cds.handle);
      ctx->cds.handle = nullptr;
      return;
    }
  }
  if (now < ctx->nextConnxnCheck) return;
  ctx->nextConnxnCheck = now + kConnxnCheckSeconds;
  ctx->connxns.CheckAllConnxns();
}

int leaveOnTermination(FCGX_Request* request) {
  logInfo(kLogErrors, "Caught term signal, exiting soap_serve loop now...");
  FCGX_Free(request, 1);
  return 0;
}

int leaveOnAcceptFailure(struct soap* soap, FCGX_Request* request) {
  logError(kLogErrors, "Error in Accept(), exiting now...");
  soap->error = SOAP_EOF;
  int result = soap_send_fault(soap);
  FCGX_Free(request, 1);
  return result;
}

}  // namespace

std::string fcgiSocketPath() {
  const char* path = getenv("WSGATED_SOCKET");
  return (path != nullptr && path[0] != '\0') ? path : kDefaultSocket;
}

int runRequestLoop(struct soap* soap, bool background) {
  ServiceContext* ctx = serviceContext(soap);
  if (openListeningSocket() != 0) return -1;
  FCGX_Request request;
  FCGX_InitRequest(&request, 0, 0);
  installFcgiHooks(soap);
  ctx->request = &request;
  time_t lastHousekeeping = qrx_GetMonoTime();
  ctx->nextConnxnCheck = lastHousekeeping + kFirstConnxnCheck;
  timeval timeout = {kSelectSeconds, 0};
  bool firstRequest = true;
  for (;;) {
    if (g_terminate) return leaveOnTermination(&request);
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(0, &readable);
    if (select(1, &readable, nullptr, nullptr, &timeout) < 0) continue;
    if (FD_ISSET(0, &readable)) {
      const Accepted accepted =
          serveFastCgiRequest(ctx, soap, &request, firstRequest);
      if (accepted == Accepted::kFailed) {
        return leaveOnAcceptFailure(soap, &request);
      }
      if (accepted == Accepted::kServed) firstRequest = false;
    }
    // select() leaves the unused part of the time-out: while requests keep
    // arriving, housekeeping still runs at least every 6 seconds.
    time_t now = qrx_GetMonoTime();
    bool returnedEarly = timeout.tv_sec > 0 || timeout.tv_usec >= 1;
    if (returnedEarly && now - lastHousekeeping < kHousekeepingSeconds)
      continue;
    timeout = {kSelectSeconds, 0};
    lastHousekeeping = now;
    housekeeping(ctx, background, now);
  }
}

}  // namespace wsgated
