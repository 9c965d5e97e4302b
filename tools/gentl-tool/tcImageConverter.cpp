// Pixel format decoding (unpacked, bit-stream and line-packed layouts), demosaicing and colour
// conversion into 8-bit images.
#include "tcImageConverter.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace {

// The top 8 of `bits` significant bits; larger values saturate.
uint8_t To8Bits(uint32_t value, uint32_t bits) {
  return static_cast<uint8_t>(std::min<uint32_t>(value >> (bits - 8), 255));
}

// Colour at (x, y) of a Bayer sensor: 0 red, 1 green, 2 blue.
int CfaColour(CfaOrder order, uint32_t x, uint32_t y) {
  static constexpr int kRG[4] = {0, 1, 1, 2};
  static constexpr int kGR[4] = {1, 0, 2, 1};
  static constexpr int kGB[4] = {1, 2, 0, 1};
  static constexpr int kBG[4] = {2, 1, 1, 0};
  const int cell = static_cast<int>((y & 1) * 2 + (x & 1));
  switch (order) {
    case CfaOrder::kGR:
      return kGR[cell];
    case CfaOrder::kGB:
      return kGB[cell];
    case CfaOrder::kBG:
      return kBG[cell];
    default:
      return kRG[cell];
  }
}

uint8_t Clamp(double value) {
  return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
}

}  // namespace

tsImage tcImageConverter::Convert(uint64_t pixelFormat, uint32_t width, uint32_t height,
                                  const uint8_t* data, size_t size) {
  const tsPixelFormat* format =
      pixelFormat > UINT32_MAX ? nullptr : FindPixelFormat(static_cast<uint32_t>(pixelFormat));
  if (format == nullptr) {
    char code[32];
    snprintf(code, sizeof code, "0x%08llX", static_cast<unsigned long long>(pixelFormat));
    throw std::invalid_argument(std::string("unknown pixel format ") + code);
  }
  const size_t needed = ImageBytes(*format, width, height);
  if (size < needed) {
    throw std::invalid_argument("a " + std::to_string(width) + "x" + std::to_string(height) + " " +
                                std::string(format->name) + " image needs " +
                                std::to_string(needed) + " bytes, the buffer holds " +
                                std::to_string(size));
  }
  switch (format->kind) {
    case PixelKind::kMono:
      return {width, height, 1, Samples(*format, width, height, data)};
    case PixelKind::kBayer:
      return Demosaic(format->cfa, width, height, Samples(*format, width, height, data));
    case PixelKind::kYCbCr422:
      return FromYCbCr422(width, height, data);
    default:
      return FromRgb(*format, width, height, data);
  }
}

std::vector<uint8_t> tcImageConverter::Samples(const tsPixelFormat& format, uint32_t width,
                                               uint32_t height, const uint8_t* data) {
  std::vector<uint8_t> samples(size_t{width} * height);
  size_t index = 0;
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x, ++index) {
      samples[index] = Sample(format, width, data, index, x, y);
    }
  }
  return samples;
}

uint8_t tcImageConverter::Sample(const tsPixelFormat& format, uint32_t width, const uint8_t* data,
                                 size_t index, uint32_t x, uint32_t y) {
  const uint32_t bits = format.componentBits;
  switch (format.packing) {
    case PixelPacking::kUnpacked:
      if (bits == 8) return data[index];
      return To8Bits(data[2 * index] | data[2 * index + 1] << 8, bits);
    case PixelPacking::kBitStream: {
      // Pixels LSB first in one little-endian bit stream; a pixel spans at most 3 bytes.
      const size_t bit = index * bits;
      const size_t byte = bit / 8;
      const size_t last = (bit + bits - 1) / 8;
      uint32_t word = 0;
      for (size_t i = byte; i <= last; ++i)
        word |= uint32_t{data[i]} << (8 * (i - byte));
      return To8Bits((word >> (bit % 8)) & ((1u << bits) - 1), bits);
    }
    case PixelPacking::kGigEPacked: {
      // Two pixels in three bytes, each line on its own: the first byte holds the even pixel's
      // high bits, the third the odd pixel's; the middle one their low bits. Only the high
      // 8 bits are kept, so the middle byte is not needed.
      const size_t line = size_t{y} * ((width + 1) / 2 * 3);
      const uint8_t* group = data + line + size_t{x / 2} * 3;
      return (x & 1) ? group[2] : group[0];
    }
  }
  return 0;
}

