// The GigE Vision stream through the GenTL functions, against gev-camera on the network test
// bench: packet size negotiation, both id forms, resend, the drops and their log lines, stop,
// restart and close while streaming, and no buffer ever lost.
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "support/GevStreamConsumer.h"
#include "support/StderrCapture.h"

namespace {

using namespace GenTL;

constexpr uint64_t kAboveThirtyTwoBits = 0x100000005ull;

class GevStreamTest : public GevStreamConsumerTest {
 protected:
  // Starts the camera (`arguments`, sensor `width` x `height`), opens device and stream.
  bool Prepare(std::vector<std::string> arguments, uint32_t width, uint32_t height,
               int mtu = tcNetBench::kJumboMtu) {
    arguments.insert(arguments.end(),
                     {"--width", std::to_string(width), "--height", std::to_string(height)});
    payload_ = size_t{width} * height;
    return StartCamera(arguments, mtu) && OpenDevice() && OpenStream();
  }

  // Prepare, then the camera's packet size set to 1500 bytes.
  bool PrepareStandardPackets(std::vector<std::string> arguments, uint32_t width, uint32_t height) {
    if (!Prepare(std::move(arguments), width, height)) return false;
    GC_ERROR written = WriteCamera(kPacketSize, 1500);
    EXPECT_EQ(written, GC_ERR_SUCCESS);
    return written == GC_ERR_SUCCESS;
  }

  // Announces and queues `buffers` buffers of the payload, sets the camera's frame rate to
  // `fps` and starts the acquisition.
  void QueueAndStart(int buffers, float fps) {
    AnnounceAndQueue(buffers, payload_);
    SetFrameRate(fps);
    Start();
  }

  // Grab, then stop.
  std::vector<uint64_t> GrabAndStop(int count, bool checkPixels = true) {
    std::vector<uint64_t> ids = Grab(count, checkPixels);
    Stop();
    return ids;
  }

  // Grabs `count` frames, requeueing each; returns their frame ids. Pixels are checked
  // unless the frame id is not the emulator's frame counter.
  std::vector<uint64_t> Grab(int count, bool checkPixels = true) {
    std::vector<uint64_t> ids;
    for (int i = 0; i < count; ++i) {
      void* buffer = NextBuffer();
      EXPECT_NE(buffer, nullptr) << "frame " << i;
      if (buffer == nullptr) break;
      if (checkPixels) {
        EXPECT_TRUE(PixelsMatch(buffer, payload_)) << "frame " << i;
      }
      EXPECT_FALSE(BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE));
      ids.push_back(BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID));
      EXPECT_EQ(Lib().DSQueueBuffer(stream_, buffer), GC_ERR_SUCCESS);
    }
    return ids;
  }

  static std::string IdList(const std::vector<uint64_t>& ids) {
    std::string list;
    for (uint64_t id : ids)
      list += std::to_string(id) + " ";
    return list;
  }
  static std::string FirstWarning(const std::string& log) {
    size_t at = log.find("warning");
    return at == std::string::npos ? "no warning" : log.substr(at, log.find('\n', at) - at);
  }

  static bool Consecutive(const std::vector<uint64_t>& ids) {
    for (size_t i = 1; i < ids.size(); ++i) {
      if (ids[i] != ids[i - 1] + 1) return false;
    }
    return !ids.empty();
  }

  size_t payload_ = 0;
};

TEST_F(GevStreamTest, NegotiatesNineThousandOnAJumboLink) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  EXPECT_EQ(ReadCamera(kPacketSize) & 0xFFFF, 9000u);
  EXPECT_EQ(ReadCamera(kStreamPort), 0u);
  std::string text = log.Text();
  EXPECT_TRUE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Testing Packet Size : 9000)"))
      << text;
  EXPECT_TRUE(HasLogLine(
      text,
      R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Got Packet Size : 8972, 8972)"));
  EXPECT_TRUE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::Open\] Stream socket recv buffer size = [0-9]+)"));
}

