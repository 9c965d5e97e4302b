// The U3V interface as a consumer sees it: which USB devices are listed, the device list kept
// by GUID across updates, unplug and replug, and the libusb context across opens and closes.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "U3vConsumer.h"

using namespace GenTL;
using namespace std::chrono_literals;

namespace {

const char kFunction[] = R"(gentl: debug \[tcInterfaceU3V::[A-Za-z]+\] )";

class InterfaceU3V : public U3vConsumerTest {
 protected:
  // One device list update: its changed flag and its log.
  struct tsUpdate {
    bool changed;
    std::string log;
  };
  tsUpdate LoggedUpdate() {
    StderrCapture capture;
    bool changed = Update();
    return {changed, capture.Text()};
  }
  // Plugs a camera with `options`, opens the interface and updates its device list.
  tsUpdate PlugAndUpdate(const tsU3vCameraOptions& options = Camera()) {
    Plug(options);
    OpenU3V();
    return LoggedUpdate();
  }
};

TEST_F(InterfaceU3V, ListsTheCameraByItsGuidWithItsInformation) {
  Plug();
  OpenU3V();
  EXPECT_TRUE(Update());
  ASSERT_EQ(DeviceIds(), std::vector<std::string>{"U3VEMU0001"});
  char text[128] = "";
  size_t size = sizeof text;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  auto info = [&](DEVICE_INFO_CMD command) {
    size = sizeof text;
    EXPECT_EQ(Lib().IFGetDeviceInfo(interface_, "U3VEMU0001", command, &type, text, &size),
              GC_ERR_SUCCESS);
    return std::string(text);
  };
  EXPECT_EQ(info(DEVICE_INFO_VENDOR), "GenTL Project");
  EXPECT_EQ(info(DEVICE_INFO_MODEL), "U3V-Emulator");
  EXPECT_EQ(info(DEVICE_INFO_SERIAL_NUMBER), "U3V0001");
  EXPECT_EQ(info(DEVICE_INFO_VERSION), "1.0");
  EXPECT_EQ(info(DEVICE_INFO_DISPLAYNAME), "U3V-Emulator_U3V0001");
  EXPECT_EQ(info(DEVICE_INFO_USER_DEFINED_NAME), "");
  EXPECT_EQ(info(DEVICE_INFO_TLTYPE), "U3V");
}

TEST_F(InterfaceU3V, TheMatchIsLoggedPartByPart) {
  auto [changed, log] = PlugAndUpdate();
  EXPECT_TRUE(changed);
  const std::string prefix = kFunction;
  for (const char* line :
       {"USB VID: 0x1209 PID: 0x01 Class: 0xEF SubClass: 0x02 Protocol: 0x01", "Match part 1",
        "get_config_descriptor", "IAD: Class: 0xEF SubClass: 0x05 Protocol: 0x00",
        "Match part 2 - IAD", "get_string_descriptor_ascii: USB3 Vision Device",
        "Match part 3 - Descriptor", "New GUID added"}) {
    EXPECT_TRUE(HasLogLine(log, prefix + line)) << line << "\n" << log;
  }
}

TEST_F(InterfaceU3V, ACameraOfAnotherVendorIsNeverListedAndOnlyItsDescriptorIsLogged) {
  tsU3vCameraOptions options = Camera();
  options.vendorId = 0x04B4;
  auto [changed, log] = PlugAndUpdate(options);
  EXPECT_FALSE(changed);
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_TRUE(
      HasLogLine(log, std::string(kFunction) +
                          "USB VID: 0x4B4 PID: 0x01 Class: 0xEF SubClass: 0x02 Protocol: 0x01"))
      << log;
  EXPECT_EQ(log.find("Match part"), std::string::npos) << log;
  EXPECT_EQ(log.find("get_config_descriptor"), std::string::npos) << log;
}

TEST_F(InterfaceU3V, TheVendorTableComesFromTheEnvironmentAtEachUpdate) {
  tsU3vCameraOptions options = SecondProduct("OTHERVENDOR");
  options.vendorId = 0x04B4;
  Plug(Camera());
  Plug(options);
  OpenU3V();
  setenv("GENTL_U3V_VENDOR_IDS", "0x04b4", 1);
  EXPECT_TRUE(Update());
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"OTHERVENDOR"});
  unsetenv("GENTL_U3V_VENDOR_IDS");
  EXPECT_TRUE(Update());
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"U3VEMU0001"});
}

TEST_F(InterfaceU3V, AnIadOfTheEventProtocolIsSkippedAfterTheIadLine) {
  tsU3vCameraOptions options = Camera();
  options.iadProtocol = 0x01;
  auto [changed, log] = PlugAndUpdate(options);
  EXPECT_FALSE(changed);
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_TRUE(
      HasLogLine(log, std::string(kFunction) + "IAD: Class: 0xEF SubClass: 0x05 Protocol: 0x01"))
      << log;
  EXPECT_EQ(log.find("Match part 2"), std::string::npos) << log;
  EXPECT_EQ(log.find("get_string_descriptor_ascii"), std::string::npos) << log;
}

TEST_F(InterfaceU3V, ADeviceWithoutIadIsSkippedAfterItsConfiguration) {
  tsU3vCameraOptions options = Camera();
  options.iad = false;
  std::string log = PlugAndUpdate(options).log;
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_TRUE(HasLogLine(log, std::string(kFunction) + "get_config_descriptor")) << log;
  EXPECT_EQ(log.find("IAD:"), std::string::npos) << log;
}

