// The producer's own module descriptions (system, interfaces, device, data stream) and the
// simulated camera's description, each driven by Aravis's GenApi engine through the GenTL API
// exactly as a GenTL consumer drives them, with Aravis's register cache disabled and enabled.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "GenTLLibrary.h"
#include "GenTLPort.h"
#include "ModuleGenApi.h"

using namespace GenTL;

namespace {

constexpr uint64_t kMono16 = 0x01100007;
constexpr int64_t kSensorPayloadMono16 = 1920 * 1080 * 2;
constexpr uint64_t kEventTimeoutMs = 5000;
const std::vector<std::string> kInterfaceIds = {"Simulated", "GEV", "U3V"};

// Loaded once and never unloaded: the producer's threads and globals stay valid for the whole
// test program.
GenTLLibrary& Lib() {
  static GenTLLibrary* library = [] {
    auto* lib = new GenTLLibrary;
    const char* path = getenv("GENTL_CTI");
    if (!lib->Open(path != nullptr ? path : GENTL_CTI_PATH)) {
      ADD_FAILURE() << "cannot load gentl.cti: " << lib->Error();
    }
    return lib;
  }();
  return *library;
}

class ProducerGenApiTest : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    setenv("SIMCAM_XML_FILE", SIMCAM_DEFAULT_XML, 1);
    ASSERT_NE(Lib().GCInitLib, nullptr) << Lib().Error();
    ASSERT_EQ(Lib().GCInitLib(), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().TLOpen(&system_), GC_ERR_SUCCESS);
    ASSERT_EQ(Lib().TLUpdateInterfaceList(system_, nullptr, 0), GC_ERR_SUCCESS);
  }

  // TLClose ends the acquisition and closes every module below the system.
  void TearDown() override {
    genapis_.clear();
    if (system_ != nullptr) {
      EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
    }
    EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
    unsetenv("SIMCAM_XML_FILE");
  }

  // The node map of `port`'s description over `port`; null (with a failure) when it cannot be
  // loaded. It lives until the end of the test.
  ArvGc* Load(void* port) {
    genapis_.push_back(std::make_unique<tcModuleGenApi>(Lib(), port, GetParam()));
    if (genapis_.back()->Gc() == nullptr) ADD_FAILURE() << genapis_.back()->Error();
    return genapis_.back()->Gc();
  }

  void* OpenInterface(const std::string& id) {
    void* handle = nullptr;
    EXPECT_EQ(Lib().TLOpenInterface(system_, id.c_str(), &handle), GC_ERR_SUCCESS) << id;
    return handle;
  }

  void OpenCamera() {
    ASSERT_EQ(
        Lib().IFOpenDevice(OpenInterface("Simulated"), "SimCam", DEVICE_ACCESS_EXCLUSIVE, &device_),
        GC_ERR_SUCCESS);
  }

  // The camera's node map over the device's remote port, with a 1 ms frame period.
  ArvGc* LoadCamera() {
    void* port = nullptr;
    EXPECT_EQ(Lib().DevGetPort(device_, &port), GC_ERR_SUCCESS);
    ArvGc* gc = Load(port);
    if (gc != nullptr) {
      EXPECT_EQ(SetInteger(gc, "AcquisitionFramePeriod", 1000), "");
    }
    return gc;
  }

  void OpenStream() {
    ASSERT_EQ(Lib().DevOpenDataStream(device_, "Stream0", &stream_), GC_ERR_SUCCESS);
    ASSERT_NE(stream_, nullptr);
    ASSERT_EQ(Lib().GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &event_), GC_ERR_SUCCESS);
  }

  void AnnounceAndQueue(int count, size_t size) {
    for (int i = 0; i < count; ++i) {
      void* buffer = nullptr;
      ASSERT_EQ(Lib().DSAllocAndAnnounceBuffer(stream_, size, nullptr, &buffer), GC_ERR_SUCCESS);
      ASSERT_EQ(Lib().DSQueueBuffer(stream_, buffer), GC_ERR_SUCCESS);
    }
  }

  // The buffer of the next new-buffer event, null on timeout.
  void* NextBuffer() {
    void* data[2] = {};
    size_t size = sizeof data;
    EXPECT_EQ(Lib().EventGetData(event_, data, &size, kEventTimeoutMs), GC_ERR_SUCCESS);
    return data[0];
  }

  template <typename T>
  T StreamInfo(STREAM_INFO_CMD command) {
    T value{};
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().DSGetInfo(stream_, command, &type, &value, &size), GC_ERR_SUCCESS) << command;
    return value;
  }

  template <typename T>
  T BufferInfo(void* buffer, BUFFER_INFO_CMD command) {
    T value{};
    size_t size = sizeof value;
    INFO_DATATYPE type = 0;
    EXPECT_EQ(Lib().DSGetBufferInfo(stream_, buffer, command, &type, &value, &size), GC_ERR_SUCCESS)
        << command;
    return value;
  }

  void* system_ = nullptr;
  void* device_ = nullptr;
  void* stream_ = nullptr;
  void* event_ = nullptr;

 private:
  std::vector<std::unique_ptr<tcModuleGenApi>> genapis_;
};

