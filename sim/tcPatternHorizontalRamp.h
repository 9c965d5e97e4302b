// Pattern 1: values rising from black at the sensor's left edge towards white at its right
// edge: sensor column sx shows sx * 2^bits / sensorWidth. On a colour camera the ramp is
// coloured as tcPatternGenerator::ColorRamp describes.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternHorizontalRamp : public tcPatternGenerator {
 protected:
  void FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const override;
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