TEST_F(InterfaceU3V, AnotherFunctionNameIsLoggedAndSkipped) {
  tsU3vCameraOptions options = Camera();
  options.functionName = "USB3 Vision device";
  std::string log = PlugAndUpdate(options).log;
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcInterfaceU3V::MatchFunctionName\] String descriptor didn't match)"))
      << log;
}

TEST_F(InterfaceU3V, ASecondUpdateWithTheSameCamerasChangesNothing) {
  Plug(Camera("CAM-A"));
  Plug(SecondProduct("CAM-B"));
  OpenU3V();
  EXPECT_TRUE(Update());
  std::vector<std::string> first = DeviceIds();
  EXPECT_EQ(first.size(), 2u);
  void* handle = OpenDevice("CAM-A");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(Lib().DevClose(handle), GC_ERR_SUCCESS);
  auto [changed, log] = LoggedUpdate();
  EXPECT_FALSE(changed);
  EXPECT_EQ(DeviceIds(), first);
  size_t previous = 0;
  for (size_t at = 0; (at = log.find("] Previous GUID added\n", at)) != std::string::npos; ++at)
    ++previous;
  EXPECT_EQ(previous, 2u) << log;
  EXPECT_EQ(log.find("New GUID added"), std::string::npos);
  EXPECT_EQ(OpenDevice("CAM-A"), handle);  // the same object
}

// Updates until the list is empty (the host learns of the removal asynchronously); returns
// whether that update reported a change.
bool UpdateUntilEmpty(U3vConsumerTest* test) {
  auto deadline = std::chrono::steady_clock::now() + 3s;
  for (;;) {
    bool changed = test->Update();
    if (test->DeviceIds().empty() || std::chrono::steady_clock::now() > deadline) return changed;
    std::this_thread::sleep_for(20ms);
  }
}

TEST_F(InterfaceU3V, UnpluggingTheOnlyCameraReportsAChangeAndAnEmptyList) {
  Plug();
  OpenU3V();
  EXPECT_TRUE(Update());
  Bench().Unplug(0);
  EXPECT_TRUE(UpdateUntilEmpty(this));
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_FALSE(Update());
}

TEST_F(InterfaceU3V, ACameraUnpluggedWhileOpenComesBackAsTheSameHandle) {
  Plug();
  OpenU3V();
  Update();
  void* device = OpenDevice("U3VEMU0001");
  ASSERT_NE(device, nullptr);
  Bench().Unplug(0);
  EXPECT_TRUE(UpdateUntilEmpty(this));
  void* port = Remote(device);  // still usable, its accesses fail
  uint32_t value = 0;
  size_t size = 4;
  EXPECT_EQ(Lib().GCReadPort(port, 0x1CC, &value, &size), GC_ERR_IO);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
  Plug();
  auto deadline = std::chrono::steady_clock::now() + 3s;
  while (DeviceIds().empty() && std::chrono::steady_clock::now() < deadline) {
    Update();
    std::this_thread::sleep_for(20ms);
  }
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"U3VEMU0001"});
  EXPECT_EQ(OpenDevice("U3VEMU0001"), device);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
}

TEST_F(InterfaceU3V, AGuidOfThreeCharactersIsAcceptedAndOfTwoIsTooSmall) {
  Plug(Camera("ABC"));
  auto [changed, log] = PlugAndUpdate(SecondProduct("AB"));
  EXPECT_TRUE(changed);
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"ABC"});
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcInterfaceU3V::TakeCamera\] GUID too small)"))
      << log;
}

TEST_F(InterfaceU3V, ACameraWithoutDeviceInfoDescriptorIsNeverListed) {
  tsU3vCameraOptions options = Camera();
  options.infoDescriptor = false;
  auto [changed, log] = PlugAndUpdate(options);
  EXPECT_FALSE(changed);
  EXPECT_TRUE(DeviceIds().empty());
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcDeviceU3V::GetU3VGUID\] GetU3VDID: not found)"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcInterfaceU3V::TakeCamera\] GUID too small)"));
}

TEST_F(InterfaceU3V, CloseWithoutOpenNeverEndsTheContextTwice) {
  Plug();
  OpenU3V();
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);  // balances the open: context ends
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);  // no context left to end
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);
  StderrCapture capture;
  OpenU3V();  // a new context
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: info \[tcInterfaceU3V::Open\] tcDeviceU3V libusb v1\.0\.26\.[0-9]+)"))
      << log;
  EXPECT_TRUE(Update());
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"U3VEMU0001"});
}

TEST_F(InterfaceU3V, UpdateWithoutContextIsIo) {
  Plug();
  OpenU3V();
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);
  GenTL::bool8_t changed = 2;
  EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, &changed, 100), GC_ERR_IO);
  EXPECT_EQ(changed, 0);
}

TEST_F(InterfaceU3V, InterfaceInformation) {
  OpenU3V();
  char text[32] = "";
  size_t size = sizeof text;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  EXPECT_EQ(Lib().IFGetInfo(interface_, INTERFACE_INFO_ID, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "U3V");
  size = sizeof text;
  EXPECT_EQ(Lib().IFGetInfo(interface_, INTERFACE_INFO_TLTYPE, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "U3V");
}

}  // namespace
