// The receive thread's per-packet treatment, fed with crafted packets: completion, resend
// requests and their completion, the drops and their log lines, and no buffer ever lost.
#include "gev/tcGvspAssembler.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/FakeAssemblerTarget.h"
#include "support/GvspPackets.h"
#include "support/LogMatch.h"
#include "support/TestModules.h"

namespace {

constexpr uint32_t kCamera = 0x0A000001;
constexpr uint16_t kPacketSize = 136;  // 100 data bytes per standard packet, 88 per extended
constexpr size_t kBufferSize = 300;

class tcGvspAssemblerTest : public ::testing::Test {
 protected:
  tcGvspAssemblerTest() : target_(3, kBufferSize), assembler_(target_, Settings(true)) {}

  static tcGvspAssembler::tsSettings Settings(bool resend) {
    return {kPacketSize, resend, kCamera, 1000000000};
  }
  size_t PerPacket() const { return shape_.extendedIds ? 88 : 100; }
  void Feed(const std::vector<std::byte>& packet) { assembler_.HandlePacket(packet, kCamera); }
  void Leader(uint64_t block) { Feed(GvspLeader(shape_, block)); }
  void Payload(uint64_t block, uint32_t id, uint64_t length = 0) {
    if (length == 0) length = id == 3 && !shape_.extendedIds ? 50 : PerPacket();
    Feed(GvspPayload(shape_, block, id, length, (id - 1) * PerPacket(), uint8_t(block)));
  }
  void Trailer(uint64_t block, uint32_t id = 4) { Feed(GvspTrailer(shape_, block, id)); }
  // A whole frame of 250 bytes in three packets (standard ids).
  void Frame(uint64_t block) {
    Leader(block);
    for (uint32_t id = 1; id <= 3; ++id)
      Payload(block, id);
    Trailer(block);
  }
  // Every buffer is in exactly one place: input, output or in progress.
  void ExpectAllBuffersAccountedFor() {
    EXPECT_EQ(target_.input.size() + target_.output.size() + assembler_.InProgressCount(), 3u);
  }
  std::string Line(const std::string& level, const std::string& text) {
    return "gentl: " + level + R"( \[tcDataStreamGEV::AcquistionThread\] )" + text;
  }

