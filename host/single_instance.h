// One daemon per socket.
//
// A second daemon started on the same socket would take it over and orphan
// the first, whose pings would then keep a hung instance looking alive.
// Before daemonising, the daemon looks for a running instance: one that
// answers a connect on the socket, or a live process that holds a
// "wsgated" watchdog row in the store.

#ifndef HOST_SINGLE_INSTANCE_H_
#define HOST_SINGLE_INSTANCE_H_

#include <sys/types.h>

#include <string>

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

// True when an instance is running, with its pid in `pid` (0 when the
// process answering on the socket does not say who it is). `cds` may be
// closed (no store yet): then only the socket is asked. A process counts
// as an instance when it is alive and its name is `program`; the row of a
// pid that has since been reused by another program does not.
bool findRunningInstance(const std::string& socketPath, toolkit::CCds& cds,
                         const std::string& program, pid_t* pid);

}  // namespace wsgated

#endif  // HOST_SINGLE_INSTANCE_H_