// Linux doubles the request and caps it at net.core.rmem_max; the log shows what it granted.
TEST_F(GevStreamTest, ReceiveBufferIsTheGrantedSize) {
  long cap = 0;
  FILE* file = fopen("/proc/sys/net/core/rmem_max", "r");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(fscanf(file, "%ld", &cap), 1);
  fclose(file);
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  std::string expected = std::to_string(2 * std::min(cap, 262144L));
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: info \[tcDataStreamGEV::Open\] Stream socket recv buffer size = )" + expected));
}

// With CAP_NET_RAW the stream receives through a packet ring (unless GENTL_GEV_PACKET_RING=0,
// as in the "acquisition.socket." run of these tests); frames arrive either way.
TEST_F(GevStreamTest, ThePacketRingIsUsedWhereThePlatformAllowsIt) {
  const char* ring = getenv("GENTL_GEV_PACKET_RING");
  bool enabled = ring == nullptr || std::string(ring) != "0";
  bool privileged = geteuid() == 0;
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  QueueAndStart(4, 100);
  EXPECT_EQ(GrabAndStop(3).size(), 3u);
  std::string text = log.Text();
  EXPECT_EQ(HasLogLine(text, R"(gentl: info \[tcDataStreamGEV::StartAcquisition\] Receiving )"
                             R"(through a packet ring of 32 MiB)"),
            enabled && privileged);
  EXPECT_EQ(HasLogLine(text, R"(gentl: info \[tcDataStreamGEV::StartAcquisition\] No packet )"
                             R"(ring \(.*\): reading the stream socket)"),
            enabled && !privileged);
}

// GENTL_GEV_RCVBUF asks for more, past the cap when the process may (CAP_NET_ADMIN).
TEST_F(GevStreamTest, ReceiveBufferFromTheEnvironment) {
  if (geteuid() != 0) GTEST_SKIP() << "SO_RCVBUFFORCE needs CAP_NET_ADMIN";
  setenv("GENTL_GEV_RCVBUF", "8388608", 1);
  StderrCapture log;
  bool prepared = Prepare({}, 64, 16);
  unsetenv("GENTL_GEV_RCVBUF");
  ASSERT_TRUE(prepared);
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: info \[tcDataStreamGEV::Open\] Stream socket recv buffer size = 16777216)"));
}

TEST_F(GevStreamTest, NegotiatesFifteenHundredOnAStandardLink) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16, 1500));
  EXPECT_EQ(ReadCamera(kPacketSize) & 0xFFFF, 1500u);
  std::string text = log.Text();
  for (int size : {9000, 4500, 4000, 3800, 1500}) {
    EXPECT_TRUE(HasLogLine(
        text, R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Testing Packet Size : )" +
                  std::to_string(size)));
  }
  EXPECT_FALSE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Testing Packet Size : 1480)"));
}

TEST_F(GevStreamTest, NoTestPacketAnsweredFailsTheOpen) {
  StderrCapture log;
  ASSERT_TRUE(StartCamera({}, 1000));  // below every size tried
  ASSERT_TRUE(OpenDevice());
  EXPECT_EQ(Lib().DevOpenDataStream(device_, "Stream0", &stream_), GC_ERR_SUCCESS);
  EXPECT_EQ(stream_, nullptr);
  std::string text = log.Text();
  EXPECT_TRUE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Testing Packet Size : 1024)"));
  EXPECT_FALSE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::NegotiatePacketsize\] Got Packet Size : .*)"));
}

TEST_F(GevStreamTest, VersionOneCamerasUseStandardIds) {
  ASSERT_TRUE(
      Prepare({"--version", "1.1", "--first-block", std::to_string(kAboveThirtyTwoBits)}, 64, 16));
  QueueAndStart(4, 200);
  // The 16-bit block ids count from 1; the pattern follows the 64-bit counter.
  std::vector<uint64_t> ids = GrabAndStop(3, false);
  ASSERT_EQ(ids.size(), 3u);
  EXPECT_EQ(ids[0], 1u);
  EXPECT_TRUE(Consecutive(ids));
}

