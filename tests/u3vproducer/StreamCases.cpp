// The U3V data stream through the GenTL API: the streaming registers as programmed for each
// range of payload sizes, every frame's pixels and counter, incomplete frames, endpoint faults,
// unplugging, stop, flush, revoke and close while transfers are in flight, and two cameras at
// once on the shared event thread.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "U3vStreaming.h"

using namespace GenTL;

namespace {

using StreamU3V = U3vStreamingTest;
constexpr char kEventThread[] = "gentl-u3v-event";

// Takes `frames` frames and requeues each; every one must be complete, numbered from `first`
// and hold the test pattern.
void Receive(StreamU3V& test, const StreamU3V::tsStream& s, uint32_t width, uint32_t height,
             int frames, uint64_t first = 0) {
  std::vector<uint8_t> pattern = StreamU3V::Pattern(width, height);
  for (int i = 0; i < frames; ++i) {
    void* buffer = test.Next(s);
    ASSERT_NE(buffer, nullptr) << "frame " << i;
    ASSERT_EQ(test.BufferInfo<uint64_t>(s.stream, buffer, BUFFER_INFO_FRAMEID), first + i);
    ASSERT_EQ(test.BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IS_INCOMPLETE), 0);
    ASSERT_EQ(test.BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_SIZE_FILLED), s.payload);
    ASSERT_TRUE(test.Holds(s, buffer, pattern, first + i)) << "frame " << i;
    ASSERT_EQ(test.Lib().DSQueueBuffer(s.stream, buffer), GC_ERR_SUCCESS);
  }
}

uint64_t Sirm(StreamU3V& test, uint64_t address) {
  return test.Emulated().Register(address);
}

TEST_F(StreamU3V, TheCameraHasOneStreamThatAnswersItsPayloadSizeAndAnnounceMinimum) {
  tsStream s = Open(Sized(64, 8), 1);
  uint32_t count = 0;
  EXPECT_EQ(Lib().DevGetNumDataStreams(s.device, &count), GC_ERR_SUCCESS);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(s.payload, 512u);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_BUF_ANNOUNCE_MIN), 1u);
  size_t small = 4;
  int32_t type = 0;
  uint64_t value = 0;
  EXPECT_EQ(Lib().DSGetInfo(s.stream, STREAM_INFO_PAYLOAD_SIZE, &type, &value, &small),
            GC_ERR_BUFFER_TOO_SMALL);
  char tlType[16] = "";
  size_t size = sizeof tlType;
  EXPECT_EQ(Lib().DSGetInfo(s.stream, STREAM_INFO_TLTYPE, &type, tlType, &size), GC_ERR_SUCCESS);
  EXPECT_STREQ(tlType, "U3V");
}

TEST_F(StreamU3V, BelowOneKibTheFinalTransferLandsInTheScratchBlockAndIsCopied) {
  tsStream s = Open(Sized(16, 16), 4);
  ASSERT_EQ(s.payload, 0x100u);
  Start(s);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferSize), 0u);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferCount), 1u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer1Size), 1024u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer2Size), 0u);
  EXPECT_EQ(Sirm(*this, R::kSiControl), 1u);
  Receive(*this, s, 16, 16, 20);
}

TEST_F(StreamU3V, ExactlyEightMibIsOneTransfer) {
  tsStream s = Open(Sized(4096, 2048), 4);
  ASSERT_EQ(s.payload, 0x800000u);
  Start(s);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferSize), 0x800000u);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferCount), 1u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer1Size), 0u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer2Size), 0u);
  Receive(*this, s, 4096, 2048, 20);
}

TEST_F(StreamU3V, AboveSixteenMibIsTwoTransfersAndAFinalInTheBuffer) {
  tsStream s = Open(Sized(5120, 3277), 3);
  ASSERT_EQ(s.payload, 0x1000400u);
  Start(s);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferSize), 0x800000u);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferCount), 2u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer1Size), 0x400u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer2Size), 0u);
  Receive(*this, s, 5120, 3277, 20);
}

// A thousand frames end to end for each range of payload sizes. The large ones are bound by the
// emulation's bulk rate (tens of seconds), hence Slow: they run on their own.
TEST_F(StreamU3V, AThousandFramesBelowOneKib) {
  tsStream s = Open(Sized(16, 16), 4);
  Start(s);
  Receive(*this, s, 16, 16, 1000);
}

