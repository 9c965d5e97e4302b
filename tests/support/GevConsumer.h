// Fixture for consumer tests of the GigE Vision transport: a private network with camera sides
// on the bench (gev-camera or a scripted fake), the GEV interface opened through gentl.cti.
#pragma once

#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/FakeGvcpCamera.h"
#include "support/PrivateNetwork.h"
#include "support/SystemConsumer.h"
#include "tcNetBench.h"

class GevConsumerTest : public SystemConsumerTest {
 protected:
  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    SystemConsumerTest::SetUp();
  }

  // Starts gev-camera with `arguments`; returns once it answers.
  tsBenchLink StartCamera(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), GEV_CAMERA_PATH);
    tsBenchLink link;
    EXPECT_EQ(bench_.AddCamera(arguments, 1500, &link), "");
    EXPECT_TRUE(WaitForCamera(link));
    return link;
  }

  // Starts a scripted camera; returns once it answers.
  tsBenchLink StartFake(const tsFakeCamera& camera) {
    tsBenchLink link;
    EXPECT_EQ(bench_.AddCamera([camera] { return tcFakeGvcpCamera(camera).Run(); }, 1500, &link),
              "");
    EXPECT_TRUE(WaitForCamera(link));
    return link;
  }

  static bool WaitForCamera(const tsBenchLink& link) {
    return WaitForGvcpCamera(link.hostAddress, link.cameraAddress);
  }

  void OpenGev() {
    UpdateInterfaces();
    interface_ = OpenInterface("GEV");
  }

  // One device list update; returns the changed flag.
  bool Update(uint64_t timeout = 200) {
    GenTL::bool8_t changed = false;
    EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, &changed, timeout), GenTL::GC_ERR_SUCCESS);
    return changed != 0;
  }

  // Milliseconds one update with `timeout` takes.
  double UpdateMs(uint64_t timeout) {
    auto start = std::chrono::steady_clock::now();
    Update(timeout);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
  }

  std::vector<std::string> DeviceIds() {
    uint32_t count = 0;
    EXPECT_EQ(Lib().IFGetNumDevices(interface_, &count), GenTL::GC_ERR_SUCCESS);
    std::vector<std::string> ids;
    for (uint32_t i = 0; i < count; ++i) {
      char id[256] = "";
      size_t size = sizeof id;
      EXPECT_EQ(Lib().IFGetDeviceID(interface_, i, id, &size), GenTL::GC_ERR_SUCCESS);
      ids.push_back(id);
    }
    return ids;
  }

  std::string DeviceText(const std::string& id, int32_t command) {
    char text[256] = "";
    size_t size = sizeof text;
    int32_t type = 0;
    EXPECT_EQ(Lib().IFGetDeviceInfo(interface_, id.c_str(), command, &type, text, &size),
              GenTL::GC_ERR_SUCCESS);
    return text;
  }

  GenTL::GC_ERROR OpenDevice(const std::string& id,
                             int32_t flags = GenTL::DEVICE_ACCESS_EXCLUSIVE) {
    return Lib().IFOpenDevice(interface_, id.c_str(), flags, &device_);
  }

  void* RemotePort() {
    void* port = nullptr;
    EXPECT_EQ(Lib().DevGetPort(device_, &port), GenTL::GC_ERR_SUCCESS);
    return port;
  }

  // A file for a fake camera's command log, removed with the fixture.
  std::string LogFile() {
    logFile_ = "/tmp/gev-fake-" + std::to_string(getpid()) + ".log";
    unlink(logFile_.c_str());
    return logFile_;
  }

  void TearDown() override {
    ConsumerTest::TearDown();
    if (!logFile_.empty()) unlink(logFile_.c_str());
  }

  tcNetBench bench_;
  void* interface_ = nullptr;
  void* device_ = nullptr;
  std::string logFile_;
};