TEST_F(GevStreamTest, ExtendedIdsCarryBlockIdsAboveThirtyTwoBits) {
  ASSERT_TRUE(Prepare({"--first-block", std::to_string(kAboveThirtyTwoBits)}, 64, 16));
  QueueAndStart(4, 200);
  std::vector<uint64_t> ids = GrabAndStop(3);
  ASSERT_EQ(ids.size(), 3u);
  EXPECT_GE(ids[0], kAboveThirtyTwoBits);
  EXPECT_TRUE(Consecutive(ids));
}

TEST_F(GevStreamTest, ThousandFramesStandardIds) {
  ASSERT_TRUE(PrepareStandardPackets({"--version", "1.1"}, 256, 64));
  QueueAndStart(16, 1000);
  std::vector<uint64_t> ids = GrabAndStop(1000);
  EXPECT_EQ(ids.size(), 1000u);
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, ThousandFramesExtendedIds) {
  ASSERT_TRUE(
      PrepareStandardPackets({"--first-block", std::to_string(kAboveThirtyTwoBits)}, 256, 64));
  QueueAndStart(16, 1000);
  std::vector<uint64_t> ids = GrabAndStop(1000);
  ASSERT_EQ(ids.size(), 1000u);
  EXPECT_GE(ids[0], kAboveThirtyTwoBits);
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, TwoPercentLossWithResendCompletesEveryFrame) {
  StderrCapture log;
  ASSERT_TRUE(PrepareStandardPackets({"--loss", "0.02", "--seed", "5"}, 256, 64));
  // Resent packets must arrive before two newer frames start: 40 ms per frame leaves room on a
  // busy machine.
  QueueAndStart(16, 25);
  std::vector<uint64_t> ids = GrabAndStop(100);
  // A frame that waited for a resend may be delivered after the next one: every id once.
  std::sort(ids.begin(), ids.end());
  std::string text = log.Text();
  EXPECT_TRUE(Consecutive(ids)) << IdList(ids) << FirstWarning(text);
  EXPECT_EQ(ids.size(), 100u);
  EXPECT_TRUE(HasLogLine(
      text,
      R"(gentl: info \[tcDataStreamGEV::AcquistionThread\] Requesting Retransmission of [0-9]+ packets frame [0-9]+)"));
  EXPECT_EQ(text.find("dropping"), std::string::npos);
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, ResendOffCountsDroppedFramesAndKeepsTheBuffers) {
  StderrCapture log;
  ASSERT_TRUE(PrepareStandardPackets({"--no-resend", "--loss", "0.05", "--seed", "9"}, 256, 64));
  QueueAndStart(16, 500);
  std::vector<uint64_t> ids = GrabAndStop(100);
  ASSERT_EQ(ids.size(), 100u);
  uint64_t gaps = ids.back() - ids.front() + 1 - ids.size();
  EXPECT_GT(gaps, 0u);
  // Every frame started and not delivered was dropped; its buffer went back to the input.
  uint64_t started = StreamInfo<uint64_t>(STREAM_INFO_NUM_STARTED);
  uint64_t delivered = StreamInfo<uint64_t>(STREAM_INFO_NUM_DELIVERED);
  EXPECT_GE(started - delivered, gaps);
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] Can't resend dropping [0-9]+)"));
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, FiftyMissingPacketsAreRequested) {
  StderrCapture log;
  // 256 x 284 bytes in 1464-byte packets: 50 data packets, all lost once, all resent.
  ASSERT_TRUE(PrepareStandardPackets({"--version", "1.1", "--loss", "1"}, 256, 284));
  QueueAndStart(4, 50);
  std::vector<uint64_t> ids = GrabAndStop(2);
  EXPECT_EQ(ids.size(), 2u);
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: info \[tcDataStreamGEV::AcquistionThread\] Requesting Retransmission of 50 packets frame [0-9]+)"));
}

