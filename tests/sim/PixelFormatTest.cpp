// The pixel format table: codes, names, layouts, look-ups and image sizes.
#include "sim/PixelFormat.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

constexpr uint32_t kAllCodes[] = {
    0x01080001, 0x01100003, 0x010C0004, 0x01100005, 0x010C0006, 0x01100025, 0x01100007, 0x010A0046,
    0x010C0047, 0x01080008, 0x01080009, 0x0108000A, 0x0108000B, 0x0110000C, 0x0110000D, 0x0110000E,
    0x0110000F, 0x01100010, 0x01100011, 0x01100012, 0x01100013, 0x0110002E, 0x0110002F, 0x01100030,
    0x01100031, 0x02180014, 0x02180015, 0x02200016, 0x02200017, 0x0210003B};

TEST(PixelFormat, EveryCodeIsFoundByCodeAndByName) {
  for (uint32_t code : kAllCodes) {
    SCOPED_TRACE(code);
    const tsPixelFormat* format = FindPixelFormat(code);
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->code, code);
    EXPECT_EQ(FindPixelFormat(format->name), format);
  }
}

TEST(PixelFormat, BitsPerPixelAreTheCodesSizeField) {
  for (uint32_t code : kAllCodes) {
    EXPECT_EQ(FindPixelFormat(code)->bitsPerPixel, (code >> 16) & 0xFF) << std::hex << code;
  }
}

TEST(PixelFormat, NamesAndLayouts) {
  const tsPixelFormat* mono12p = FindPixelFormat(0x010C0047);
  EXPECT_EQ(mono12p->name, "Mono12p");
  EXPECT_EQ(mono12p->kind, PixelKind::kMono);
  EXPECT_EQ(mono12p->componentBits, 12u);
  EXPECT_EQ(mono12p->packing, PixelPacking::kBitStream);

  const tsPixelFormat* mono10Packed = FindPixelFormat("Mono10Packed");
  ASSERT_NE(mono10Packed, nullptr);
  EXPECT_EQ(mono10Packed->code, 0x010C0004u);
  EXPECT_EQ(mono10Packed->componentBits, 10u);
  EXPECT_EQ(mono10Packed->bitsPerPixel, 12u);
  EXPECT_EQ(mono10Packed->packing, PixelPacking::kGigEPacked);

  const tsPixelFormat* bayer = FindPixelFormat("BayerGB12");
  EXPECT_EQ(bayer->code, 0x01100012u);
  EXPECT_EQ(bayer->kind, PixelKind::kBayer);
  EXPECT_EQ(bayer->cfa, CfaOrder::kGB);
  EXPECT_EQ(bayer->componentBits, 12u);
  EXPECT_EQ(bayer->packing, PixelPacking::kUnpacked);

  EXPECT_EQ(FindPixelFormat("Mono14")->componentBits, 14u);
  EXPECT_EQ(FindPixelFormat("BGRa8")->kind, PixelKind::kBgra);
  EXPECT_EQ(FindPixelFormat("YCbCr422_8")->kind, PixelKind::kYCbCr422);
  EXPECT_EQ(FindPixelFormat("RGB8")->cfa, CfaOrder::kNone);
}

TEST(PixelFormat, BayerNamesGiveTheirFilterOrder) {
  for (const std::string depth : {"8", "10", "12", "16"}) {
    EXPECT_EQ(FindPixelFormat("BayerRG" + depth)->cfa, CfaOrder::kRG);
    EXPECT_EQ(FindPixelFormat("BayerGR" + depth)->cfa, CfaOrder::kGR);
    EXPECT_EQ(FindPixelFormat("BayerGB" + depth)->cfa, CfaOrder::kGB);
    EXPECT_EQ(FindPixelFormat("BayerBG" + depth)->cfa, CfaOrder::kBG);
  }
}

TEST(PixelFormat, UnknownCodesAndNamesAreNotFound) {
  EXPECT_EQ(FindPixelFormat(uint32_t{0}), nullptr);
  EXPECT_EQ(FindPixelFormat(uint32_t{0x01080002}), nullptr);
  EXPECT_EQ(FindPixelFormat(""), nullptr);
  EXPECT_EQ(FindPixelFormat("mono8"), nullptr);
  EXPECT_EQ(FindPixelFormat("Mono8 "), nullptr);
}

size_t Bytes(const char* name, uint32_t width, uint32_t height) {
  return ImageBytes(*FindPixelFormat(name), width, height);
}

TEST(PixelFormat, ImageBytesOfWholeByteFormats) {
  EXPECT_EQ(Bytes("Mono8", 1920, 1080), 1920u * 1080);
  EXPECT_EQ(Bytes("Mono10", 7, 3), 42u);
  EXPECT_EQ(Bytes("Mono16", 1920, 1080), 1920u * 1080 * 2);
  EXPECT_EQ(Bytes("BayerBG12", 5, 5), 50u);
  EXPECT_EQ(Bytes("RGB8", 7, 3), 63u);
  EXPECT_EQ(Bytes("BGRa8", 7, 3), 84u);
  EXPECT_EQ(Bytes("YCbCr422_8", 8, 2), 32u);
  EXPECT_EQ(Bytes("YCbCr422_8", 7, 3), 42u);  // odd width: width x 2 bytes per line
  EXPECT_EQ(Bytes("Mono8", 0, 100), 0u);
}

TEST(PixelFormat, ImageBytesOfBitStreamsRoundUpOnceForTheWholeImage) {
  EXPECT_EQ(Bytes("Mono12p", 2, 1), 3u);
  EXPECT_EQ(Bytes("Mono12p", 3, 3), 14u);  // 108 bits
  EXPECT_EQ(Bytes("Mono12p", 1920, 1080), 1920u * 1080 * 3 / 2);
  EXPECT_EQ(Bytes("Mono10p", 4, 1), 5u);
  EXPECT_EQ(Bytes("Mono10p", 3, 1), 4u);   // 30 bits
  EXPECT_EQ(Bytes("Mono10p", 3, 3), 12u);  // 90 bits
}

TEST(PixelFormat, ImageBytesOfGigEPackedFormatsPackEachLine) {
  EXPECT_EQ(Bytes("Mono12Packed", 2, 1), 3u);
  EXPECT_EQ(Bytes("Mono12Packed", 3, 2), 12u);  // two half-used groups
  EXPECT_EQ(Bytes("Mono10Packed", 5, 1), 9u);
  EXPECT_EQ(Bytes("Mono10Packed", 1920, 1080), 1920u * 1080 * 3 / 2);
}

TEST(PixelFormat, ImageBytesDoNotOverflow) {
  EXPECT_EQ(Bytes("RGBa8", 65536, 65536), size_t{65536} * 65536 * 4);
  EXPECT_EQ(Bytes("Mono12p", 65535, 65535), (size_t{65535} * 65535 * 12 + 7) / 8);
}

}  // namespace
