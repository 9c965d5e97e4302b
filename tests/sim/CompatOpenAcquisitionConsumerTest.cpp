// The call sequence of consumers that skip the list updates (Aravis's GenTL consumer among
// them): list on one system handle and close it, then a fresh TLOpen, TLOpenInterface and
// IFOpenDevice with control access and no update, register reads and a stream of 100 frames.
// It works with GENTL_COMPAT_OPEN=1 and gets the standard answers without it.
#include <cstdlib>
#include <vector>

#include "support/SimConsumer.h"

using namespace GenTL;

namespace {

class CompatOpen : public ConsumerTest {
 protected:
  void SetUp() override {
    ConsumerTest::SetUp();
    setenv("SIMCAM_XML_FILE", SIMCAM_DEFAULT_XML, 1);
    ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
    ListOnAFirstSystemHandle();
    ASSERT_EQ(Lib().TLOpen(&system_), GC_ERR_SUCCESS);
  }
  void TearDown() override {
    ConsumerTest::TearDown();
    unsetenv("GENTL_COMPAT_OPEN");
    unsetenv("SIMCAM_XML_FILE");
  }

  void ListOnAFirstSystemHandle() {
    void* system = nullptr;
    ASSERT_EQ(Lib().TLOpen(&system), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().TLUpdateInterfaceList(system, nullptr, 100), GC_ERR_SUCCESS);
    void* interface = nullptr;
    ASSERT_EQ(Lib().TLOpenInterface(system, "Simulated", &interface), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().IFUpdateDeviceList(interface, nullptr, 100), GC_ERR_SUCCESS);
    uint32_t count = 0;
    ASSERT_EQ(Lib().IFGetNumDevices(interface, &count), GC_ERR_SUCCESS);
    ASSERT_EQ(count, 1u);
    ASSERT_EQ(Lib().TLClose(system), GC_ERR_SUCCESS);
  }

  uint32_t Register(void* port, uint64_t address) {
    uint32_t value = 0;
    size_t size = sizeof value;
    EXPECT_EQ(Lib().GCReadPort(port, address, &value, &size), GC_ERR_SUCCESS);
    return value;
  }

  void* system_ = nullptr;
};

TEST_F(CompatOpen, WithTheSwitchOpeningWithoutUpdatesReadsAndStreamsOneHundredFrames) {
  setenv("GENTL_COMPAT_OPEN", "1", 1);
  void* interface = nullptr;
  ASSERT_EQ(Lib().TLOpenInterface(system_, "Simulated", &interface), GC_ERR_SUCCESS);
  void* device = nullptr;
  ASSERT_EQ(Lib().IFOpenDevice(interface, "SimCam", DEVICE_ACCESS_CONTROL, &device),
            GC_ERR_SUCCESS);
  void* port = nullptr;
  ASSERT_EQ(Lib().DevGetPort(device, &port), GC_ERR_SUCCESS);
  EXPECT_EQ(Register(port, simcam::kWidth), 1920u);
  EXPECT_EQ(Register(port, simcam::kHeight), 1080u);
  EXPECT_EQ(Register(port, simcam::kPixelFormat), 0x01080001u);
  uint32_t period = 1000;
  size_t size = sizeof period;
  ASSERT_EQ(Lib().GCWritePort(port, simcam::kFramePeriod, &period, &size), GC_ERR_SUCCESS);

  void* stream = nullptr;
  ASSERT_EQ(Lib().DevOpenDataStream(device, "Stream0", &stream), GC_ERR_SUCCESS);
  void* event = nullptr;
  ASSERT_EQ(Lib().GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event), GC_ERR_SUCCESS);
  size_t payload = 0;
  INFO_DATATYPE type = 0;
  size = sizeof payload;
  ASSERT_EQ(Lib().DSGetInfo(stream, STREAM_INFO_PAYLOAD_SIZE, &type, &payload, &size),
            GC_ERR_SUCCESS);
  for (int i = 0; i < 4; ++i) {
    void* buffer = nullptr;
    ASSERT_EQ(Lib().DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  }
  ASSERT_EQ(Lib().DSStartAcquisition(stream, 0, GENTL_INFINITE), GC_ERR_SUCCESS);
  uint64_t lastFrame = 0;
  for (int frame = 0; frame < 100; ++frame) {
    void* data[2] = {};
    size = sizeof data;
    ASSERT_EQ(Lib().EventGetData(event, data, &size, 5000), GC_ERR_SUCCESS);
    uint64_t id = 0;
    size = sizeof id;
    ASSERT_EQ(Lib().DSGetBufferInfo(stream, data[0], BUFFER_INFO_FRAMEID, &type, &id, &size),
              GC_ERR_SUCCESS);
    EXPECT_EQ(id, lastFrame + 1);
    lastFrame = id;
    ASSERT_EQ(Lib().DSQueueBuffer(stream, data[0]), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(Lib().DSStopAcquisition(stream, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSClose(stream), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
}

TEST_F(CompatOpen, WithoutTheSwitchTheStandardAnswersStay) {
  void* interface = nullptr;
  EXPECT_EQ(Lib().TLOpenInterface(system_, "Simulated", &interface), GC_ERR_INVALID_ID);
  ASSERT_EQ(Lib().TLUpdateInterfaceList(system_, nullptr, 100), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().TLOpenInterface(system_, "Simulated", &interface), GC_ERR_SUCCESS);
  void* device = nullptr;
  EXPECT_EQ(Lib().IFOpenDevice(interface, "SimCam", DEVICE_ACCESS_CONTROL, &device),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().IFOpenDevice(interface, "SimCam", DEVICE_ACCESS_EXCLUSIVE, &device),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
}

TEST_F(CompatOpen, ReadOnlyAccessStaysRefusedWithTheSwitch) {
  setenv("GENTL_COMPAT_OPEN", "1", 1);
  void* interface = nullptr;
  ASSERT_EQ(Lib().TLOpenInterface(system_, "Simulated", &interface), GC_ERR_SUCCESS);
  void* device = nullptr;
  EXPECT_EQ(Lib().IFOpenDevice(interface, "SimCam", DEVICE_ACCESS_READONLY, &device),
            GC_ERR_NOT_IMPLEMENTED);
}

}  // namespace
