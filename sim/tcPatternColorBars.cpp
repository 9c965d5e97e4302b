// The bars depend on the column only: computed once per frame, copied by every line.
#include "sim/tcPatternColorBars.h"

#include <algorithm>

namespace {

constexpr uint32_t kBars = 8;

}  // namespace

// In bar order, red is on in bars 0, 1, 4, 5, green in bars 0 to 3, blue in the even bars.
void tcPatternColorBars::FillColumns(const tsPatternFrame& frame, tsPatternLine& columns) const {
  const auto level = [&](bool on) { return static_cast<uint16_t>(on ? frame.maxValue : 0); };
  for (uint32_t x = 0; x < frame.width; ++x) {
    const uint64_t bar = uint64_t{frame.sensorX[x]} * kBars / frame.sensorWidth;
    columns.red[x] = level((bar & 2) == 0);
    columns.green[x] = level(bar < 4);
    columns.blue[x] = level((bar & 1) == 0);
  }
}

void tcPatternColorBars::FillLine(const tsPatternFrame& frame, uint32_t,
                                  tsPatternLine& line) const {
  std::copy_n(frame.columns.red, frame.width, line.red);
  std::copy_n(frame.columns.green, frame.width, line.green);
  std::copy_n(frame.columns.blue, frame.width, line.blue);
  line.color = true;
}

uint64_t tcPatternColorBars::LineKey(const tsPatternFrame&, uint32_t) const {
  return 0;
}
