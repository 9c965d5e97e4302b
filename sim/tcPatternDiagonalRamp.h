// Pattern 3: diagonal stripes that move one pixel up and left per frame: sensor pixel (sx, sy)
// of frame f shows ((sx + sy + f) mod 256) << (bits - 8), a ramp of 256 pixels that steps by
// one 8-bit level per pixel at every bit depth. On a colour camera the ramp is coloured as
// tcPatternGenerator::ColorRamp describes.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternDiagonalRamp : public tcPatternGenerator {
 protected:
  void FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const override;
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