INSTANTIATE_TEST_SUITE_P(RegisterCache, ProducerGenApiTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? "Enabled" : "Disabled";
                         });

std::string String(ArvGc* gc, const std::string& name) {
  std::string value;
  EXPECT_EQ(GetString(gc, name, &value), "");
  return value;
}

int64_t Integer(ArvGc* gc, const std::string& name) {
  int64_t value = -1;
  EXPECT_EQ(GetInteger(gc, name, &value), "");
  return value;
}

std::string Entry(ArvGc* gc, const std::string& name) {
  std::string entry;
  EXPECT_EQ(GetEnumeration(gc, name, &entry), "");
  return entry;
}

int64_t EntryValue(ArvGc* gc, const std::string& name) {
  int64_t value = -1;
  EXPECT_EQ(GetEnumerationValue(gc, name, &value), "");
  return value;
}

std::string LibraryText(TL_INFO_CMD command) {
  char text[1024] = "";
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().GCGetInfo(command, &type, text, &size), GC_ERR_SUCCESS) << command;
  return text;
}

std::string InterfaceText(void* interface, INTERFACE_INFO_CMD command) {
  char text[256] = "";
  size_t size = sizeof text;
  INFO_DATATYPE type = 0;
  EXPECT_EQ(Lib().IFGetInfo(interface, command, &type, text, &size), GC_ERR_SUCCESS) << command;
  return text;
}

// The display name IFGetInfo gives for `interface`. The GEV interface gives none: its
// descriptions show its ID instead.
std::string DisplayName(void* interface) {
  std::string id = InterfaceText(interface, INTERFACE_INFO_ID);
  char name[256] = "";
  size_t size = sizeof name;
  INFO_DATATYPE type = 0;
  GC_ERROR status = Lib().IFGetInfo(interface, INTERFACE_INFO_DISPLAYNAME, &type, name, &size);
  if (id == "GEV") {
    EXPECT_EQ(status, GC_ERR_NOT_IMPLEMENTED);
    return id;
  }
  EXPECT_EQ(status, GC_ERR_SUCCESS) << id;
  return name;
}

uint32_t ReadPortU32(void* port, uint64_t address) {
  uint32_t value = 0;
  size_t size = sizeof value;
  EXPECT_EQ(Lib().GCReadPort(port, address, &value, &size), GC_ERR_SUCCESS);
  return value;
}

// Polls StreamIsGrabbing through the node map until it reads 0; false after 10 s.
bool WaitUntilNotGrabbing(ArvGc* stream) {
  auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (Integer(stream, "StreamIsGrabbing") != 0) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

TEST_P(ProducerGenApiTest, ConstantEnumerationsReadTheirValue) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  EXPECT_EQ(Entry(system, "TLType"), "Mixed");
  EXPECT_EQ(EntryValue(system, "TLType"), 5);
  const struct {
    std::string id, type;
    int64_t value;
  } interfaces[] = {{"GEV", "GigEVision", 0}, {"U3V", "USB3Vision", 4}, {"Simulated", "Custom", 6}};
  for (const auto& expected : interfaces) {
    ArvGc* interface = Load(OpenInterface(expected.id));
    ASSERT_NE(interface, nullptr) << expected.id;
    EXPECT_EQ(Entry(interface, "InterfaceType"), expected.type) << expected.id;
    EXPECT_EQ(EntryValue(interface, "InterfaceType"), expected.value) << expected.id;
  }
}

