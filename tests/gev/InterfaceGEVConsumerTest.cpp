// GigE Vision discovery through gentl.cti on the network bench: adapters, identities, time-outs,
// refused replies, cameras that leave, several cameras and adapters.
#include <gtest/gtest.h>

#include <thread>

#include "base/tsSocketAddress.h"
#include "support/GevConsumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;

namespace {

class InterfaceGEV : public GevConsumerTest {};

TEST_F(InterfaceGEV, BindsOnlyTheBenchAdapterAndFindsTheCamera) {
  ASSERT_EQ(tcNetBench::Isolated(), "");
  tsBenchLink link = StartCamera({"--serial", "S1"});
  StderrCapture capture;
  OpenGev();
  EXPECT_TRUE(Update());
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterfaceGEV::Open\] Binding to address )" +
                                  tsSocketAddress::Text(link.hostAddress) + " \\(" +
                                  link.hostInterface + R"(\) \(type = 6\))"))
      << log;
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterfaceGEV::Open\] mcBCast size: 1)"));
  ASSERT_EQ(DeviceIds(), std::vector<std::string>{"GEV-Emulator:S1"});
  const std::string id = "GEV-Emulator:S1";
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_VENDOR), "GenTL Project");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_MODEL), "GEV-Emulator");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_SERIAL_NUMBER), "S1");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_VERSION), "1.0");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_TLTYPE), "GEV");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_USER_DEFINED_NAME), "");
  EXPECT_EQ(DeviceText(id, DEVICE_INFO_DISPLAYNAME),
            "GEV-Emulator [" + tsSocketAddress::Text(link.cameraAddress) + "]");
  EXPECT_FALSE(Update());  // the same camera again: no change
  EXPECT_EQ(DeviceIds().size(), 1u);
}

TEST_F(InterfaceGEV, DisplayNameAndTypeAreNotOffered) {
  OpenGev();
  char text[64];
  size_t size = sizeof text;
  int32_t type = 0;
  EXPECT_EQ(Lib().IFGetInfo(interface_, INTERFACE_INFO_DISPLAYNAME, &type, text, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().IFGetInfo(interface_, INTERFACE_INFO_TLTYPE, &type, text, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().IFGetInfo(interface_, INTERFACE_INFO_ID, &type, text, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(text, "GEV");
}

// The camera answers discovery 30 ms late: a pass of time-out 0 polls once and cannot see the
// answer, which reaches the next pass with the old request id.
TEST_F(InterfaceGEV, TimeoutZeroPollsOnceAndTheLateReplyIsRefusedNextPass) {
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t local, tfFakeDatagrams* replies) {
    if (command.code != 0x0002) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    replies->push_back(FakeAck(0, 0x0003, command.id, tcFakeGvcpCamera({}).Record(local)));
    return true;
  };
  StartFake(camera);
  OpenGev();
  EXPECT_LT(UpdateMs(0), 25.0);
  EXPECT_EQ(DeviceIds().size(), 0u);
  StderrCapture capture;
  EXPECT_TRUE(Update(200));
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterfaceGEV::UpdateDeviceList\] )"
                              R"(Unexpected packet received \(0x0,0x3\), \(1,2\) \(248,248\))"))
      << log;
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"FakeCam:FAKE1"});
}

TEST_F(InterfaceGEV, HugeTimeoutsWaitHalfASecond) {
  OpenGev();
  double largest = UpdateMs(1ull << 31);
  EXPECT_GE(largest, 495.0);
  EXPECT_LT(largest, 800.0);
  double infinite = UpdateMs(GENTL_INFINITE);
  EXPECT_GE(infinite, 495.0);
  EXPECT_LT(infinite, 800.0);
  double below = UpdateMs(30);
  EXPECT_GE(below, 29.0);
  EXPECT_LT(below, 300.0);
}

TEST_F(InterfaceGEV, SmallAndWrongLengthRepliesAreRefused) {
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t, tfFakeDatagrams* replies) {
    if (command.code != 0x0002) return false;
    std::vector<std::byte> small = FakeAck(0, 0x0003, command.id, {});
    small.resize(7);
    replies->push_back(small);
    replies->push_back(FakeAck(0, 0x0003, command.id, FakeWords({1})));
    replies->push_back(FakeAck(0x8001, 0x0003, command.id, FakeWords({1})));
    return true;
  };
  StartFake(camera);
  OpenGev();
  StderrCapture capture;
  EXPECT_FALSE(Update(200));
  std::string log = capture.Text();
  const std::string prefix = R"(gentl: info \[tcInterfaceGEV::UpdateDeviceList\] )";
  EXPECT_TRUE(HasLogLine(log, prefix + "Small packet received size = 7")) << log;
  EXPECT_TRUE(
      HasLogLine(log, prefix + R"(Unexpected packet received \(0x0,0x3\), \(1,1\) \(4,248\))"));
  EXPECT_TRUE(
      HasLogLine(log, prefix + R"(Unexpected packet received \(0x8001,0x3\), \(1,1\) \(4,248\))"));
  EXPECT_EQ(DeviceIds().size(), 0u);
}

TEST_F(InterfaceGEV, ACameraThatStopsAnsweringLeavesInTheNextPass) {
  tsBenchLink link = StartCamera({});
  OpenGev();
  EXPECT_TRUE(Update());
  EXPECT_EQ(DeviceIds().size(), 1u);
  bench_.Stop(link.pid);
  EXPECT_TRUE(Update(100));
  EXPECT_EQ(DeviceIds().size(), 0u);
  EXPECT_FALSE(Update(50));
}

TEST_F(InterfaceGEV, TwoCamerasOnTwoAdaptersInOnePass) {
  StartCamera({"--serial", "A"});
  StartCamera({"--serial", "B"});
  StderrCapture capture;
  OpenGev();
  EXPECT_TRUE(Update(300));
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: info \[tcInterfaceGEV::Open\] mcBCast size: 2)")) << log;
  std::vector<std::string> ids = DeviceIds();
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, (std::vector<std::string>{"GEV-Emulator:A", "GEV-Emulator:B"}));
}

TEST_F(InterfaceGEV, ACameraAnsweringOnTwoAdaptersIsListedOnce) {
  StartCamera({"--mac", "020000ABCDEF"});
  StartCamera({"--mac", "020000ABCDEF"});
  OpenGev();
  EXPECT_TRUE(Update(300));
  EXPECT_EQ(DeviceIds(), std::vector<std::string>{"GEV-Emulator:GEV0001"});
  EXPECT_FALSE(Update(300));
  EXPECT_EQ(DeviceIds().size(), 1u);
}

TEST_F(InterfaceGEV, TheDeviceListRegisterRunsAFullPass) {
  StartCamera({});
  OpenGev();
  void* port = interface_;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(WriteU32(port, 0x10000, 1), GC_ERR_SUCCESS);
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  EXPECT_GE(ms, 495.0);
  EXPECT_EQ(DeviceIds().size(), 1u);
}

}  // namespace
