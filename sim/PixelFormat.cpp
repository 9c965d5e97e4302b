// The table of supported pixel formats and the image size rule of each layout.
#include "sim/PixelFormat.h"

#include <array>

namespace {

using enum PixelKind;
using enum PixelPacking;
using enum CfaOrder;

constexpr std::array<tsPixelFormat, 30> kPixelFormats = {{
    {kPixelMono8, "Mono8", 8, kMono, kNone, 8, kUnpacked},
    {kPixelMono10, "Mono10", 16, kMono, kNone, 10, kUnpacked},
    {kPixelMono10Packed, "Mono10Packed", 12, kMono, kNone, 10, kGigEPacked},
    {kPixelMono12, "Mono12", 16, kMono, kNone, 12, kUnpacked},
    {kPixelMono12Packed, "Mono12Packed", 12, kMono, kNone, 12, kGigEPacked},
    {kPixelMono14, "Mono14", 16, kMono, kNone, 14, kUnpacked},
    {kPixelMono16, "Mono16", 16, kMono, kNone, 16, kUnpacked},
    {kPixelMono10p, "Mono10p", 10, kMono, kNone, 10, kBitStream},
    {kPixelMono12p, "Mono12p", 12, kMono, kNone, 12, kBitStream},
    {kPixelBayerGR8, "BayerGR8", 8, kBayer, kGR, 8, kUnpacked},
    {kPixelBayerRG8, "BayerRG8", 8, kBayer, kRG, 8, kUnpacked},
    {kPixelBayerGB8, "BayerGB8", 8, kBayer, kGB, 8, kUnpacked},
    {kPixelBayerBG8, "BayerBG8", 8, kBayer, kBG, 8, kUnpacked},
    {kPixelBayerGR10, "BayerGR10", 16, kBayer, kGR, 10, kUnpacked},
    {kPixelBayerRG10, "BayerRG10", 16, kBayer, kRG, 10, kUnpacked},
    {kPixelBayerGB10, "BayerGB10", 16, kBayer, kGB, 10, kUnpacked},
    {kPixelBayerBG10, "BayerBG10", 16, kBayer, kBG, 10, kUnpacked},
    {kPixelBayerGR12, "BayerGR12", 16, kBayer, kGR, 12, kUnpacked},
    {kPixelBayerRG12, "BayerRG12", 16, kBayer, kRG, 12, kUnpacked},
    {kPixelBayerGB12, "BayerGB12", 16, kBayer, kGB, 12, kUnpacked},
    {kPixelBayerBG12, "BayerBG12", 16, kBayer, kBG, 12, kUnpacked},
    {kPixelBayerGR16, "BayerGR16", 16, kBayer, kGR, 16, kUnpacked},
    {kPixelBayerRG16, "BayerRG16", 16, kBayer, kRG, 16, kUnpacked},
    {kPixelBayerGB16, "BayerGB16", 16, kBayer, kGB, 16, kUnpacked},
    {kPixelBayerBG16, "BayerBG16", 16, kBayer, kBG, 16, kUnpacked},
    {kPixelRGB8, "RGB8", 24, kRgb, kNone, 8, kUnpacked},
    {kPixelBGR8, "BGR8", 24, kBgr, kNone, 8, kUnpacked},
    {kPixelRGBa8, "RGBa8", 32, kRgba, kNone, 8, kUnpacked},
    {kPixelBGRa8, "BGRa8", 32, kBgra, kNone, 8, kUnpacked},
    {kPixelYCbCr422_8, "YCbCr422_8", 16, kYCbCr422, kNone, 8, kUnpacked},
}};

}  // namespace

const tsPixelFormat* FindPixelFormat(uint32_t code) {
  for (const tsPixelFormat& format : kPixelFormats) {
    if (format.code == code) return &format;
  }
  return nullptr;
}

const tsPixelFormat* FindPixelFormat(std::string_view name) {
  for (const tsPixelFormat& format : kPixelFormats) {
    if (format.name == name) return &format;
  }
  return nullptr;
}

size_t ImageBytes(const tsPixelFormat& format, uint32_t width, uint32_t height) {
  const uint64_t pixels = uint64_t{width} * height;
  switch (format.packing) {
    case kBitStream:
      return (pixels * format.bitsPerPixel + 7) / 8;
    case kGigEPacked:
      return (uint64_t{width} + 1) / 2 * 3 * height;
    case kUnpacked:
      break;
  }
  return pixels * format.bitsPerPixel / 8;
}