TEST_P(ProducerGenApiTest, SystemInformationMatchesTheLibrary) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  EXPECT_EQ(String(system, "TLVendorName"), "Vantora LLC");
  EXPECT_EQ(String(system, "TLModelName"), "GenTL for U3V");
  EXPECT_EQ(String(system, "TLID"), "vantora/gentl.dll");
  EXPECT_EQ(Integer(system, "GenTLVersionMajor"), 1);
  EXPECT_EQ(Integer(system, "GenTLVersionMinor"), 5);
  const std::pair<const char*, TL_INFO_CMD> texts[] = {
      {"TLID", TL_INFO_ID},           {"TLVendorName", TL_INFO_VENDOR},
      {"TLModelName", TL_INFO_MODEL}, {"TLVersion", TL_INFO_VERSION},
      {"TLFileName", TL_INFO_NAME},   {"TLDisplayName", TL_INFO_DISPLAYNAME},
      {"TLPath", TL_INFO_PATHNAME}};
  for (const auto& [feature, command] : texts) {
    EXPECT_EQ(String(system, feature), LibraryText(command)) << feature;
  }
}

// The sequence goes back over earlier selections, so a cached InterfaceID that was not
// invalidated by the selector would show.
TEST_P(ProducerGenApiTest, InterfaceSelectorSelectsEachInterface) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  for (int64_t index : {0, 1, 2, 1, 0, 2}) {
    const std::string& id = kInterfaceIds[index];
    ASSERT_EQ(SetInteger(system, "InterfaceSelector", index), "");
    EXPECT_EQ(Integer(system, "InterfaceSelector"), index);
    EXPECT_EQ(String(system, "InterfaceID"), id) << index;
    EXPECT_EQ(String(system, "InterfaceDisplayName"), DisplayName(OpenInterface(id))) << index;
  }
}

// The control experiment for InterfaceSelectorSelectsEachInterface: without its pInvalidator a
// cached InterfaceID keeps the first interface's ID after the selector changes.
TEST_P(ProducerGenApiTest, WithoutThePInvalidatorACachedInterfaceIDGoesStale) {
  std::string error;
  std::string xml = FetchPortDescription(Lib(), system_, &error).text;
  ASSERT_EQ(error, "");
  const std::string invalidator = "<pInvalidator>InterfaceSelectorReg</pInvalidator>";
  for (size_t at = xml.find(invalidator); at != std::string::npos; at = xml.find(invalidator)) {
    xml.erase(at, invalidator.size());
  }
  auto device = NewPortDevice(PortAccessFor(Lib(), system_));
  auto system = NewGenApi(device.get(), xml);
  ASSERT_NE(system, nullptr);
  UseRegisterCache(system.get(), GetParam());
  EXPECT_EQ(String(system.get(), "InterfaceID"), "Simulated");
  ASSERT_EQ(SetInteger(system.get(), "InterfaceSelector", 1), "");
  EXPECT_EQ(String(system.get(), "InterfaceID"), GetParam() ? "Simulated" : "GEV");
}

TEST_P(ProducerGenApiTest, InterfaceSelectorPastTheLastInterfaceFails) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  ASSERT_EQ(SetInteger(system, "InterfaceSelector", 1), "");
  EXPECT_EQ(SetInteger(system, "InterfaceSelector", 3),
            "InterfaceSelector: [InterfaceSelector] [InterfaceSelectorReg] write of 4 bytes at "
            "0x10810 failed");
  EXPECT_EQ(ReadPortU32(system_, 0x10810), 1u);
  EXPECT_EQ(Integer(system, "InterfaceSelector"), 1);
  EXPECT_EQ(String(system, "InterfaceID"), "GEV");
}

TEST_P(ProducerGenApiTest, InterfaceUpdateListExecutes) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  EXPECT_EQ(ExecuteCommand(system, "InterfaceUpdateList"), "");
  uint32_t count = 0;
  ASSERT_EQ(Lib().TLGetNumInterfaces(system_, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 3u);
  ASSERT_EQ(SetInteger(system, "InterfaceSelector", 2), "");
  EXPECT_EQ(String(system, "InterfaceID"), "U3V");
}

