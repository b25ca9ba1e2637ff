// The socket's mode and group after it is opened.

#include "host/socket_access.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace wsgated {

const char* const kSocketGroupVariable = "WSGATED_SOCKET_GROUP";

namespace {

// The group's id by name; false when there is no such group (getgrnam_r
// leaves the result null) or the group database cannot be read.
bool lookUpGroup(const std::string& name, gid_t* gid, std::string* error) {
  std::vector<char> buffer(16384);
  struct group entry;
  struct group* found = nullptr;
  int failed = getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(),
                          &found);
  if (found != nullptr) {
    *gid = found->gr_gid;
    return true;
  }
  *error = failed != 0
               ? "cannot look up socket group " + name + ": " + strerror(failed)
               : "socket group " + name + " does not exist";
  return false;
}

}  // namespace

bool restrictSocketAccess(const std::string& path, const std::string& group,
                          std::string* error) {
  if (!group.empty()) {
    gid_t gid = 0;
    if (!lookUpGroup(group, &gid, error)) return false;
    // The daemon may give its socket only a group it belongs to (systemd's
    // SupplementaryGroups=); root may give any.
    if (chown(path.c_str(), static_cast<uid_t>(-1), gid) != 0) {
      *error = "cannot give socket " + path + " to group " + group + ": " +
               strerror(errno);
      return false;
    }
  }
  if (chmod(path.c_str(), kSocketMode) != 0) {
    *error = "cannot set the mode of socket " + path + ": " + strerror(errno);
    return false;
  }
  return true;
}

std::string socketGroupName() {
  const char* group = getenv(kSocketGroupVariable);
  return group != nullptr ? group : "";
}

}  // namespace wsgated
