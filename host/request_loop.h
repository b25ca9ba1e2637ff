// The FastCGI request loop: the daemon's only thread after start-up.
//
// It waits on the listening socket (descriptor 0) with a 5-second select,
// serves one request at a time, and between requests pings the watchdog
// (background mode only) and checks the connection table every 10 minutes.
// The socket is $WSGATED_SOCKET, default "/tmp/wsgated.socket".

#ifndef HOST_REQUEST_LOOP_H_
#define HOST_REQUEST_LOOP_H_

#include <string>

struct soap;

namespace wsgated {

// The listening socket's path: $WSGATED_SOCKET or "/tmp/wsgated.socket".
std::string fcgiSocketPath();

// Serve requests until the termination flag is set (returns 0). Returns a
// negative value when FastCGI or the socket cannot be set up, and the
// engine's fault-sending result when accepting a request failed.
// `background` enables the watchdog ping.
int runRequestLoop(struct soap* soap, bool background);

}  // namespace wsgated

#endif  // HOST_REQUEST_LOOP_H_
