// The device tree: which devices a starting path selects, and the
// descriptor read for each, with its fallbacks.

#include <string>
#include <vector>

#include "discovery/device_tree.h"
#include "tests/common/service_fixture.h"

namespace wsgated {

namespace {

// Devices in the store's path order: "/", "/Dev1", "/Dev1/Sub",
// "/Dev1/Sub/Leaf", "/Dev10", "/Dev2/Inner" ("/Dev2" is no device).
const char kDevices[] =
    "[/]\nNodeType = Device\nDisplayName = Card\n.Quality:Integer = 192\n"
    "[/sDevChangeCount]\nValueType = Integer\nValue = 4\n"
    "[/Dev1]\nNodeType = Device\nDisplayName = Meter one\n"
    ".Quality:Integer = 64\n"
    "[/Dev1/sDevChangeCount]\nValueType = Integer\nValue = 7\n"
    "[/Dev1/Sub]\nNodeType = Device\n"
    "[/Dev1/Sub/Leaf]\nNodeType = Device\n"
    "[/Dev10]\nNodeType = Device\nDisplayName = Meter ten\n"
    "[/Dev2]\nNodeType = Collection\n"
    "[/Dev2/Inner]\nNodeType = Device\n";

class DeviceTreeTest : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    Seed(kDevices);
  }

  std::vector<std::string> List(const std::string& start, bool recursive) {
    std::vector<std::string> paths;
    for (const DeviceDescriptor& device :
         listDeviceTree(ctx_->cds, start, recursive)) {
      paths.push_back(device.path);
    }
    return paths;
  }

  DeviceDescriptor Describe(const std::string& device) {
    DeviceDescriptor descriptor;
    EXPECT_EQ(0, describeDevice(ctx_->cds, device, descriptor));
    return descriptor;
  }

  // Rewrite a leaf with a known time stamp: 1700000000.25 s.
  void Stamp(const std::string& path, int32_t value) {
    toolkit::CElement element(value);
    element.set_time(timeval{1700000000, 250000});
    api_status_t status = API_STATUS_UNKNOWN;
    ASSERT_EQ(0, ctx_->cds.set_leaf(path, element, status,
                                    PCD_TRIBOOL_UNKNOWN, "test"));
    ASSERT_EQ(API_STATUS_OK, status);
  }
};

const qrx_time64_t kStamp = 1700000000250000LL;

// A plain prefix test on the text; without recursion no "/" may follow
// past the prefix and the one character after it (which may be the "/" of
// a child); from "" that means no "/" after the second character.
TEST(inDeviceTree, IsAPlainPrefixTestOnTheText) {
  const struct {
    const char* path;
    const char* start;
    bool recursive, in;
  } cases[] = {
      {"/Dev1", "/Dev1", true, true},      {"/Dev10", "/Dev1", true, true},
      {"/Dev1/A/B", "/Dev1", true, true},  {"/anything", "", true, true},
      {"/Dev", "/Dev1", true, false},      {"/dev1", "/Dev1", true, false},
      {"/Dev1", "/Dev1", false, true},     {"/Dev1/Sub", "/Dev1", false, true},
      {"/Dev10", "/Dev1", false, true},
      {"/Dev10/Sub", "/Dev1", false, false},
      {"/Dev1/Sub/Leaf", "/Dev1", false, false},
      {"/Dev1/Sub/Leaf", "/Dev1/", false, false},
      {"/Dev1/Sub", "/Dev1/", false, true}, {"/", "", false, true},
      {"/Devices", "", false, true},
      {"/Devices/Meter1", "", false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.in, inDeviceTree(c.path, c.start, c.recursive))
        << c.path << " from " << c.start << " " << c.recursive;
  }
}

// A device below a node that is no device is still a direct child.
TEST_F(DeviceTreeTest, DevicesInListOrder) {
  using Paths = std::vector<std::string>;
  EXPECT_EQ((Paths{"/", "/Dev1", "/Dev1/Sub", "/Dev1/Sub/Leaf", "/Dev10",
                   "/Dev2/Inner"}),
            List("", true));
  EXPECT_EQ((Paths{"/", "/Dev1", "/Dev10"}), List("", false));
  EXPECT_EQ((Paths{"/Dev1", "/Dev1/Sub", "/Dev10"}), List("/Dev1", false));
  EXPECT_EQ((Paths{"/Dev2/Inner"}), List("/Dev2", false));
  EXPECT_TRUE(List("/Nowhere", true).empty());
}

// A descriptor from its four leaves; the root's without a double slash;
// without a change counter the quality's stamp stands in; missing leaves
// give "Unknown" and 0, also for a path that names no node.
TEST_F(DeviceTreeTest, DescriptorsAndTheirFallbacks) {
  Stamp("/Dev1/sDevChangeCount/Value", 7);
  Stamp("/sDevChangeCount/Value", 4);
  Stamp("/Dev10/.Quality", 128);
  const struct {
    const char* path;
    const char* type;
    const char* name;
    int32_t quality, count;
    int64_t time;
  } cases[] = {
      {"/Dev1", "Device", "Meter one", 64, 7, kStamp},
      {"/", "Device", "Card", 192, 4, kStamp},
      {"/Dev10", "Device", "Meter ten", 128, 0, kStamp},
      {"/Dev1/Sub", "Device", "Unknown", 0, 0, 0},
      {"/Gone", "Unknown", "Unknown", 0, 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    const DeviceDescriptor device = Describe(c.path);
    EXPECT_EQ(c.path, device.path);
    EXPECT_EQ(c.type, device.type);
    EXPECT_EQ(c.name, device.displayName);
    EXPECT_EQ(c.quality, device.quality);
    EXPECT_EQ(c.count, device.changeCount);
    EXPECT_EQ(c.time, device.changeTime);
  }
}

TEST_F(DeviceTreeTest, FailedStoreCallIsLoggedAndReported) {
  toolkit::CCds closed(static_cast<pcd_handle_t>(nullptr));
  DeviceDescriptor descriptor;
  EXPECT_NE(0, describeDevice(closed, "/Dev1", descriptor));
  EXPECT_TRUE(LogHas("get_leaves() call failed for /Dev1/NodeType"));
  describeDevice(closed, "/", descriptor);
  EXPECT_TRUE(LogHas("get_leaves() call failed for /NodeType"));
  // Nor can the device list be read: no devices, no error.
  EXPECT_TRUE(listDeviceTree(closed, "", true).empty());
}

using DeviceTreeWithoutDevicesTest = ServiceTest;

TEST_F(DeviceTreeWithoutDevicesTest, StoreWithoutDevicesGivesNone) {
  EXPECT_TRUE(listDeviceTree(ctx_->cds, "", true).empty());
}

}  // namespace

}  // namespace wsgated