TEST_P(ProducerGenApiTest, InterfaceUpdateTimeoutRoundTrips) {
  ArvGc* system = Load(system_);
  ASSERT_NE(system, nullptr);
  for (int64_t timeout : {1234, 0, 60000}) {
    ASSERT_EQ(SetInteger(system, "InterfaceUpdateTimeout", timeout), "");
    EXPECT_EQ(Integer(system, "InterfaceUpdateTimeout"), timeout);
    EXPECT_EQ(ReadPortU32(system_, 0x10808), static_cast<uint32_t>(timeout));
  }
}

TEST_P(ProducerGenApiTest, InterfaceInformationMatchesIFGetInfo) {
  for (const std::string& id : kInterfaceIds) {
    void* handle = OpenInterface(id);
    ArvGc* interface = Load(handle);
    ASSERT_NE(interface, nullptr) << id;
    EXPECT_EQ(String(interface, "InterfaceID"), id);
    EXPECT_EQ(String(interface, "InterfaceID"), InterfaceText(handle, INTERFACE_INFO_ID));
    EXPECT_EQ(String(interface, "InterfaceDisplayName"), DisplayName(handle)) << id;
  }
}

// The producer keeps any selector value; the selected device's registers answer only for a
// listed device.
TEST_P(ProducerGenApiTest, DeviceSelectorWritesReachTheInterface) {
  for (const std::string& id : kInterfaceIds) {
    void* handle = OpenInterface(id);
    ArvGc* interface = Load(handle);
    ASSERT_NE(interface, nullptr) << id;
    for (int64_t index : {1, 0}) {
      ASSERT_EQ(SetInteger(interface, "DeviceSelector", index), "") << id;
      EXPECT_EQ(Integer(interface, "DeviceSelector"), index) << id;
      EXPECT_EQ(ReadPortU32(handle, 0x10004), static_cast<uint32_t>(index)) << id;
    }
  }
}

TEST_P(ProducerGenApiTest, SimulatedInterfaceListsTheCamera) {
  void* handle = OpenInterface("Simulated");
  ArvGc* interface = Load(handle);
  ASSERT_NE(interface, nullptr);
  ASSERT_EQ(ExecuteCommand(interface, "DeviceUpdateList"), "");
  uint32_t count = 0;
  ASSERT_EQ(Lib().IFGetNumDevices(handle, &count), GC_ERR_SUCCESS);
  ASSERT_EQ(count, 1u);
  ASSERT_EQ(SetInteger(interface, "DeviceSelector", 0), "");
  EXPECT_EQ(String(interface, "DeviceID"), "SimCam");
  EXPECT_EQ(String(interface, "DeviceVendorName"), "Vantora");
  EXPECT_EQ(String(interface, "DeviceModelName"), "Simulated Camera");
  EXPECT_EQ(String(interface, "DeviceSerialNumber"), "1001001");
  EXPECT_EQ(Entry(interface, "DeviceAccessStatus"), "ReadWrite");
  EXPECT_EQ(EntryValue(interface, "DeviceAccessStatus"), 1);
}

TEST_P(ProducerGenApiTest, DeviceRegistersFollowTheDeviceSelector) {
  ArvGc* interface = Load(OpenInterface("Simulated"));
  ASSERT_NE(interface, nullptr);
  ASSERT_EQ(ExecuteCommand(interface, "DeviceUpdateList"), "");
  EXPECT_EQ(String(interface, "DeviceID"), "SimCam");
  ASSERT_EQ(SetInteger(interface, "DeviceSelector", 1), "");
  std::string id;
  EXPECT_NE(GetString(interface, "DeviceID", &id), "");
  ASSERT_EQ(SetInteger(interface, "DeviceSelector", 0), "");
  EXPECT_EQ(String(interface, "DeviceID"), "SimCam");
}

TEST_P(ProducerGenApiTest, DeviceModuleDescribesTheOpenCamera) {
  OpenCamera();
  ArvGc* device = Load(device_);
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(String(device, "DeviceID"), "SimCam");
  EXPECT_EQ(String(device, "DeviceVendorName"), "Vantora");
  EXPECT_EQ(String(device, "DeviceModelName"), "Simulated Camera");
  EXPECT_EQ(Entry(device, "DeviceType"), "Custom");
  EXPECT_EQ(EntryValue(device, "DeviceType"), 6);
  EXPECT_EQ(Entry(device, "DeviceAccessStatus"), "OpenReadWrite");
  ASSERT_EQ(SetInteger(device, "StreamSelector", 0), "");
  EXPECT_EQ(Integer(device, "StreamSelector"), 0);
  EXPECT_EQ(String(device, "StreamID"), "Stream0");
}

