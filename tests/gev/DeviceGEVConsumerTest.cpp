// Opening GigE Vision cameras through gentl.cti on the network bench: access flags, control
// privilege against a second producer, heartbeat, timestamp frequency, a camera that goes away.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#include "support/GevConsumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;

namespace {

constexpr const char* kSecondProducerId = "GEV_TEST_SECOND_PRODUCER_ID";
const std::string kId = "GEV-Emulator:GEV0001";

class DeviceGEV : public GevConsumerTest {
 protected:
  void OpenCamera(std::vector<std::string> arguments = {}) {
    link_ = StartCamera(std::move(arguments));
    OpenGev();
    Update();
    ASSERT_EQ(OpenDevice(kId), GC_ERR_SUCCESS);
  }

  uint64_t Frequency() {
    uint64_t frequency = 0;
    size_t size = sizeof frequency;
    int32_t type = 0;
    EXPECT_EQ(Lib().DevGetInfo(device_, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &frequency, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(type, INFO_DATATYPE_UINT64);
    return frequency;
  }

  // What another process (this test program, run again) gets when it opens the camera.
  static std::string SecondProducerOpen() {
    std::string command = "GENTL_DEBUG=0 " + std::string(kSecondProducerId) + "=" + kId +
                          " /proc/" + std::to_string(getpid()) +
                          "/exe --gtest_filter=SecondProducer.Open 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    std::string output;
    char chunk[256];
    while (fgets(chunk, sizeof chunk, pipe) != nullptr)
      output += chunk;
    pclose(pipe);
    size_t at = output.find("open result: ");
    return at == std::string::npos ? output : output.substr(at, output.find('\n', at) - at);
  }

  tsBenchLink link_;
};

TEST_F(DeviceGEV, OnlyExclusiveAccessOpens) {
  StartCamera({});
  OpenGev();
  Update();
  StderrCapture capture;
  EXPECT_EQ(OpenDevice(kId, DEVICE_ACCESS_CONTROL), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(OpenDevice(kId, DEVICE_ACCESS_READONLY), GC_ERR_NOT_IMPLEMENTED);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: warning \[tcDeviceGEV::Open\] tcDeviceGEV, )"
                              R"(iOpenFlags = 3 \(Request Not Implemented\))"))
      << log;
  EXPECT_EQ(OpenDevice(kId), GC_ERR_SUCCESS);
  EXPECT_EQ(OpenDevice(kId), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

TEST_F(DeviceGEV, TimestampFrequencyComesFromTheCamera) {
  OpenCamera();
  EXPECT_EQ(Frequency(), 1000000000u);
}

TEST_F(DeviceGEV, NoTimestampFrequencyMeans1000Hz) {
  StderrCapture capture;
  OpenCamera({"--tick-frequency", "0"});
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: warning \[tcDeviceGEV::Open\] Unable to read timestamp )"
                              R"(frequency\.\. using 1000Hz)"))
      << log;
  EXPECT_EQ(Frequency(), 1000u);
}

TEST_F(DeviceGEV, ASecondProducerIsDeniedAccess) {
  OpenCamera();
  EXPECT_EQ(SecondProducerOpen(), "open result: -1005");
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  EXPECT_EQ(SecondProducerOpen(), "open result: 0");  // the privilege was released
}

// The camera drops the privilege 3 s after the last access; the heartbeat every 2 s keeps it.
TEST_F(DeviceGEV, TheHeartbeatKeepsThePrivilege) {
  OpenCamera({"--heartbeat-cap", "3000"});
  void* port = RemotePort();
  std::this_thread::sleep_for(std::chrono::milliseconds(4500));
  EXPECT_EQ(SecondProducerOpen(), "open result: -1005");
  EXPECT_EQ(ReadU32(port, 0x0A00), htonl(2));
  EXPECT_EQ(WriteU32(port, 0x0D08, htonl(5)), GC_ERR_SUCCESS);
}

