// Fixture for streaming from emulated USB3 Vision cameras through the GenTL API: opens the
// camera's data stream, announces and queues buffers, starts the camera and the stream, takes
// frames from the new-buffer event and checks their pixels against the camera's test pattern.
#pragma once

#include <bit>
#include <cstring>
#include <vector>

#include "U3vConsumer.h"
#include "sim/PatternGenerators.h"
#include "tcU3vRegisters.h"

class U3vStreamingTest : public U3vConsumerTest {
 public:
  using ConsumerTest::Lib;  // the free helpers of the cases use the library too
  using R = tcU3vRegisters;
  static constexpr uint32_t kMono8 = 0x01080001;

  // One camera with a `width` x `height` Mono8 sensor, sending at `fps`.
  struct tsStream {
    void* device = nullptr;
    void* port = nullptr;
    void* stream = nullptr;
    void* event = nullptr;
    std::vector<void*> buffers;
    size_t payload = 0;
    size_t camera = 0;
    uint32_t width = 0;
    uint32_t height = 0;
  };

  static tsU3vCameraOptions Sized(uint32_t width, uint32_t height,
                                  const std::string& guid = "U3VEMU0001") {
    tsU3vCameraOptions options = Camera(guid);
    options.serial = guid;
    options.width = width;
    options.height = height;
    return options;
  }

  // Plugs and opens the camera, opens its stream, announces `count` buffers of the payload size
  // and queues them.
  tsStream Open(const tsU3vCameraOptions& options, int count, float fps = 1000.0f) {
    tsStream s;
    s.camera = Plug(options);
    s.width = options.width;
    s.height = options.height;
    if (interface_ == nullptr) OpenU3V();
    Update();
    s.device = OpenDevice(options.guid);
    s.port = Remote(s.device);
    EXPECT_EQ(WriteU32(s.port, R::kFrameRate, std::bit_cast<uint32_t>(fps)), GenTL::GC_ERR_SUCCESS);
    char id[64] = "";
    size_t size = sizeof id;
    EXPECT_EQ(Lib().DevGetDataStreamID(s.device, 0, id, &size), GenTL::GC_ERR_SUCCESS);
    EXPECT_EQ(Lib().DevOpenDataStream(s.device, id, &s.stream), GenTL::GC_ERR_SUCCESS);
    s.payload = Info<size_t>(s.stream, GenTL::STREAM_INFO_PAYLOAD_SIZE);
    for (int i = 0; i < count; ++i) {
      void* buffer = nullptr;
      EXPECT_EQ(Lib().DSAllocAndAnnounceBuffer(s.stream, s.payload, nullptr, &buffer),
                GenTL::GC_ERR_SUCCESS);
      EXPECT_EQ(Lib().DSQueueBuffer(s.stream, buffer), GenTL::GC_ERR_SUCCESS);
      s.buffers.push_back(buffer);
    }
    EXPECT_EQ(Lib().GCRegisterEvent(s.stream, GenTL::EVENT_NEW_BUFFER, &s.event),
              GenTL::GC_ERR_SUCCESS);
    return s;
  }

