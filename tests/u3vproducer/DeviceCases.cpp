// The U3V device: exclusive open only, its interfaces and streams, the shared event thread and
// closing.
#include <gtest/gtest.h>

#include "U3vConsumer.h"
#include "tcU3vRegisters.h"

using namespace GenTL;

namespace {

constexpr char kEventThread[] = "gentl-u3v-event";

using DeviceU3V = U3vConsumerTest;

TEST_F(DeviceU3V, OpensExclusivelyWithARemotePortAndReadsTheCamera) {
  void* port = OpenCamera();
  ASSERT_NE(port, nullptr);
  EXPECT_EQ(ReadText(port, tcU3vRegisters::kModelName), "U3V-Emulator");
  int32_t status = 0;
  size_t size = sizeof status;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  EXPECT_EQ(Lib().DevGetInfo(device_, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(status, DEVICE_ACCESS_STATUS_OPEN_READWRITE);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, ASecondOpenIsResourceInUse) {
  ASSERT_NE(OpenCamera(), nullptr);
  OpenDevice("U3VEMU0001", GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, ControlAccessIsNotImplementedWithAWarning) {
  Plug();
  OpenU3V();
  Update();
  StderrCapture capture;
  OpenDevice("U3VEMU0001", GC_ERR_NOT_IMPLEMENTED, DEVICE_ACCESS_CONTROL);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcDeviceU3V::Open\] tcDeviceU3V, iOpenFlags = 3 \(Request Not Implemented\))"))
      << log;
  OpenDevice("U3VEMU0001", GC_ERR_NOT_IMPLEMENTED, DEVICE_ACCESS_READONLY);
  EXPECT_EQ(ThreadsNamed(kEventThread), 0);
}

TEST_F(DeviceU3V, CompatibleOpeningListsAndTakesControlAccessAsExclusive) {
  Plug();
  OpenU3V();
  setenv("GENTL_COMPAT_OPEN", "1", 1);
  void* device = OpenDevice("U3VEMU0001", GC_ERR_SUCCESS, DEVICE_ACCESS_CONTROL);
  unsetenv("GENTL_COMPAT_OPEN");
  ASSERT_NE(device, nullptr);
  EXPECT_NE(Remote(device), nullptr);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, ACameraGoneFromTheBusIsInvalidId) {
  Plug();
  OpenU3V();
  Update();
  Bench().Unplug(0);
  OpenDevice("U3VEMU0001", GC_ERR_INVALID_ID);
}

TEST_F(DeviceU3V, ControlAndEventInterfacesOnlyOpenWithoutDataStream) {
  tsU3vCameraOptions options = Camera();
  options.extraInterfaces = 1;
  StderrCapture capture;
  ASSERT_NE(OpenCamera(options), nullptr);
  std::string log = capture.Text();
  uint32_t streams = 99;
  EXPECT_EQ(Lib().DevGetNumDataStreams(device_, &streams), GC_ERR_SUCCESS);
  EXPECT_EQ(streams, 0u);
  EXPECT_EQ(log.find("streaming interface"), std::string::npos) << log;
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, AStreamingInterfaceIsFoundBehindTheEventInterface) {
  StderrCapture capture;
  ASSERT_NE(OpenCamera(), nullptr);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[tcDeviceU3V::TakeCamera\] U3VEMU0001: streaming interface 2)"))
      << log;
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, TheEventThreadRunsWhileAnyDeviceIsOpen) {
  Plug(Camera("CAM-A"));
  Plug(SecondProduct("CAM-B"));
  OpenU3V();
  Update();
  EXPECT_EQ(ThreadsNamed(kEventThread), 0);
  void* first = OpenDevice("CAM-A");
  EXPECT_EQ(WaitForThreads(kEventThread, 1), 1);
  void* other = OpenDevice("CAM-B");
  EXPECT_EQ(ThreadsNamed(kEventThread), 1);
  EXPECT_EQ(Lib().DevClose(first), GC_ERR_SUCCESS);
  EXPECT_EQ(ThreadsNamed(kEventThread), 1);  // closing only the first keeps it
  StderrCapture capture;
  EXPECT_EQ(Lib().DevClose(other), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_EQ(ThreadsNamed(kEventThread), 0);  // closing the second stops it
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[tcEventThreadU3V::Leave\] libusb event thread stopped)"))
      << log;
  // Open again: a new thread.
  first = OpenDevice("CAM-A");
  EXPECT_EQ(WaitForThreads(kEventThread, 1), 1);
  EXPECT_EQ(Lib().DevClose(first), GC_ERR_SUCCESS);
}

// The thread waits in poll between events; measured from its schedstat over 2 s of idleness
// with the camera open.
TEST_F(DeviceU3V, TheIdleEventThreadUsesNoMeasurableCpu) {
  ASSERT_NE(OpenCamera(), nullptr);
  ASSERT_EQ(WaitForThreads(kEventThread, 1), 1);
  int64_t before = ThreadCpuNs(kEventThread);
  std::this_thread::sleep_for(std::chrono::seconds(2));
  int64_t used = ThreadCpuNs(kEventThread) - before;
  RecordProperty("idle_event_thread_cpu_us_per_2s", static_cast<int>(used / 1000));
  EXPECT_GE(before, 0);
  EXPECT_LT(used, 1'000'000);  // below 0.05% of a core
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceU3V, ClosingTheLibraryClosesAnOpenDevice) {
  ASSERT_NE(OpenCamera(), nullptr);
  EXPECT_EQ(WaitForThreads(kEventThread, 1), 1);
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
  system_ = nullptr;
  EXPECT_EQ(ThreadsNamed(kEventThread), 0);
}

TEST_F(DeviceU3V, AClosedDeviceOpensAgain) {
  ASSERT_NE(OpenCamera(), nullptr);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  void* again = OpenDevice("U3VEMU0001");
  EXPECT_EQ(again, device_);
  EXPECT_EQ(ReadText(Remote(again), tcU3vRegisters::kSerialNumber), "U3V0001");
  EXPECT_EQ(Lib().DevClose(again), GC_ERR_SUCCESS);
}

}  // namespace
