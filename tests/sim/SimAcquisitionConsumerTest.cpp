// Acquisitions on the simulated camera through the exported API: full cycles, frame budgets,
// regions, waiting for buffers, stopping and closing while acquiring. Run serially: their
// timing expectations (frame periods) assume the machine is not shared with other tests.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

#include "support/SimConsumer.h"
#include "support/StderrCapture.h"

using namespace GenTL;
using Clock = std::chrono::steady_clock;

namespace {

class SimAcquisition : public SimStreamConsumerTest {
 protected:
  void SetUp() override {
    SimStreamConsumerTest::SetUp();
    payload_ = StreamInfo<size_t>(stream_, STREAM_INFO_PAYLOAD_SIZE);
  }

  bool Grabbing() { return StreamInfo<bool8_t>(stream_, STREAM_INFO_IS_GRABBING); }

  // Waits until the frame thread has ended by itself.
  bool WaitForIdle(std::chrono::seconds limit) {
    auto end = Clock::now() + limit;
    while (Grabbing() && Clock::now() < end)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return !Grabbing();
  }

  size_t payload_ = 0;
};

TEST_F(SimAcquisition, FullCycleDeliversFilledBuffersWithMetadata) {
  ASSERT_EQ(payload_, 1920u * 1080u);
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 1000), GC_ERR_SUCCESS);
  std::vector<void*> buffers = QueueBuffers(stream_, 4, payload_);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_RESOURCE_IN_USE);
  uint64_t lastFrame = 0;
  for (int i = 0; i < 10; ++i) {
    void* buffer = NextBuffer(event_, 5000);
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_SIZE_FILLED), payload_);
    EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_WIDTH), 1920u);
    EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_HEIGHT), 1080u);
    EXPECT_EQ(BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_PIXELFORMAT), 0x01080001u);
    EXPECT_EQ(BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE), 4u);
    EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_PAYLOADTYPE), 1u);
    uint64_t frame = BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_FRAMEID);
    EXPECT_EQ(frame, lastFrame + 1);
    lastFrame = frame;
    EXPECT_EQ(BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_TIMESTAMP),
              BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_TIMESTAMP_NS));
    EXPECT_FALSE(BufferInfo<bool8_t>(stream_, buffer, BUFFER_INFO_IS_QUEUED));
    ASSERT_EQ(Lib().DSQueueBuffer(stream_, buffer), GC_ERR_SUCCESS);
  }
  EXPECT_TRUE(Grabbing());
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_FALSE(Grabbing());
  uint64_t delivered = StreamInfo<uint64_t>(stream_, STREAM_INFO_NUM_DELIVERED);
  EXPECT_GE(delivered, 10u);
  EXPECT_EQ(StreamInfo<uint64_t>(stream_, STREAM_INFO_NUM_STARTED), delivered);
  EXPECT_EQ(StreamInfo<uint64_t>(stream_, STREAM_INFO_NUM_UNDERRUN), 0u);
  EXPECT_EQ(Lib().DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  for (void* buffer : buffers)
    EXPECT_EQ(Lib().DSRevokeBuffer(stream_, buffer, nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCUnregisterEvent(stream_, EVENT_NEW_BUFFER), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSClose(stream_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().IFClose(interface_), GC_ERR_SUCCESS);
}

TEST_F(SimAcquisition, TwoRegionsAndABudgetOfThreeGiveSixBuffersTwoPerPeriod) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 40000), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kRegionSelector, 1), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kWidth, 320), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kHeight, 200), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kOffsetX, 16), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kOffsetY, 8), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kRegionMode, 1), GC_ERR_SUCCESS);
  QueueBuffers(stream_, 8, payload_);
  StderrCapture capture;
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 3), GC_ERR_SUCCESS);
  std::vector<uint64_t> stamps;
  for (int i = 0; i < 6; ++i) {
    void* buffer = NextBuffer(event_, 5000);
    ASSERT_NE(buffer, nullptr);
    size_t width = BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_WIDTH);
    EXPECT_EQ(width, i % 2 == 0 ? 1920u : 320u) << i;
    if (i % 2 == 1) {
      EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_XOFFSET), 16u);
      EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_YOFFSET), 8u);
    }
    stamps.push_back(BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_TIMESTAMP));
  }
  ASSERT_TRUE(WaitForIdle(std::chrono::seconds(10)));
  std::string log = capture.Text();
  for (int period = 0; period < 3; ++period) {
    EXPECT_EQ(stamps[2 * period], stamps[2 * period + 1]) << "two buffers per period";
  }
  EXPECT_GE(stamps[2] - stamps[0], 30000000u);
  NextBuffer(event_, 100, GC_ERR_TIMEOUT);
  EXPECT_EQ(StreamInfo<uint64_t>(stream_, STREAM_INFO_NUM_DELIVERED), 6u);
  EXPECT_TRUE(HasLogLine(
      log, R"(gentl: info \[tcDataStreamSIM::AcquistionThread\] Region 1 16x8\+320\+200)"))
      << log.substr(0, 3000);
  EXPECT_FALSE(HasLogLine(log, R"(gentl: info \[tcDataStreamSIM::AcquistionThread\] Region 2 .*)"));
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  EXPECT_NE(NextBuffer(event_, 5000), nullptr);
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(SimAcquisition, WithoutQueuedBuffersNothingIsDeliveredAndStopIsPrompt) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 1000), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  NextBuffer(event_, 100, GC_ERR_TIMEOUT);
  EXPECT_EQ(StreamInfo<uint64_t>(stream_, STREAM_INFO_NUM_DELIVERED), 0u);
  auto start = Clock::now();
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
  EXPECT_FALSE(Grabbing());
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(SimAcquisition, StopDuringALongFramePeriodIsPrompt) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 10000000), GC_ERR_SUCCESS);
  QueueBuffers(stream_, 2, payload_);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_NE(NextBuffer(event_, 5000), nullptr);
  auto start = Clock::now();
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
}

