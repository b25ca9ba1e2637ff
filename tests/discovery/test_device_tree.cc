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

  std::vector<std::string> Paths(const std::string& start, bool recursive) {
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

TEST(inDeviceTree, IsAPlainPrefixTestOnTheText) {
  EXPECT_TRUE(inDeviceTree("/Dev1", "/Dev1", true));
  EXPECT_TRUE(inDeviceTree("/Dev10", "/Dev1", true));
  EXPECT_TRUE(inDeviceTree("/Dev1/A/B", "/Dev1", true));
  EXPECT_TRUE(inDeviceTree("/anything", "", true));
  EXPECT_FALSE(inDeviceTree("/Dev", "/Dev1", true));
  EXPECT_FALSE(inDeviceTree("/dev1", "/Dev1", true));
}

TEST(inDeviceTree, WithoutRecursionKeepsNoSlashPastPrefixAndOneCharacter) {
  // The character right after the prefix may be the "/" of a child.
  EXPECT_TRUE(inDeviceTree("/Dev1", "/Dev1", false));
  EXPECT_TRUE(inDeviceTree("/Dev1/Sub", "/Dev1", false));
  EXPECT_TRUE(inDeviceTree("/Dev10", "/Dev1", false));
  EXPECT_FALSE(inDeviceTree("/Dev1/Sub/Leaf", "/Dev1", false));
  EXPECT_FALSE(inDeviceTree("/Dev10/Sub", "/Dev1", false));
  // From "": no slash after the second character.
  EXPECT_TRUE(inDeviceTree("/", "", false));
  EXPECT_TRUE(inDeviceTree("/Devices", "", false));
  EXPECT_FALSE(inDeviceTree("/Devices/Meter1", "", false));
  // A starting path with its own trailing slash.
  EXPECT_TRUE(inDeviceTree("/Dev1/Sub", "/Dev1/", false));
  EXPECT_FALSE(inDeviceTree("/Dev1/Sub/Leaf", "/Dev1/", false));
}

TEST_F(DeviceTreeTest, EmptyStartListsEveryDeviceInListOrder) {
  EXPECT_EQ((std::vector<std::string>{"/", "/Dev1", "/Dev1/Sub",
                                      "/Dev1/Sub/Leaf", "/Dev10",
                                      "/Dev2/Inner"}),
            Paths("", true));
  EXPECT_EQ((std::vector<std::string>{"/", "/Dev1", "/Dev10"}),
            Paths("", false));
}

TEST_F(DeviceTreeTest, PrefixDev1AlsoTakesDev10) {
  EXPECT_EQ((std::vector<std::string>{"/Dev1", "/Dev1/Sub", "/Dev1/Sub/Leaf",
                                      "/Dev10"}),
            Paths("/Dev1", true));
  EXPECT_EQ((std::vector<std::string>{"/Dev1", "/Dev1/Sub", "/Dev10"}),
            Paths("/Dev1", false));
  // A device below a node that is no device is still a direct child here.
  EXPECT_EQ((std::vector<std::string>{"/Dev2/Inner"}), Paths("/Dev2", false));
  EXPECT_TRUE(Paths("/Nowhere", true).empty());
}

TEST_F(DeviceTreeTest, DescriptorFromItsFourLeaves) {
  Stamp("/Dev1/sDevChangeCount/Value", 7);
  const DeviceDescriptor device = Describe("/Dev1");
  EXPECT_EQ("/Dev1", device.path);
  EXPECT_EQ("Device", device.type);
  EXPECT_EQ("Meter one", device.displayName);
  EXPECT_EQ(64, device.quality);
  EXPECT_EQ(7, device.changeCount);
  EXPECT_EQ(kStamp, device.changeTime);
}

TEST_F(DeviceTreeTest, RootDeviceReadsItsLeavesWithoutDoubleSlash) {
  Stamp("/sDevChangeCount/Value", 4);
  const DeviceDescriptor root = Describe("/");
  EXPECT_EQ("/", root.path);
  EXPECT_EQ("Card", root.displayName);
  EXPECT_EQ(192, root.quality);
  EXPECT_EQ(4, root.changeCount);
  EXPECT_EQ(kStamp, root.changeTime);
}

TEST_F(DeviceTreeTest, WithoutChangeCounterTheQualityStampStandsIn) {
  Stamp("/Dev10/.Quality", 128);
  const DeviceDescriptor device = Describe("/Dev10");
  EXPECT_EQ("Meter ten", device.displayName);
  EXPECT_EQ(128, device.quality);
  EXPECT_EQ(0, device.changeCount);
  EXPECT_EQ(kStamp, device.changeTime);
}

TEST_F(DeviceTreeTest, MissingLeavesGiveUnknownAndZero) {
  const DeviceDescriptor device = Describe("/Dev1/Sub");
  EXPECT_EQ("Device", device.type);
  EXPECT_EQ("Unknown", device.displayName);
  EXPECT_EQ(0, device.quality);
  EXPECT_EQ(0, device.changeCount);
  EXPECT_EQ(0, device.changeTime);
  // A path that names no node at all still gets a descriptor.
  const DeviceDescriptor gone = Describe("/Gone");
  EXPECT_EQ("Unknown", gone.type);
  EXPECT_EQ("Unknown", gone.displayName);
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
