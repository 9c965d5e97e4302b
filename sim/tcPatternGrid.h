// Pattern 4: white grid lines on black, one pixel wide, at the sensor columns and rows that
// tsPatternParams' grid settings name. Colour cameras see the same white lines.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternGrid : public tcPatternGenerator {
 protected:
  void FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const override;
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
