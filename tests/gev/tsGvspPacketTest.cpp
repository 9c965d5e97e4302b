// GVSP header decoding: both id forms, the resend status and the short-packet refusals.
#include "gev/tsGvspPacket.h"

#include <gtest/gtest.h>

#include "support/GvspPackets.h"

namespace {

TEST(tsGvspPacket, StandardHeader) {
  tsGvspFrameShape shape;
  std::vector<std::byte> bytes = GvspPayload(shape, 0xBEEF, 0x123456, 5, 0, 0);
  tsGvspPacket packet;
  ASSERT_EQ(tsGvspPacket::Parse(bytes, &packet), tsGvspPacket::tcResult::kOk);
  EXPECT_FALSE(packet.extendedIds);
  EXPECT_EQ(packet.status, 0u);
  EXPECT_EQ(packet.format, 3u);
  EXPECT_EQ(packet.blockId, 0xBEEFu);
  EXPECT_EQ(packet.packetId, 0x123456u);
  EXPECT_EQ(packet.headerLength, 8u);
  EXPECT_EQ(packet.data.size(), 5u);
  EXPECT_FALSE(packet.Resent());
}

TEST(tsGvspPacket, ExtendedHeaderWithBlockIdAboveThirtyTwoBits) {
  tsGvspFrameShape shape{.extendedIds = true, .status = 0x0100};
  std::vector<std::byte> bytes = GvspTrailer(shape, 0x123456789ull, 0x89ABCDEF);
  tsGvspPacket packet;
  ASSERT_EQ(tsGvspPacket::Parse(bytes, &packet), tsGvspPacket::tcResult::kOk);
  EXPECT_TRUE(packet.extendedIds);
  EXPECT_EQ(packet.format, 2u);
  EXPECT_EQ(packet.blockId, 0x123456789ull);
  EXPECT_EQ(packet.packetId, 0x89ABCDEFu);
  EXPECT_EQ(packet.headerLength, 20u);
  EXPECT_EQ(packet.data.size(), 8u);
  EXPECT_TRUE(packet.Resent());
}

TEST(tsGvspPacket, FormatIsTheLowFourBits) {
  tsGvspFrameShape shape;
  std::vector<std::byte> bytes = GvspHeader(shape, 0x71, 1, 1, 0);
  tsGvspPacket packet;
  ASSERT_EQ(tsGvspPacket::Parse(bytes, &packet), tsGvspPacket::tcResult::kOk);
  EXPECT_EQ(packet.format, 1u);
  EXPECT_FALSE(packet.extendedIds);
}

TEST(tsGvspPacket, ShortPackets) {
  tsGvspFrameShape shape{.extendedIds = true};
  std::vector<std::byte> bytes = GvspHeader(shape, 3, 7, 1, 0);
  tsGvspPacket packet;
  EXPECT_EQ(tsGvspPacket::Parse(std::span(bytes).first(7), &packet),
            tsGvspPacket::tcResult::kShort);
  EXPECT_EQ(tsGvspPacket::Parse(std::span(bytes).first(8), &packet),
            tsGvspPacket::tcResult::kShortExtended);
  EXPECT_EQ(tsGvspPacket::Parse(std::span(bytes).first(19), &packet),
            tsGvspPacket::tcResult::kShortExtended);
  EXPECT_EQ(tsGvspPacket::Parse(std::span(bytes).first(20), &packet), tsGvspPacket::tcResult::kOk);
  EXPECT_TRUE(packet.data.empty());
}

}  // namespace
