// Builds the set of test pattern generators.
#include "sim/PatternGenerators.h"

#include "sim/tcPatternColorBars.h"
#include "sim/tcPatternDiagonalRamp.h"
#include "sim/tcPatternGrid.h"
#include "sim/tcPatternHorizontalRamp.h"
#include "sim/tcPatternNoise.h"
#include "sim/tcPatternOff.h"
#include "sim/tcPatternVerticalRamp.h"

std::map<uint32_t, std::unique_ptr<tcPatternGenerator>> MakePatternGenerators() {
  std::map<uint32_t, std::unique_ptr<tcPatternGenerator>> generators;
  generators[kPatternOff] = std::make_unique<tcPatternOff>();
  generators[kPatternHorizontalRamp] = std::make_unique<tcPatternHorizontalRamp>();
  generators[kPatternVerticalRamp] = std::make_unique<tcPatternVerticalRamp>();
  generators[kPatternDiagonalRamp] = std::make_unique<tcPatternDiagonalRamp>();
  generators[kPatternGrid] = std::make_unique<tcPatternGrid>();
  generators[kPatternNoise] = std::make_unique<tcPatternNoise>();
  generators[kPatternColorBars] = std::make_unique<tcPatternColorBars>();
  return generators;
}