TEST_F(StreamU3V, AThousandFramesOfExactlyEightMibSlow) {
  tsStream s = Open(Sized(4096, 2048), 4);
  ASSERT_EQ(s.payload, 0x800000u);
  Start(s);
  Receive(*this, s, 4096, 2048, 1000);
}

TEST_F(StreamU3V, AThousandFramesAboveSixteenMibSlow) {
  tsStream s = Open(Sized(5120, 3277), 3);
  ASSERT_EQ(s.payload, 0x1000400u);
  Start(s);
  Receive(*this, s, 5120, 3277, 1000);
}

TEST_F(StreamU3V, ASecondFinalTransferIsCopiedFromTheScratchBlock) {
  tsStream s = Open(Sized(4100, 2047), 3);
  ASSERT_EQ(s.payload, 0x800FFCu);
  Start(s);
  EXPECT_EQ(Sirm(*this, R::kSiPayloadTransferCount), 1u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer1Size), 0xC00u);
  EXPECT_EQ(Sirm(*this, R::kSiFinalTransfer2Size), 1024u);
  Receive(*this, s, 4100, 2047, 20);
}

TEST_F(StreamU3V, ARequiredLeaderSizeOfTwentyWritesFiftyTwo) {
  tsU3vCameraOptions options = Sized(64, 8);
  options.requiredLeaderSize = 20;
  options.requiredTrailerSize = 8;
  tsStream s = Open(options, 2);
  Start(s);
  EXPECT_EQ(Sirm(*this, R::kSiMaxLeaderSize), 52u);
  EXPECT_EQ(Sirm(*this, R::kSiMaxTrailerSize), 32u);
  Receive(*this, s, 64, 8, 5);
}

TEST_F(StreamU3V, ATrailerWithAStatusDeliversTheBufferIncomplete) {
  tsStream s = Open(Sized(64, 8), 2);
  Emulated().SetTrailerStatus(0xA101);
  Start(s);
  void* buffer = Next(s);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IS_INCOMPLETE), 1);
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_SIZE_FILLED), 512u);
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_WIDTH), 64u);
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_HEIGHT), 8u);
  EXPECT_EQ(BufferInfo<uint64_t>(s.stream, buffer, BUFFER_INFO_PIXELFORMAT), kMono8);
  EXPECT_EQ(BufferInfo<uint64_t>(s.stream, buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE),
            uint64_t{PIXELFORMAT_NAMESPACE_PFNC_32BIT});
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_PAYLOADTYPE), 1u);
  EXPECT_EQ(BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IMAGEPRESENT), 1);
}

TEST_F(StreamU3V, AFailedPayloadTransferMarksOnlyItsFrameIncomplete) {
  tsStream s = Open(Sized(64, 8), 2);
  Emulated().FailPayloads(1);
  StderrCapture capture;
  Start(s);
  void* buffer = Next(s);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IS_INCOMPLETE), 1);
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_SIZE_FILLED), 0u);
  ASSERT_EQ(Lib().DSQueueBuffer(s.stream, buffer), GC_ERR_SUCCESS);
  Receive(*this, s, 64, 8, 5, 1);
  EXPECT_TRUE(HasLogLine(capture.Text(),
                         R"(gentl: error \[tcDataStreamU3V::OnPayload\] Error in payload )"
                         R"(transfer, status = 1)"))
      << capture.Text();
}

TEST_F(StreamU3V, AShortPayloadTransferMarksItsFrameIncomplete) {
  tsStream s = Open(Sized(64, 8), 2);
  Emulated().ShortenPayloads(1);
  Start(s);
  void* buffer = Next(s);
  ASSERT_NE(buffer, nullptr);
  EXPECT_EQ(BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IS_INCOMPLETE), 1);
  EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_SIZE_FILLED), 256u);
}

TEST_F(StreamU3V, AHaltedEndpointStopsDeliveryUntilTheNextStart) {
  tsStream s = Open(Sized(64, 8), 3);
  Start(s);
  Receive(*this, s, 64, 8, 3);
  Bench().HaltStream(s.camera);
  // Frames finished before the halt may still arrive; requeued, they meet the stalled endpoint.
  EXPECT_LE(Drain(s), 3);
  EXPECT_EQ(Next(s, 300, GC_ERR_TIMEOUT), nullptr);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  ExpectAllAccountedFor(s, 0);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 3u);
  // The next start clears the halt; the camera dropped the frame it was sending.
  uint64_t next = Emulated().FramesSent();
  Start(s);
  Receive(*this, s, 64, 8, 3, next);
}

