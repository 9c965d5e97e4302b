// Each line is one value, so lines of the same value are the same line.
#include "sim/tcPatternVerticalRamp.h"

namespace {

uint16_t RampValue(const tsPatternFrame& frame, uint32_t sensorY) {
  return static_cast<uint16_t>(sensorY * (uint64_t{frame.maxValue} + 1) / frame.sensorHeight);
}

}  // namespace

void tcPatternVerticalRamp::FillLine(const tsPatternFrame& frame, uint32_t sensorY,
                                     tsPatternLine& line) const {
  Fill(line.luma, frame.width, RampValue(frame, sensorY));
  line.uniform = true;
  if (frame.color) ColorRamp(frame.maxValue, frame.width, line);
}

uint64_t tcPatternVerticalRamp::LineKey(const tsPatternFrame& frame, uint32_t sensorY) const {
  return RampValue(frame, sensorY);
}
