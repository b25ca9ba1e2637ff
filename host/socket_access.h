// Who may connect to the daemon's FastCGI socket.
//
// The web server runs as its own user (www-data on Debian), the daemon as
// another (wsgated). After the socket is opened, it is made readable and
// writable by its owner and one group only, and that group becomes the
// group named by $WSGATED_SOCKET_GROUP, the web server's; no other local
// user can send the daemon a request that nginx has not authenticated.

#ifndef HOST_SOCKET_ACCESS_H_
#define HOST_SOCKET_ACCESS_H_

#include <string>

namespace wsgated {

// The environment variable that names the socket's group.
extern const char* const kSocketGroupVariable;

// The socket's mode once it is open: owner and group, read and write.
constexpr unsigned kSocketMode = 0660;

// Gives the socket at `path` mode 0660 and, when `group` is not empty,
// that group. Returns false, with the reason in `*error`, when the group
// does not exist or the socket cannot be changed (a daemon whose socket the
// web server cannot reach serves nobody: the caller stops).
bool restrictSocketAccess(const std::string& path, const std::string& group,
                          std::string* error);

// $WSGATED_SOCKET_GROUP, or "" when it is unset (the group stays the
// daemon's own).
std::string socketGroupName();

}  // namespace wsgated

#endif  // HOST_SOCKET_ACCESS_H_