TEST_F(StreamU3V, UnplugDuringStreamingLosesNoBufferAndClosesCleanly) {
  tsStream s = Open(Sized(640, 480), 4);
  Start(s);
  Receive(*this, s, 640, 480, 10);
  Bench().Unplug(s.camera);
  EXPECT_LE(Drain(s), 4);
  EXPECT_EQ(Next(s, 300, GC_ERR_TIMEOUT), nullptr);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  ExpectAllAccountedFor(s, 0);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 4u);
  EXPECT_EQ(Lib().DevClose(s.device), GC_ERR_SUCCESS);
  EXPECT_EQ(WaitForThreads(kEventThread, 0), 0);
}

TEST_F(StreamU3V, StopWithTransfersInFlightKeepsEveryBuffer) {
  tsStream s = Open(Sized(640, 480), 5, 100.0f);
  Start(s);
  Receive(*this, s, 640, 480, 3);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  EXPECT_EQ(Sirm(*this, R::kSiControl), 0u);
  ExpectAllAccountedFor(s, 0);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED) +
                Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY),
            5u);
  // A stopped stream starts again where the camera stands.
  uint64_t next = Emulated().FramesSent();
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
  Start(s);
  Receive(*this, s, 640, 480, 3, next);
}

TEST_F(StreamU3V, FlushingTheInputWhileAcquiringCancelsItsTransfers) {
  tsStream s = Open(Sized(640, 480), 4, 10.0f);
  Start(s);
  Receive(*this, s, 640, 480, 1);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  ExpectAllAccountedFor(s, 4);
}

TEST_F(StreamU3V, FlushingInputToOutputDeliversTheQueuedBuffersUnfilled) {
  tsStream s = Open(Sized(640, 480), 3, 1.0f);
  Start(s);
  Receive(*this, s, 640, 480, 1);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
  for (int i = 0; i < 3; ++i)
    EXPECT_NE(Next(s, 1000), nullptr);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  ExpectAllAccountedFor(s, 3);
}

TEST_F(StreamU3V, RevokingABufferWithTransfersInFlightIsBusy) {
  tsStream s = Open(Sized(640, 480), 2, 1.0f);
  Start(s);
  EXPECT_EQ(Lib().DSRevokeBuffer(s.stream, s.buffers[1], nullptr, nullptr), GC_ERR_BUSY);
  EXPECT_EQ(Lib().DSStopAcquisition(s.stream, ACQ_STOP_FLAGS_DEFAULT), GC_ERR_SUCCESS);
  ExpectAllAccountedFor(s, 0);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  EXPECT_EQ(Lib().DSRevokeBuffer(s.stream, s.buffers[1], nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_ANNOUNCED), 1u);
}

TEST_F(StreamU3V, ClosingTheDeviceWithTransfersInFlightCancelsThem) {
  tsStream s = Open(Sized(640, 480), 4, 5.0f);
  Start(s);
  Receive(*this, s, 640, 480, 1);
  EXPECT_GT(Bench().UrbsInFlight(s.camera), 0u);
  auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(Lib().DevClose(s.device), GC_ERR_SUCCESS);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  EXPECT_EQ(WaitForThreads(kEventThread, 0), 0);
}

TEST_F(StreamU3V, TwoCamerasStreamAtOnceThroughOneEventThread) {
  tsStream first = Open(Sized(640, 480, "U3VEMU0001"), 4);
  tsStream second = Open(Sized(320, 240, "U3VEMU0002"), 4);
  EXPECT_EQ(ThreadsNamed(kEventThread), 1);
  Start(first);
  Start(second);
  std::thread other([&] { Receive(*this, second, 320, 240, 300); });
  Receive(*this, first, 640, 480, 300);
  other.join();
  EXPECT_EQ(ThreadsNamed(kEventThread), 1);
  EXPECT_EQ(Lib().DevClose(first.device), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(second.device), GC_ERR_SUCCESS);
}

}  // namespace