TEST_F(GevStreamTest, FiftyOneMissingPacketsDropTheFrame) {
  StderrCapture log;
  ASSERT_TRUE(
      PrepareStandardPackets({"--version", "1.1", "--loss", "1"}, 256, 288));  // 51 data packets
  QueueAndStart(4, 50);
  EXPECT_EQ(NextBuffer(400), nullptr);
  Stop();
  std::string text = log.Text();
  EXPECT_TRUE(HasLogLine(
      text,
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] Too many missing packets dropping 1)"));
  EXPECT_FALSE(HasLogLine(
      text, R"(gentl: info \[tcDataStreamGEV::AcquistionThread\] Requesting Retransmission.*)"));
  ExpectBuffersAccountedFor(0);
  EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 4u);
}

TEST_F(GevStreamTest, TrailersOfFramesSkippedForAnEmptyInputQueueAreIgnored) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  ASSERT_EQ(Lib().GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &event_), GC_ERR_SUCCESS);
  SetFrameRate(100);
  Start();
  EXPECT_EQ(NextBuffer(300), nullptr);
  Stop();
  std::string text = log.Text();
  EXPECT_TRUE(HasLogLine(
      text,
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] mcInputQ is empty \(CPU overrun\? 0,0,0\), skipping frame 1)"));
  EXPECT_EQ(text.find("dropping"), std::string::npos);
  EXPECT_EQ(text.find("Did not complete"), std::string::npos);
  EXPECT_GT(StreamInfo<uint64_t>(STREAM_INFO_NUM_UNDERRUN), 0u);
}

TEST_F(GevStreamTest, AThirdLeaderPushesOutTheOldestFrame) {
  StderrCapture log;
  // Packet 2 of every frame (1452 bytes with extended ids) is lost and so is its resend: no
  // frame completes.
  ASSERT_TRUE(PrepareStandardPackets({"--drop-packet", "2", "--resent-loss", "1"}, 256, 64));
  QueueAndStart(4, 100);
  EXPECT_EQ(NextBuffer(300), nullptr);
  Stop();
  std::string text = log.Text();
  EXPECT_TRUE(HasLogLine(
      text,
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] Did not complete Frame 1, droppped. Bytes Written = 14932)"))
      << text.substr(0, 3000);
  ExpectBuffersAccountedFor(0);
  EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED), 4u);
}

TEST_F(GevStreamTest, LostLeadersAndTrailersLoseNoBuffer) {
  ASSERT_TRUE(PrepareStandardPackets({"--marker-loss", "0.2", "--seed", "3"}, 256, 64));
  QueueAndStart(8, 500);
  std::vector<uint64_t> ids = GrabAndStop(50);
  EXPECT_EQ(ids.size(), 50u);
  EXPECT_FALSE(Consecutive(ids));
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, ReorderingAndDuplicatesStillCompleteFrames) {
  ASSERT_TRUE(
      PrepareStandardPackets({"--reorder", "4", "--duplicates", "0.05", "--seed", "4"}, 256, 64));
  QueueAndStart(8, 500);
  std::vector<uint64_t> ids = GrabAndStop(50);
  EXPECT_EQ(ids.size(), 50u);
  ExpectBuffersAccountedFor(0);
}

TEST_F(GevStreamTest, PacketsFromAnotherSenderAreIgnored) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  AnnounceAndQueue(4, payload_);
  Start();
  uint16_t port = static_cast<uint16_t>(ReadCamera(kStreamPort));
  ASSERT_NE(port, 0);
  // A leader-sized datagram from the host's own address, not the camera's.
  int intruder = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(intruder, 0);
  sockaddr_in to{};
  to.sin_family = AF_INET;
  to.sin_addr.s_addr = htonl(link_.hostAddress);
  to.sin_port = htons(port);
  char packet[44] = {};
  EXPECT_EQ(sendto(intruder, packet, sizeof packet, 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
            44);
  close(intruder);
  ASSERT_NE(NextBuffer(), nullptr);
  Stop();
  char line[160];
  snprintf(
      line, sizeof line,
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] Packet from some other sender\? %08x != %08x)",
      link_.hostAddress, link_.cameraAddress);
  EXPECT_TRUE(HasLogLine(log.Text(), line));
}

