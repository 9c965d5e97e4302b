// The noise pattern's statistics, range, reproducibility and independence between pixels.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "sim/PixelFormat.h"
#include "sim/tcPatternNoise.h"

namespace {

tsPatternParams Noise(uint32_t pixelFormat, uint32_t width, uint32_t height, double mean,
                      double stdDev) {
  tsPatternParams p;
  p.pixelFormat = pixelFormat;
  p.width = width;
  p.height = height;
  p.sensorWidth = width;
  p.sensorHeight = height;
  p.noiseMean = mean;
  p.noiseStdDev = stdDev;
  p.frameId = 7;
  return p;
}

std::vector<uint8_t> Draw(const tsPatternParams& p) {
  static const tcPatternNoise noise;
  std::vector<uint8_t> image(ImageBytes(*FindPixelFormat(p.pixelFormat), p.width, p.height));
  EXPECT_EQ(noise.Draw(p, image.data(), image.size()), 0);
  return image;
}

// Values of an 8-bit format (every `step`-th byte from `first`) or of a 16-bit one.
std::vector<double> Values(const std::vector<uint8_t>& image, size_t bytesPerValue,
                           size_t first = 0, size_t step = 1) {
  std::vector<double> values;
  for (size_t i = first * bytesPerValue; i + bytesPerValue <= image.size();
       i += step * bytesPerValue) {
    values.push_back(bytesPerValue == 1 ? image[i] : image[i] | image[i + 1] << 8);
  }
  return values;
}

double Mean(const std::vector<double>& values) {
  double sum = 0.0;
  for (double v : values)
    sum += v;
  return sum / values.size();
}

double StdDev(const std::vector<double>& values) {
  const double mean = Mean(values);
  double squares = 0.0;
  for (double v : values)
    squares += (v - mean) * (v - mean);
  return std::sqrt(squares / values.size());
}

TEST(PatternNoise, Mono16FullHdHasTheRequestedMeanAndDeviation) {
  const std::vector<double> values = Values(Draw(Noise(kPixelMono16, 1920, 1080, 1000, 50)), 2);
  EXPECT_NEAR(Mean(values), 1000, 1000 * 0.02);
  EXPECT_NEAR(StdDev(values), 50, 50 * 0.02);
}

TEST(PatternNoise, Mono8HasTheRequestedMeanAndDeviation) {
  const std::vector<double> values = Values(Draw(Noise(kPixelMono8, 1920, 1080, 100, 12)), 1);
  EXPECT_NEAR(Mean(values), 100, 100 * 0.02);
  EXPECT_NEAR(StdDev(values), 12, 12 * 0.02);
}

TEST(PatternNoise, ColourComponentsHaveTheRequestedStatisticsEach) {
  tsPatternParams p = Noise(kPixelRGB8, 640, 480, 120, 20);
  p.isColor = true;
  const std::vector<uint8_t> image = Draw(p);
  for (size_t component = 0; component < 3; ++component) {
    const std::vector<double> values = Values(image, 1, component, 3);
    EXPECT_NEAR(Mean(values), 120, 120 * 0.02) << component;
    EXPECT_NEAR(StdDev(values), 20, 20 * 0.02) << component;
  }
  EXPECT_NE(Values(image, 1, 0, 3), Values(image, 1, 1, 3));
}

TEST(PatternNoise, LinesWiderThanARunOfTheTables) {
  tsPatternParams p = Noise(kPixelMono8, 9001, 40, 60, 9);
  const std::vector<uint8_t> image = Draw(p);
  const std::vector<double> values = Values(image, 1);
  EXPECT_NEAR(Mean(values), 60, 60 * 0.02);
  EXPECT_NEAR(StdDev(values), 9, 9 * 0.02);
  EXPECT_EQ(Draw(p), image);
}

TEST(PatternNoise, NeighboursAreUncorrelated) {
  const std::vector<double> values = Values(Draw(Noise(kPixelMono16, 512, 512, 5000, 300)), 2);
  const double mean = Mean(values);
  const double variance = StdDev(values) * StdDev(values);
  auto correlation = [&](size_t distance) {
    double sum = 0.0;
    for (size_t i = 0; i + distance < values.size(); ++i) {
      sum += (values[i] - mean) * (values[i + distance] - mean);
    }
    return sum / (values.size() - distance) / variance;
  };
  EXPECT_LT(std::fabs(correlation(1)), 0.02);    // next pixel
  EXPECT_LT(std::fabs(correlation(512)), 0.02);  // pixel below
}

TEST(PatternNoise, SameFrameIdGivesTheSameBytesAndAnotherOneOthers) {
  for (uint32_t format :
       {kPixelMono8, kPixelMono12p, kPixelMono16, kPixelBayerGB12, kPixelRGB8, kPixelYCbCr422_8}) {
    tsPatternParams p = Noise(format, 101, 37, 300, 40);
    p.isColor = true;
    const std::vector<uint8_t> first = Draw(p);
    EXPECT_EQ(Draw(p), first) << format;
    ++p.frameId;
    EXPECT_NE(Draw(p), first) << format;
  }
}

TEST(PatternNoise, ValuesAreClampedToTheFormatsRange) {
  const std::vector<double> high = Values(Draw(Noise(kPixelMono12, 300, 200, 4000, 300)), 2);
  EXPECT_EQ(*std::max_element(high.begin(), high.end()), 4095);
  const std::vector<double> low = Values(Draw(Noise(kPixelMono10, 300, 200, 20, 300)), 2);
  EXPECT_EQ(*std::min_element(low.begin(), low.end()), 0);
  EXPECT_LE(*std::max_element(low.begin(), low.end()), 1023);
  const std::vector<double> far = Values(Draw(Noise(kPixelMono16, 300, 200, 1e9, 1e9)), 2);
  EXPECT_TRUE(std::all_of(far.begin(), far.end(), [](double v) { return v <= 65535; }));
}

TEST(PatternNoise, NoDeviationGivesTheRoundedMean) {
  for (uint32_t format : {kPixelMono8, kPixelMono16}) {
    const std::vector<double> values =
        Values(Draw(Noise(format, 64, 8, 99.6, 0)), format == kPixelMono8 ? 1 : 2);
    EXPECT_TRUE(std::all_of(values.begin(), values.end(), [](double v) { return v == 100; }));
  }
}

TEST(PatternNoise, NotANumberDrawsBlack) {
  const std::vector<double> values = Values(Draw(Noise(kPixelMono8, 64, 8, NAN, NAN)), 1);
  EXPECT_TRUE(std::all_of(values.begin(), values.end(), [](double v) { return v == 0; }));
}

}  // namespace
