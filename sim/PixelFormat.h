// The pixel formats the simulated camera can deliver (PFNC codes), their layouts and image sizes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

inline constexpr uint32_t kPixelMono8 = 0x01080001;
inline constexpr uint32_t kPixelMono10 = 0x01100003;
inline constexpr uint32_t kPixelMono10Packed = 0x010C0004;
inline constexpr uint32_t kPixelMono12 = 0x01100005;
inline constexpr uint32_t kPixelMono12Packed = 0x010C0006;
inline constexpr uint32_t kPixelMono14 = 0x01100025;
inline constexpr uint32_t kPixelMono16 = 0x01100007;
inline constexpr uint32_t kPixelMono10p = 0x010A0046;
inline constexpr uint32_t kPixelMono12p = 0x010C0047;
inline constexpr uint32_t kPixelBayerGR8 = 0x01080008;
inline constexpr uint32_t kPixelBayerRG8 = 0x01080009;
inline constexpr uint32_t kPixelBayerGB8 = 0x0108000A;
inline constexpr uint32_t kPixelBayerBG8 = 0x0108000B;
inline constexpr uint32_t kPixelBayerGR10 = 0x0110000C;
inline constexpr uint32_t kPixelBayerRG10 = 0x0110000D;
inline constexpr uint32_t kPixelBayerGB10 = 0x0110000E;
inline constexpr uint32_t kPixelBayerBG10 = 0x0110000F;
inline constexpr uint32_t kPixelBayerGR12 = 0x01100010;
inline constexpr uint32_t kPixelBayerRG12 = 0x01100011;
inline constexpr uint32_t kPixelBayerGB12 = 0x01100012;
inline constexpr uint32_t kPixelBayerBG12 = 0x01100013;
inline constexpr uint32_t kPixelBayerGR16 = 0x0110002E;
inline constexpr uint32_t kPixelBayerRG16 = 0x0110002F;
inline constexpr uint32_t kPixelBayerGB16 = 0x01100030;
inline constexpr uint32_t kPixelBayerBG16 = 0x01100031;
inline constexpr uint32_t kPixelRGB8 = 0x02180014;
inline constexpr uint32_t kPixelBGR8 = 0x02180015;
inline constexpr uint32_t kPixelRGBa8 = 0x02200016;
inline constexpr uint32_t kPixelBGRa8 = 0x02200017;
inline constexpr uint32_t kPixelYCbCr422_8 = 0x0210003B;

// What a pixel carries.
enum class PixelKind : uint8_t { kMono, kBayer, kRgb, kBgr, kRgba, kBgra, kYCbCr422 };

// Colour filter of a Bayer sensor, named after the first two pixels of the first line:
// RG means lines R G R G ... and G B G B ... alternate.
enum class CfaOrder : uint8_t { kNone, kRG, kGR, kGB, kBG };

// How pixels are laid out in bytes:
// - kUnpacked: whole bytes per component, 16-bit components little-endian with the value in the low
//   bits;
// - kBitStream (Mono10p, Mono12p): pixels packed LSB first into one little-endian bit stream
//   that runs over the whole image without padding, so a line may start inside a byte;
// - kGigEPacked (Mono10Packed, Mono12Packed): two pixels in three bytes, B0 = p0 high bits,
//   B1 = p0 low bits | p1 low bits << 4, B2 = p1 high bits; each line is packed on its own, a
//   line of odd width ending with a half-used group whose second pixel is 0.
enum class PixelPacking : uint8_t { kUnpacked, kBitStream, kGigEPacked };

struct tsPixelFormat {
  uint32_t code;
  std::string_view name;
  uint32_t bitsPerPixel;  // for size computations: the GigE packed formats count 12
  PixelKind kind;
  CfaOrder cfa;
  uint32_t componentBits;  // 8, 10, 12, 14 or 16
  PixelPacking packing;
};

// The supported formats, or nullptr for an unknown code or name.
const tsPixelFormat* FindPixelFormat(uint32_t code);
const tsPixelFormat* FindPixelFormat(std::string_view name);

// Bytes of a width x height image with lines back to back: w * h * bitsPerPixel / 8 rounded up
// once for the bit-stream formats, ceil(w / 2) * 3 per line for the GigE packed formats.
size_t ImageBytes(const tsPixelFormat& format, uint32_t width, uint32_t height);
