// The batch receiver on a loopback socket pair in a private network: data packets that arrive
// where they were expected land in the frame's buffer directly, and everything else (packets
// out of order, of another block, from another sender, too long) still gets the assembler's
// usual treatment, so every frame ends complete and correct.
#include "gev/tcGvspReceiver.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <vector>

#include "gev/tcGvspAssembler.h"
#include "support/FakeAssemblerTarget.h"
#include "support/GvspPackets.h"
#include "support/LogMatch.h"
#include "support/PrivateNetwork.h"
#include "support/TestModules.h"

namespace {

constexpr uint32_t kCamera = 0x7F000001;
constexpr uint32_t kStranger = 0x7F000002;
constexpr uint16_t kPacketSize = 136;  // 100 data bytes per standard packet
constexpr size_t kPerPacket = 100;
constexpr size_t kFrameSize = 250;  // packets 1, 2 and 3 (50 bytes)

class tcGvspReceiverTest : public ::testing::Test {
 protected:
  tcGvspReceiverTest()
      : target_(3, kFrameSize),
        assembler_(target_, {kPacketSize, true, kCamera, 1000000000}),
        receiver_(assembler_, kCamera) {}

  void SetUp() override {
    ENTER_PRIVATE_NETWORK_OR_SKIP();
    ASSERT_EQ(socket_.Open(), 0);
    ASSERT_EQ(socket_.Bind({kCamera, 0}), 0);
    ASSERT_EQ(socket_.LocalAddress(&address_), 0);
    ASSERT_EQ(camera_.Open(), 0);
    ASSERT_EQ(camera_.Bind({kCamera, 0}), 0);
    ASSERT_EQ(stranger_.Open(), 0);
    ASSERT_EQ(stranger_.Bind({kStranger, 0}), 0);
  }

  void Send(const std::vector<std::byte>& packet, const tcUdpSocket& from) {
    ASSERT_TRUE(from.SendTo(packet, address_).Ok());
  }
  void Send(const std::vector<std::byte>& packet) { Send(packet, camera_); }
  std::vector<std::byte> Leader(uint64_t block) { return GvspLeader(shape_, block); }
  std::vector<std::byte> Payload(uint64_t block, uint32_t id, size_t length = 0) {
    if (length == 0) length = id == 3 ? 50 : kPerPacket;
    return GvspPayload(shape_, block, id, length, (id - 1) * kPerPacket, uint8_t(block));
  }
  std::vector<std::byte> Trailer(uint64_t block) { return GvspTrailer(shape_, block, 4); }
  // Data packets `ids` of `block`, then its trailer.
  void SendData(uint64_t block, std::initializer_list<uint32_t> ids = {1, 2, 3}) {
    for (uint32_t id : ids)
      Send(Payload(block, id));
    Send(Trailer(block));
  }

  // Receives batches until `count` datagrams have been handed over.
  void ReceiveAll(size_t count, uint64_t frameLimit = UINT64_MAX) {
    size_t total = 0;
    while (total < count) {
      pollfd fd{socket_.Fd(), POLLIN, 0};
      ASSERT_EQ(poll(&fd, 1, 2000), 1) << "after " << total << " datagrams";
      tsIoResult received = receiver_.Receive(socket_, frameLimit);
      ASSERT_TRUE(received.Ok()) << received.ErrorText();
      total += received.count;
    }
  }
  size_t ReceiveOnce() {
    pollfd fd{socket_.Fd(), POLLIN, 0};
    if (poll(&fd, 1, 2000) != 1) return 0;
    tsIoResult received = receiver_.Receive(socket_, UINT64_MAX);
    return received.Ok() ? received.count : 0;
  }
  // The leader alone first: the packets after it are then expected in the frame's buffer.
  void StartFrame(uint64_t block) {
    Send(Leader(block));
    ReceiveAll(1);
    ASSERT_EQ(assembler_.InProgressCount(), 1u);
  }
  void ExpectCompleteFrame(uint64_t block) {
    ASSERT_EQ(target_.output.size(), 1u);
    auto* buffer = static_cast<tcBufferGEV*>(target_.output[0]);
    EXPECT_FALSE(buffer->incomplete);
    EXPECT_EQ(buffer->blockId, block);
    EXPECT_EQ(buffer->sizeFilled, kFrameSize);
    const auto* bytes = static_cast<const uint8_t*>(buffer->memory);
    for (size_t i = 0; i < kFrameSize; ++i)
      ASSERT_EQ(bytes[i], (i + block) % 256) << "byte " << i;
  }
  std::string Line(const std::string& level, const std::string& text) {
    return "gentl: " + level + R"( \[tcDataStreamGEV::AcquistionThread\] )" + text;
  }

