// Throughput of each test pattern generator on full-HD frames, next to memset of the same
// number of bytes as the upper bound.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "sim/PatternGenerators.h"
#include "sim/PixelFormat.h"

namespace {

constexpr uint32_t kWidth = 1920;
constexpr uint32_t kHeight = 1080;

struct tsBenchPattern {
  uint32_t id;
  const char* name;
};

constexpr tsBenchPattern kPatterns[] = {
    {kPatternOff, "Off"},
    {kPatternHorizontalRamp, "HorizontalRamp"},
    {kPatternVerticalRamp, "VerticalRamp"},
    {kPatternDiagonalRamp, "DiagonalRamp"},
    {kPatternGrid, "Grid"},
    {kPatternNoise, "Noise"},
    {kPatternColorBars, "ColorBars"},
};

constexpr uint32_t kFormats[] = {kPixelMono8, kPixelMono16, kPixelRGB8};

// A full-sensor frame; RGB8 as a colour camera draws it (colour ramps and noise).
tsPatternParams FullHd(uint32_t pixelFormat) {
  tsPatternParams params;
  params.pixelFormat = pixelFormat;
  params.width = kWidth;
  params.height = kHeight;
  params.sensorWidth = kWidth;
  params.sensorHeight = kHeight;
  params.gridStrideX = 64;
  params.gridStrideY = 64;
  params.noiseMean = 100;
  params.noiseStdDev = 20;
  params.isColor = FindPixelFormat(pixelFormat)->kind != PixelKind::kMono;
  return params;
}

void Memset(benchmark::State& state, uint32_t pixelFormat) {
  std::vector<uint8_t> frame(ImageBytes(*FindPixelFormat(pixelFormat), kWidth, kHeight));
  int value = 0;
  for (auto _ : state) {
    std::memset(frame.data(), ++value, frame.size());
    benchmark::DoNotOptimize(frame.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * frame.size()));
}

void Draw(benchmark::State& state, const tcPatternGenerator* generator, uint32_t pixelFormat) {
  tsPatternParams params = FullHd(pixelFormat);
  std::vector<uint8_t> frame(ImageBytes(*FindPixelFormat(pixelFormat), kWidth, kHeight));
  for (auto _ : state) {
    ++params.frameId;
    generator->Draw(params, frame.data(), frame.size());
    benchmark::DoNotOptimize(frame.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * frame.size()));
}

// Registered at start-up so that every pattern x format pair shows up under its own name.
const bool kRegistered = [] {
  static const auto generators = MakePatternGenerators();
  for (uint32_t format : kFormats) {
    const std::string formatName(FindPixelFormat(format)->name);
    benchmark::RegisterBenchmark(("Memset/" + formatName).c_str(), Memset, format);
    for (const tsBenchPattern& pattern : kPatterns) {
      benchmark::RegisterBenchmark((std::string(pattern.name) + "/" + formatName).c_str(), Draw,
                                   generators.at(pattern.id).get(), format);
    }
  }
  return true;
}();

}  // namespace
