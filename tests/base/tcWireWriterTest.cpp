// tcWireWriter exact byte patterns, fixed-size text fields, overruns and the sticky failure.
#include "base/tcWireWriter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "base/tcWireReader.h"

namespace {

std::vector<uint8_t> AsBytes(std::span<const std::byte> bytes) {
  std::vector<uint8_t> out;
  for (std::byte b : bytes)
    out.push_back(std::to_integer<uint8_t>(b));
  return out;
}

TEST(tcWireWriter, WritesBigEndianFields) {
  std::array<std::byte, 16> buffer{};
  tcWireWriter writer(buffer);
  writer.U8(0x42);
  writer.U8(0x01);
  writer.U16Be(0x0002);
  writer.U32Be(0x00001234);
  writer.U64Be(0x89ABCDEF01234567ull);
  EXPECT_FALSE(writer.Failed());
  EXPECT_EQ(writer.Position(), 16u);
  EXPECT_EQ(AsBytes(writer.Written()),
            (std::vector<uint8_t>{0x42, 0x01, 0x00, 0x02, 0x00, 0x00, 0x12, 0x34, 0x89, 0xAB, 0xCD,
                                  0xEF, 0x01, 0x23, 0x45, 0x67}));
}

TEST(tcWireWriter, WritesLittleEndianFields) {
  std::array<std::byte, 14> buffer{};
  tcWireWriter writer(buffer);
  writer.U16Le(0x0142);
  writer.U32Le(0x43563355);
  writer.U64Le(0x0807060504030201ull);
  EXPECT_EQ(AsBytes(writer.Written()),
            (std::vector<uint8_t>{0x42, 0x01, 0x55, 0x33, 0x56, 0x43, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(tcWireWriter, OverrunWritesNothingAndStaysFailed) {
  std::array<std::byte, 6> buffer;
  buffer.fill(std::byte{0xEE});
  tcWireWriter writer(buffer);
  writer.U16Be(0xA1B2);
  writer.U64Be(1);
  EXPECT_TRUE(writer.Failed());
  EXPECT_EQ(writer.Position(), 2u);
  writer.U8(0x11);  // would fit, but the writer has failed
  writer.Zeros(1);
  EXPECT_EQ(writer.Position(), 2u);
  EXPECT_EQ(AsBytes(buffer), (std::vector<uint8_t>{0xA1, 0xB2, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST(tcWireWriter, AHugeZeroRunCannotWrap) {
  std::array<std::byte, 4> buffer{};
  tcWireWriter writer(buffer);
  writer.U8(1);
  writer.Zeros(std::numeric_limits<size_t>::max());
  EXPECT_TRUE(writer.Failed());
  EXPECT_EQ(writer.Position(), 1u);
}

TEST(tcWireWriter, ZerosAndBytes) {
  std::array<std::byte, 6> buffer;
  buffer.fill(std::byte{0xEE});
  tcWireWriter writer(buffer);
  writer.Zeros(2);
  std::array<std::byte, 3> bytes{std::byte{7}, std::byte{8}, std::byte{9}};
  writer.Bytes(bytes);
  EXPECT_EQ(AsBytes(writer.Written()), (std::vector<uint8_t>{0, 0, 7, 8, 9}));
  writer.Bytes(bytes);
  EXPECT_TRUE(writer.Failed());
  EXPECT_EQ(std::to_integer<int>(buffer[5]), 0xEE);
}

TEST(tcWireWriter, TextIsPaddedWithNulOrCutToTheField) {
  std::array<std::byte, 10> buffer;
  buffer.fill(std::byte{0xEE});
  tcWireWriter writer(buffer);
  writer.Text("GEV", 6);
  writer.Text("ABCDEF", 4);
  EXPECT_FALSE(writer.Failed());
  EXPECT_EQ(AsBytes(buffer), (std::vector<uint8_t>{'G', 'E', 'V', 0, 0, 0, 'A', 'B', 'C', 'D'}));
  writer.Text("", 1);
  EXPECT_TRUE(writer.Failed());
}

TEST(tcWireWriter, WhatTheWriterWritesTheReaderReadsBack) {
  std::array<std::byte, 64> buffer{};
  tcWireWriter writer(buffer);
  writer.U16Be(0x0003);
  writer.U32Le(0xDEADBEEF);
  writer.U64Be(0x0102030405060708ull);
  writer.Text("camera", 16);
  writer.U64Le(42);
  ASSERT_FALSE(writer.Failed());
  tcWireReader reader(writer.Written());
  EXPECT_EQ(reader.U16Be(), 0x0003u);
  EXPECT_EQ(reader.U32Le(), 0xDEADBEEFu);
  EXPECT_EQ(reader.U64Be(), 0x0102030405060708ull);
  EXPECT_EQ(reader.Text(16), "camera");
  EXPECT_EQ(reader.U64Le(), 42u);
  EXPECT_FALSE(reader.Failed());
  EXPECT_EQ(reader.Remaining(), 0u);
}

}  // namespace
