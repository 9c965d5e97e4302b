// Turns the lines a pattern draws into the bytes of each supported pixel format, within the
// capacity, copying lines that repeat instead of drawing them again.
#include "sim/tcPatternGenerator.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <vector>

#include "sim/PixelFormat.h"

static_assert(std::endian::native == std::endian::little,
              "16-bit pixels are stored as they are in memory");

namespace {

// Planes of one Draw call: 4 per-column planes, 4 line planes, the plane a colour line is
// reduced to for mono and Bayer formats, and 3 planes for the look-up table's output.
constexpr size_t kColumnPlanes = 0;
constexpr size_t kLinePlanes = 4;
constexpr size_t kFittedPlane = 8;
constexpr size_t kLutPlanes = 9;
constexpr size_t kPlaneCount = 12;

// Lines remembered for copying, found by key; a power of two large enough for patterns whose
// lines repeat with a period of a few hundred lines.
constexpr uint32_t kLineCacheSize = 1024;

// The components a pixel format stores for one line: the same plane three times for mono and
// Bayer formats (and for grey on colour formats), red, green and blue otherwise.
struct tsComponents {
  const uint16_t* red;
  const uint16_t* green;
  const uint16_t* blue;
};

struct tsCachedLine {
  uint64_t key = tcPatternGenerator::kUniqueLine;
  uint32_t phase = 0;
  uint32_t line = 0;
};

struct tsBitStream {
  uint8_t* out;
  size_t capacity;
  size_t pos = 0;
  uint64_t pending = 0;  // bits not yet written, LSB first
  uint32_t pendingBits = 0;
};

tsPatternLine PlaneSet(std::vector<uint16_t>& planes, uint32_t width, size_t first) {
  uint16_t* base = planes.data() + first * width;
  return {base, base + width, base + 2 * size_t{width}, base + 3 * size_t{width}, false, false};
}

uint32_t Clamp32(uint64_t value) {
  return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

uint32_t SensorExtent(uint32_t sensorSize, uint32_t offset, uint32_t size, uint32_t binning) {
  return std::max(sensorSize, Clamp32((uint64_t{offset} + size) * binning));
}

uint32_t SensorPosition(uint32_t offset, uint32_t index, uint32_t binning, uint32_t extent) {
  return std::min(Clamp32((uint64_t{offset} + index) * binning), extent - 1);
}

tsPatternFrame MakeFrame(const tsPatternParams& params, const tsPixelFormat& format,
                         std::vector<uint32_t>& sensorX) {
  const uint32_t binning = std::max(params.binningHorizontal, 1u);
  tsPatternFrame frame{};
  frame.params = &params;
  frame.width = params.width;
  frame.componentBits = format.componentBits;
  frame.maxValue = (1u << format.componentBits) - 1;
  frame.sensorWidth = SensorExtent(params.sensorWidth, params.offsetX, params.width, binning);
  frame.sensorHeight = SensorExtent(params.sensorHeight, params.offsetY, params.height,
                                    std::max(params.binningVertical, 1u));
  frame.color = params.isColor && format.kind != PixelKind::kMono;
  for (uint32_t x = 0; x < params.width; ++x) {
    sensorX[x] = SensorPosition(params.offsetX, x, binning, frame.sensorWidth);
  }
  frame.sensorX = sensorX.data();
  return frame;
}

// v -> min(v, maxIndex) * maxValue / maxIndex, without a division per entry.
std::vector<uint16_t> MakeLut(const tsPatternParams& params, uint32_t maxValue) {
  std::vector<uint16_t> lut(size_t{maxValue} + 1);
  const uint64_t maxIndex = params.lutMaxIndex;
  const uint64_t step = params.lutMaxValue / maxIndex;
  const uint64_t stepRemainder = params.lutMaxValue % maxIndex;
  uint64_t value = 0;
  uint64_t remainder = 0;
  for (uint32_t v = 0; v <= maxValue; ++v) {
    const uint64_t mapped = v < maxIndex ? value : params.lutMaxValue;
    lut[v] = static_cast<uint16_t>(std::min<uint64_t>(mapped, maxValue));
    value += step;
    remainder += stepRemainder;
    if (remainder >= maxIndex) {
      remainder -= maxIndex;
      ++value;
    }
  }
  return lut;
}

void ToLuma(const tsPatternLine& line, uint32_t width, uint16_t* luma) {
  const uint16_t* red = line.red;
  const uint16_t* green = line.green;
  const uint16_t* blue = line.blue;
  tcPatternGenerator::ForEachPixel(width, [&](size_t x) {
    luma[x] = static_cast<uint16_t>(
        (19595u * red[x] + 38470u * green[x] + 7471u * blue[x] + 32768u) >> 16);
  });
}

// Plane (0 red, 1 green, 2 blue) the colour filter passes at even and odd columns of a row.
std::array<int, 2> CfaColumns(CfaOrder order, uint32_t row) {
  const bool odd = row & 1;
  switch (order) {
    case CfaOrder::kRG:
      return odd ? std::array{1, 2} : std::array{0, 1};
    case CfaOrder::kGR:
      return odd ? std::array{2, 1} : std::array{1, 0};
    case CfaOrder::kGB:
      return odd ? std::array{0, 1} : std::array{1, 2};
    case CfaOrder::kBG:
    case CfaOrder::kNone:
      break;
  }
  return odd ? std::array{1, 0} : std::array{2, 1};
}

void SampleCfa(const tsPatternLine& line, CfaOrder order, uint32_t row, uint32_t width,
               uint16_t* sample) {
  const std::array<const uint16_t*, 3> planes = {line.red, line.green, line.blue};
  const std::array<int, 2> columns = CfaColumns(order, row);
  const uint16_t* even = planes[columns[0]];
  const uint16_t* odd = planes[columns[1]];
  tcPatternGenerator::ForEachPixel(width, [&](size_t x) {
    const uint16_t evenValue = even[x];
    const uint16_t oddValue = odd[x];
    sample[x] = (x & 1) ? oddValue : evenValue;
  });
}

tsComponents FitLine(const tsPixelFormat& format, const tsPatternLine& line, uint32_t row,
                     uint32_t width, uint16_t* fitted) {
  if (!line.color) return {line.luma, line.luma, line.luma};
  switch (format.kind) {
    case PixelKind::kMono:
      ToLuma(line, width, fitted);
      return {fitted, fitted, fitted};
    case PixelKind::kBayer:
      SampleCfa(line, format.cfa, row, width, fitted);
      return {fitted, fitted, fitted};
    default:
      return {line.red, line.green, line.blue};
  }
}

void ApplyLut(const uint16_t* table, const uint16_t* in, uint32_t width, uint16_t* out) {
  for (uint32_t x = 0; x < width; ++x)
    out[x] = table[in[x]];
}

tsComponents ApplyLut(const uint16_t* table, const tsComponents& in, uint32_t width,
                      uint16_t* lutPlanes) {
  tsComponents out;
  ApplyLut(table, in.red, width, lutPlanes);
  out.red = lutPlanes;
  out.green = out.red;
  if (in.green != in.red) {
    out.green = lutPlanes + width;
    ApplyLut(table, in.green, width, lutPlanes + width);
  }
  out.blue = out.green;
  if (in.blue != in.green) {
    out.blue = lutPlanes + 2 * size_t{width};
    ApplyLut(table, in.blue, width, lutPlanes + 2 * size_t{width});
  }
  return out;
}

void WriteBytes(const uint16_t* values, uint32_t width, uint8_t* out) {
  tcPatternGenerator::ForEachPixel(width,
                                   [&](size_t x) { out[x] = static_cast<uint8_t>(values[x]); });
}

// Two pixels in three bytes with the `lowBits` low bits of both in the middle byte.
void WriteGigEPacked(const uint16_t* values, uint32_t width, uint32_t lowBits, uint8_t* out) {
  const uint32_t lowMask = (1u << lowBits) - 1;
  uint32_t x = 0;
  for (; x + 1 < width; x += 2, out += 3) {
    out[0] = static_cast<uint8_t>(values[x] >> lowBits);
    out[1] = static_cast<uint8_t>((values[x] & lowMask) | (values[x + 1] & lowMask) << 4);
    out[2] = static_cast<uint8_t>(values[x + 1] >> lowBits);
  }
  if (x < width) {
    out[0] = static_cast<uint8_t>(values[x] >> lowBits);
    out[1] = static_cast<uint8_t>(values[x] & lowMask);
    out[2] = 0;
  }
}

PATTERN_VECTOR_CLONES void WriteRgb(const uint16_t* first, const uint16_t* second,
                                    const uint16_t* third, uint32_t width, uint8_t* out) {
  tcPatternGenerator::ForEachPixel(width, [&](size_t x) {
    out[3 * x] = static_cast<uint8_t>(first[x]);
    out[3 * x + 1] = static_cast<uint8_t>(second[x]);
    out[3 * x + 2] = static_cast<uint8_t>(third[x]);
  });
}

PATTERN_VECTOR_CLONES void WriteRgba(const uint16_t* first, const uint16_t* second,
                                     const uint16_t* third, uint32_t width, uint8_t* out) {
  tcPatternGenerator::ForEachPixel(width, [&](size_t x) {
    out[4 * x] = static_cast<uint8_t>(first[x]);
    out[4 * x + 1] = static_cast<uint8_t>(second[x]);
    out[4 * x + 2] = static_cast<uint8_t>(third[x]);
    out[4 * x + 3] = 255;
  });
}

uint8_t Chroma(int32_t red, int32_t green, int32_t blue, const std::array<int32_t, 3>& weights) {
  return static_cast<uint8_t>(
      (weights[0] * red + weights[1] * green + weights[2] * blue + 8421375) >> 16);
}

void WriteYCbCr422(const tsComponents& rgb, uint32_t width, uint8_t* out) {
  constexpr std::array<int32_t, 3> kCb = {-11059, -21709, 32768};
  constexpr std::array<int32_t, 3> kCr = {32768, -27439, -5329};
  for (uint32_t x = 0; x < width; ++x) {
    const uint32_t pairStart = x & ~1u;
    const int32_t red = rgb.red[pairStart];
    const int32_t green = rgb.green[pairStart];
    const int32_t blue = rgb.blue[pairStart];
    out[2 * size_t{x}] = static_cast<uint8_t>(
        (19595u * rgb.red[x] + 38470u * rgb.green[x] + 7471u * rgb.blue[x] + 32768u) >> 16);
    out[2 * size_t{x} + 1] = Chroma(red, green, blue, (x & 1) ? kCr : kCb);
  }
}

// Writes one line of a format whose lines are whole bytes.
void WriteLine(const tsPixelFormat& format, const tsComponents& line, uint32_t width,
               uint8_t* out) {
  switch (format.kind) {
    case PixelKind::kRgb:
      return WriteRgb(line.red, line.green, line.blue, width, out);
    case PixelKind::kBgr:
      return WriteRgb(line.blue, line.green, line.red, width, out);
    case PixelKind::kRgba:
      return WriteRgba(line.red, line.green, line.blue, width, out);
    case PixelKind::kBgra:
      return WriteRgba(line.blue, line.green, line.red, width, out);
    case PixelKind::kYCbCr422:
      return WriteYCbCr422(line, width, out);
    case PixelKind::kMono:
    case PixelKind::kBayer:
      break;
  }
  if (format.packing == PixelPacking::kGigEPacked) {
    WriteGigEPacked(line.red, width, format.componentBits - 8, out);
  } else if (format.componentBits == 8) {
    WriteBytes(line.red, width, out);
  } else {
    std::memcpy(out, line.red, 2 * size_t{width});
  }
}

void AppendBits(tsBitStream& stream, const uint16_t* values, uint32_t width,
                uint32_t bitsPerPixel) {
  for (uint32_t x = 0; x < width; ++x) {
    stream.pending |= uint64_t{values[x]} << stream.pendingBits;
    stream.pendingBits += bitsPerPixel;
    for (; stream.pendingBits >= 8; stream.pendingBits -= 8, stream.pending >>= 8) {
      if (stream.pos < stream.capacity)
        stream.out[stream.pos] = static_cast<uint8_t>(stream.pending);
      ++stream.pos;
    }
  }
}

void FlushBits(tsBitStream& stream) {
  if (stream.pendingBits > 0 && stream.pos < stream.capacity) {
    stream.out[stream.pos] = static_cast<uint8_t>(stream.pending);
  }
}

// Lines of a bit-stream format, running on without padding: lineValues(y) gives line y's
// values.
template <typename LineValues>
void WriteBitStream(uint8_t* out, size_t capacity, uint32_t width, uint32_t height,
                    uint32_t bitsPerPixel, LineValues&& lineValues) {
  tsBitStream stream{out, capacity};
  for (uint32_t y = 0; y < height && stream.pos < capacity; ++y) {
    AppendBits(stream, lineValues(y), width, bitsPerPixel);
  }
  FlushBits(stream);
}

// Fills `lineBytes` bytes of `line` with copies of its first `groupBytes`, doubling the copied
// part each time.
void Repeat(size_t groupBytes, size_t lineBytes, uint8_t* line) {
  for (size_t filled = groupBytes; filled < lineBytes; filled *= 2) {
    std::memcpy(line + filled, line, std::min(filled, lineBytes - filled));
  }
}

// Lines of byte-aligned formats: drawLine(y, out) writes line y; lines with the key of a line
// already written whole (and, on Bayer formats, of the same row parity) are copied from it.
template <typename DrawLine, typename KeyOf>
void WriteAlignedLines(uint8_t* out, size_t capacity, size_t lineBytes, uint32_t height,
                       bool byParity, DrawLine&& drawLine, KeyOf&& keyOf) {
  std::vector<tsCachedLine> cache(kLineCacheSize);
  for (uint32_t y = 0; y < height; ++y) {
    const size_t offset = size_t{y} * lineBytes;
    if (offset >= capacity) return;
    const size_t room = std::min(lineBytes, capacity - offset);
    const uint64_t key = keyOf(y);
    const uint32_t phase = byParity ? (y & 1) : 0;
    tsCachedLine& slot = cache[(key * 2 + phase) % kLineCacheSize];
    if (key != tcPatternGenerator::kUniqueLine && slot.key == key && slot.phase == phase) {
      std::memcpy(out + offset, out + size_t{slot.line} * lineBytes, room);
    } else if (room < lineBytes) {
      std::vector<uint8_t> cut(lineBytes);
      drawLine(y, cut.data());
      std::memcpy(out + offset, cut.data(), room);
    } else {
      drawLine(y, out + offset);
      if (key != tcPatternGenerator::kUniqueLine) slot = {key, phase, y};
    }
  }
}

}  // namespace

int tcPatternGenerator::Draw(const tsPatternParams& params, uint8_t* out, size_t capacity) const {
  const tsPixelFormat* format = FindPixelFormat(params.pixelFormat);
  if (format == nullptr) return kUnknownPixelFormat;
  if (params.width == 0 || params.height == 0 || capacity == 0) return 0;

  const uint32_t width = params.width;
  std::vector<uint16_t> planes(kPlaneCount * width);
  std::vector<uint32_t> sensorX(width);
  tsPatternFrame frame = MakeFrame(params, *format, sensorX);
  tsPatternLine columns = PlaneSet(planes, width, kColumnPlanes);
  FillColumns(frame, columns);
  frame.columns = columns;
  std::vector<int16_t> table;
  FillTable(frame, table);
  frame.table = &table;

  const std::vector<uint16_t> lut =
      params.lutMaxIndex > 0 ? MakeLut(params, frame.maxValue) : std::vector<uint16_t>();
  tsPatternLine line = PlaneSet(planes, width, kLinePlanes);
  auto sensorY = [&](uint32_t y) {
    return SensorPosition(params.offsetY, y, std::max(params.binningVertical, 1u),
                          frame.sensorHeight);
  };
  auto fillLine = [&](uint32_t y) {
    line.color = false;
    line.uniform = false;
    FillLine(frame, sensorY(y), line);
  };
  auto fitLine = [&](uint32_t y, uint32_t count) {
    const tsComponents fitted =
        FitLine(*format, line, y, count, planes.data() + kFittedPlane * width);
    if (lut.empty()) return fitted;
    return ApplyLut(lut.data(), fitted, count, planes.data() + kLutPlanes * width);
  };

  if (format->packing == PixelPacking::kBitStream) {
    WriteBitStream(out, capacity, width, params.height, format->bitsPerPixel, [&](uint32_t y) {
      fillLine(y);
      return fitLine(y, width).red;
    });
    return 0;
  }
  // A uniform line is its first two pixels repeated (Bayer and YCbCr lines repeat every two
  // pixels), except a packed line of odd width, which ends with a half-used group.
  const bool repeatable = format->packing == PixelPacking::kUnpacked || width % 2 == 0;
  const uint32_t group = std::min(width, 2u);
  const size_t lineBytes = ImageBytes(*format, width, 1);
  WriteAlignedLines(
      out, capacity, lineBytes, params.height, format->kind == PixelKind::kBayer,
      [&](uint32_t y, uint8_t* lineOut) {
        fillLine(y);
        if (line.uniform && repeatable) {
          WriteLine(*format, fitLine(y, group), group, lineOut);
          Repeat(ImageBytes(*format, group, 1), lineBytes, lineOut);
        } else {
          WriteLine(*format, fitLine(y, width), width, lineOut);
        }
      },
      [&](uint32_t y) { return LineKey(frame, sensorY(y)); });
  return 0;
}

void tcPatternGenerator::FillColumns(const tsPatternFrame&, tsPatternLine&) const {}

void tcPatternGenerator::FillTable(const tsPatternFrame&, std::vector<int16_t>&) const {}

uint64_t tcPatternGenerator::LineKey(const tsPatternFrame&, uint32_t) const {
  return kUniqueLine;
}

void tcPatternGenerator::Fill(uint16_t* plane, uint32_t count, uint32_t value) {
  ForEachPixel(count, [&](size_t x) { plane[x] = static_cast<uint16_t>(value); });
}

void tcPatternGenerator::ColorRamp(uint32_t maxValue, uint32_t width, tsPatternLine& line) {
  const uint16_t* luma = line.luma;
  uint16_t* red = line.red;
  uint16_t* green = line.green;
  uint16_t* blue = line.blue;
  ForEachPixel(width, [&](size_t x) {
    red[x] = luma[x];
    green[x] = static_cast<uint16_t>((luma[x] * 2u) & maxValue);
    blue[x] = static_cast<uint16_t>(maxValue - luma[x]);
  });
  line.color = true;
}
