// Every line is black, so every line is the same.
#include "sim/tcPatternOff.h"

void tcPatternOff::FillLine(const tsPatternFrame& frame, uint32_t, tsPatternLine& line) const {
  Fill(line.luma, frame.width, 0);
  line.uniform = true;
}

uint64_t tcPatternOff::LineKey(const tsPatternFrame&, uint32_t) const {
  return 0;
}
