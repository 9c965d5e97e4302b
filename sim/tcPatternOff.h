// Pattern 0: a black picture.
#pragma once

#include "sim/tcPatternGenerator.h"

class tcPatternOff : public tcPatternGenerator {
 protected:
  void FillLine(const tsPatternFrame& frame, uint32_t sensorY, tsPatternLine& line) const override;
  uint64_t LineKey(const tsPatternFrame& frame, uint32_t sensorY) const override;
};
