// The device tree: the store's devices below a starting path, each with the
// descriptor its handler keeps in four leaves:
//
//   <device>/NodeType                  type
//   <device>/DisplayName               display name
//   <device>/.Quality                  quality
//   <device>/sDevChangeCount/Value     change counter and its time stamp
//
// A leaf that cannot be read gives "Unknown" or 0; without a change counter
// the change time is the time stamp of the quality leaf. A device whose
// leaves cannot be read at all (the store call failed) is left out.

#ifndef DISCOVERY_DEVICE_TREE_H_
#define DISCOVERY_DEVICE_TREE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "platform/qrxtime.h"

namespace toolkit {
class CCds;
}  // namespace toolkit

namespace wsgated {

struct DeviceDescriptor {
  std::string path;         // exactly as the device list gives it
  std::string type;         // NodeType, or "Unknown"
  std::string displayName;  // DisplayName, or "Unknown"
  int32_t quality = 0;      // .Quality, or 0
  int32_t changeCount = 0;  // sDevChangeCount/Value, or 0
  qrx_time64_t changeTime = 0;
};

// Does `device` belong to the tree asked for? The test is a plain prefix
// test on the text, not on path components (a starting path "/Dev1" also
// takes "/Dev10" and everything below it). Without recursion a device is
// left out when a "/" follows the prefix and one further character, so
// only the direct children and the starting path itself stay.
bool inDeviceTree(const std::string& device, const std::string& startingPath,
                  bool recursive);

// Read the descriptor of `device` in one store call. Returns 0, or non-zero
// when the store call failed (logged at level 1; `descriptor` is then
// incomplete).
int describeDevice(toolkit::CCds& cds, const std::string& device,
                   DeviceDescriptor& descriptor);

// The devices of the tree, in the order of the store's device list. An
// empty or unreadable device list gives none.
std::vector<DeviceDescriptor> listDeviceTree(toolkit::CCds& cds,
                                             const std::string& startingPath,
                                             bool recursive);

}  // namespace wsgated

#endif  // DISCOVERY_DEVICE_TREE_H_
