// The simulated camera through the exported API: its interface, device, remote port and data
// stream, without acquisition.
#include <cstring>

#include "support/SimConsumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;

namespace {

class SimDevice : public SimConsumerTest {};

TEST_F(SimDevice, ListedOnceWithItsIdentity) {
  bool8_t changed = false;
  EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, &changed, 0), GC_ERR_SUCCESS);
  EXPECT_TRUE(changed);
  EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, &changed, 0), GC_ERR_SUCCESS);
  EXPECT_FALSE(changed);
  uint32_t count = 0;
  EXPECT_EQ(Lib().IFGetNumDevices(interface_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  const std::pair<int, const char*> texts[] = {{DEVICE_INFO_ID, "SimCam"},
                                               {DEVICE_INFO_VENDOR, "Vantora"},
                                               {DEVICE_INFO_MODEL, "Simulated Camera"},
                                               {DEVICE_INFO_DISPLAYNAME, "Simulated Camera"},
                                               {DEVICE_INFO_SERIAL_NUMBER, "1001001"},
                                               {DEVICE_INFO_VERSION, "2.9.0.102"},
                                               {DEVICE_INFO_TLTYPE, "Custom"}};
  for (auto [command, expected] : texts) {
    char text[64];
    size_t size = sizeof text;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().IFGetDeviceInfo(interface_, "SimCam", command, &type, text, &size),
              GC_ERR_SUCCESS);
    EXPECT_STREQ(text, expected);
  }
}

TEST_F(SimDevice, WithoutTheCameraFileVariableNoDeviceIsListed) {
  unsetenv("SIMCAM_XML_FILE");
  StderrCapture capture;
  EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, nullptr, 0), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  uint32_t count = 9;
  EXPECT_EQ(Lib().IFGetNumDevices(interface_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  char text[16];
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().IFGetDeviceInfo(interface_, "SimCam", DEVICE_INFO_ID, &type, text, &size),
            GC_ERR_INVALID_ID);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: info \[tcInterfaceSIM::UpdateDeviceList\] SIMCAM_XML_FILE is not set: no simulated camera)"))
      << log;
}

TEST_F(SimDevice, UnparsableCameraFileGivesNoDeviceAndOneErrorLine) {
  setenv("SIMCAM_XML_FILE", "/nonexistent/camera.xml", 1);
  StderrCapture capture;
  EXPECT_EQ(Lib().IFUpdateDeviceList(interface_, nullptr, 0), GC_ERR_SUCCESS);
  std::string log = capture.Text();
  uint32_t count = 9;
  EXPECT_EQ(Lib().IFGetNumDevices(interface_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 0u);
  EXPECT_NE(log.find("gentl: error [tcInterfaceSIM::UpdateDeviceList] Failed to load tcDeviceSIM: "
                     "\n File was not found"),
            std::string::npos)
      << log;
}

TEST_F(SimDevice, OpenOnANeverUpdatedInterfaceDiscoversFirst) {
  StderrCapture capture;
  void* device = OpenDevice();
  std::string log = capture.Text();
  EXPECT_NE(device, nullptr);
  EXPECT_TRUE(HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] Updating Device List)"));
  EXPECT_TRUE(
      HasLogLine(log, R"(gentl: debug \[tcInterface::OpenDevice\] Checking SimCam == SimCam)"));
}

TEST_F(SimDevice, OpenWithIdInOtherCaseIsInvalidId) {
  void* device = nullptr;
  EXPECT_EQ(Lib().IFOpenDevice(interface_, "simcam", DEVICE_ACCESS_EXCLUSIVE, &device),
            GC_ERR_INVALID_ID);
  EXPECT_EQ(device, nullptr);
}

