// Node administration: writing leaves with administrative rights, creating
// and removing nodes, restarting the card.
//
// Each nst1 operation's file (create_node.cc, ...) ends in the engine's
// entry point, a thin wrapper around the function below, which takes plain
// texts so that it can be driven without the engine. Each parses its options
// first (absent options are no options). Data-level failures are result texts
// ("? <code> <name> : <detail>", core/bnws_error.h) and the functions return 0;
// a caller who may not do what the call asks gets kWriteNotAuthorized (401,
// core/write_path.h), which the operation returns so that the engine
// answers HTTP 401 with no result.
//
// Who may do what (platform/security.h):
//   SetLeaf, SetLeaves, CreateNode   administer every path written (and the
//                                    node created): Administrators only
//   RemoveNode                       CPath::is_remove_authorized
//   Reset                            CPath::is_reset_authorized on "/"

#ifndef ADMIN_NODE_ADMIN_H_
#define ADMIN_NODE_ADMIN_H_

#include <string>
#include <vector>

namespace wsgated {

struct ServiceContext;

// Write `value` to `path` through the write path with the administrative
// flag (any attribute but the automatic ones, leaves that do not exist yet
// included). `result` is the written text or an error result.
int setLeaf(ServiceContext* context, const std::string* optionsText,
            const std::string* path, const std::string* value,
            std::string& result);

// The same for many leaves in one store call: one result per path, or a
// single error result when the lists are unusable (none, or of different
// lengths). One path the caller may not administer refuses the whole call.
int setLeaves(ServiceContext* context, const std::string* optionsText,
              const std::vector<std::string>& paths,
              const std::vector<std::string>& values,
              std::vector<std::string>& results);

// Create the node `basePath` (one trailing ":" or "/" dropped; an existing
// node is fine) and write values[i] to basePath + paths[i]. The paths are
// appended as they are, without a separator, so a leaf "Value" lands under
// the new node only when basePath ends in "/" or the entry begins with one.
// `result` is the result of the last entry that is exactly "Value" (of the
// first entry when none is), or "" when no leaf was written. When `paths`
// is not empty but the lists differ in length, the result is the write
// path's list error and nothing is created.
int createNode(ServiceContext* context, const std::string* optionsText,
               const std::string* basePath,
               const std::vector<std::string>& paths,
               const std::vector<std::string>& values, std::string& result);

// Remove the node `basePath` with everything below it or, when the path
// holds a ":" (node, colon, attribute), clear just that leaf. `result` is
// "" on success.
int removeNode(ServiceContext* context, const std::string* optionsText,
               const std::string* basePath, std::string& result);

// Restart the network card: log the request in the device's system log,
// set the reboot-requested flag and replace the process with the reboot
// program (admin/reboot.h). Returns only when the program could not be
// started, with `result` "? System Reboot Failed: <system error text>".
int resetCard(ServiceContext* context, std::string& result);

}  // namespace wsgated

#endif  // ADMIN_NODE_ADMIN_H_