  tsGvspFrameShape shape_{.width = 25, .height = 10, .ticks = 2000};
  tcFakeAssemblerTarget target_;
  tcGvspAssembler assembler_;
  tcGvspReceiver receiver_;
  tcUdpSocket socket_;
  tcUdpSocket camera_;
  tcUdpSocket stranger_;
  tsSocketAddress address_;
};

TEST_F(tcGvspReceiverTest, PacketsInOrderLandInTheirPlaces) {
  StartFrame(7);
  SendData(7);
  ReceiveAll(4);
  ExpectCompleteFrame(7);
  EXPECT_EQ(receiver_.PlacedCount(), 3u);
  EXPECT_EQ(receiver_.ReceivedCount(), 5u);
}

TEST_F(tcGvspReceiverTest, ABatchThatExpectsNothingTakesTwoDatagramsSoTheNextExpectsTheFrame) {
  Send(Leader(7));
  SendData(7);
  EXPECT_EQ(ReceiveOnce(), 2u);  // the leader and packet 1, whole
  ReceiveAll(3);
  ExpectCompleteFrame(7);
  EXPECT_EQ(receiver_.PlacedCount(), 2u);
}

TEST_F(tcGvspReceiverTest, ABatchEndsAfterTheExpectedRunTheTrailerAndTheNextLeader) {
  StartFrame(7);
  SendData(7);
  Send(Leader(8));
  Send(Payload(8, 1));
  Send(Payload(8, 2));
  EXPECT_EQ(ReceiveOnce(), 5u);
  EXPECT_EQ(ReceiveOnce(), 2u);
  EXPECT_EQ(receiver_.PlacedCount(), 5u);
  ExpectCompleteFrame(7);
}

TEST_F(tcGvspReceiverTest, WhileNoFrameStartsTheBatchesAreFull) {
  for (uint32_t id = 1; id <= 3; ++id) {
    Send(Payload(7, id));  // no leader: nothing to expect
    Send(Payload(8, id));
  }
  EXPECT_EQ(ReceiveOnce(), 2u);
  EXPECT_EQ(ReceiveOnce(), 4u);
  EXPECT_EQ(receiver_.PlacedCount(), 0u);
  EXPECT_FALSE(receiver_.Filled());  // room for 64, 4 were waiting
}

TEST_F(tcGvspReceiverTest, ReorderedPacketsAreMovedToTheirPlaces) {
  StartFrame(9);
  SendData(9, {2, 1, 3});
  ReceiveAll(4);
  ExpectCompleteFrame(9);
  EXPECT_EQ(receiver_.PlacedCount(), 1u);  // packet 3 came third, where it was expected
}

TEST_F(tcGvspReceiverTest, APacketOfAnotherBlockInAnExpectedPlaceIsIgnored) {
  StartFrame(7);
  Send(Payload(8, 1));
  SendData(7);
  ReceiveAll(5);
  ExpectCompleteFrame(7);
  EXPECT_EQ(receiver_.PlacedCount(), 0u);
}

TEST_F(tcGvspReceiverTest, ADuplicateKeepsTheFrameCorrect) {
  StartFrame(7);
  SendData(7, {1, 1, 2, 3});
  ReceiveAll(5);
  ExpectCompleteFrame(7);
  EXPECT_EQ(receiver_.PlacedCount(), 1u);
}

TEST_F(tcGvspReceiverTest, APacketFromAnotherSenderInAnExpectedPlaceIsLoggedAndIgnored) {
  StartFrame(7);
  uint64_t before = LogRingTotal();
  Send(Payload(7, 1), stranger_);
  SendData(7);
  ReceiveAll(5);
  ExpectCompleteFrame(7);
  EXPECT_TRUE(HasLogLine(LogSince(before),
                         Line("warning", "Packet from some other sender\\? 7f000002 != 7f000001")));
}

TEST_F(tcGvspReceiverTest, APacketLongerThanItsPlaceGetsTheUsualWarning) {
  StartFrame(7);
  uint64_t before = LogRingTotal();
  Send(Payload(7, 1, kPerPacket + 1));
  ReceiveAll(1);
  EXPECT_EQ(receiver_.PlacedCount(), 0u);
  EXPECT_TRUE(
      HasLogLine(LogSince(before), Line("warning", "Data Packet larger than expected, 101, 100")));
}

TEST_F(tcGvspReceiverTest, NothingIsHandedOverAfterTheFrameLimit) {
  Send(Leader(7));
  SendData(7);
  Send(Leader(8));
  ReceiveAll(6, 1);
  EXPECT_EQ(assembler_.Completed(), 1u);
  EXPECT_EQ(assembler_.InProgressCount(), 0u);  // the second leader was not handled
}

}  // namespace
