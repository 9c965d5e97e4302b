// Each line is the column phase shifted by the line's phase; lines 256 rows apart are equal.
#include "sim/tcPatternDiagonalRamp.h"

namespace {

constexpr uint32_t kPeriod = 256;

uint32_t LinePhase(const tsPatternFrame& frame, uint32_t sensorY) {
  return static_cast<uint32_t>((sensorY + frame.params->frameId) % kPeriod);
}

}  // namespace

void tcPatternDiagonalRamp::FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const {
  for (uint32_t x = 0; x < frame.width; ++x) {
    columns.luma[x] = static_cast<uint16_t>(frame.sensorX[x] % kPeriod);
  }
}

void tcPatternDiagonalRamp::FillLine(const tsPatternFrame& frame, uint32_t sensorY,
                                     tsPatternLine& line) const {
  const uint16_t* columnPhase = frame.columns.luma;
  uint16_t* ramp = line.luma;
  const uint32_t linePhase = LinePhase(frame, sensorY);
  const uint16_t step = static_cast<uint16_t>(1u << (frame.componentBits - 8));
  ForEachPixel(frame.width, [&](size_t x) {
    const uint16_t phase = static_cast<uint16_t>((columnPhase[x] + linePhase) % kPeriod);
    ramp[x] = static_cast<uint16_t>(phase * step);  // a product stays in 16-bit lanes
  });
  if (frame.color) ColorRamp(frame.maxValue, frame.width, line);
}

uint64_t tcPatternDiagonalRamp::LineKey(const tsPatternFrame& frame, uint32_t sensorY) const {
  return LinePhase(frame, sensorY);
}