TEST_P(ProducerGenApiTest, DataStreamCountsBuffersAndFollowsGrabbing) {
  OpenCamera();
  ASSERT_NE(LoadCamera(), nullptr);
  OpenStream();
  ArvGc* stream = Load(stream_);
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(String(stream, "StreamID"), "Stream0");
  EXPECT_EQ(Entry(stream, "StreamType"), "Custom");
  EXPECT_EQ(Entry(stream, "StreamBufferHandlingMode"), "OldestFirst");
  EXPECT_EQ(Integer(stream, "StreamAnnouncedBufferCount"), 0);
  AnnounceAndQueue(3, StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE));
  EXPECT_EQ(Integer(stream, "StreamAnnouncedBufferCount"), 3);
  EXPECT_EQ(Integer(stream, "StreamInputBufferCount"), 3);
  EXPECT_EQ(Integer(stream, "StreamIsGrabbing"), 0);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Integer(stream, "StreamIsGrabbing"), 1);
  ASSERT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_EQ(Integer(stream, "StreamIsGrabbing"), 0);
}

// Three frames are delivered and left in the output queue, then fetched; every counter reads as
// DSGetInfo answers, and PayloadSize reads the output buffer count.
TEST_P(ProducerGenApiTest, DataStreamCountersMatchDSGetInfo) {
  OpenCamera();
  ASSERT_NE(LoadCamera(), nullptr);
  OpenStream();
  ArvGc* stream = Load(stream_);
  ASSERT_NE(stream, nullptr);
  AnnounceAndQueue(4, StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE));
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 3), GC_ERR_SUCCESS);
  ASSERT_TRUE(WaitUntilNotGrabbing(stream));
  EXPECT_EQ(Integer(stream, "StreamDeliveredFrameCount"), 3);
  EXPECT_EQ(Integer(stream, "StreamDeliveredFrameCount"),
            static_cast<int64_t>(StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED)));
  EXPECT_EQ(Integer(stream, "StreamStartedFrameCount"),
            static_cast<int64_t>(StreamInfo<uint64_t>(STREAM_INFO_NUM_STARTED)));
  EXPECT_EQ(Integer(stream, "StreamLostFrameCount"),
            static_cast<int64_t>(StreamInfo<uint64_t>(STREAM_INFO_NUM_UNDERRUN)));
  EXPECT_EQ(Integer(stream, "StreamInputBufferCount"),
            static_cast<int64_t>(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED)));
  EXPECT_EQ(Integer(stream, "StreamInputBufferCount"), 1);
  EXPECT_EQ(Integer(stream, "StreamOutputBufferCount"), 3);
  EXPECT_EQ(Integer(stream, "StreamOutputBufferCount"),
            static_cast<int64_t>(StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY)));
  EXPECT_EQ(Integer(stream, "PayloadSize"), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NE(NextBuffer(), nullptr);
  }
  EXPECT_EQ(Integer(stream, "StreamOutputBufferCount"), 0);
  EXPECT_EQ(Integer(stream, "PayloadSize"), 0);
  EXPECT_EQ(Integer(stream, "StreamDeliveredFrameCount"), 3);
}

class ProducerGenApiCameraTest : public ProducerGenApiTest {
 protected:
  // The open camera set to a 640 x 480 Mono16 Grid in region 0, and its open stream.
  void SetUp() override {
    ProducerGenApiTest::SetUp();
    ASSERT_NO_FATAL_FAILURE(OpenCamera());
    camera_ = LoadCamera();
    ASSERT_NE(camera_, nullptr);
    ASSERT_EQ(SetInteger(camera_, "Width", 640), "");
    ASSERT_EQ(SetInteger(camera_, "Height", 480), "");
    ASSERT_EQ(SetEnumeration(camera_, "PixelFormat", "Mono16"), "");
    ASSERT_EQ(SetEnumeration(camera_, "TestPattern", "Grid"), "");
    ASSERT_NO_FATAL_FAILURE(OpenStream());
  }

