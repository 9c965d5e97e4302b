// Pattern 6: the eight classic full-intensity bars white, yellow, cyan, green, magenta, red,
// blue and black, of equal width across the sensor: sensor column sx lies in bar
// sx * 8 / sensorWidth. Always drawn in colour; mono formats show the bars' luminance.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternColorBars : public tcPatternGenerator {
 protected:
  void FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const override;
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
