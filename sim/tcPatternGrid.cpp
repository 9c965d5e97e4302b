// A line is either all white (a horizontal grid line) or black with the vertical lines, which
// are computed once per frame.
#include "sim/tcPatternGrid.h"

#include <algorithm>

namespace {

bool OnGridLine(uint32_t position, uint32_t offset, uint32_t stride) {
  return stride != 0 && position >= offset && (position - offset) % stride == 0;
}

bool OnHorizontalLine(const tsPatternFrame& frame, uint32_t sensorY) {
  return OnGridLine(sensorY, frame.params->gridOffsetY, frame.params->gridStrideY);
}

}  // namespace

void tcPatternGrid::FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const {
  const tsPatternParams& params = *frame.params;
  for (uint32_t x = 0; x < frame.width; ++x) {
    const bool onLine = OnGridLine(frame.sensorX[x], params.gridOffsetX, params.gridStrideX);
    columns.luma[x] = static_cast<uint16_t>(onLine ? frame.maxValue : 0);
  }
}

void tcPatternGrid::FillLine(const tsPatternFrame& frame, uint32_t sensorY,
                             tsPatternLine& line) const {
  if (OnHorizontalLine(frame, sensorY)) {
    Fill(line.luma, frame.width, frame.maxValue);
    line.uniform = true;
  } else {
    std::copy_n(frame.columns.luma, frame.width, line.luma);
  }
}

uint64_t tcPatternGrid::LineKey(const tsPatternFrame& frame, uint32_t sensorY) const {
  return OnHorizontalLine(frame, sensorY) ? 1 : 0;
}