  // Runs an acquisition of `frames` frames into `buffers` buffers of PayloadSize and returns the
  // delivered buffers in order.
  std::vector<void*> Acquire(int frames, int buffers) {
    std::vector<void*> delivered;
    AnnounceAndQueue(buffers, Integer(camera_, "PayloadSize"));
    EXPECT_EQ(ExecuteCommand(camera_, "AcquisitionStart"), "");
    EXPECT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, frames), GC_ERR_SUCCESS);
    for (int i = 0; i < buffers; ++i) {
      delivered.push_back(NextBuffer());
    }
    EXPECT_EQ(ExecuteCommand(camera_, "AcquisitionStop"), "");
    EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
    return delivered;
  }

  // Checks that `buffer` holds a full payload of a `width` x `height` Mono16 image.
  void ExpectImage(void* buffer, size_t width, size_t height) {
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED),
              static_cast<size_t>(kSensorPayloadMono16));
    EXPECT_EQ(BufferInfo<size_t>(buffer, BUFFER_INFO_WIDTH), width);
    EXPECT_EQ(BufferInfo<size_t>(buffer, BUFFER_INFO_HEIGHT), height);
    EXPECT_EQ(BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT), kMono16);
  }

  ArvGc* camera_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(RegisterCache, ProducerGenApiCameraTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? "Enabled" : "Disabled";
                         });

TEST_P(ProducerGenApiCameraTest, RemoteDeviceReadsItsSettings) {
  EXPECT_EQ(String(camera_, "DeviceVendorName"), "Vantora");
  EXPECT_EQ(Integer(camera_, "Width"), 640);
  EXPECT_EQ(Integer(camera_, "Height"), 480);
  EXPECT_EQ(Entry(camera_, "PixelFormat"), "Mono16");
  EXPECT_EQ(EntryValue(camera_, "PixelFormat"), static_cast<int64_t>(kMono16));
  EXPECT_EQ(Entry(camera_, "TestPattern"), "Grid");
}

// PayloadSize follows the sensor and the pixel format, not the region.
TEST_P(ProducerGenApiCameraTest, PayloadSizeAgreesWithTheStream) {
  EXPECT_EQ(Integer(camera_, "PayloadSize"), kSensorPayloadMono16);
  EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE),
            static_cast<size_t>(kSensorPayloadMono16));
  ASSERT_EQ(SetEnumeration(camera_, "PixelFormat", "Mono8"), "");
  EXPECT_EQ(Integer(camera_, "PayloadSize"), kSensorPayloadMono16 / 2);
  EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_PAYLOAD_SIZE),
            static_cast<size_t>(kSensorPayloadMono16 / 2));
}

TEST_P(ProducerGenApiCameraTest, AcquisitionDeliversTheConfiguredImages) {
  std::vector<void*> buffers = Acquire(2, 2);
  ASSERT_EQ(buffers.size(), 2u);
  for (void* buffer : buffers) {
    ExpectImage(buffer, 640, 480);
  }
  EXPECT_EQ(StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED), 2u);
}

// A second region set through RegionSelector gives a second buffer per frame.
TEST_P(ProducerGenApiCameraTest, TwoRegionsGiveTwoBuffersPerFrame) {
  ASSERT_EQ(SetEnumeration(camera_, "RegionSelector", "Region1"), "");
  ASSERT_EQ(SetInteger(camera_, "Width", 320), "");
  ASSERT_EQ(SetInteger(camera_, "Height", 200), "");
  ASSERT_EQ(SetInteger(camera_, "OffsetX", 16), "");
  ASSERT_EQ(SetEnumeration(camera_, "RegionMode", "On"), "");
  ASSERT_EQ(SetEnumeration(camera_, "RegionSelector", "Region0"), "");
  EXPECT_EQ(Integer(camera_, "Width"), 640);
  std::vector<void*> buffers = Acquire(1, 2);
  ASSERT_EQ(buffers.size(), 2u);
  ExpectImage(buffers[0], 640, 480);
  ExpectImage(buffers[1], 320, 200);
  EXPECT_EQ(BufferInfo<size_t>(buffers[1], BUFFER_INFO_XOFFSET), 16u);
}

}  // namespace
