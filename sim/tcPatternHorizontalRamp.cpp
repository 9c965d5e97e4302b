// The ramp depends on the column only: it is computed once per frame and every line copies it.
#include "sim/tcPatternHorizontalRamp.h"

#include <algorithm>

void tcPatternHorizontalRamp::FillColumns(const tsPatternFrame& frame,
                                          tsPatternLine& columns) const {
  const uint64_t levels = uint64_t{frame.maxValue} + 1;
  for (uint32_t x = 0; x < frame.width; ++x) {
    columns.luma[x] = static_cast<uint16_t>(frame.sensorX[x] * levels / frame.sensorWidth);
  }
  if (frame.color) ColorRamp(frame.maxValue, frame.width, columns);
}

void tcPatternHorizontalRamp::FillLine(const tsPatternFrame& frame, uint32_t,
                                       tsPatternLine& line) const {
  const tsPatternLine& columns = frame.columns;
  std::copy_n(columns.luma, frame.width, line.luma);
  if (!frame.color) return;
  std::copy_n(columns.red, frame.width, line.red);
  std::copy_n(columns.green, frame.width, line.green);
  std::copy_n(columns.blue, frame.width, line.blue);
  line.color = true;
}

uint64_t tcPatternHorizontalRamp::LineKey(const tsPatternFrame&, uint32_t) const {
  return 0;
}
