// Test patterns pixel by pixel: every byte each generator writes in every pixel format,
// against pictures and layouts computed here from their definitions, plus the capacity limit.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "sim/PatternGenerators.h"
#include "sim/PixelFormat.h"
#include "sim/tcPatternGenerator.h"

namespace {

constexpr uint32_t kAllFormats[] = {
    kPixelMono8,     kPixelMono10,    kPixelMono10Packed, kPixelMono12,    kPixelMono12Packed,
    kPixelMono14,    kPixelMono16,    kPixelMono10p,      kPixelMono12p,   kPixelBayerGR8,
    kPixelBayerRG8,  kPixelBayerGB8,  kPixelBayerBG8,     kPixelBayerGR10, kPixelBayerRG10,
    kPixelBayerGB10, kPixelBayerBG10, kPixelBayerGR12,    kPixelBayerRG12, kPixelBayerGB12,
    kPixelBayerBG12, kPixelBayerGR16, kPixelBayerRG16,    kPixelBayerGB16, kPixelBayerBG16,
    kPixelRGB8,      kPixelBGR8,      kPixelRGBa8,        kPixelBGRa8,     kPixelYCbCr422_8};

constexpr uint32_t kDrawnPatterns[] = {kPatternOff,          kPatternHorizontalRamp,
                                       kPatternVerticalRamp, kPatternDiagonalRamp,
                                       kPatternGrid,         kPatternColorBars};

const std::map<uint32_t, std::unique_ptr<tcPatternGenerator>>& Generators() {
  static const auto generators = MakePatternGenerators();
  return generators;
}

struct tsRgb {
  uint32_t red;
  uint32_t green;
  uint32_t blue;
};

std::vector<uint8_t> Draw(uint32_t pattern, const tsPatternParams& params) {
  std::vector<uint8_t> image(
      ImageBytes(*FindPixelFormat(params.pixelFormat), params.width, params.height));
  EXPECT_EQ(Generators().at(pattern)->Draw(params, image.data(), image.size()), 0);
  return image;
}

// ---- The pictures, from the patterns' definitions, in sensor coordinates.

uint32_t MaxValue(uint32_t bits) {
  return (1u << bits) - 1;
}

tsRgb Ramp(uint32_t value, uint32_t bits, bool color) {
  const uint32_t max = MaxValue(bits);
  if (!color) return {value, value, value};
  return {value, (2 * value) & max, max - value};
}

bool OnGridLine(uint32_t position, uint32_t offset, uint32_t stride) {
  return stride != 0 && position >= offset && (position - offset) % stride == 0;
}

tsRgb Bar(uint32_t bar, uint32_t bits) {
  const uint32_t m = MaxValue(bits);
  const tsRgb bars[8] = {{m, m, m}, {m, m, 0}, {0, m, m}, {0, m, 0},
                         {m, 0, m}, {m, 0, 0}, {0, 0, m}, {0, 0, 0}};
  return bars[bar];
}

tsRgb Picture(uint32_t pattern, const tsPatternParams& p, uint32_t bits, bool color, uint32_t sx,
              uint32_t sy) {
  const uint64_t levels = uint64_t{1} << bits;
  switch (pattern) {
    case kPatternHorizontalRamp:
      return Ramp(static_cast<uint32_t>(sx * levels / p.sensorWidth), bits, color);
    case kPatternVerticalRamp:
      return Ramp(static_cast<uint32_t>(sy * levels / p.sensorHeight), bits, color);
    case kPatternDiagonalRamp:
      return Ramp(static_cast<uint32_t>(((sx + sy + p.frameId) % 256) << (bits - 8)), bits, color);
    case kPatternGrid: {
      const bool white = OnGridLine(sx, p.gridOffsetX, p.gridStrideX) ||
                         OnGridLine(sy, p.gridOffsetY, p.gridStrideY);
      const uint32_t value = white ? MaxValue(bits) : 0;
      return {value, value, value};
    }
    case kPatternColorBars:
      return Bar(static_cast<uint32_t>(uint64_t{sx} * 8 / p.sensorWidth), bits);
    default:
      return {0, 0, 0};
  }
}

// ---- What the formats store, from their definitions.

uint32_t Lut(const tsPatternParams& p, uint32_t bits, uint32_t value) {
  if (p.lutMaxIndex == 0) return value;
  const uint64_t mapped = uint64_t{std::min(value, p.lutMaxIndex)} * p.lutMaxValue / p.lutMaxIndex;
  return static_cast<uint32_t>(std::min<uint64_t>(mapped, MaxValue(bits)));
}

uint32_t Luma(const tsRgb& c) {
  return (19595 * c.red + 38470 * c.green + 7471 * c.blue + 32768) >> 16;
}

uint8_t Cb(const tsRgb& c) {
  return static_cast<uint8_t>(
      (-11059 * int32_t(c.red) - 21709 * int32_t(c.green) + 32768 * int32_t(c.blue) + 8421375) >>
      16);
}

uint8_t Cr(const tsRgb& c) {
  return static_cast<uint8_t>(
      (32768 * int32_t(c.red) - 27439 * int32_t(c.green) - 5329 * int32_t(c.blue) + 8421375) >> 16);
}

// Colour filter letters of even and odd rows.
std::string CfaRow(const std::string& order, uint32_t row) {
  if (row % 2 == 0) return order;
  if (order == "RG") return "GB";
  if (order == "GR") return "BG";
  if (order == "GB") return "RG";
  return "GR";
}

uint32_t Component(const tsRgb& c, char letter) {
  return letter == 'R' ? c.red : letter == 'G' ? c.green : c.blue;
}

void PutLittleEndian16(std::vector<uint8_t>& out, uint32_t value) {
  out.push_back(static_cast<uint8_t>(value & 0xFF));
  out.push_back(static_cast<uint8_t>(value >> 8));
}

// Mono12p over the whole image: B0 = p0[7:0], B1 = p0[11:8] | p1[3:0] << 4, B2 = p1[11:4].
std::vector<uint8_t> Mono12p(const std::vector<uint32_t>& v) {
  std::vector<uint8_t> out;
  for (size_t i = 0; i < v.size(); i += 2) {
    const uint32_t p0 = v[i];
    const uint32_t p1 = i + 1 < v.size() ? v[i + 1] : 0;
    out.push_back(p0 & 0xFF);
    out.push_back(static_cast<uint8_t>((p0 >> 8) | (p1 & 0xF) << 4));
    if (i + 1 < v.size()) out.push_back(static_cast<uint8_t>(p1 >> 4));
  }
  return out;
}

// Mono10p over the whole image: bit k of pixel i is bit 10 * i + k of the stream, LSB first.
std::vector<uint8_t> Mono10p(const std::vector<uint32_t>& v) {
  std::vector<uint8_t> out((v.size() * 10 + 7) / 8, 0);
  for (size_t i = 0; i < v.size(); ++i) {
    for (size_t k = 0; k < 10; ++k) {
      const size_t bit = 10 * i + k;
      if ((v[i] >> k) & 1) out[bit / 8] |= static_cast<uint8_t>(1 << (bit % 8));
    }
  }
  return out;
}

// GigE packed, each line on its own: B0 = p0 >> low, B1 = p0 & mask | (p1 & mask) << 4,
// B2 = p1 >> low, an odd last pixel paired with 0.
std::vector<uint8_t> GigEPacked(const std::vector<uint32_t>& v, uint32_t width, uint32_t low) {
  std::vector<uint8_t> out;
  const uint32_t mask = (1u << low) - 1;
  for (size_t line = 0; line < v.size(); line += width) {
    for (uint32_t x = 0; x < width; x += 2) {
      const uint32_t p0 = v[line + x];
      const uint32_t p1 = x + 1 < width ? v[line + x + 1] : 0;
      out.push_back(static_cast<uint8_t>(p0 >> low));
      out.push_back(static_cast<uint8_t>((p0 & mask) | (p1 & mask) << 4));
      out.push_back(static_cast<uint8_t>(p1 >> low));
    }
  }
  return out;
}

std::vector<uint8_t> Expected(uint32_t pattern, const tsPatternParams& p) {
  const tsPixelFormat& format = *FindPixelFormat(p.pixelFormat);
  const std::string name(format.name);
  const uint32_t bits = format.componentBits;
  const bool color = pattern == kPatternColorBars || (p.isColor && format.kind != PixelKind::kMono);
  const uint32_t binH = std::max(p.binningHorizontal, 1u);
  const uint32_t binV = std::max(p.binningVertical, 1u);
  std::vector<uint32_t> values;
  std::vector<uint8_t> out;
  for (uint32_t y = 0; y < p.height; ++y) {
    for (uint32_t x = 0; x < p.width; ++x) {
      const tsRgb c =
          Picture(pattern, p, bits, color, (p.offsetX + x) * binH, (p.offsetY + y) * binV);
      const tsRgb lut = {Lut(p, bits, c.red), Lut(p, bits, c.green), Lut(p, bits, c.blue)};
      if (name.starts_with("Mono")) {
        values.push_back(Lut(p, bits, Luma(c)));
      } else if (name.starts_with("Bayer")) {
        values.push_back(Lut(p, bits, Component(c, CfaRow(name.substr(5, 2), y)[x % 2])));
      } else if (name == "RGB8" || name == "RGBa8") {
        out.insert(out.end(), {uint8_t(lut.red), uint8_t(lut.green), uint8_t(lut.blue)});
        if (name == "RGBa8") out.push_back(255);
      } else if (name == "BGR8" || name == "BGRa8") {
        out.insert(out.end(), {uint8_t(lut.blue), uint8_t(lut.green), uint8_t(lut.red)});
        if (name == "BGRa8") out.push_back(255);
      } else {  // YCbCr422_8: chroma of a pair from its first pixel
        const tsRgb first = Picture(pattern, p, bits, color, (p.offsetX + (x & ~1u)) * binH,
                                    (p.offsetY + y) * binV);
        const tsRgb firstLut = {Lut(p, bits, first.red), Lut(p, bits, first.green),
                                Lut(p, bits, first.blue)};
        out.push_back(static_cast<uint8_t>(Luma(lut)));
        out.push_back(x % 2 == 0 ? Cb(firstLut) : Cr(firstLut));
      }
    }
  }
  if (name == "Mono12p") return Mono12p(values);
  if (name == "Mono10p") return Mono10p(values);
  if (name == "Mono12Packed") return GigEPacked(values, p.width, 4);
  if (name == "Mono10Packed") return GigEPacked(values, p.width, 2);
  for (uint32_t value : values) {
    if (bits == 8) {
      out.push_back(static_cast<uint8_t>(value));
    } else {
      PutLittleEndian16(out, value);
    }
  }
  return out;
}

// ---- Requests.

struct tsRegion {
  const char* name;
  uint32_t width, height, offsetX, offsetY, binningHorizontal, binningVertical;
};

// A full sensor of odd width, a region with offsets that ends at the sensor's edge, and a
// binned region with offsets.
constexpr tsRegion kRegions[] = {
    {"full", 37, 23, 0, 0, 1, 1}, {"region", 13, 5, 24, 18, 1, 1}, {"binned", 9, 4, 3, 2, 2, 3}};

tsPatternParams Params(uint32_t pixelFormat, const tsRegion& region, bool isColor) {
  tsPatternParams p;
  p.pixelFormat = pixelFormat;
  p.width = region.width;
  p.height = region.height;
  p.offsetX = region.offsetX;
  p.offsetY = region.offsetY;
  p.binningHorizontal = region.binningHorizontal;
  p.binningVertical = region.binningVertical;
  p.sensorWidth = 37;
  p.sensorHeight = 23;
  p.frameId = 230;  // the diagonal ramp wraps inside the sensor
  p.gridOffsetX = 2;
  p.gridOffsetY = 1;
  p.gridStrideX = 5;
  p.gridStrideY = 4;
  p.isColor = isColor;
  return p;
}

void ExpectPictures(uint32_t pixelFormat, bool withLut) {
  const uint32_t bits = FindPixelFormat(pixelFormat)->componentBits;
  for (uint32_t pattern : kDrawnPatterns) {
    for (const tsRegion& region : kRegions) {
      for (bool isColor : {false, true}) {
        tsPatternParams p = Params(pixelFormat, region, isColor);
        if (withLut) {
          p.lutMaxIndex = MaxValue(bits) * 3 / 4;
          p.lutMaxValue = MaxValue(bits) / 2;
        }
        SCOPED_TRACE(std::string(FindPixelFormat(pixelFormat)->name) + " pattern " +
                     std::to_string(pattern) + " " + region.name + (isColor ? " colour" : ""));
        EXPECT_EQ(Draw(pattern, p), Expected(pattern, p));
      }
    }
  }
}

TEST(PatternPicture, Mono8) {
  ExpectPictures(kPixelMono8, false);
}
TEST(PatternPicture, Mono12p) {
  ExpectPictures(kPixelMono12p, false);
}
TEST(PatternPicture, Mono10Packed) {
  ExpectPictures(kPixelMono10Packed, false);
}
TEST(PatternPicture, BayerRG8) {
  ExpectPictures(kPixelBayerRG8, false);
}
TEST(PatternPicture, RGB8) {
  ExpectPictures(kPixelRGB8, false);
}
TEST(PatternPicture, YCbCr422_8) {
  ExpectPictures(kPixelYCbCr422_8, false);
}

TEST(PatternPicture, EveryFormat) {
  for (uint32_t format : kAllFormats)
    ExpectPictures(format, false);
}

TEST(PatternPicture, EveryFormatThroughTheLookUpTable) {
  for (uint32_t format : kAllFormats)
    ExpectPictures(format, true);
}

TEST(PatternPicture, TallImagesWhoseLinesRepeat) {
  // Taller than the diagonal ramp's period, so that lines are copied from earlier ones.
  const tsRegion tall = {"tall", 19, 600, 3, 50, 1, 1};
  for (uint32_t format : {kPixelMono8, kPixelMono16, kPixelMono10p, kPixelMono12Packed,
                          kPixelBayerGR8, kPixelRGB8, kPixelYCbCr422_8}) {
    for (uint32_t pattern : kDrawnPatterns) {
      tsPatternParams p = Params(format, tall, true);
      p.sensorWidth = 40;
      p.sensorHeight = 700;
      SCOPED_TRACE(std::string(FindPixelFormat(format)->name) + " pattern " +
                   std::to_string(pattern));
      EXPECT_EQ(Draw(pattern, p), Expected(pattern, p));
    }
  }
}

// ---- Literal bytes, worked out by hand from the layouts.

tsPatternParams Line(uint32_t pixelFormat, uint32_t width, uint32_t sensorWidth) {
  tsPatternParams p;
  p.pixelFormat = pixelFormat;
  p.width = width;
  p.height = 1;
  p.sensorWidth = sensorWidth;
  p.sensorHeight = 1;
  return p;
}

TEST(PatternPicture, Mono12pRampBytes) {
  // Values 0, 1365 (0x555), 2730 (0xAAA): 36 bits in 5 bytes, the last half used.
  const std::vector<uint8_t> expected = {0x00, 0x50, 0x55, 0xAA, 0x0A};
  EXPECT_EQ(Draw(kPatternHorizontalRamp, Line(kPixelMono12p, 3, 3)), expected);
}

TEST(PatternPicture, Mono12pLinesRunOnInsideBytes) {
  tsPatternParams p = Line(kPixelMono12p, 3, 3);
  p.height = 2;
  p.sensorHeight = 2;
  // Two lines of 0, 0x555, 0xAAA: the second line starts in the middle of byte 4.
  const std::vector<uint8_t> expected = {0x00, 0x50, 0x55, 0xAA, 0x0A, 0x00, 0x55, 0xA5, 0xAA};
  EXPECT_EQ(Draw(kPatternHorizontalRamp, p), expected);
}

TEST(PatternPicture, Mono10PackedRampBytesEndWithAHalfUsedGroup) {
  // Values 0, 341 (0x155), 682 (0x2AA).
  const std::vector<uint8_t> expected = {0x00, 0x10, 0x55, 0xAA, 0x02, 0x00};
  EXPECT_EQ(Draw(kPatternHorizontalRamp, Line(kPixelMono10Packed, 3, 3)), expected);
}

TEST(PatternPicture, Mono12PackedRampBytes) {
  // Values 0, 1365 (0x555), 2730 (0xAAA).
  const std::vector<uint8_t> expected = {0x00, 0x50, 0x55, 0xAA, 0x0A, 0x00};
  EXPECT_EQ(Draw(kPatternHorizontalRamp, Line(kPixelMono12Packed, 3, 3)), expected);
}

TEST(PatternPicture, YCbCrBarsOfOddWidth) {
  // White, yellow, cyan; the last pixel keeps its Y and Cb.
  const std::vector<uint8_t> expected = {255, 128, 226, 128, 179, 171};
  EXPECT_EQ(Draw(kPatternColorBars, Line(kPixelYCbCr422_8, 3, 8)), expected);
}

TEST(PatternPicture, ColorBarsInRgbAndMono) {
  const std::vector<uint8_t> rgb = {255, 255, 255, 255, 255, 0, 0, 255, 255, 0, 255, 0,
                                    255, 0,   255, 255, 0,   0, 0, 0,   255, 0, 0,   0};
  EXPECT_EQ(Draw(kPatternColorBars, Line(kPixelRGB8, 8, 8)), rgb);
  const std::vector<uint8_t> luma = {255, 226, 179, 150, 105, 76, 29, 0};
  EXPECT_EQ(Draw(kPatternColorBars, Line(kPixelMono8, 8, 8)), luma);
}

TEST(PatternPicture, BayerSamplesTheColourBarsFromTheImageOrigin) {
  tsPatternParams p = Line(kPixelBayerRG8, 4, 8);
  p.height = 2;
  p.sensorHeight = 2;
  p.offsetX = 1;  // bars yellow, cyan, green, magenta
  // Row 0 R G R G: 255 255 0 0; row 1 G B G B: 255 255 255 255.
  const std::vector<uint8_t> expected = {255, 255, 0, 0, 255, 255, 255, 255};
  EXPECT_EQ(Draw(kPatternColorBars, p), expected);
}

TEST(PatternPicture, DiagonalRampMovesOnePixelPerFrame) {
  tsPatternParams p = Params(kPixelMono16, kRegions[0], false);
  const std::vector<uint8_t> before = Draw(kPatternDiagonalRamp, p);
  ++p.frameId;
  const std::vector<uint8_t> after = Draw(kPatternDiagonalRamp, p);
  const size_t line = 2 * p.width;
  for (size_t y = 0; y < p.height; ++y) {
    EXPECT_TRUE(std::equal(after.begin() + y * line, after.begin() + (y + 1) * line - 2,
                           before.begin() + y * line + 2))
        << "line " << y;
  }
}

TEST(PatternPicture, RegionShowsItsPartOfTheFullSensor) {
  for (uint32_t pattern : kDrawnPatterns) {
    tsPatternParams full = Params(kPixelRGB8, kRegions[0], true);
    tsPatternParams region = Params(kPixelRGB8, kRegions[1], true);
    const std::vector<uint8_t> whole = Draw(pattern, full);
    const std::vector<uint8_t> part = Draw(pattern, region);
    for (uint32_t y = 0; y < region.height; ++y) {
      const size_t from = 3 * (size_t{region.offsetY + y} * full.width + region.offsetX);
      EXPECT_TRUE(std::equal(part.begin() + 3 * y * region.width,
                             part.begin() + 3 * (y + 1) * region.width, whole.begin() + from))
          << "pattern " << pattern << " line " << y;
    }
  }
}

TEST(PatternPicture, BinningZeroCountsAsOne) {
  tsPatternParams one = Params(kPixelMono8, kRegions[1], false);
  tsPatternParams zero = one;
  zero.binningHorizontal = 0;
  zero.binningVertical = 0;
  for (uint32_t pattern : kDrawnPatterns)
    EXPECT_EQ(Draw(pattern, zero), Draw(pattern, one));
}

TEST(PatternPicture, GridStrideZeroDrawsNoLines) {
  tsPatternParams p = Params(kPixelMono8, kRegions[0], false);
  p.gridStrideX = 0;
  p.gridStrideY = 0;
  const std::vector<uint8_t> image = Draw(kPatternGrid, p);
  EXPECT_TRUE(std::all_of(image.begin(), image.end(), [](uint8_t b) { return b == 0; }));
  p.gridStrideY = 4;  // horizontal lines only: rows 1, 5, 9, ...
  const std::vector<uint8_t> rows = Draw(kPatternGrid, p);
  for (uint32_t y = 0; y < p.height; ++y) {
    EXPECT_EQ(rows[y * p.width], (y % 4 == 1) ? 255 : 0) << "row " << y;
  }
}

TEST(PatternPicture, LookUpTableMapsLinearlyAndSaturates) {
  tsPatternParams p = Line(kPixelMono8, 256, 256);
  p.lutMaxIndex = 100;
  p.lutMaxValue = 50;
  const std::vector<uint8_t> image = Draw(kPatternHorizontalRamp, p);
  EXPECT_EQ(image[0], 0);
  EXPECT_EQ(image[99], 49);
  EXPECT_EQ(image[100], 50);
  EXPECT_EQ(image[255], 50);
  p.lutMaxValue = 1000;  // beyond the format's range
  EXPECT_EQ(Draw(kPatternHorizontalRamp, p)[30], 255);
}

TEST(PatternGenerators, OneGeneratorPerPattern) {
  const auto generators = MakePatternGenerators();
  ASSERT_EQ(generators.size(), 7u);
  for (uint32_t id = 0; id <= 6; ++id) {
    ASSERT_TRUE(generators.count(id)) << id;
    EXPECT_NE(generators.at(id), nullptr);
  }
}

// ---- Errors and the capacity limit.

TEST(PatternGenerators, UnknownPixelFormatWritesNothing) {
  tsPatternParams p = Params(kPixelMono8, kRegions[0], false);
  p.pixelFormat = 0x01080002;
  std::vector<uint8_t> buffer(2000, 0xAB);
  for (const auto& [id, generator] : Generators()) {
    EXPECT_LT(generator->Draw(p, buffer.data(), buffer.size()), 0) << id;
  }
  EXPECT_TRUE(std::all_of(buffer.begin(), buffer.end(), [](uint8_t b) { return b == 0xAB; }));
}

TEST(PatternGenerators, EmptyImageWritesNothing) {
  tsPatternParams p = Params(kPixelRGB8, kRegions[0], false);
  p.height = 0;
  uint8_t byte = 0xAB;
  for (const auto& [id, generator] : Generators()) {
    EXPECT_EQ(generator->Draw(p, &byte, 1), 0);
    EXPECT_EQ(generator->Draw(Params(kPixelRGB8, kRegions[0], false), &byte, 0), 0);
  }
  EXPECT_EQ(byte, 0xAB);
}

constexpr uint8_t kGuard = 0xAB;
constexpr size_t kGuardBytes = 64;

// Draws with `capacity` into a buffer with guard bytes after it; returns the written part
// after checking that the guard bytes are untouched.
std::vector<uint8_t> DrawWithin(const tcPatternGenerator& generator, const tsPatternParams& p,
                                size_t capacity) {
  std::vector<uint8_t> buffer(capacity + kGuardBytes, kGuard);
  EXPECT_EQ(generator.Draw(p, buffer.data(), capacity), 0);
  EXPECT_TRUE(
      std::all_of(buffer.begin() + capacity, buffer.end(), [](uint8_t b) { return b == kGuard; }))
      << "wrote past the capacity of " << capacity;
  buffer.resize(capacity);
  return buffer;
}

TEST(PatternCapacity, NoGeneratorWritesPastTheCapacity) {
  for (const auto& [id, generator] : Generators()) {
    for (uint32_t format : kAllFormats) {
      for (const tsRegion& region : kRegions) {
        tsPatternParams p = Params(format, region, true);
        p.noiseMean = 100;
        p.noiseStdDev = 30;
        const size_t size = ImageBytes(*FindPixelFormat(format), p.width, p.height);
        const size_t line = ImageBytes(*FindPixelFormat(format), p.width, 1);
        SCOPED_TRACE(std::string(FindPixelFormat(format)->name) + " pattern " + std::to_string(id) +
                     " " + region.name);
        const std::vector<uint8_t> whole = DrawWithin(*generator, p, size);
        for (size_t capacity : {size - 1, size / 2, line + 1, line, line - 1, size_t{1}}) {
          const std::vector<uint8_t> part = DrawWithin(*generator, p, capacity);
          EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin()))
              << "the first " << capacity << " bytes differ from the whole image";
        }
      }
    }
  }
}

}  // namespace