TEST_F(SimAcquisition, ABufferSmallerThanThePayloadIsDeliveredWithItsMetadataUnchanged) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 1000), GC_ERR_SUCCESS);
  std::vector<void*> buffers = QueueBuffers(stream_, 1, payload_ - 1);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  void* buffer = NextBuffer(event_, 5000);
  EXPECT_EQ(buffer, buffers[0]);
  EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_SIZE_FILLED), 0u);
  EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_WIDTH), 0u);
  EXPECT_EQ(BufferInfo<uint64_t>(stream_, buffer, BUFFER_INFO_FRAMEID), 0u);
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

TEST_F(SimAcquisition, AFramePeriodOfZeroDeliversAsFastAsBuffersAreQueued) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 0), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kWidth, 64), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kHeight, 64), GC_ERR_SUCCESS);
  QueueBuffers(stream_, 4, payload_);
  auto start = Clock::now();
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 200), GC_ERR_SUCCESS);
  for (int i = 0; i < 200; ++i) {
    void* buffer = NextBuffer(event_, 5000);
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(Lib().DSQueueBuffer(stream_, buffer), GC_ERR_SUCCESS);
  }
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(20)) << "200 periods of 0 us";
  ASSERT_TRUE(WaitForIdle(std::chrono::seconds(10)));
}

TEST_F(SimAcquisition, PayloadSizeRegisterStreamInfoAndSizeFilledAgree) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 1000), GC_ERR_SUCCESS);
  ASSERT_EQ(WriteU32(port_, simcam::kPixelFormat, 0x02180014), GC_ERR_SUCCESS);  // RGB8
  ASSERT_EQ(WriteU32(port_, simcam::kWidth, 333), GC_ERR_SUCCESS);
  size_t payload = StreamInfo<size_t>(stream_, STREAM_INFO_PAYLOAD_SIZE);
  EXPECT_EQ(payload, ReadU32(port_, simcam::kPayloadSize));
  EXPECT_EQ(payload, 1920u * 1080u * 3);
  QueueBuffers(stream_, 1, payload);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, 1), GC_ERR_SUCCESS);
  void* buffer = NextBuffer(event_, 5000);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_SIZE_FILLED), payload);
  EXPECT_EQ(BufferInfo<size_t>(stream_, buffer, BUFFER_INFO_WIDTH), 333u);
}

TEST_F(SimAcquisition, ClosingTheStreamWhileAcquiringStopsTheThreadFirst) {
  ASSERT_EQ(WriteU32(port_, simcam::kFramePeriod, 1000), GC_ERR_SUCCESS);
  QueueBuffers(stream_, 2, payload_);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_NE(NextBuffer(event_, 5000), nullptr);
  EXPECT_EQ(Lib().DSClose(stream_), GC_ERR_SUCCESS);
  EXPECT_FALSE(Grabbing());
  EXPECT_EQ(StreamInfo<size_t>(stream_, STREAM_INFO_NUM_ANNOUNCED), 0u);
}

TEST_F(SimAcquisition, ClosingTheDeviceWhileAcquiringStopsTheThreadFirst) {
  QueueBuffers(stream_, 2, payload_);
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  EXPECT_EQ(OpenDevice(), device_);
}

TEST_F(SimAcquisition, ClosingTheSystemOrTheLibraryWhileAcquiringStopsTheThreadFirst) {
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().TLClose(system_), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().TLOpen(&system_), GC_ERR_SUCCESS);
  UpdateInterfaces();
  interface_ = OpenInterface("Simulated");
  stream_ = OpenStream(OpenDevice());
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().GCCloseLib(), GC_ERR_SUCCESS);
}

TEST_F(SimAcquisition, KillWakesAConsumerWaitingForever) {
  ASSERT_EQ(Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE),
            GC_ERR_SUCCESS);
  GC_ERROR result = GC_ERR_SUCCESS;
  std::atomic<bool> entering{false};
  std::thread waiter([&] {
    void* data[2];
    size_t size = sizeof data;
    entering.store(true);
    result = Lib().EventGetData(event_, data, &size, GENTL_INFINITE);
  });
  // A kill ends the pending wait or, should the waiter not be inside yet, its next one: the
  // result is the same either way.
  while (!entering.load())
    std::this_thread::yield();
  EXPECT_EQ(Lib().EventKill(event_), GC_ERR_SUCCESS);
  waiter.join();
  EXPECT_EQ(result, GC_ERR_ABORT);
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
}

}  // namespace

namespace {

// A consumer that exits while acquiring, without TLClose or GCCloseLib, must not crash.
TEST_F(SimAcquisition, ExitingWithoutClosingAnythingEndsCleanly) {
  QueueBuffers(stream_, 2, payload_);
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    GenTL::GC_ERROR started = Lib().DSStartAcquisition(stream_, 0, GENTL_INFINITE);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    exit(started == GC_ERR_SUCCESS ? 0 : 3);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