tsImage tcImageConverter::Demosaic(CfaOrder order, uint32_t width, uint32_t height,
                                   const std::vector<uint8_t>& samples) {
  // Bilinear: each missing colour is the mean of the 3x3 neighbours that carry it.
  tsImage image{width, height, 3, std::vector<uint8_t>(samples.size() * 3)};
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      uint32_t sum[3] = {0, 0, 0};
      uint32_t count[3] = {0, 0, 0};
      const int own = CfaColour(order, x, y);
      for (int64_t ny = int64_t{y} - 1; ny <= int64_t{y} + 1; ++ny) {
        for (int64_t nx = int64_t{x} - 1; nx <= int64_t{x} + 1; ++nx) {
          if (nx < 0 || ny < 0 || nx >= width || ny >= height) continue;
          const uint32_t cx = static_cast<uint32_t>(nx);
          const uint32_t cy = static_cast<uint32_t>(ny);
          const int colour = CfaColour(order, cx, cy);
          if (colour == own) continue;
          sum[colour] += samples[size_t{cy} * width + cx];
          ++count[colour];
        }
      }
      const size_t pixel = size_t{y} * width + x;
      sum[own] = samples[pixel];
      count[own] = 1;
      for (int c = 0; c < 3; ++c) {
        image.pixels[pixel * 3 + c] =
            count[c] == 0 ? 0 : static_cast<uint8_t>((sum[c] + count[c] / 2) / count[c]);
      }
    }
  }
  return image;
}

tsImage tcImageConverter::FromRgb(const tsPixelFormat& format, uint32_t width, uint32_t height,
                                  const uint8_t* data) {
  const bool alpha = format.kind == PixelKind::kRgba || format.kind == PixelKind::kBgra;
  const bool reversed = format.kind == PixelKind::kBgr || format.kind == PixelKind::kBgra;
  const size_t step = alpha ? 4 : 3;
  const size_t pixels = size_t{width} * height;
  tsImage image{width, height, 3, std::vector<uint8_t>(pixels * 3)};
  for (size_t i = 0; i < pixels; ++i) {
    const uint8_t* in = data + i * step;
    uint8_t* out = image.pixels.data() + i * 3;
    out[0] = reversed ? in[2] : in[0];
    out[1] = in[1];
    out[2] = reversed ? in[0] : in[2];
  }
  return image;
}

tsImage tcImageConverter::FromYCbCr422(uint32_t width, uint32_t height, const uint8_t* data) {
  // Y0 Cb Y1 Cr for each pixel pair; the last pixel of an odd line has Y and Cb only, and is
  // given a neutral Cr.
  tsImage image{width, height, 3, std::vector<uint8_t>(size_t{width} * height * 3)};
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* line = data + size_t{y} * width * 2;
    for (uint32_t x = 0; x < width; ++x) {
      const uint32_t pair = x & ~1u;
      const double luma = line[2 * size_t{x}];
      const double cb = line[2 * size_t{pair} + 1] - 128.0;
      const double cr = pair + 1 < width ? line[2 * size_t{pair} + 3] - 128.0 : 0.0;
      uint8_t* out = image.pixels.data() + (size_t{y} * width + x) * 3;
      out[0] = Clamp(luma + 1.402 * cr);
      out[1] = Clamp(luma - 0.344136 * cb - 0.714136 * cr);
      out[2] = Clamp(luma + 1.772 * cb);
    }
  }
  return image;
}
