// tcBufferGEV: slots from the packet size, leader and trailer fields, placement by packet id,
// overflow and the missing check's results.
#include "gev/tcBufferGEV.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/GvspPackets.h"

namespace {

class tcBufferGEVTest : public ::testing::Test {
 protected:
  tcBufferGEVTest() : memory_(1000), buffer_(nullptr, memory_.data(), 1000, nullptr, false) {}

  std::vector<std::byte> memory_;
  tcBufferGEV buffer_;
};

TEST_F(tcBufferGEVTest, ResetGivesThePayloadPerPacketAndTheSlots) {
  buffer_.Reset(136, true);  // 136 - 28 - 8 = 100 bytes per packet
  EXPECT_EQ(buffer_.payloadPerPacket, 100u);
  EXPECT_EQ(buffer_.received.size(), 10u);
  buffer_.Reset(136, false);  // 136 - 28 - 20 = 88
  EXPECT_EQ(buffer_.payloadPerPacket, 88u);
  EXPECT_EQ(buffer_.received.size(), 12u);  // ceiling of 1000 / 88
  EXPECT_TRUE(buffer_.incomplete);
  EXPECT_EQ(buffer_.bytesWritten, 0u);
}

TEST_F(tcBufferGEVTest, LeaderFillsTheBufferInformation) {
  tsGvspFrameShape shape{.pixelFormat = 0x01100003,
                         .width = 20,
                         .height = 10,
                         .offsetX = 4,
                         .offsetY = 6,
                         .paddingX = 2,
                         .paddingY = 3,
                         .ticks = 0x0000000500000000ull};
  std::vector<std::byte> leader = GvspLeader(shape, 9);
  buffer_.Reset(136, true);
  buffer_.blockId = 9;
  buffer_.timestampFrequency = 125000000;
  buffer_.ParseLeader(std::span(leader).subspan(8));
  EXPECT_EQ(buffer_.leaderPayloadType, 1u);
  EXPECT_EQ(buffer_.payloadType, 1u);
  EXPECT_EQ(buffer_.pixelFormat, 0x01100003u);
  EXPECT_TRUE(buffer_.pixelFormatValid);
  EXPECT_EQ(buffer_.pixelFormatNamespace, uint64_t{GenTL::PIXELFORMAT_NAMESPACE_PFNC_32BIT});
  EXPECT_EQ(buffer_.width, 20u);
  EXPECT_EQ(buffer_.height, 10u);
  EXPECT_EQ(buffer_.xOffset, 4u);
  EXPECT_EQ(buffer_.yOffset, 6u);
  EXPECT_EQ(buffer_.xPadding, 2u);
  EXPECT_EQ(buffer_.yPadding, 3u);
  EXPECT_EQ(buffer_.lineEndGap, 2u);
  EXPECT_EQ(buffer_.imageEndGap, 3u);
  EXPECT_EQ(buffer_.frameId, 9u);
  EXPECT_EQ(buffer_.timestamp, 0x0000000500000000ull);
  // 21474836480 ticks at 125 MHz: 171.79869184 s, beyond what a 64-bit product holds.
  EXPECT_EQ(buffer_.timestampNs, 171798691840ull);
}

TEST_F(tcBufferGEVTest, TrailerFields) {
  tsGvspFrameShape shape{.height = 77, .payloadType = 0x4001};
  std::vector<std::byte> trailer = GvspTrailer(shape, 1, 5);
  buffer_.ParseTrailer(std::span(trailer).subspan(8));
  EXPECT_EQ(buffer_.trailerReserved, 0u);
  EXPECT_EQ(buffer_.trailerPayloadType, 0x4001u);
  EXPECT_EQ(buffer_.trailerSizeY, 77u);
}

TEST_F(tcBufferGEVTest, PacketsArePlacedByIdAndCountedOnce) {
  buffer_.Reset(136, true);
  std::vector<std::byte> data(100, std::byte{7});
  EXPECT_EQ(buffer_.StorePacket(3, data), tcBufferGEV::tcStore::kStored);
  EXPECT_EQ(memory_[199], std::byte{0});
  EXPECT_EQ(memory_[200], std::byte{7});
  EXPECT_EQ(memory_[299], std::byte{7});
  EXPECT_EQ(memory_[300], std::byte{0});
  EXPECT_EQ(buffer_.StorePacket(3, data), tcBufferGEV::tcStore::kCopied);
  EXPECT_EQ(buffer_.receivedCount, 1u);
  EXPECT_EQ(buffer_.bytesWritten, 100u);
  EXPECT_EQ(buffer_.StorePacket(10, data), tcBufferGEV::tcStore::kStored);
  EXPECT_EQ(buffer_.receivedCount, 2u);
}

TEST_F(tcBufferGEVTest, PacketsPastTheEndOverflow) {
  buffer_.Reset(136, true);
  std::vector<std::byte> data(100);
  EXPECT_EQ(buffer_.StorePacket(11, data), tcBufferGEV::tcStore::kOverflow);
  EXPECT_TRUE(buffer_.overflow);
  EXPECT_EQ(buffer_.StorePacket(0, data), tcBufferGEV::tcStore::kOverflow);
  EXPECT_EQ(buffer_.StorePacket(0xFFFFFFFF, data), tcBufferGEV::tcStore::kOverflow);
  std::vector<std::byte> longer(101);
  EXPECT_EQ(buffer_.StorePacket(10, longer), tcBufferGEV::tcStore::kOverflow);
  EXPECT_EQ(buffer_.receivedCount, 0u);
}

TEST_F(tcBufferGEVTest, MissingCheckResults) {
  std::vector<uint32_t> missing;
  buffer_.Reset(136, true);
  EXPECT_EQ(buffer_.CheckMissing(11, &missing), -1);
  EXPECT_EQ(buffer_.CheckMissing(0, &missing), -2);
  std::vector<std::byte> data(100);
  buffer_.StorePacket(2, data);
  buffer_.StorePacket(4, data);
  EXPECT_EQ(buffer_.CheckMissing(5, &missing), 0);
  EXPECT_EQ(missing, (std::vector<uint32_t>{1, 3, 5}));
  buffer_.expectedCount = 4;
  EXPECT_EQ(buffer_.CheckMissing(0, &missing), 0);
  EXPECT_EQ(missing, (std::vector<uint32_t>{1, 3}));
}

TEST(tcBufferGEV, FiftyMissingAreListedAndFiftyOneAreTooMany) {
  std::vector<std::byte> memory(5100);
  tcBufferGEV buffer(nullptr, memory.data(), memory.size(), nullptr, false);
  buffer.Reset(136, true);  // 51 slots of 100 bytes
  std::vector<uint32_t> missing;
  EXPECT_EQ(buffer.CheckMissing(51, &missing), 1);
  EXPECT_EQ(missing.size(), 50u);
  std::vector<std::byte> data(100);
  buffer.StorePacket(51, data);
  EXPECT_EQ(buffer.CheckMissing(51, &missing), 0);
  ASSERT_EQ(missing.size(), 50u);
  EXPECT_EQ(missing.front(), 1u);
  EXPECT_EQ(missing.back(), 50u);
}

TEST_F(tcBufferGEVTest, CompleteSetsTheFilledSize) {
  buffer_.Reset(136, true);
  std::vector<std::byte> data(60);
  buffer_.StorePacket(1, data);
  buffer_.Complete();
  EXPECT_FALSE(buffer_.incomplete);
  EXPECT_EQ(buffer_.sizeFilled, 60u);
  EXPECT_EQ(buffer_.tlType, "GEV");
}

}  // namespace
