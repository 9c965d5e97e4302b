// The transfer plan for every range of payload sizes, and the leader and trailer parsers with
// their magic and size checks.
#include "u3v/U3vStreamFormat.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
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

// One range of payload sizes and the plan expected for it.
struct tsPlanCase {
  const char* name;
  uint64_t payload;
  uint32_t size;
  uint32_t count;
  uint32_t final1;
  bool final1External;
  uint32_t final2;
};

const tsPlanCase kPlanCases[] = {
    {"BelowOneKibIsOneEmptyTransferAndAnExternalFinal", 0x100, 0, 1, 0x100, true, 0},
    {"ExactlyEightMibIsOneTransfer", 0x800000, 0x800000, 1, 0, false, 0},
    {"SixteenMibAndOneKibIsTwoTransfersAndAnInternalFinal", 0x1000400, 0x800000, 2, 0x400, false,
     0},
    {"AboveEightMibWithATailHasBothFinals", 0x1234567, 0x800000, 2, 0x234400, false, 0x167},
    {"BelowEightMibIsOneTransferOfWholeKibsAndTheRestExternal", 640 * 480 + 5, 0x4B000, 1, 5, true,
     0},
    {"WholeKibsBelowEightMibNeedNoFinal", 0x4B000, 0x4B000, 1, 0, false, 0},
};

class U3vTransferPlan : public ::testing::TestWithParam<tsPlanCase> {};

}  // namespace

TEST_P(U3vTransferPlan, CutsThePayload) {
  const tsPlanCase& expected = GetParam();
  tsTransferPlan plan = MakeTransferPlan(expected.payload);
  EXPECT_EQ(plan.size, expected.size);
  EXPECT_EQ(plan.count, expected.count);
  EXPECT_EQ(plan.final1, expected.final1);
  EXPECT_EQ(plan.final1External, expected.final1External);
  EXPECT_EQ(plan.final2, expected.final2);
  EXPECT_EQ(uint64_t{plan.size} * plan.count + plan.final1 + plan.final2, expected.payload);
}

INSTANTIATE_TEST_SUITE_P(Ranges, U3vTransferPlan, ::testing::ValuesIn(kPlanCases),
                         [](const ::testing::TestParamInfo<tsPlanCase>& info) {
                           return std::string(info.param.name);
                         });

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