  tsGvspFrameShape shape_{.width = 25, .height = 10, .ticks = 2000};
  tcFakeAssemblerTarget target_;
  tcGvspAssembler assembler_;
};

TEST_F(tcGvspAssemblerTest, CompleteFrameIsDelivered) {
  Frame(7);
  ASSERT_EQ(target_.output.size(), 1u);
  auto* buffer = static_cast<tcBufferGEV*>(target_.output[0]);
  EXPECT_EQ(buffer, target_.Buffer(0));
  EXPECT_FALSE(buffer->incomplete);
  EXPECT_EQ(buffer->sizeFilled, 250u);
  EXPECT_EQ(buffer->frameId, 7u);
  EXPECT_EQ(buffer->width, 25u);
  EXPECT_EQ(buffer->height, 10u);
  EXPECT_EQ(buffer->timestampNs, 2000u);
  EXPECT_EQ(buffer->expectedCount, 3u);
  EXPECT_EQ(buffer->trailerSizeY, 10u);
  auto* bytes = static_cast<uint8_t*>(buffer->memory);
  for (size_t i = 0; i < 250; ++i)
    ASSERT_EQ(bytes[i], (i + 7) % 256) << i;
  EXPECT_EQ(assembler_.Completed(), 1u);
  EXPECT_EQ(assembler_.Dropped(), 0u);
  EXPECT_TRUE(target_.resends.empty());
  ExpectAllBuffersAccountedFor();
}

TEST_F(tcGvspAssemblerTest, ExtendedIdsWithBlockIdAboveThirtyTwoBits) {
  shape_.extendedIds = true;
  uint64_t block = 0x100000005ull;
  Leader(block);
  Payload(block, 1);
  Payload(block, 2);
  Payload(block, 3, 250 - 176);
  Trailer(block);
  ASSERT_EQ(target_.output.size(), 1u);
  EXPECT_EQ(target_.output[0]->frameId, block);
  EXPECT_EQ(target_.output[0]->sizeFilled, 250u);
  auto* bytes = static_cast<uint8_t*>(target_.output[0]->memory);
  for (size_t i = 0; i < 250; ++i)
    ASSERT_EQ(bytes[i], (i + 5) % 256) << i;
}

TEST_F(tcGvspAssemblerTest, MissingPacketsAreRequestedAndResentOnesComplete) {
  uint64_t before = LogRingTotal();
  Leader(3);
  Payload(3, 2);
  Trailer(3);
  ASSERT_EQ(target_.resends.size(), 1u);
  EXPECT_EQ(target_.resends[0].blockId, 3u);
  EXPECT_FALSE(target_.resends[0].extendedIds);
  EXPECT_EQ(target_.resends[0].packetIds, (std::vector<uint32_t>{1, 3}));
  EXPECT_TRUE(
      HasLogLine(LogSince(before), Line("info", "Requesting Retransmission of 2 packets frame 3")));
  EXPECT_EQ(assembler_.InProgressCount(), 1u);
  shape_.status = 0x0100;
  Payload(3, 1);
  EXPECT_TRUE(target_.output.empty());
  Payload(3, 3);
  ASSERT_EQ(target_.output.size(), 1u);
  EXPECT_EQ(target_.output[0]->sizeFilled, 250u);
  EXPECT_EQ(target_.resends.size(), 1u);
  ExpectAllBuffersAccountedFor();
}

TEST_F(tcGvspAssemblerTest, ARepeatedTrailerDoesNotRequestAgain) {
  Leader(3);
  Payload(3, 2);
  Trailer(3);
  Trailer(3);
  EXPECT_EQ(target_.resends.size(), 1u);
  EXPECT_EQ(assembler_.InProgressCount(), 1u);
}

TEST_F(tcGvspAssemblerTest, ResendOffDropsTheFrame) {
  tcGvspAssembler assembler(target_, Settings(false));
  uint64_t before = LogRingTotal();
  assembler.HandlePacket(GvspLeader(shape_, 4), kCamera);
  assembler.HandlePacket(GvspPayload(shape_, 4, 1, 100, 0, 4), kCamera);
  assembler.HandlePacket(GvspTrailer(shape_, 4, 4), kCamera);
  EXPECT_TRUE(HasLogLine(LogSince(before), Line("warning", "Can't resend dropping 4")));
  EXPECT_TRUE(target_.resends.empty());
  EXPECT_EQ(assembler.Dropped(), 1u);
  EXPECT_TRUE(target_.output.empty());
  // Back at the end of the input queue.
  ASSERT_EQ(target_.input.size(), 3u);
  EXPECT_EQ(target_.input.back(), target_.Buffer(0));
}

TEST(tcGvspAssembler, FiftyOneMissingDropAndFiftyAreRequested) {
  // 51 slots of 100 bytes; the trailer names 51 data packets.
  tcFakeAssemblerTarget target(2, 5100);
  tcGvspAssembler assembler(target, {kPacketSize, true, kCamera, 1000});
  tsGvspFrameShape shape;
  uint64_t before = LogRingTotal();
  assembler.HandlePacket(GvspLeader(shape, 1), kCamera);
  assembler.HandlePacket(GvspTrailer(shape, 1, 52), kCamera);
  EXPECT_TRUE(HasLogLine(
      LogSince(before),
      R"(gentl: warning \[tcDataStreamGEV::AcquistionThread\] Too many missing packets dropping 1)"));
  EXPECT_TRUE(target.resends.empty());
  EXPECT_EQ(assembler.Dropped(), 1u);
  EXPECT_EQ(target.input.size(), 2u);

  assembler.HandlePacket(GvspLeader(shape, 2), kCamera);
  assembler.HandlePacket(GvspPayload(shape, 2, 51, 100, 5000, 0), kCamera);
  assembler.HandlePacket(GvspTrailer(shape, 2, 52), kCamera);
  ASSERT_EQ(target.resends.size(), 1u);
  ASSERT_EQ(target.resends[0].packetIds.size(), 50u);
  EXPECT_EQ(target.resends[0].packetIds.front(), 1u);
  EXPECT_EQ(target.resends[0].packetIds.back(), 50u);
  EXPECT_EQ(assembler.InProgressCount(), 1u);
}

TEST_F(tcGvspAssemblerTest, TrailerOfAFrameSkippedForAnEmptyInputQueueIsIgnored) {
  tcFakeAssemblerTarget empty(0, kBufferSize);
  tcGvspAssembler assembler(empty, Settings(true));
  uint64_t before = LogRingTotal();
  assembler.HandlePacket(GvspLeader(shape_, 12), kCamera);
  assembler.HandlePacket(GvspPayload(shape_, 12, 1, 100, 0, 12), kCamera);
  assembler.HandlePacket(GvspTrailer(shape_, 12, 4), kCamera);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(
      log, Line("warning", R"(mcInputQ is empty \(CPU overrun\? 0,0,0\), skipping frame 12)")));
  EXPECT_EQ(assembler.InProgressCount(), 0u);
  EXPECT_TRUE(empty.resends.empty());
  EXPECT_EQ(assembler.Dropped(), 0u);
  EXPECT_EQ(log.find("dropping"), std::string::npos);
}

TEST_F(tcGvspAssemblerTest, AThirdLeaderPushesOutTheOldestFrame) {
  uint64_t before = LogRingTotal();
  Leader(1);
  Payload(1, 1);
  Leader(2);
  EXPECT_EQ(assembler_.InProgressCount(), 2u);
  Leader(3);
  EXPECT_TRUE(
      HasLogLine(LogSince(before),
                 Line("warning", "Did not complete Frame 1, droppped. Bytes Written = 100")));
  EXPECT_EQ(assembler_.InProgressCount(), 2u);
  EXPECT_EQ(assembler_.Dropped(), 1u);
  ASSERT_EQ(target_.input.size(), 1u);
  EXPECT_EQ(target_.input.front(), target_.Buffer(0));
  // The frames still in progress complete.
  for (uint64_t block : {2, 3}) {
    for (uint32_t id = 1; id <= 3; ++id)
      Payload(block, id);
    Trailer(block);
  }
  EXPECT_EQ(target_.output.size(), 2u);
  ExpectAllBuffersAccountedFor();
}

