// Pattern 5: Gaussian-like noise of mean noiseMean and standard deviation noiseStdDev (in the
// format's digital numbers), rounded and clamped to the format's range. A frame is a function
// of its parameters and frameId: the same frameId gives the same bytes. Noise is independent
// between pixels and does not follow sensor coordinates (a region shows other noise than the
// full frame, as a real sensor's temporal noise would). On a colour camera R, G and B get
// independent noise.
//
// How: two fixed tables A and B of 2^16 deviates, each entry a sum of 8 uniform bytes, each
// table rescaled to mean 0 and variance 1/2. Pixel x of a line reads A at offsetA + x and B
// at offsetB + x (modulo the table size), the two offsets drawn per frame, line and component
// by splitmix64 from (frameId, sensor row, component); A + B has variance 1. When the sum
// cannot overflow 16-bit integers (formats up to 14 bits with a moderate deviation), each
// frame first rounds mean + stdDev * A and stdDev * B to integers and pixels add those;
// otherwise pixels compute mean + stdDev * (A + B) in float and round it.
#pragma once

#include <vector>

#include "sim/tcPatternGenerator.h"

class tcPatternNoise : public tcPatternGenerator {
 public:
  tcPatternNoise();

 protected:
  void FillTable(const tsPatternFrame& frame, std::vector<int16_t>& table) const override;
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;

 private:
  void FillComponent(const tsPatternFrame& frame, uint64_t lineSeed, uint16_t* out) const;

  // Each table holds its entries followed by a copy of its first ones, so that a run of pixels
  // reads it without wrapping.
  std::vector<float> first_;
  std::vector<float> second_;
  float secondLargest_;  // largest magnitude in second_
};
