// Noise from two tables of deviates read at random offsets per line: a few vector operations
// per pixel.
#include "sim/tcPatternNoise.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uint32_t kTableBits = 16;
constexpr uint32_t kTableSize = 1u << kTableBits;
constexpr uint32_t kTableMask = kTableSize - 1;
constexpr uint32_t kRun = 4096;  // pixels read from one offset, the length of the table copy
constexpr uint32_t kTableLength = kTableSize + kRun;
constexpr uint32_t kComponents = 3;
constexpr float kSafeLimit = 1e6f;  // mean and deviation beyond any format's range
constexpr float kInt16Limit = 32767.0f;

uint64_t SplitMix64(uint64_t x) {
  x += 0x9E3779B97F4A7C15ull;
  x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
  return x ^ (x >> 31);
}

uint32_t ByteSum(uint64_t bits) {
  uint32_t sum = 0;
  for (; bits != 0; bits >>= 8)
    sum += bits & 0xFF;
  return sum;
}

std::vector<float> MakeDeviates(uint64_t seed) {
  std::vector<double> sums(kTableSize);
  double total = 0.0;
  for (uint32_t i = 0; i < kTableSize; ++i) {
    sums[i] = ByteSum(SplitMix64(seed + i));
    total += sums[i];
  }
  const double mean = total / kTableSize;
  double squares = 0.0;
  for (double sum : sums)
    squares += (sum - mean) * (sum - mean);
  const double scale = std::sqrt(0.5 / (squares / kTableSize));
  std::vector<float> table(kTableLength);
  for (uint32_t i = 0; i < kTableLength; ++i) {
    table[i] = static_cast<float>((sums[i & kTableMask] - mean) * scale);
  }
  return table;
}

float Limited(double value) {
  return std::isfinite(value) ? std::clamp(static_cast<float>(value), -kSafeLimit, kSafeLimit)
                              : 0.0f;
}

float Mean(const tsPatternFrame& frame) {
  return Limited(frame.params->noiseMean);
}

float StdDev(const tsPatternFrame& frame) {
  return std::fabs(Limited(frame.params->noiseStdDev));
}

// Rounds offset + scale * deviate[i], limited to [low, high] (within 16 bits), half up.
void RoundScaled(const float* deviates, float offset, float scale, float low, float high,
                 int16_t* out) {
  tcPatternGenerator::ForEachPixel(kTableLength, [&](size_t i) {
    const float value = offset + scale * deviates[i];
    const float above = value > low ? value : low;
    const float limited = above < high ? above : high;
    out[i] = static_cast<int16_t>(static_cast<int32_t>(limited + 32768.5f) - 32768);
  });
}

// Pixels as the sum of two rounded table entries, clamped to [0, top].
PATTERN_VECTOR_CLONES void AddRounded(const int16_t* first, const int16_t* second, int16_t top,
                                      size_t count, uint16_t* out) {
  tcPatternGenerator::ForEachPixel(count, [&](size_t x) {
    const int16_t sum = static_cast<int16_t>(first[x] + second[x]);
    const int16_t low = sum > 0 ? sum : 0;
    out[x] = static_cast<uint16_t>(low < top ? low : top);
  });
}

// Pixels as mean + stdDev * (first + second), rounded half up and clamped to [0, top]; the
// comparisons are written as the vector min and max instructions compare, so they need no
// blend.
PATTERN_VECTOR_CLONES void AddScaled(const float* first, const float* second, float mean,
                                     float stdDev, float top, size_t count, uint16_t* out) {
  const float roundedMean = mean + 0.5f;
  const float roundedTop = top + 0.5f;
  tcPatternGenerator::ForEachPixel(count, [&](size_t x) {
    const float value = roundedMean + stdDev * (first[x] + second[x]);
    const float low = value > 0.0f ? value : 0.0f;
    const float limited = low < roundedTop ? low : roundedTop;
    out[x] = static_cast<uint16_t>(static_cast<int32_t>(limited));
  });
}

}  // namespace

tcPatternNoise::tcPatternNoise() : first_(MakeDeviates(1)), second_(MakeDeviates(2)) {
  secondLargest_ = 0.0f;
  for (float deviate : second_)
    secondLargest_ = std::max(secondLargest_, std::fabs(deviate));
}

void tcPatternNoise::FillTable(const tsPatternFrame& frame, std::vector<int16_t>& table) const {
  const float stdDev = StdDev(frame);
  const float secondLimit = stdDev * secondLargest_ + 1.0f;
  const float top = static_cast<float>(frame.maxValue);
  if (top + 2.0f * secondLimit + 2.0f > kInt16Limit) return;
  table.resize(2 * size_t{kTableLength});
  RoundScaled(first_.data(), Mean(frame), stdDev, -secondLimit, top + secondLimit, table.data());
  RoundScaled(second_.data(), 0.0f, stdDev, -secondLimit, secondLimit, table.data() + kTableLength);
}

void tcPatternNoise::FillLine(const tsPatternFrame& frame, uint32_t sensorY,
                              tsPatternLine& line) const {
  const uint64_t lineSeed = SplitMix64(frame.params->frameId) + uint64_t{sensorY} * kComponents;
  if (!frame.color) return FillComponent(frame, lineSeed, line.luma);
  FillComponent(frame, lineSeed, line.red);
  FillComponent(frame, lineSeed + 1, line.green);
  FillComponent(frame, lineSeed + 2, line.blue);
  line.color = true;
}

void tcPatternNoise::FillComponent(const tsPatternFrame& frame, uint64_t lineSeed,
                                   uint16_t* out) const {
  const uint64_t offsets = SplitMix64(lineSeed);
  const std::vector<int16_t>& rounded = *frame.table;
  for (uint32_t start = 0; start < frame.width; start += kRun) {
    const size_t first = (offsets + start) & kTableMask;
    const size_t second = ((offsets >> 32) + start) & kTableMask;
    const size_t count = std::min(kRun, frame.width - start);
    if (rounded.empty()) {
      AddScaled(first_.data() + first, second_.data() + second, Mean(frame), StdDev(frame),
                static_cast<float>(frame.maxValue), count, out + start);
    } else {
      AddRounded(rounded.data() + first, rounded.data() + kTableLength + second,
                 static_cast<int16_t>(frame.maxValue), count, out + start);
    }
  }
}