TEST_F(tcGvspAssemblerTest, ADuplicateLeaderRestartsTheBlock) {
  Leader(5);
  Payload(5, 1);
  Payload(5, 2);
  Leader(5);
  EXPECT_EQ(assembler_.InProgressCount(), 1u);
  EXPECT_EQ(target_.input.size(), 2u);
  Payload(5, 3);
  Trailer(5);
  ASSERT_EQ(target_.resends.size(), 1u);
  EXPECT_EQ(target_.resends[0].packetIds, (std::vector<uint32_t>{1, 2}));
}

TEST_F(tcGvspAssemblerTest, OverflowAndTooManyPacketsDrop) {
  uint64_t before = LogRingTotal();
  Leader(6);
  Payload(6, 4);  // starts at 300: past the end of the buffer
  Trailer(6, 5);
  std::string log = LogSince(before);
  EXPECT_TRUE(HasLogLine(log, Line("warning", "Buffer Overflow detected, 300, 100, 300")));
  EXPECT_TRUE(HasLogLine(log, Line("warning", "More packets received than expected  dropping 6")));
  EXPECT_TRUE(target_.Buffer(0)->overflow);
  EXPECT_EQ(assembler_.Dropped(), 1u);
  ExpectAllBuffersAccountedFor();
}

TEST_F(tcGvspAssemblerTest, LargerDataPacketIsLogged) {
  uint64_t before = LogRingTotal();
  Leader(8);
  Payload(8, 1, 101);
  EXPECT_TRUE(
      HasLogLine(LogSince(before), Line("warning", "Data Packet larger than expected, 101, 100")));
}

TEST_F(tcGvspAssemblerTest, ForeignAndShortPacketsAreIgnored) {
  uint64_t before = LogRingTotal();
  assembler_.HandlePacket(GvspLeader(shape_, 1), 0x0A000002);
  std::vector<std::byte> leader = GvspLeader(shape_, 1);
  assembler_.HandlePacket(std::span(leader).first(7), kCamera);
  assembler_.HandlePacket(std::span(leader).first(43), kCamera);
  std::vector<std::byte> trailer = GvspTrailer(shape_, 1, 4);
  assembler_.HandlePacket(std::span(trailer).first(15), kCamera);
  tsGvspFrameShape extended{.extendedIds = true};
  std::vector<std::byte> payload = GvspPayload(extended, 1, 1, 10, 0, 0);
  assembler_.HandlePacket(std::span(payload).first(19), kCamera);
  std::string log = LogSince(before);
  EXPECT_TRUE(
      HasLogLine(log, Line("warning", "Packet from some other sender\\? 0a000002 != 0a000001")));
  EXPECT_TRUE(HasLogLine(log, Line("warning", "Short Socket Read: 7")));
  EXPECT_TRUE(HasLogLine(log, Line("warning", "Short Read on GVSP Leader: 43")));
  EXPECT_TRUE(HasLogLine(log, Line("warning", "Short Read on GVSP Trailer: 15")));
  EXPECT_TRUE(HasLogLine(log, Line("warning", "Short Read on Extended Header: 19")));
  EXPECT_EQ(assembler_.InProgressCount(), 0u);
  EXPECT_EQ(target_.input.size(), 3u);
}

TEST_F(tcGvspAssemblerTest, AFrameWithALostTrailerStaysUntilTwoNewerAreInProgress) {
  Leader(1);
  for (uint32_t id = 1; id <= 3; ++id)
    Payload(1, id);
  Frame(2);
  ASSERT_EQ(target_.output.size(), 1u);
  // The consumer queues the delivered buffer again.
  target_.input.push_back(target_.output[0]);
  target_.output.clear();
  Leader(3);
  EXPECT_EQ(assembler_.Dropped(), 0u);
  Leader(4);  // three in progress: block 1 goes
  EXPECT_EQ(assembler_.Dropped(), 1u);
  EXPECT_EQ(assembler_.InProgressCount(), 2u);
  ASSERT_EQ(target_.input.size(), 1u);
  EXPECT_EQ(target_.input.front(), target_.Buffer(0));
  ExpectAllBuffersAccountedFor();
}

TEST_F(tcGvspAssemblerTest, ReturnInProgressGivesTheBuffersBack) {
  Leader(1);
  Leader(2);
  assembler_.ReturnInProgress();
  EXPECT_EQ(assembler_.InProgressCount(), 0u);
  EXPECT_EQ(target_.input.size(), 3u);
  EXPECT_EQ(assembler_.Dropped(), 0u);
}

TEST_F(tcGvspAssemblerTest, UnknownFormatsAreIgnored) {
  Leader(1);
  Feed(GvspHeader(shape_, 4, 1, 1, 100));
  EXPECT_EQ(target_.Buffer(0)->receivedCount, 0u);
}

}  // namespace