TEST_F(DeviceGEV, CloseReleasesThePrivilegeAndEndsTheHeartbeatAtOnce) {
  OpenCamera();
  StderrCapture capture;
  auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(ms, 250.0);
  std::string log = capture.Text();
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: info \[tcPortGEV::~tcPortGEV\] Release control register: 0)"))
      << log;
}

TEST_F(DeviceGEV, ACameraRemovedWhileOpenFailsCleanly) {
  OpenCamera();
  void* port = RemotePort();
  bench_.Stop(link_.pid);
  StderrCapture capture;
  ReadU32(port, 0x0000, GC_ERR_IO);
  EXPECT_TRUE(Update(100));
  EXPECT_EQ(DeviceIds().size(), 0u);
  ReadU32(port, 0x0000, GC_ERR_IO);  // the handle stays usable
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(log, R"(gentl: error \[tcPortGEV::ReadReg\] Select Timeout)")) << log;
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: info \[tcPortGEV::~tcPortGEV\] Release control register: -1010)"));
}

// A camera that was open when it missed a pass, and was closed since, comes back as the same
// object when it answers again. The fake camera leaves the second pass unanswered.
TEST_F(DeviceGEV, ACameraThatAnswersAgainGetsItsHandleBack) {
  tsFakeCamera camera;
  camera.script = [](const tsFakeCommand& command, uint32_t, tfFakeDatagrams*) {
    return command.code == 0x0002 && command.id == 2;
  };
  StartFake(camera);
  OpenGev();
  EXPECT_TRUE(Update());
  ASSERT_EQ(OpenDevice("FakeCam:FAKE1"), GC_ERR_SUCCESS);
  void* first = device_;
  EXPECT_TRUE(Update(100));
  EXPECT_EQ(DeviceIds().size(), 0u);
  EXPECT_EQ(Lib().DevClose(first), GC_ERR_SUCCESS);
  EXPECT_TRUE(Update());
  ASSERT_EQ(DeviceIds(), std::vector<std::string>{"FakeCam:FAKE1"});
  ASSERT_EQ(OpenDevice("FakeCam:FAKE1"), GC_ERR_SUCCESS);
  EXPECT_EQ(device_, first);
  EXPECT_EQ(ReadU32(RemotePort(), 0x0A00), htonl(2));
}

TEST_F(DeviceGEV, CompatOpenFindsAndConnectsWithoutUpdates) {
  StartCamera({});
  setenv("GENTL_COMPAT_OPEN", "1", 1);
  void* interface = nullptr;
  ASSERT_EQ(Lib().TLOpenInterface(system_, "GEV", &interface), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().IFOpenDevice(interface, kId.c_str(), DEVICE_ACCESS_CONTROL, &device_),
            GC_ERR_SUCCESS);
  unsetenv("GENTL_COMPAT_OPEN");
  interface_ = interface;
  EXPECT_EQ(ReadU32(RemotePort(), 0x0A00), htonl(2));
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
}

// Run by SecondProducerOpen in a process of its own: opens the camera and prints the result.
TEST(SecondProducer, Open) {
  const char* id = getenv(kSecondProducerId);
  if (id == nullptr) GTEST_SKIP() << "run by DeviceGEV.ASecondProducerIsDeniedAccess";
  GenTLLibrary lib;
  ASSERT_TRUE(lib.Open(GENTL_CTI_PATH));
  void* system = nullptr;
  void* interface = nullptr;
  void* device = nullptr;
  bool8_t changed = false;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, &changed, 0);
  lib.TLOpenInterface(system, "GEV", &interface);
  lib.IFUpdateDeviceList(interface, &changed, 200);
  GC_ERROR result = lib.IFOpenDevice(interface, id, DEVICE_ACCESS_EXCLUSIVE, &device);
  printf("open result: %d\n", result);
  lib.GCCloseLib();
}

}  // namespace