  // Starts the stream, then the camera's acquisition.
  void Start(const tsStream& s) {
    ASSERT_EQ(Lib().DSStartAcquisition(s.stream, GenTL::ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
              GenTL::GC_ERR_SUCCESS);
    ASSERT_EQ(WriteU32(s.port, R::kAcquisitionStart, 1), GenTL::GC_ERR_SUCCESS);
  }

  // Stops the stream's acquisition.
  void Stop(const tsStream& s) {
    EXPECT_EQ(Lib().DSStopAcquisition(s.stream, GenTL::ACQ_STOP_FLAGS_DEFAULT),
              GenTL::GC_ERR_SUCCESS);
  }

  // The next delivered buffer, or null when none comes within `timeoutMs`.
  void* Next(const tsStream& s, uint64_t timeoutMs = 3000,
             GenTL::GC_ERROR expected = GenTL::GC_ERR_SUCCESS) {
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    GenTL::GC_ERROR result = Lib().EventGetData(s.event, &data, &size, timeoutMs);
    EXPECT_EQ(result, expected);
    return result == GenTL::GC_ERR_SUCCESS ? data.BufferHandle : nullptr;
  }

  // Takes `frames` frames and requeues each; every one must be complete, numbered from `first`
  // and hold the test pattern.
  void Receive(const tsStream& s, int frames, uint64_t first = 0) {
    std::vector<uint8_t> pattern = Pattern(s.width, s.height);
    for (int i = 0; i < frames; ++i) {
      void* buffer = Next(s);
      ASSERT_NE(buffer, nullptr) << "frame " << i;
      ASSERT_EQ(BufferInfo<uint64_t>(s.stream, buffer, GenTL::BUFFER_INFO_FRAMEID), first + i);
      ASSERT_EQ(BufferInfo<GenTL::bool8_t>(s.stream, buffer, GenTL::BUFFER_INFO_IS_INCOMPLETE), 0);
      ASSERT_EQ(BufferInfo<size_t>(s.stream, buffer, GenTL::BUFFER_INFO_SIZE_FILLED), s.payload);
      ASSERT_TRUE(Holds(s, buffer, pattern, first + i)) << "frame " << i;
      ASSERT_EQ(Lib().DSQueueBuffer(s.stream, buffer), GenTL::GC_ERR_SUCCESS);
    }
  }

  // Requeues what is still delivered, each within 300 ms of the last; returns how many.
  int Drain(const tsStream& s) {
    int count = 0;
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    while (Lib().EventGetData(s.event, &data, &size, 300) == GenTL::GC_ERR_SUCCESS) {
      EXPECT_EQ(Lib().DSQueueBuffer(s.stream, data.BufferHandle), GenTL::GC_ERR_SUCCESS);
      ++count;
      size = sizeof data;
    }
    return count;
  }

  template <typename T>
  T Info(void* stream, int32_t command) {
    T value{};
    size_t size = sizeof value;
    int32_t type = 0;
    EXPECT_EQ(Lib().DSGetInfo(stream, command, &type, &value, &size), GenTL::GC_ERR_SUCCESS);
    return value;
  }
  template <typename T>
  T BufferInfo(void* stream, void* buffer, int32_t command) {
    T value{};
    size_t size = sizeof value;
    int32_t type = 0;
    EXPECT_EQ(Lib().DSGetBufferInfo(stream, buffer, command, &type, &value, &size),
              GenTL::GC_ERR_SUCCESS);
    return value;
  }

  // The camera's horizontal ramp for a `width` x `height` Mono8 image, without the frame counter.
  static std::vector<uint8_t> Pattern(uint32_t width, uint32_t height) {
    tsPatternParams params;
    params.pixelFormat = kMono8;
    params.width = params.sensorWidth = width;
    params.height = params.sensorHeight = height;
    std::vector<uint8_t> image(size_t{width} * height);
    MakePatternGenerators()[kPatternHorizontalRamp]->Draw(params, image.data(), image.size());
    return image;
  }

  // True when `buffer` holds `pattern` with `frame` in its first 8 bytes.
  bool Holds(const tsStream& s, void* buffer, const std::vector<uint8_t>& pattern, uint64_t frame) {
    auto* base = BufferInfo<uint8_t*>(s.stream, buffer, GenTL::BUFFER_INFO_BASE);
    uint64_t counter = 0;
    memcpy(&counter, base, sizeof counter);
    return counter == frame && memcmp(base + 8, pattern.data() + 8, pattern.size() - 8) == 0;
  }

  // Announced buffers = input + output + delivered but not yet requeued (`held`).
  void ExpectAllAccountedFor(const tsStream& s, size_t held) {
    size_t announced = Info<size_t>(s.stream, GenTL::STREAM_INFO_NUM_ANNOUNCED);
    size_t queued = Info<size_t>(s.stream, GenTL::STREAM_INFO_NUM_QUEUED);
    size_t waiting = Info<size_t>(s.stream, GenTL::STREAM_INFO_NUM_AWAIT_DELIVERY);
    EXPECT_EQ(announced, s.buffers.size());
    EXPECT_EQ(queued + waiting + held, announced)
        << "queued " << queued << ", waiting " << waiting << ", held " << held;
  }
};
