// The device tree: selection from the device list and descriptor reads.

#include "discovery/device_tree.h"

#include "common/log.h"
#include "platform/cds.h"
#include "platform/utils.h"

namespace wsgated {

namespace {

const char* const kUnknown = "Unknown";

// The descriptor leaves, in the order of the store call.
enum DescriptorLeaf { kNodeType, kDisplayName, kQuality, kChangeCount };

std::vector<std::string> descriptorPaths(const std::string& device) {
  // The root device is "/": its leaves are "/NodeType", not "//NodeType".
  const std::string base = device.size() == 1 ? "" : device;
  return {base + "/NodeType", base + "/DisplayName", base + "/.Quality",
          base + "/sDevChangeCount" + "/Value"};
}

}  // namespace

bool inDeviceTree(const std::string& device, const std::string& startingPath,
                  bool recursive) {
  if (device.compare(0, startingPath.size(), startingPath) != 0) return false;
  if (recursive) return true;
  const size_t after = startingPath.size() + 1;
  return !(after < device.size() &&
           device.find('/', after) != std::string::npos);
}

int describeDevice(toolkit::CCds& cds, const std::string& device,
                   DeviceDescriptor& descriptor) {
  const std::vector<std::string> paths = descriptorPaths(device);
  std::vector<api_status_t> statuses;
  std::vector<toolkit::CElement> elements;
  std::vector<element_property_t> properties;
  descriptor.path = device;
  if (cds.get_leaves(paths, statuses, elements, properties) != 0) {
    logInfo(kLogErrors, "get_leaves() call failed for %s",
            paths[kNodeType].c_str());
    return 1;
  }
  auto good = [&statuses](DescriptorLeaf leaf) {
    return statuses[leaf] == API_STATUS_OK;
  };
  descriptor.type =
      good(kNodeType) ? elements[kNodeType].to_string() : kUnknown;
  descriptor.displayName =
      good(kDisplayName) ? elements[kDisplayName].to_string() : kUnknown;
  descriptor.quality = good(kQuality) ? elements[kQuality].to_int() : 0;
  descriptor.changeCount =
      good(kChangeCount) ? elements[kChangeCount].to_int() : 0;
  // Without a change counter the quality leaf's time stamp stands in,
  // whether or not that leaf was read.
  const DescriptorLeaf stamp = good(kChangeCount) ? kChangeCount : kQuality;
  descriptor.changeTime = qrx_UNIXtoQRXtime64(&elements[stamp].get_time());
  return 0;
}

std::vector<DeviceDescriptor> listDeviceTree(toolkit::CCds& cds,
                                             const std::string& startingPath,
                                             bool recursive) {
  std::vector<DeviceDescriptor> tree;
  std::vector<std::string> devices;
  // The list and every device's leaves from one state of the store, with
  // its locks taken once.
  toolkit::CCdsSnapshot snapshot(cds);
  if (toolkit::CCds_Utils(cds).GetDeviceList(devices) <= 0) return tree;
  for (const std::string& device : devices) {
    if (!inDeviceTree(device, startingPath, recursive)) continue;
    DeviceDescriptor descriptor;
    if (describeDevice(cds, device, descriptor) == 0) {
      tree.push_back(std::move(descriptor));
    }
  }
  return tree;
}

}  // namespace wsgated