TEST_F(SimDevice, DeviceIdIndexEqualToCountIsInvalidIndexWithNullSize) {
  Lib().IFUpdateDeviceList(interface_, nullptr, 0);
  EXPECT_EQ(Lib().IFGetDeviceID(interface_, 1, nullptr, nullptr), GC_ERR_INVALID_INDEX);
  char id[16];
  size_t size = sizeof id;
  EXPECT_EQ(Lib().IFGetDeviceID(interface_, 0, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "SimCam");
}

TEST_F(SimDevice, SecondOpenReturnsTheSameHandleAndIsInUse) {
  void* first = OpenDevice();
  void* second = nullptr;
  EXPECT_EQ(Lib().IFOpenDevice(interface_, "SimCam", DEVICE_ACCESS_EXCLUSIVE, &second),
            GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(first, second);
  INFO_DATATYPE type = 0;
  int32_t status = 0;
  size_t size = 4;
  EXPECT_EQ(Lib().DevGetInfo(first, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(status, DEVICE_ACCESS_STATUS_OPEN_READWRITE);
  EXPECT_EQ(Lib().DevClose(first), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevGetInfo(first, DEVICE_INFO_ACCESS_STATUS, &type, &status, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(status, DEVICE_ACCESS_STATUS_READWRITE);
  EXPECT_EQ(OpenDevice(), first);
}

TEST_F(SimDevice, OnlyExclusiveAccessOpens) {
  void* device = nullptr;
  StderrCapture capture;
  EXPECT_EQ(Lib().IFOpenDevice(interface_, "SimCam", DEVICE_ACCESS_READONLY, &device),
            GC_ERR_NOT_IMPLEMENTED);
  std::string log = capture.Text();
  EXPECT_NE(device, nullptr);
  EXPECT_TRUE(HasLogLine(
      log,
      R"(gentl: warning \[tcDeviceSIM::Open\] tcDeviceSIM, iOpenFlags = 2 \(Request Not Implemented\))"))
      << log;
}

TEST_F(SimDevice, DeviceInformationEdgeCases) {
  void* device = OpenDevice();
  INFO_DATATYPE type = 0;
  char text[8];
  size_t size = sizeof text;
  EXPECT_EQ(Lib().DevGetInfo(device, 10, &type, text, &size), GC_ERR_INVALID_ID);
  EXPECT_EQ(Lib().DevGetInfo(device, -1, &type, text, &size), GC_ERR_INVALID_ID);
  size = 4;
  EXPECT_EQ(Lib().DevGetInfo(device, DEVICE_INFO_VENDOR, &type, text, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  uint64_t frequency = 0;
  size = sizeof frequency;
  EXPECT_EQ(Lib().DevGetInfo(device, DEVICE_INFO_TIMESTAMP_FREQUENCY, &type, &frequency, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_UINT64);
  EXPECT_EQ(frequency, 1000000000u);
  void* parent = nullptr;
  EXPECT_EQ(Lib().DevGetParentIF(device, &parent), GC_ERR_SUCCESS);
  EXPECT_EQ(parent, interface_);
  EXPECT_EQ(Lib().DevGetParentIF(device, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SimDevice, OneStreamWhoseIdNeedsItsLengthPlusOne) {
  void* device = OpenDevice();
  uint32_t count = 0;
  EXPECT_EQ(Lib().DevGetNumDataStreams(device, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  char id[16];
  size_t size = 7;
  EXPECT_EQ(Lib().DevGetDataStreamID(device, 0, id, &size), GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 8u);
  size = 8;
  EXPECT_EQ(Lib().DevGetDataStreamID(device, 0, id, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(id, "Stream0");
  EXPECT_EQ(Lib().DevGetDataStreamID(device, 1, id, &size), GC_ERR_INVALID_INDEX);
}

TEST_F(SimDevice, OpeningTheStreamTwiceLeavesTheSecondHandleUntouched) {
  void* device = OpenDevice();
  void* first = OpenStream(device);
  EXPECT_NE(first, nullptr);
  void* second = reinterpret_cast<void*>(0x77);
  EXPECT_EQ(Lib().DevOpenDataStream(device, "Stream0", &second), GC_ERR_SUCCESS);
  EXPECT_EQ(second, reinterpret_cast<void*>(0x77));
  void* parent = nullptr;
  EXPECT_EQ(Lib().DSGetParentDev(first, &parent), GC_ERR_SUCCESS);
  EXPECT_EQ(parent, device);
  EXPECT_EQ(Lib().DSClose(first), GC_ERR_SUCCESS);
  EXPECT_EQ(OpenStream(device), first);
}

TEST_F(SimDevice, RemotePortIsAvailableOnlyWhileOpen) {
  void* device = OpenDevice();
  EXPECT_NE(RemotePort(device), nullptr);
  EXPECT_EQ(Lib().DevClose(device), GC_ERR_SUCCESS);
  void* port = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(Lib().DevGetPort(device, &port), GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(port, nullptr);
  EXPECT_EQ(Lib().DevGetPort(device, nullptr), GC_ERR_INVALID_PARAMETER);
}

TEST_F(SimDevice, RemotePortInformation) {
  void* port = RemotePort(OpenDevice());
  const std::pair<int, const char*> texts[] = {
      {PORT_INFO_ID, "SimCamPort"},      {PORT_INFO_MODEL, "SimCamPort"},
      {PORT_INFO_VENDOR, "Vantora LLC"}, {PORT_INFO_TLTYPE, "Custom"},
      {PORT_INFO_MODULE, "TLDevice"},    {PORT_INFO_VERSION, "2.9.0.102"},
      {PORT_INFO_PORTNAME, "Device"}};
  for (auto [command, expected] : texts) {
    char text[64];
    size_t size = sizeof text;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().GCGetPortInfo(port, command, &type, text, &size), GC_ERR_SUCCESS);
    EXPECT_STREQ(text, expected);
  }
  uint8_t little = 0;
  size_t size = 1;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().GCGetPortInfo(port, PORT_INFO_LITTLE_ENDIAN, &type, &little, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(little, 1);
}

TEST_F(SimDevice, RemotePortUrlIsTheCameraFileAsAFileUrl) {
  void* port = RemotePort(OpenDevice());
  uint32_t count = 0;
  EXPECT_EQ(Lib().GCGetNumPortURLs(port, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(Url(port), std::string("file://") + SIMCAM_DEFAULT_XML);
  char path[512];
  size_t size = sizeof path;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_FILENAME, &type, path, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(path, SIMCAM_DEFAULT_XML);
  EXPECT_EQ(size, strlen(SIMCAM_DEFAULT_XML) + 1);
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_SCHEMA_VER_MAJOR, &type, path, &size),
            GC_ERR_SUCCESS);
  EXPECT_EQ(type, INFO_DATATYPE_INT32);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 1, URL_INFO_URL, &type, path, &size),
            GC_ERR_INVALID_INDEX);
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, URL_INFO_URL, nullptr, path, &size),
            GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().GCGetPortURLInfo(port, 0, 11, &type, path, &size), GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(SimDevice, RegistersHoldTheDefaults) {
  void* port = RemotePort(OpenDevice());
  char vendor[64] = "";
  size_t textSize = sizeof vendor;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kVendorName, vendor, &textSize), GC_ERR_SUCCESS);
  EXPECT_STREQ(vendor, "Vantora");
  EXPECT_EQ(ReadU32(port, simcam::kSensorWidth), 1920u);
  EXPECT_EQ(ReadU32(port, simcam::kSensorHeight), 1080u);
  EXPECT_EQ(ReadU32(port, simcam::kPixelFormat), 0x01080001u);
  EXPECT_EQ(ReadU32(port, simcam::kFramePeriod), 33333u);
  EXPECT_EQ(ReadU32(port, simcam::kPayloadSize), 1920u * 1080u);
  EXPECT_EQ(ReadU32(port, simcam::kRegionMode), 1u);
  EXPECT_EQ(ReadU32(port, simcam::kWidth), 1920u);
  EXPECT_EQ(WriteU32(port, simcam::kRegionSelector, 1), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(port, simcam::kRegionMode), 0u);
  double mean = 0;
  size_t size = 8;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kNoiseMean, &mean, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(mean, 10.0);
}

TEST_F(SimDevice, RegionWritesThatLeaveTheSensorAreRefusedAndChangeNothing) {
  void* port = RemotePort(OpenDevice());
  EXPECT_EQ(WriteU32(port, simcam::kWidth, 640), GC_ERR_SUCCESS);
  EXPECT_EQ(WriteU32(port, simcam::kOffsetX, 1280), GC_ERR_SUCCESS);
  EXPECT_EQ(WriteU32(port, simcam::kOffsetX, 1281), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(ReadU32(port, simcam::kOffsetX), 1280u);
  EXPECT_EQ(WriteU32(port, simcam::kWidth, 641), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(WriteU32(port, simcam::kHeight, 1081), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(WriteU32(port, simcam::kHeight, 0), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(ReadU32(port, simcam::kWidth), 640u);
  EXPECT_EQ(ReadU32(port, simcam::kHeight), 1080u);
  EXPECT_EQ(WriteU32(port, simcam::kRegionSelector, 8), GC_ERR_INVALID_VALUE);
  EXPECT_EQ(ReadU32(port, simcam::kRegionSelector), 0u);
}

TEST_F(SimDevice, PayloadSizeFollowsSensorAndPixelFormatNotTheRegion) {
  void* device = OpenDevice();
  void* port = RemotePort(device);
  void* stream = OpenStream(device);
  EXPECT_EQ(WriteU32(port, simcam::kWidth, 100), GC_ERR_SUCCESS);
  EXPECT_EQ(WriteU32(port, simcam::kPixelFormat, 0x01100007), GC_ERR_SUCCESS);  // Mono16
  EXPECT_EQ(ReadU32(port, simcam::kPayloadSize), 1920u * 1080u * 2);
  EXPECT_EQ(StreamInfo<size_t>(stream, STREAM_INFO_PAYLOAD_SIZE), 1920u * 1080u * 2);
  EXPECT_EQ(WriteU32(port, simcam::kPixelFormat, 0x010C0047), GC_ERR_SUCCESS);  // Mono12p
  EXPECT_EQ(ReadU32(port, simcam::kPayloadSize), 1920u * 1080u * 12 / 8);
  EXPECT_EQ(WriteU32(port, simcam::kPixelFormat, 0x010C0004), GC_ERR_SUCCESS);  // Mono10Packed
  EXPECT_EQ(ReadU32(port, simcam::kPayloadSize), 1920u * 1080u * 12 / 8);
  EXPECT_EQ(WriteU32(port, simcam::kPixelFormat, 0x02180014), GC_ERR_SUCCESS);  // RGB8
  EXPECT_EQ(ReadU32(port, simcam::kPayloadSize), 1920u * 1080u * 3);
}

TEST_F(SimDevice, UnknownPixelFormatHasNoPayloadSize) {
  void* device = OpenDevice();
  void* port = RemotePort(device);
  void* stream = OpenStream(device);
  EXPECT_EQ(WriteU32(port, simcam::kPixelFormat, 0x12345678), GC_ERR_SUCCESS);
  StderrCapture capture;
  size_t value = 0;
  size_t size = sizeof value;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().DSGetInfo(stream, STREAM_INFO_PAYLOAD_SIZE, &type, &value, &size),
            GC_ERR_NOT_IMPLEMENTED);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: error \[tcDeviceSIM::GetPayloadSize\] Unknown pixel format 12345678)"))
      << log;
}

TEST_F(SimDevice, AlignmentIsOneAndTheTypeIsLeftAsPassed) {
  void* stream = OpenStream(OpenDevice());
  for (int command : {STREAM_INFO_BUF_ANNOUNCE_MIN, STREAM_INFO_BUF_ALIGNMENT}) {
    size_t value = 0;
    size_t size = sizeof value;
    INFO_DATATYPE type = 1234;
    EXPECT_EQ(Lib().DSGetInfo(stream, command, &type, &value, &size), GC_ERR_SUCCESS);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(type, 1234);
    EXPECT_EQ(size, 8u);
    size = 4;
    EXPECT_EQ(Lib().DSGetInfo(stream, command, &type, &value, &size), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(size, 8u);
  }
}

TEST_F(SimDevice, DebugWindowReadsTheLogRing) {
  void* port = RemotePort(OpenDevice());
  uint64_t total = 0;
  size_t size = 8;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kDebugBytesWritten, &total, &size), GC_ERR_SUCCESS);
  EXPECT_GT(total, 0u);
  char window[64] = "";
  size = 48;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kDebugBuffer, window, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(std::string(window).rfind("gentl: ", 0), 0u) << window;
  size = 16;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kDebugBuffer + 0x40000 - 8, window, &size),
            GC_ERR_INVALID_ADDRESS);
}

TEST_F(SimDevice, AccessPastTheEndOfARegisterIsAnInvalidAddress) {
  void* port = RemotePort(OpenDevice());
  uint64_t wide = 0;
  size_t size = 8;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kSensorWidth, &wide, &size), GC_ERR_INVALID_ADDRESS);
  size = 4;
  EXPECT_EQ(Lib().GCReadPort(port, 0x7FFFFFF0, &wide, &size), GC_ERR_INVALID_ADDRESS);
  char tail[4] = "";
  size = 3;
  EXPECT_EQ(Lib().GCReadPort(port, simcam::kVendorName + 4, tail, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(std::string(tail, 3), std::string("ora", 3));
}

TEST_F(SimDevice, ReadPortWithAStreamHandleReadsTheStreamPort) {
  void* device = OpenDevice();
  void* stream = OpenStream(device);
  QueueBuffers(stream, 2, 64);
  EXPECT_EQ(ReadU32(stream, 0x10000), 2u);
  EXPECT_EQ(ReadU32(stream, 0x10030), 2u);
  EXPECT_EQ(WriteU32(stream, 0x10000, 1), GC_ERR_ACCESS_DENIED);
  std::string url = Url(stream);
  EXPECT_EQ(url.rfind("local:///vantora_datastream_Stream0.xml;0;", 0), 0u) << url;
  EXPECT_EQ(Description(stream).rfind("<?xml", 0), 0u);
  EXPECT_LT(Description(device).size(), 0x10800u);
}

TEST_F(SimDevice, StreamQueueEdgeCasesThroughTheApi) {
  void* stream = OpenStream(OpenDevice());
  void* buffer = QueueBuffers(stream, 1, 64)[0];
  EXPECT_EQ(Lib().DSQueueBuffer(stream, buffer), GC_ERR_BUSY);
  EXPECT_EQ(Lib().DSRevokeBuffer(stream, buffer, nullptr, nullptr), GC_ERR_BUSY);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSQueueBuffer(stream, buffer), GC_ERR_SUCCESS);
  void* handle = nullptr;
  EXPECT_EQ(Lib().DSGetBufferID(stream, 1, &handle), GC_ERR_INVALID_INDEX);
  EXPECT_EQ(Lib().DSGetBufferID(stream, 0, &handle), GC_ERR_SUCCESS);
  EXPECT_EQ(handle, buffer);
  bool8_t defines = true;
  size_t size = 1;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().DSGetInfo(stream, STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &defines, &size),
            GC_ERR_SUCCESS);
  EXPECT_FALSE(defines);
  size = 8;
  EXPECT_EQ(Lib().DSGetInfo(stream, STREAM_INFO_NUM_CHUNKS_MAX, &type, &handle, &size),
            GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  void* event = RegisterEvent(stream);
  void* second = nullptr;
  EXPECT_EQ(Lib().GCRegisterEvent(stream, EVENT_NEW_BUFFER, &second), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(NextBuffer(event, 0), buffer);
  EXPECT_EQ(Lib().GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCUnregisterEvent(stream, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
}

TEST_F(SimDevice, ChunkAndPartCallsAreNotImplemented) {
  void* stream = OpenStream(OpenDevice());
  EXPECT_EQ(Lib().DSGetBufferChunkData(stream, nullptr, nullptr, nullptr), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().DSGetBufferChunkData(nullptr, nullptr, nullptr, nullptr), GC_ERR_INVALID_HANDLE);
  EXPECT_EQ(Lib().DSGetNumBufferParts(stream, nullptr, nullptr), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().DSGetBufferPartInfo(stream, nullptr, 0, 0, nullptr, nullptr, nullptr),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSGetNumBufferParts(stream, nullptr, nullptr), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(Lib().DSGetBufferChunkData(stream, nullptr, nullptr, nullptr), GC_ERR_NOT_INITIALIZED);
}

TEST_F(SimDevice, BufferInformationThroughTheApi) {
  void* stream = OpenStream(OpenDevice());
  uint8_t memory[32];
  void* announced = nullptr;
  ASSERT_EQ(Lib().DSAnnounceBuffer(stream, memory, sizeof memory, nullptr, &announced),
            GC_ERR_SUCCESS);
  EXPECT_EQ(BufferInfo<void*>(stream, announced, BUFFER_INFO_BASE), memory);
  EXPECT_FALSE(BufferInfo<bool8_t>(stream, announced, BUFFER_INFO_CONTAINS_CHUNKDATA));
  INFO_DATATYPE type = 0;
  size_t value = 0;
  size_t size = sizeof value;
  EXPECT_EQ(Lib().DSGetBufferInfo(stream, announced, BUFFER_INFO_DATA_SIZE, &type, &value, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, INFO_DATATYPE_SIZET);
  type = 55;
  EXPECT_EQ(Lib().DSGetBufferInfo(stream, announced, 31, &type, &value, &size),
            GC_ERR_NOT_IMPLEMENTED);
  EXPECT_EQ(type, 55);
  char text[8];
  size = 6;
  EXPECT_EQ(Lib().DSGetBufferInfo(stream, announced, BUFFER_INFO_TLTYPE, &type, text, &size),
            GC_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 7u);
  void* memoryOut = nullptr;
  EXPECT_EQ(Lib().DSRevokeBuffer(stream, announced, &memoryOut, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(memoryOut, memory);
}

TEST_F(SimDevice, EventEdgeCasesThroughTheApi) {
  void* stream = OpenStream(OpenDevice());
  void* event = RegisterEvent(stream);
  NextBuffer(event, 0, GC_ERR_TIMEOUT);
  EXPECT_EQ(Lib().EventKill(event), GC_ERR_SUCCESS);
  NextBuffer(event, 0, GC_ERR_ABORT);
  NextBuffer(event, 0, GC_ERR_TIMEOUT);
  QueueBuffers(stream, 2, 16);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().EventFlush(event), GC_ERR_SUCCESS);
  NextBuffer(event, 0, GC_ERR_ABORT);
  NextBuffer(event, 0, GC_ERR_ABORT);
  uint64_t fired = 0;
  size_t size = sizeof fired;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().EventGetInfo(event, EVENT_NUM_FIRED, &type, &fired, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(fired, 2u);
  size_t sizeMax = 0;
  size = sizeof sizeMax;
  EXPECT_EQ(Lib().EventGetInfo(event, EVENT_SIZE_MAX, &type, &sizeMax, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(sizeMax, 16u);
  EXPECT_EQ(Lib().EventGetInfo(event, EVENT_INFO_DATA_SIZE_MAX, &type, &sizeMax, &size),
            GC_ERR_NOT_AVAILABLE);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(StreamInfo<size_t>(stream, STREAM_INFO_NUM_QUEUED), 0u) << "still flagged queued";
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  size = 0;
  EXPECT_EQ(Lib().EventGetData(event, nullptr, &size, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(size, 16u);
  size_t inQueue = 0;
  size = sizeof inQueue;
  EXPECT_EQ(Lib().EventGetInfo(event, EVENT_NUM_IN_QUEUE, &type, &inQueue, &size), GC_ERR_SUCCESS);
  EXPECT_EQ(inQueue, 2u);
  void* data[2];
  size = 16;
  EXPECT_EQ(Lib().EventGetData(event, data, &size, 0), GC_ERR_SUCCESS);
  void* user = reinterpret_cast<void*>(0x1);
  size_t outSize = 8;
  EXPECT_EQ(Lib().EventGetDataInfo(event, data, 16, EVENT_DATA_ID, &type, &user, &outSize),
            GC_ERR_SUCCESS);
  EXPECT_EQ(user, nullptr);
  EXPECT_EQ(Lib().EventGetDataInfo(event, data, 16, EVENT_DATA_VALUE, &type, &user, &outSize),
            GC_ERR_INVALID_PARAMETER);
}

TEST_F(SimDevice, MovedBuffersGiveEventsInInputOrderAndTheCountRegistersAgree) {
  void* stream = OpenStream(OpenDevice());
  void* event = RegisterEvent(stream);
  int users[3] = {};
  void* buffers[3] = {};
  uint8_t memory[3][16];
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(Lib().DSAnnounceBuffer(stream, memory[i], 16, &users[i], &buffers[i]),
              GC_ERR_SUCCESS);
  }
  for (int i : {1, 2, 0})
    ASSERT_EQ(Lib().DSQueueBuffer(stream, buffers[i]), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSFlushQueue(stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadU32(stream, 0x10040), 3u);
  EXPECT_EQ(ReadU32(stream, 0x10060), 3u);
  EXPECT_EQ(StreamInfo<size_t>(stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
  for (int i : {1, 2, 0}) {
    void* data[2] = {};
    size_t size = sizeof data;
    ASSERT_EQ(Lib().EventGetData(event, data, &size, 0), GC_ERR_SUCCESS);
    EXPECT_EQ(data[0], buffers[i]);
    EXPECT_EQ(data[1], &users[i]);
  }
  EXPECT_EQ(ReadU32(stream, 0x10060), 0u);
  EXPECT_EQ(Lib().DSRevokeBuffer(stream, buffers[0], nullptr, nullptr), GC_ERR_BUSY)
      << "still flagged queued: moved buffers keep their flag";
}

TEST_F(SimDevice, AnEmptyWaitIsLoggedAtDebugLevelOnly) {
  void* stream = OpenStream(OpenDevice());
  void* event = RegisterEvent(stream);
  StderrCapture capture;
  NextBuffer(event, 0, GC_ERR_TIMEOUT);
  std::string log = capture.Text();
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: debug \[GenTL::EventGetData\] completed with code Timeout in [0-9]+ ms)"))
      << log;
  EXPECT_EQ(log.find("gentl: error"), std::string::npos) << log;
  EXPECT_EQ(LastErrorCode(), GC_ERR_TIMEOUT);
}

}  // namespace
