// The simulated camera's test patterns by their TestPattern selector value.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "sim/tcPatternGenerator.h"

inline constexpr uint32_t kPatternOff = 0;
inline constexpr uint32_t kPatternHorizontalRamp = 1;
inline constexpr uint32_t kPatternVerticalRamp = 2;
inline constexpr uint32_t kPatternDiagonalRamp = 3;
inline constexpr uint32_t kPatternGrid = 4;
inline constexpr uint32_t kPatternNoise = 5;
inline constexpr uint32_t kPatternColorBars = 6;

// One generator of each pattern, keyed by the values above.
std::map<uint32_t, std::unique_ptr<tcPatternGenerator>> MakePatternGenerators();
