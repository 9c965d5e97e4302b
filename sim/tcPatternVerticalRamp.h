// Pattern 2: values rising from black at the sensor's top edge towards white at its bottom
// edge: sensor row sy shows sy * 2^bits / sensorHeight. On a colour camera the ramp is
// coloured as tcPatternGenerator::ColorRamp describes.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternVerticalRamp : public tcPatternGenerator {
 protected:
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
