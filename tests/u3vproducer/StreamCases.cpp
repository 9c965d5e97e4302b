// The U3V data stream through the GenTL API: the streaming registers as programmed for each
// range of payload sizes, every frame's pixels and counter, incomplete frames, endpoint faults,
// unplugging, stop, flush, revoke and close while transfers are in flight, and two cameras at
// once on the shared event thread.
#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <thread>
#include <utility>

#include "U3vStreaming.h"

using namespace GenTL;

namespace {

constexpr char kEventThread[] = "gentl-u3v-event";

// A range of payload sizes: the sensor that gives it, the buffers announced and the payload.
struct tsRange {
  uint32_t width;
  uint32_t height;
  int buffers;
  size_t payload;
};
constexpr tsRange kBelowOneKib{16, 16, 4, 0x100};
constexpr tsRange kEightMib{4096, 2048, 4, 0x800000};
constexpr tsRange kAboveSixteenMib{5120, 3277, 3, 0x1000400};
constexpr tsRange kTwoFinals{4100, 2047, 3, 0x800FFC};

class StreamU3V : public U3vStreamingTest {
 protected:
  // Opens a camera of `range`, checks its payload size and starts the stream.
  void StartRange(const tsRange& range, tsStream* s) {
    *s = Open(Sized(range.width, range.height), range.buffers);
    ASSERT_EQ(s->payload, range.payload);
    Start(*s);
  }

  // The camera's registers at the addresses of `expected`, each with its value.
  void ExpectRegisters(std::initializer_list<std::pair<uint64_t, uint64_t>> expected) {
    for (const auto& [address, value] : expected)
      EXPECT_EQ(Emulated().Register(address), value) << "register 0x" << std::hex << address;
  }

  // The streaming registers of the payload: its transfers' size and count, and the sizes of the
  // two final transfers.
  void ExpectTransfers(uint64_t size, uint64_t count, uint64_t final1, uint64_t final2) {
    ExpectRegisters({{R::kSiPayloadTransferSize, size},
                     {R::kSiPayloadTransferCount, count},
                     {R::kSiFinalTransfer1Size, final1},
                     {R::kSiFinalTransfer2Size, final2}});
  }

  // `buffer` was delivered incomplete with `filled` bytes.
  void ExpectIncomplete(const tsStream& s, void* buffer, size_t filled) {
    EXPECT_EQ(BufferInfo<bool8_t>(s.stream, buffer, BUFFER_INFO_IS_INCOMPLETE), 1);
    EXPECT_EQ(BufferInfo<size_t>(s.stream, buffer, BUFFER_INFO_SIZE_FILLED), filled);
  }

  // Delivery has ended: what was on its way still comes (at most every buffer), then nothing.
  void ExpectDeliveryEnded(const tsStream& s) {
    EXPECT_LE(Drain(s), static_cast<int>(s.buffers.size()));
    EXPECT_EQ(Next(s, 300, GC_ERR_TIMEOUT), nullptr);
  }

  // Stops the stream; every buffer is back in the input queue.
  void StopWithEveryBufferQueued(const tsStream& s) {
    Stop(s);
    ExpectAllAccountedFor(s, 0);
    EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), s.buffers.size());
  }
};

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
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kBelowOneKib, &s));
  ExpectTransfers(0, 1, 1024, 0);
  ExpectRegisters({{R::kSiControl, 1}});
  Receive(s, 20);
}

TEST_F(StreamU3V, ExactlyEightMibIsOneTransfer) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kEightMib, &s));
  ExpectTransfers(0x800000, 1, 0, 0);
  Receive(s, 20);
}

TEST_F(StreamU3V, AboveSixteenMibIsTwoTransfersAndAFinalInTheBuffer) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kAboveSixteenMib, &s));
  ExpectTransfers(0x800000, 2, 0x400, 0);
  Receive(s, 20);
}

// A thousand frames end to end for each range of payload sizes. The large ones are bound by the
// emulation's bulk rate (tens of seconds), hence Slow: they run on their own.
TEST_F(StreamU3V, AThousandFramesBelowOneKib) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kBelowOneKib, &s));
  Receive(s, 1000);
}

TEST_F(StreamU3V, AThousandFramesOfExactlyEightMibSlow) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kEightMib, &s));
  Receive(s, 1000);
}

TEST_F(StreamU3V, AThousandFramesAboveSixteenMibSlow) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kAboveSixteenMib, &s));
  Receive(s, 1000);
}

TEST_F(StreamU3V, ASecondFinalTransferIsCopiedFromTheScratchBlock) {
  tsStream s;
  ASSERT_NO_FATAL_FAILURE(StartRange(kTwoFinals, &s));
  ExpectRegisters({{R::kSiPayloadTransferCount, 1},
                   {R::kSiFinalTransfer1Size, 0xC00},
                   {R::kSiFinalTransfer2Size, 1024}});
  Receive(s, 20);
}

