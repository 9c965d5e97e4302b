// Fixture for consumer tests of the GigE Vision stream: gev-camera on the network test bench
// (its own network namespace behind a veth pair), found by the producer's discovery, opened,
// and its stream grabbed through the GenTL functions.
#pragma once

#include <arpa/inet.h>
#include <sys/wait.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/PrivateNetwork.h"
#include "support/SystemConsumer.h"
#include "tcNetBench.h"

class GevStreamConsumerTest : public SystemConsumerTest {
 protected:
  // The emulator's own registers (big-endian 32 bits).
  static constexpr uint64_t kWidth = 0x10000;
  static constexpr uint64_t kHeight = 0x10004;
  static constexpr uint64_t kAcquisitionStart = 0x1001C;
  static constexpr uint64_t kAcquisitionStop = 0x10020;
  static constexpr uint64_t kFrameRate = 0x10028;
  static constexpr uint64_t kPacketSize = 0x0D04;
  static constexpr uint64_t kStreamPort = 0x0D00;
  static constexpr uint64_t kPacketDelay = 0x0D08;

  void SetUp() override {
    std::string why = EnterPrivateNetwork();
    if (!why.empty()) GTEST_SKIP() << why;
    SystemConsumerTest::SetUp();
  }
  void TearDown() override {
    if (stream_ != nullptr) Lib().DSClose(stream_);
    if (device_ != nullptr) Lib().DevClose(device_);
    SystemConsumerTest::TearDown();
    if (camera_ > 0) bench_.Stop(camera_);
  }

  // Starts gev-camera with `arguments` on a link of `mtu`; true when it runs.
  bool StartCamera(std::vector<std::string> arguments, int mtu = tcNetBench::kJumboMtu) {
    arguments.insert(arguments.begin(), GEV_CAMERA_PATH);
    std::string error = bench_.AddCamera(arguments, mtu, &link_);
    EXPECT_EQ(error, "");
    camera_ = link_.pid;
    return error.empty();
  }

  // Discovery (repeated until the camera answers), then the device opened exclusively and
  // its remote port.
  bool OpenDevice() {
    UpdateInterfaces();
    interface_ = OpenInterface("GEV");
    if (interface_ == nullptr) return false;
    uint32_t count = 0;
    for (int pass = 0; pass < 40 && count == 0; ++pass) {
      GenTL::bool8_t changed = false;
      Lib().IFUpdateDeviceList(interface_, &changed, 200);
      Lib().IFGetNumDevices(interface_, &count);
    }
    EXPECT_EQ(count, 1u);
    if (count != 1) return false;
    char id[256] = "";
    size_t size = sizeof id;
    EXPECT_EQ(Lib().IFGetDeviceID(interface_, 0, id, &size), GenTL::GC_ERR_SUCCESS);
    EXPECT_EQ(Lib().IFOpenDevice(interface_, id, GenTL::DEVICE_ACCESS_EXCLUSIVE, &device_),
              GenTL::GC_ERR_SUCCESS);
    EXPECT_EQ(Lib().DevGetPort(device_, &port_), GenTL::GC_ERR_SUCCESS);
    return device_ != nullptr && port_ != nullptr;
  }

  bool OpenStream() {
    EXPECT_EQ(Lib().DevOpenDataStream(device_, "Stream0", &stream_), GenTL::GC_ERR_SUCCESS);
    return stream_ != nullptr;
  }

  GenTL::GC_ERROR WriteCamera(uint64_t address, uint32_t value) {
    return WriteU32(port_, address, htonl(value));
  }
  uint32_t ReadCamera(uint64_t address) { return ntohl(ReadU32(port_, address)); }
  void SetFrameRate(float rate) {
    uint32_t bits;
    std::memcpy(&bits, &rate, sizeof bits);
    ASSERT_EQ(WriteCamera(kFrameRate, bits), GenTL::GC_ERR_SUCCESS);
  }

  // Announces `count` buffers of `size` bytes (producer memory), queues them and registers
  // the new-buffer event.
  void AnnounceAndQueue(int count, size_t size) {
    for (int i = 0; i < count; ++i) {
      void* buffer = nullptr;
      ASSERT_EQ(Lib().DSAllocAndAnnounceBuffer(stream_, size, nullptr, &buffer),
                GenTL::GC_ERR_SUCCESS);
      ASSERT_EQ(Lib().DSQueueBuffer(stream_, buffer), GenTL::GC_ERR_SUCCESS);
    }
    ASSERT_EQ(Lib().GCRegisterEvent(stream_, GenTL::EVENT_NEW_BUFFER, &event_),
              GenTL::GC_ERR_SUCCESS);
  }

  void Start(uint64_t frames = GENTL_INFINITE) {
    ASSERT_EQ(Lib().DSStartAcquisition(stream_, 0, frames), GenTL::GC_ERR_SUCCESS);
    ASSERT_EQ(WriteCamera(kAcquisitionStart, 1), GenTL::GC_ERR_SUCCESS);
  }
  void Stop() {
    ASSERT_EQ(WriteCamera(kAcquisitionStop, 1), GenTL::GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().DSStopAcquisition(stream_, 0), GenTL::GC_ERR_SUCCESS);
  }

  // The next delivered buffer, or null after `timeoutMs`.
  void* NextBuffer(uint64_t timeoutMs = 3000) {
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    if (Lib().EventGetData(event_, &data, &size, timeoutMs) != GenTL::GC_ERR_SUCCESS)
      return nullptr;
    return data.BufferHandle;
  }

  template <typename T>
  T BufferInfo(void* buffer, int32_t command) {
    T value{};
    int32_t type = 0;
    size_t size = sizeof value;
    EXPECT_EQ(Lib().DSGetBufferInfo(stream_, buffer, command, &type, &value, &size),
              GenTL::GC_ERR_SUCCESS);
    return value;
  }
  template <typename T>
  T StreamInfo(int32_t command) {
    T value{};
    int32_t type = 0;
    size_t size = sizeof value;
    EXPECT_EQ(Lib().DSGetInfo(stream_, command, &type, &value, &size), GenTL::GC_ERR_SUCCESS);
    return value;
  }

  // Whether every byte of a delivered buffer follows the emulator's pattern for its frame:
  // byte i of frame n is (i + n) modulo 256.
  bool PixelsMatch(void* buffer, size_t payload) {
    auto* bytes = BufferInfo<uint8_t*>(buffer, GenTL::BUFFER_INFO_BASE);
    uint64_t frame = BufferInfo<uint64_t>(buffer, GenTL::BUFFER_INFO_FRAMEID);
    if (BufferInfo<size_t>(buffer, GenTL::BUFFER_INFO_SIZE_FILLED) != payload) return false;
    for (size_t i = 0; i < payload; ++i) {
      if (bytes[i] != uint8_t((i + frame) % 256)) return false;
    }
    return true;
  }

  // Buffers are never lost: announced = queued + awaiting delivery + held by the consumer.
  void ExpectBuffersAccountedFor(size_t held) {
    EXPECT_EQ(StreamInfo<size_t>(GenTL::STREAM_INFO_NUM_ANNOUNCED),
              StreamInfo<size_t>(GenTL::STREAM_INFO_NUM_QUEUED) +
                  StreamInfo<size_t>(GenTL::STREAM_INFO_NUM_AWAIT_DELIVERY) + held);
  }

  tcNetBench bench_;
  tsBenchLink link_;
  pid_t camera_ = -1;
  void* interface_ = nullptr;
  void* device_ = nullptr;
  void* port_ = nullptr;
  void* stream_ = nullptr;
  void* event_ = nullptr;
};
