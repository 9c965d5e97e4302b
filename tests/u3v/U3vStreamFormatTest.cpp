// The transfer plan for every range of payload sizes, and the leader and trailer parsers with
// their magic and size checks.
#include "u3v/U3vStreamFormat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

using namespace u3v;

namespace {

template <typename T>
void Put(std::vector<uint8_t>& bytes, size_t offset, T value) {
  memcpy(bytes.data() + offset, &value, sizeof value);
}

std::vector<uint8_t> Leader(size_t size = 52) {
  std::vector<uint8_t> bytes(size, 0);
  if (size < 52) bytes.resize(52);
  Put(bytes, 0, kLeaderMagic);
  Put(bytes, 6, uint16_t{52});
  Put(bytes, 8, uint64_t{0x1122334455667788});
  Put(bytes, 18, uint16_t{1});
  Put(bytes, 20, uint64_t{0xAABBCCDD00112233});
  Put(bytes, 28, uint32_t{0x01080001});
  Put(bytes, 32, uint32_t{640});
  Put(bytes, 36, uint32_t{480});
  Put(bytes, 40, uint32_t{16});
  Put(bytes, 44, uint32_t{8});
  Put(bytes, 48, uint16_t{2});
  bytes.resize(size);
  return bytes;
}

std::vector<uint8_t> Trailer(size_t size = 32) {
  std::vector<uint8_t> bytes(std::max<size_t>(size, 32), 0);
  Put(bytes, 0, kTrailerMagic);
  Put(bytes, 6, uint16_t{32});
  Put(bytes, 8, uint64_t{7});
  Put(bytes, 16, uint16_t{0xA101});
  Put(bytes, 20, uint64_t{307200});
  Put(bytes, 28, uint32_t{240});
  bytes.resize(size);
  return bytes;
}

}  // namespace

TEST(U3vTransferPlan, BelowOneKibIsOneEmptyTransferAndAnExternalFinal) {
  tsTransferPlan plan = MakeTransferPlan(0x100);
  EXPECT_EQ(plan.size, 0u);
  EXPECT_EQ(plan.count, 1u);
  EXPECT_EQ(plan.final1, 0x100u);
  EXPECT_TRUE(plan.final1External);
  EXPECT_EQ(plan.final2, 0u);
}

TEST(U3vTransferPlan, ExactlyEightMibIsOneTransfer) {
  tsTransferPlan plan = MakeTransferPlan(0x800000);
  EXPECT_EQ(plan.size, 0x800000u);
  EXPECT_EQ(plan.count, 1u);
  EXPECT_EQ(plan.final1, 0u);
  EXPECT_FALSE(plan.final1External);
  EXPECT_EQ(plan.final2, 0u);
}

TEST(U3vTransferPlan, SixteenMibAndOneKibIsTwoTransfersAndAnInternalFinal) {
  tsTransferPlan plan = MakeTransferPlan(0x1000400);
  EXPECT_EQ(plan.size, 0x800000u);
  EXPECT_EQ(plan.count, 2u);
  EXPECT_EQ(plan.final1, 0x400u);
  EXPECT_FALSE(plan.final1External);
  EXPECT_EQ(plan.final2, 0u);
}

TEST(U3vTransferPlan, AboveEightMibWithATailHasBothFinals) {
  tsTransferPlan plan = MakeTransferPlan(0x1234567);
  EXPECT_EQ(plan.size, 0x800000u);
  EXPECT_EQ(plan.count, 2u);
  EXPECT_EQ(plan.final1, 0x234400u);
  EXPECT_FALSE(plan.final1External);
  EXPECT_EQ(plan.final2, 0x167u);
  EXPECT_EQ(uint64_t{plan.size} * plan.count + plan.final1 + plan.final2, 0x1234567u);
}

TEST(U3vTransferPlan, BelowEightMibIsOneTransferOfWholeKibsAndTheRestExternal) {
  tsTransferPlan plan = MakeTransferPlan(640 * 480 + 5);
  EXPECT_EQ(plan.size, 0x4B000u);
  EXPECT_EQ(plan.count, 1u);
  EXPECT_EQ(plan.final1, 5u);
  EXPECT_TRUE(plan.final1External);
  EXPECT_EQ(plan.final2, 0u);
}

TEST(U3vTransferPlan, WholeKibsBelowEightMibNeedNoFinal) {
  tsTransferPlan plan = MakeTransferPlan(0x4B000);
  EXPECT_EQ(plan.size, 0x4B000u);
  EXPECT_EQ(plan.count, 1u);
  EXPECT_EQ(plan.final1, 0u);
  EXPECT_FALSE(plan.final1External);
}

TEST(U3vLeader, ParsesEveryField) {
  tsLeader leader;
  ASSERT_TRUE(ParseLeader(Leader(), &leader));
  EXPECT_EQ(leader.size, 52u);
  EXPECT_EQ(leader.blockId, 0x1122334455667788u);
  EXPECT_EQ(leader.payloadType, 1u);
  EXPECT_EQ(leader.timestamp, 0xAABBCCDD00112233u);
  EXPECT_EQ(leader.pixelFormat, 0x01080001u);
  EXPECT_EQ(leader.sizeX, 640u);
  EXPECT_EQ(leader.sizeY, 480u);
  EXPECT_EQ(leader.offsetX, 16u);
  EXPECT_EQ(leader.offsetY, 8u);
  EXPECT_EQ(leader.paddingX, 2u);
}

TEST(U3vLeader, ALongerLeaderParses) {
  tsLeader leader;
  EXPECT_TRUE(ParseLeader(Leader(64), &leader));
  EXPECT_EQ(leader.sizeY, 480u);
}

TEST(U3vLeader, FiftyOneBytesAreRefused) {
  tsLeader leader;
  leader.sizeX = 9;
  EXPECT_FALSE(ParseLeader(Leader(51), &leader));
  EXPECT_EQ(leader.sizeX, 9u);
}

TEST(U3vLeader, AWrongMagicIsRefused) {
  std::vector<uint8_t> bytes = Leader();
  Put(bytes, 0, kTrailerMagic);
  tsLeader leader;
  EXPECT_FALSE(ParseLeader(bytes, &leader));
}

TEST(U3vTrailer, ParsesEveryField) {
  tsTrailer trailer;
  ASSERT_TRUE(ParseTrailer(Trailer(), &trailer));
  EXPECT_EQ(trailer.size, 32u);
  EXPECT_EQ(trailer.blockId, 7u);
  EXPECT_EQ(trailer.status, 0xA101u);
  EXPECT_EQ(trailer.validPayloadSize, 307200u);
  EXPECT_EQ(trailer.sizeY, 240u);
}

TEST(U3vTrailer, ThirtyOneBytesAreRefused) {
  tsTrailer trailer;
  EXPECT_FALSE(ParseTrailer(Trailer(31), &trailer));
  EXPECT_FALSE(ParseTrailer({}, &trailer));
}

TEST(U3vTrailer, ALeaderMagicIsRefused) {
  std::vector<uint8_t> bytes = Trailer();
  Put(bytes, 0, kLeaderMagic);
  tsTrailer trailer;
  EXPECT_FALSE(ParseTrailer(bytes, &trailer));
}
