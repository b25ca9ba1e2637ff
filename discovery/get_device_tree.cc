// nsqv:getDeviceTree - the devices below a starting path with their
// descriptors (device_tree.h).
//
// The result text stays empty in every outcome: an empty or unreadable
// device list is an empty answer, not an error. The options are accepted
// and not used.

#include <string>
#include <vector>

#include "common/service_context.h"
#include "contract/operation.h"
#include "discovery/device_tree.h"
#include "soapH.h"

using wsgated::DeviceDescriptor;
using wsgated::listDeviceTree;
using wsgated::optionalText;
using wsgated::ServiceContext;
using wsgated::serviceContext;

int __nsqv__getDeviceTree(struct soap* soap,
                          struct _nsqv__getDeviceTree* request,
                          struct _nsqv__getDeviceTreeResponse& response) {
  ServiceContext* context = serviceContext(soap);
  response.result.clear();
  response.__sizedevices = 0;
  response.devices = nullptr;
  std::vector<DeviceDescriptor> tree = listDeviceTree(
      context->cds, optionalText(request->startingPath), request->bRecursive);
  if (tree.empty()) return SOAP_OK;
  const int count = static_cast<int>(tree.size());
  nsqv__deviceDescriptor* devices =
      soap_new_nsqv__deviceDescriptor(soap, count);
  if (devices == nullptr) return SOAP_EOM;
  for (int i = 0; i < count; ++i) {
    devices[i].devPath = std::move(tree[i].path);
    devices[i].devType = std::move(tree[i].type);
    devices[i].devDisplayName = std::move(tree[i].displayName);
    devices[i].devQuality = tree[i].quality;
    devices[i].devChangeCount = tree[i].changeCount;
    devices[i].devChangeTime = tree[i].changeTime;
  }
  response.__sizedevices = count;
  response.devices = devices;
  return SOAP_OK;
}
