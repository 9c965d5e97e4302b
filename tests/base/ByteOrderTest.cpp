// Big- and little-endian loads and stores give the exact byte patterns of the wire.
#include "base/ByteOrder.h"

#include <gtest/gtest.h>

#include <array>

namespace {

template <size_t N>
std::array<std::byte, N> Bytes(std::array<uint8_t, N> values) {
  std::array<std::byte, N> bytes;
  for (size_t i = 0; i < N; ++i)
    bytes[i] = std::byte{values[i]};
  return bytes;
}

TEST(ByteOrder, LoadsBigEndian) {
  auto b = Bytes<8>({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
  EXPECT_EQ(wire::LoadBe16(std::span(b).first<2>()), 0x0102u);
  EXPECT_EQ(wire::LoadBe32(std::span(b).first<4>()), 0x01020304u);
  EXPECT_EQ(wire::LoadBe64(std::span(b)), 0x0102030405060708ull);
}

TEST(ByteOrder, LoadsLittleEndian) {
  auto b = Bytes<8>({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08});
  EXPECT_EQ(wire::LoadLe16(std::span(b).first<2>()), 0x0201u);
  EXPECT_EQ(wire::LoadLe32(std::span(b).first<4>()), 0x04030201u);
  EXPECT_EQ(wire::LoadLe64(std::span(b)), 0x0807060504030201ull);
}

TEST(ByteOrder, StoresBigEndian) {
  std::array<std::byte, 8> b{};
  wire::StoreBe16(std::span(b).first<2>(), 0xA1B2);
  EXPECT_EQ(b, (Bytes<8>({0xA1, 0xB2, 0, 0, 0, 0, 0, 0})));
  wire::StoreBe32(std::span(b).first<4>(), 0x42010002);
  EXPECT_EQ(b, (Bytes<8>({0x42, 0x01, 0x00, 0x02, 0, 0, 0, 0})));
  wire::StoreBe64(std::span(b), 0x1122334455667788ull);
  EXPECT_EQ(b, (Bytes<8>({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88})));
}

TEST(ByteOrder, StoresLittleEndian) {
  std::array<std::byte, 8> b{};
  wire::StoreLe16(std::span(b).first<2>(), 0xA1B2);
  EXPECT_EQ(b, (Bytes<8>({0xB2, 0xA1, 0, 0, 0, 0, 0, 0})));
  wire::StoreLe32(std::span(b).first<4>(), 0x43563355);
  EXPECT_EQ(b, (Bytes<8>({0x55, 0x33, 0x56, 0x43, 0, 0, 0, 0})));
  wire::StoreLe64(std::span(b), 0x1122334455667788ull);
  EXPECT_EQ(b, (Bytes<8>({0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11})));
}

TEST(ByteOrder, LoadsFromUnalignedMemory) {
  auto b = Bytes<9>({0xFF, 0xDE, 0xAD, 0xBE, 0xEF, 0, 0, 0, 0});
  EXPECT_EQ(wire::LoadBe32(std::span(b).subspan<1, 4>()), 0xDEADBEEFu);
  EXPECT_EQ(wire::LoadLe32(std::span(b).subspan<1, 4>()), 0xEFBEADDEu);
}

}  // namespace
