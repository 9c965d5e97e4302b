// Fixture for consumer tests on the simulated camera: the default camera file, the Simulated
// interface, and helpers for its device, remote port and data stream.
#pragma once

#include <cstdlib>
#include <vector>

#include "support/SystemConsumer.h"

// Register addresses of the default camera file.
namespace simcam {
inline constexpr uint64_t kVendorName = 0x0;
inline constexpr uint64_t kSensorWidth = 0x1000;
inline constexpr uint64_t kSensorHeight = 0x1004;
inline constexpr uint64_t kPayloadSize = 0x1010;
inline constexpr uint64_t kFramePeriod = 0x2010;
inline constexpr uint64_t kPixelFormat = 0x3000;
inline constexpr uint64_t kTestPattern = 0x300C;
inline constexpr uint64_t kNoiseMean = 0x3028;
inline constexpr uint64_t kRegionSelector = 0x3040;
inline constexpr uint64_t kRegionMode = 0x3044;
inline constexpr uint64_t kOffsetX = 0x3048;
inline constexpr uint64_t kOffsetY = 0x304C;
inline constexpr uint64_t kWidth = 0x3050;
inline constexpr uint64_t kHeight = 0x3054;
inline constexpr uint64_t kDebugBytesWritten = 0x4008;
inline constexpr uint64_t kDebugBuffer = 0x100000;
}  // namespace simcam

class SimConsumerTest : public SystemConsumerTest {
 protected:
  void SetUp() override {
    setenv("SIMCAM_XML_FILE", SIMCAM_DEFAULT_XML, 1);
    SystemConsumerTest::SetUp();
    UpdateInterfaces();
    interface_ = OpenInterface("Simulated");
  }
  void TearDown() override {
    SystemConsumerTest::TearDown();
    unsetenv("SIMCAM_XML_FILE");
  }

  void* OpenDevice() {
    void* device = nullptr;
    EXPECT_EQ(Lib().IFOpenDevice(interface_, "SimCam", GenTL::DEVICE_ACCESS_EXCLUSIVE, &device),
              GenTL::GC_ERR_SUCCESS);
    return device;
  }
  void* RemotePort(void* device) {
    void* port = nullptr;
    EXPECT_EQ(Lib().DevGetPort(device, &port), GenTL::GC_ERR_SUCCESS);
    return port;
  }
  void* OpenStream(void* device) {
    void* stream = nullptr;
    EXPECT_EQ(Lib().DevOpenDataStream(device, "Stream0", &stream), GenTL::GC_ERR_SUCCESS);
    return stream;
  }
  void* RegisterEvent(void* stream) {
    void* event = nullptr;
    EXPECT_EQ(Lib().GCRegisterEvent(stream, GenTL::EVENT_NEW_BUFFER, &event),
              GenTL::GC_ERR_SUCCESS);
    return event;
  }
  // Allocates and queues `count` buffers of `size` bytes.
  std::vector<void*> QueueBuffers(void* stream, int count, size_t size) {
    std::vector<void*> buffers;
    for (int i = 0; i < count; ++i) {
      void* buffer = nullptr;
      EXPECT_EQ(Lib().DSAllocAndAnnounceBuffer(stream, size, nullptr, &buffer),
                GenTL::GC_ERR_SUCCESS);
      EXPECT_EQ(Lib().DSQueueBuffer(stream, buffer), GenTL::GC_ERR_SUCCESS);
      buffers.push_back(buffer);
    }
    return buffers;
  }
  // The buffer handle of the next new-buffer event, or null.
  void* NextBuffer(void* event, uint64_t timeoutMs, GenTL::GC_ERROR expected = 0) {
    void* data[2] = {};
    size_t size = sizeof data;
    EXPECT_EQ(Lib().EventGetData(event, data, &size, timeoutMs), expected);
    return data[0];
  }
  template <typename T>
  T StreamInfo(void* stream, int command) {
    T value{};
    size_t size = sizeof value;
    GenTL::INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().DSGetInfo(stream, command, &type, &value, &size), GenTL::GC_ERR_SUCCESS);
    return value;
  }
  template <typename T>
  T BufferInfo(void* stream, void* buffer, int command) {
    T value{};
    size_t size = sizeof value;
    GenTL::INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().DSGetBufferInfo(stream, buffer, command, &type, &value, &size),
              GenTL::GC_ERR_SUCCESS);
    return value;
  }

  void* interface_ = nullptr;
};

// The simulated camera opened, with its remote port, its stream and the stream's event.
class SimStreamConsumerTest : public SimConsumerTest {
 protected:
  void SetUp() override {
    SimConsumerTest::SetUp();
    device_ = OpenDevice();
    port_ = RemotePort(device_);
    stream_ = OpenStream(device_);
    event_ = RegisterEvent(stream_);
  }

  void* device_ = nullptr;
  void* port_ = nullptr;
  void* stream_ = nullptr;
  void* event_ = nullptr;
};