TEST_F(GevStreamTest, StopDuringAFrameAndRestart) {
  // 1 MiB frames in 723 packets 100 us apart: each frame takes 72 ms on the wire, so a stop
  // 30 ms after the start falls inside the first one.
  ASSERT_TRUE(PrepareStandardPackets({}, 1024, 1024));
  ASSERT_EQ(WriteCamera(kPacketDelay, 100000), GC_ERR_SUCCESS);
  AnnounceAndQueue(3, payload_);
  SetFrameRate(5);
  for (int round = 0; round < 3; ++round) {
    Start();
    if (round == 0) usleep(30000);
    if (round > 0) {
      EXPECT_EQ(Grab(2).size(), 2u);
    }
    Stop();
    ExpectBuffersAccountedFor(0);
    EXPECT_EQ(StreamInfo<size_t>(STREAM_INFO_NUM_QUEUED) +
                  StreamInfo<size_t>(STREAM_INFO_NUM_AWAIT_DELIVERY),
              3u);
    EXPECT_EQ(Lib().DSFlushQueue(stream_, ACQ_QUEUE_OUTPUT_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(Lib().DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD), GC_ERR_SUCCESS);
    EXPECT_EQ(Lib().DSFlushQueue(stream_, ACQ_QUEUE_ALL_TO_INPUT), GC_ERR_SUCCESS);
  }
}

TEST_F(GevStreamTest, StartRefusesFlagsAndAZeroCountAndASecondStart) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 64, 16));
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, 0, 0), GC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, 1, 10), GC_ERR_NOT_IMPLEMENTED);
  EXPECT_FALSE(StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING));
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, 0, 10), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSStartAcquisition(stream_, 0, 10), GC_ERR_RESOURCE_IN_USE);
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
  EXPECT_EQ(ReadCamera(kStreamPort), 0u);
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: warning \[tcDataStreamGEV::StartAcquisition\] tcDataStreamGEV, iStartFlags = 1 \(Request Not Implemented\))"));
}

// A frame budget ends the acquisition by itself; the next start joins the ended thread.
TEST_F(GevStreamTest, AFrameBudgetEndsTheAcquisition) {
  StderrCapture log;
  ASSERT_TRUE(Prepare({}, 256, 64));
  AnnounceAndQueue(8, payload_);
  SetFrameRate(200);
  for (int round = 0; round < 2; ++round) {
    Start(3);
    EXPECT_EQ(Grab(3).size(), 3u);
    for (int wait = 0; wait < 100 && StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING); ++wait)
      usleep(10000);
    EXPECT_FALSE(StreamInfo<bool8_t>(STREAM_INFO_IS_GRABBING));
    ASSERT_EQ(WriteCamera(kAcquisitionStop, 1), GC_ERR_SUCCESS);
  }
  EXPECT_EQ(Lib().DSStopAcquisition(stream_, 0), GC_ERR_SUCCESS);
  EXPECT_TRUE(HasLogLine(
      log.Text(),
      R"(gentl: info \[tcDataStreamGEV::AcquistionThread\] Exit : frames captured = 3)"));
}

TEST_F(GevStreamTest, DevCloseWhileStreaming) {
  ASSERT_TRUE(Prepare({}, 256, 64));
  QueueAndStart(4, 200);
  EXPECT_EQ(Grab(2).size(), 2u);
  EXPECT_EQ(Lib().DevClose(device_), GC_ERR_SUCCESS);
  device_ = nullptr;
  stream_ = nullptr;
}

}  // namespace