TEST_F(StreamU3V, ARequiredLeaderSizeOfTwentyWritesFiftyTwo) {
  tsU3vCameraOptions options = Sized(64, 8);
  options.requiredLeaderSize = 20;
  options.requiredTrailerSize = 8;
  tsStream s = Open(options, 2);
  Start(s);
  ExpectRegisters({{R::kSiMaxLeaderSize, 52}, {R::kSiMaxTrailerSize, 32}});
  Receive(s, 5);
}

TEST_F(StreamU3V, ATrailerWithAStatusDeliversTheBufferIncomplete) {
  tsStream s = Open(Sized(64, 8), 2);
  Emulated().SetTrailerStatus(0xA101);
  Start(s);
  void* buffer = Next(s);
  ASSERT_NE(buffer, nullptr);
  ExpectIncomplete(s, buffer, 512);
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
  ExpectIncomplete(s, buffer, 0);
  ASSERT_EQ(Lib().DSQueueBuffer(s.stream, buffer), GC_ERR_SUCCESS);
  Receive(s, 5, 1);
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
  ExpectIncomplete(s, buffer, 256);
}

TEST_F(StreamU3V, AHaltedEndpointStopsDeliveryUntilTheNextStart) {
  tsStream s = Open(Sized(64, 8), 3);
  Start(s);
  Receive(s, 3);
  Bench().HaltStream(s.camera);
  // Frames finished before the halt may still arrive; requeued, they meet the stalled endpoint.
  ExpectDeliveryEnded(s);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  StopWithEveryBufferQueued(s);
  // The next start clears the halt; the camera dropped the frame it was sending.
  uint64_t next = Emulated().FramesSent();
  Start(s);
  Receive(s, 3, next);
}

TEST_F(StreamU3V, UnplugDuringStreamingLosesNoBufferAndClosesCleanly) {
  tsStream s = Open(Sized(640, 480), 4);
  Start(s);
  Receive(s, 10);
  Bench().Unplug(s.camera);
  ExpectDeliveryEnded(s);
  StopWithEveryBufferQueued(s);
  EXPECT_EQ(Lib().DevClose(s.device), GC_ERR_SUCCESS);
  EXPECT_EQ(WaitForThreads(kEventThread, 0), 0);
}

TEST_F(StreamU3V, StopWithTransfersInFlightKeepsEveryBuffer) {
  tsStream s = Open(Sized(640, 480), 5, 100.0f);
  Start(s);
  Receive(s, 3);
  Stop(s);
  ExpectRegisters({{R::kSiControl, 0}});
  ExpectAllAccountedFor(s, 0);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED) +
                Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY),
            5u);
  // A stopped stream starts again where the camera stands.
  uint64_t next = Emulated().FramesSent();
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_UNQUEUED_TO_INPUT), GC_ERR_SUCCESS);
  Start(s);
  Receive(s, 3, next);
}

TEST_F(StreamU3V, FlushingTheInputWhileAcquiringCancelsItsTransfers) {
  tsStream s = Open(Sized(640, 480), 4, 10.0f);
  Start(s);
  Receive(s, 1);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 0u);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  Stop(s);
  ExpectAllAccountedFor(s, 4);
}

TEST_F(StreamU3V, FlushingInputToOutputDeliversTheQueuedBuffersUnfilled) {
  tsStream s = Open(Sized(640, 480), 3, 1.0f);
  Start(s);
  Receive(s, 1);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_INPUT_TO_OUTPUT), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_QUEUED), 0u);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_AWAIT_DELIVERY), 3u);
  for (int i = 0; i < 3; ++i)
    EXPECT_NE(Next(s, 1000), nullptr);
  Stop(s);
  ExpectAllAccountedFor(s, 3);
}

TEST_F(StreamU3V, RevokingABufferWithTransfersInFlightIsBusy) {
  tsStream s = Open(Sized(640, 480), 2, 1.0f);
  Start(s);
  EXPECT_EQ(Lib().DSRevokeBuffer(s.stream, s.buffers[1], nullptr, nullptr), GC_ERR_BUSY);
  Stop(s);
  ExpectAllAccountedFor(s, 0);
  ASSERT_EQ(Lib().DSFlushQueue(s.stream, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
  EXPECT_EQ(Bench().UrbsInFlight(s.camera), 0u);
  EXPECT_EQ(Lib().DSRevokeBuffer(s.stream, s.buffers[1], nullptr, nullptr), GC_ERR_SUCCESS);
  EXPECT_EQ(Info<size_t>(s.stream, STREAM_INFO_NUM_ANNOUNCED), 1u);
}

TEST_F(StreamU3V, ClosingTheDeviceWithTransfersInFlightCancelsThem) {
  tsStream s = Open(Sized(640, 480), 4, 5.0f);
  Start(s);
  Receive(s, 1);
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
  std::thread other([&] { Receive(second, 300); });
  Receive(first, 300);
  other.join();
  EXPECT_EQ(ThreadsNamed(kEventThread), 1);
  EXPECT_EQ(Lib().DevClose(first.device), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DevClose(second.device), GC_ERR_SUCCESS);
}

}  // namespace
