// tcWireReader exact values, overruns that read nothing, and the failure flag that stays set.
#include "base/tcWireReader.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

const std::vector<uint8_t> kBytes = {0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x12, 0x34,
                                     0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45, 0x67};

TEST(tcWireReader, ReadsBigEndianFields) {
  tcWireReader reader{std::span(kBytes)};
  EXPECT_EQ(reader.U8(), 0x42u);
  EXPECT_EQ(reader.U8(), 0x01u);
  EXPECT_EQ(reader.U16Be(), 0x0002u);
  EXPECT_EQ(reader.U32Be(), 0x00001234u);
  EXPECT_EQ(reader.U64Be(), 0x89ABCDEF01234567ull);
  EXPECT_FALSE(reader.Failed());
  EXPECT_EQ(reader.Position(), 16u);
  EXPECT_EQ(reader.Remaining(), 0u);
}

TEST(tcWireReader, ReadsLittleEndianFields) {
  tcWireReader reader{std::span(kBytes)};
  EXPECT_EQ(reader.U16Le(), 0x0142u);
  EXPECT_EQ(reader.U16Le(), 0x0200u);
  EXPECT_EQ(reader.U32Le(), 0x34120000u);
  EXPECT_EQ(reader.U64Le(), 0x67452301EFCDAB89ull);
  EXPECT_FALSE(reader.Failed());
}

TEST(tcWireReader, ReadsStdByteSpans) {
  std::array<std::byte, 2> bytes{std::byte{0xFF}, std::byte{0xFE}};
  tcWireReader reader{std::span<const std::byte>(bytes)};
  EXPECT_EQ(reader.U16Be(), 0xFFFEu);
}

TEST(tcWireReader, ExactFitSucceedsAndOneMoreFails) {
  tcWireReader reader{std::span(kBytes).first(4)};
  EXPECT_EQ(reader.U32Be(), 0x42010002u);
  EXPECT_FALSE(reader.Failed());
  EXPECT_EQ(reader.U8(), 0u);
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.Position(), 4u);
}

TEST(tcWireReader, OverrunReadsNothingAndReturnsZero) {
  tcWireReader reader{std::span(kBytes).first(3)};
  EXPECT_EQ(reader.U8(), 0x42u);
  EXPECT_EQ(reader.U32Be(), 0u);
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.Position(), 1u);
  EXPECT_EQ(reader.Remaining(), 2u);
}

TEST(tcWireReader, FailureStaysSetForReadsThatWouldFit) {
  tcWireReader reader{std::span(kBytes).first(6)};
  EXPECT_EQ(reader.U64Be(), 0u);
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.U8(), 0u);
  EXPECT_EQ(reader.U16Le(), 0u);
  EXPECT_EQ(reader.Text(2), "");
  reader.Skip(0);
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.Position(), 0u);
}

TEST(tcWireReader, EveryWidthFailsOnAnEmptySpan) {
  for (int width : {1, 2, 4, 8}) {
    for (bool big : {true, false}) {
      tcWireReader reader{std::span<const uint8_t>()};
      uint64_t value = 1;
      switch (width) {
        case 1:
          value = reader.U8();
          break;
        case 2:
          value = big ? reader.U16Be() : reader.U16Le();
          break;
        case 4:
          value = big ? reader.U32Be() : reader.U32Le();
          break;
        default:
          value = big ? reader.U64Be() : reader.U64Le();
          break;
      }
      EXPECT_EQ(value, 0u) << width;
      EXPECT_TRUE(reader.Failed()) << width;
    }
  }
}

TEST(tcWireReader, SkipMovesAndAHugeSkipCannotWrap) {
  tcWireReader reader{std::span(kBytes)};
  reader.Skip(6);
  EXPECT_EQ(reader.U16Be(), 0x1234u);
  reader.Skip(std::numeric_limits<size_t>::max());
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.Position(), 8u);
  EXPECT_EQ(reader.U8(), 0u);
}

TEST(tcWireReader, BytesCopiesOrZeroFills) {
  tcWireReader reader{std::span(kBytes)};
  std::array<std::byte, 3> out{};
  reader.Bytes(out);
  EXPECT_EQ(out, (std::array<std::byte, 3>{std::byte{0x42}, std::byte{0x01}, std::byte{0x00}}));
  std::array<std::byte, 14> tooMany;
  tooMany.fill(std::byte{0x77});
  reader.Bytes(tooMany);
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(tooMany, (std::array<std::byte, 14>{}));
  EXPECT_EQ(reader.Position(), 3u);
}

TEST(tcWireReader, TextIsCutAtTheFirstNulAndConsumesTheField) {
  const std::vector<uint8_t> field = {'G', 'E', 'V', 0, 'x', 'y', 'A', 'B'};
  tcWireReader reader{std::span(field)};
  EXPECT_EQ(reader.Text(6), "GEV");
  EXPECT_EQ(reader.Position(), 6u);
  EXPECT_EQ(reader.Text(2), "AB");  // no NUL: the whole field
  EXPECT_FALSE(reader.Failed());
  EXPECT_EQ(reader.Text(1), "");
  EXPECT_TRUE(reader.Failed());
}

TEST(tcWireReader, TextLongerThanTheDataFails) {
  const std::vector<uint8_t> field = {'a', 'b', 'c'};
  tcWireReader reader{std::span(field)};
  EXPECT_EQ(reader.Text(4), "");
  EXPECT_TRUE(reader.Failed());
  EXPECT_EQ(reader.Position(), 0u);
}

}  // namespace
