// The interface base: device list access, lookup, opening and the device-information
// registers, with a test interface whose discovery is scripted.
#include <gtest/gtest.h>

#include <cstring>

#include "support/LogMatch.h"
#include "support/TestModules.h"

using namespace GenTL;

namespace {

TEST(InterfaceBase, OpenDeviceOnANeverUpdatedInterfaceRunsOneDiscoveryWith300ms) {
  tcTestInterface interface({"CamA"});
  void* device = nullptr;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(interface.OpenDevice("CamA", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
  ASSERT_EQ(interface.updateTimeouts.size(), 1u);
  EXPECT_EQ(interface.updateTimeouts[0], 300u);
  EXPECT_EQ(device, interface.Device(0));
  EXPECT_EQ(interface.Device(0)->openFlags, std::vector<int32_t>{DEVICE_ACCESS_EXCLUSIVE});
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] TestIF)")) << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] Updating Device List)"));
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] Checking CamA == CamA)"));
  EXPECT_EQ(interface.OpenDevice("CamA", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_SUCCESS);
  EXPECT_EQ(interface.updateTimeouts.size(), 1u);
}

TEST(InterfaceBase, OpenDeviceWithIdDifferingInCaseIsInvalidId) {
  tcTestInterface interface({"CamA"});
  interface.UpdateDeviceList(nullptr, 0);
  void* device = nullptr;
  uint64_t before = LogRingTotal();
  EXPECT_EQ(interface.OpenDevice("cama", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_INVALID_ID);
  EXPECT_EQ(device, nullptr);
  EXPECT_TRUE(HasLogLine(LogSince(before),
                         R"(gentl: error \[tcInterface::OpenDevice\] Device cama not found)"));
}

TEST(InterfaceBase, UpdatedEmptyListIsNotUpdatedAgain) {
  tcTestInterface interface;
  interface.UpdateDeviceList(nullptr, 0);
  void* device = nullptr;
  EXPECT_EQ(interface.OpenDevice("X", DEVICE_ACCESS_EXCLUSIVE, &device), GC_ERR_INVALID_ID);
  EXPECT_EQ(interface.updateTimeouts.size(), 1u);
}

TEST(InterfaceBase, DeviceIdIndexEqualToCountIsInvalidIndexEvenWithNullSize) {
  tcTestInterface interface({"A", "B"});
  interface.UpdateDeviceList(nullptr, 0);
  EXPECT_EQ(interface.GetDeviceID(2, nullptr, nullptr), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(interface.GetDeviceID(1, nullptr, nullptr), GC_ERR_INVALID_PARAMETER);
  char id[8];
  size_t size = sizeof id;
  EXPECT_EQ(interface.GetDeviceID(1, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "B");
  EXPECT_EQ(size, 2u);
  size = 1;
  EXPECT_EQ(interface.GetDeviceID(1, id, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 2u);
}

TEST(InterfaceBase, DeviceInfoOnAnInterfaceWithoutDevicesIsInvalidId) {
  tcTestInterface interface;
  char text[16];
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(interface.GetDeviceInfo("A", DEVICE_INFO_ID, &type, text, &size), GC_ERR_INVALID_ID);
  EXPECT_EQ(interface.GetDeviceInfo(nullptr, DEVICE_INFO_ID, &type, text, &size),
            GC_ERR_INVALID_PARAMETER);
}

TEST(InterfaceBase, DeviceInfoAsksOnlyTheMatchingDevice) {
  tcTestInterface interface({"A", "B"});
  interface.UpdateDeviceList(nullptr, 0);
  char text[16];
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(interface.GetDeviceInfo("B", DEVICE_INFO_VENDOR, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "Vendor");
  EXPECT_EQ(interface.Device(0)->infoCalls, 0);
  EXPECT_EQ(interface.Device(1)->infoCalls, 1);
  EXPECT_EQ(interface.GetDeviceInfo("C", DEVICE_INFO_VENDOR, &type, text, &size),
            GC_ERR_INVALID_ID);
  EXPECT_EQ(interface.Device(0)->infoCalls + interface.Device(1)->infoCalls, 1);
}

TEST(InterfaceBase, OpeningTheSameDeviceTwiceReturnsTheSameHandle) {
  tcTestInterface interface({"A"});
  interface.UpdateDeviceList(nullptr, 0);
  interface.Device(0)->openResults = {GC_ERR_SUCCESS, GC_ERR_RESOURCE_IN_USE};
  void* first = nullptr;
  void* second = nullptr;
  EXPECT_EQ(interface.OpenDevice("A", DEVICE_ACCESS_EXCLUSIVE, &first), GC_ERR_SUCCESS);
  EXPECT_EQ(interface.OpenDevice("A", DEVICE_ACCESS_EXCLUSIVE, &second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(first, second);
}

TEST(InterfaceBase, DeviceRegistersFollowTheSelector) {
  tcTestInterface interface({"A", "B"});
  interface.UpdateDeviceList(nullptr, 0);
  interface.Device(1)->SetVendor("Second");
  uint32_t selector = 1;
  size_t size = 4;
  ASSERT_EQ(interface.WritePort(0x10004, &selector, &size), GC_ERR_SUCCESS);
  const std::pair<uint64_t, const char*> texts[] = {
      {0x10100, "B"}, {0x10200, "Second"}, {0x10300, "Model"}, {0x10500, "42"}, {0x10600, "User"}};
  for (auto [address, expected] : texts) {
    char text[128] = "";
    size = sizeof text;
    EXPECT_EQ(interface.ReadPort(address, text, &size), GC_ERR_SUCCESS) << address;
    EXPECT_STREQ(text, expected);
  }
  uint32_t status = 0;
  size = 4;
  EXPECT_EQ(interface.ReadPort(0x10400, &status, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(status, static_cast<uint32_t>(DEVICE_ACCESS_STATUS_READWRITE));
  char small[6];
  size = sizeof small;
  EXPECT_EQ(interface.ReadPort(0x10200, small, &size), GC_ERR_BUFFER_TOO_SMALL);
  interface.Device(1)->failInfo = true;
  char text[128];
  size = sizeof text;
  EXPECT_EQ(interface.ReadPort(0x10200, text, &size), GC_ERR_IO);
  selector = 2;
  size = 4;
  ASSERT_EQ(interface.WritePort(0x10004, &selector, &size), GC_ERR_SUCCESS);
  size = sizeof text;
  EXPECT_EQ(interface.ReadPort(0x10100, text, &size), GC_ERR_INVALID_INDEX);
}

// Never with time-out 0, which would find nothing: the interface's own default.
TEST(InterfaceBase, UpdateListRegisterRunsDiscoveryWithTheDefaultTimeout) {
  tcTestInterface interface({"A"});
  uint32_t anything = 77;
  size_t size = 4;
  EXPECT_EQ(interface.WritePort(0x10000, &anything, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(interface.updateTimeouts, std::vector<uint64_t>{300});
  uint32_t count = 0;
  EXPECT_EQ(interface.GetNumDevices(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
}

TEST(InterfaceBase, ConstructionIsLoggedAndRegistered) {
  uint64_t before = LogRingTotal();
  tcTestInterface interface;
  char expected[160];
  snprintf(expected, sizeof expected,
           "gentl: debug \\[tcInterface::tcInterface\\] TestIF, this = 0x%llX",
           static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(&interface)));
  EXPECT_TRUE(HasLogLine(LogSince(before), expected));
}

}  // namespace

namespace {

// A device that misses a discovery pass leaves the list; closed, it is destroyed at once.
TEST(InterfaceBase, ARetiredClosedDeviceIsDestroyedAndItsHandleGoesStale) {
  tcTestInterface interface({"CamA", "CamB"});
  interface.UpdateDeviceList(nullptr, 0);
  void* camA = interface.Device(0);
  ASSERT_EQ(HandleRegistry::Find(camA), HandleKind::kDevice);
  interface.RetireDevice("CamA");
  uint32_t count = 0;
  ASSERT_EQ(interface.GetNumDevices(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(HandleRegistry::Find(camA), std::nullopt);
  EXPECT_EQ(interface.ReviveDevice("CamA"), nullptr);
}

// Open, it stays usable until DevClose, and the same camera answering again gets it back.
TEST(InterfaceBase, ARetiredOpenDeviceLivesUntilClosedAndIsRevivedWithTheSameHandle) {
  tcTestInterface interface({"CamA"});
  void* handle = nullptr;
  ASSERT_EQ(interface.OpenDevice("CamA", DEVICE_ACCESS_EXCLUSIVE, &handle), GC_ERR_SUCCESS);
  interface.RetireDevice("CamA");
  uint32_t count = 1;
  ASSERT_EQ(interface.GetNumDevices(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  ASSERT_EQ(HandleRegistry::Find(handle), HandleKind::kDevice);
  EXPECT_EQ(interface.ReviveDevice("CamA"), nullptr);  // still open
  auto* device = static_cast<tcDevice*>(handle);
  char id[16] = "";
  size_t size = sizeof id;
  int32_t type = 0;
  EXPECT_EQ(device->GetInfo(DEVICE_INFO_ID, &type, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "CamA");
  ASSERT_EQ(device->Close(), GC_ERR_SUCCESS);
  EXPECT_EQ(interface.ReviveDevice("CamA"), device);
  ASSERT_EQ(interface.GetNumDevices(&count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
}

TEST(InterfaceBase, CompatOpenUpdatesForAnUnknownIdAndTakesControlAsExclusive) {
  tcTestInterface interface({"CamA"});
  interface.UpdateDeviceList(nullptr, 0);
  interface.Discover("CamB");
  void* device = nullptr;
  EXPECT_EQ(interface.OpenDevice("CamB", DEVICE_ACCESS_CONTROL, &device), GC_ERR_INVALID_ID);
  setenv("GENTL_COMPAT_OPEN", "1", 1);
  uint64_t before = LogRingTotal();
  EXPECT_EQ(interface.OpenDevice("CamB", DEVICE_ACCESS_CONTROL, &device), GC_ERR_SUCCESS);
  unsetenv("GENTL_COMPAT_OPEN");
  EXPECT_EQ(interface.updateTimeouts, (std::vector<uint64_t>{0, 300}));
  EXPECT_EQ(device, interface.Device(1));
  EXPECT_EQ(interface.Device(1)->openFlags, std::vector<int32_t>{DEVICE_ACCESS_EXCLUSIVE});
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterface::OpenDevice\] TestIF: device CamB )"
                              R"(not in the list, updating it \(GENTL_COMPAT_OPEN\))"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterface::OpenDevice\] CamB: control access )"
                              R"(taken as exclusive access \(GENTL_COMPAT_OPEN\))"));
}

}  // namespace
