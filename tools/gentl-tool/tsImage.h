// An 8-bit image ready for a PNG file: grey (1 channel) or RGB (3 channels), rows top down.
#pragma once

#include <cstdint>
#include <vector>

struct tsImage {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t channels = 0;        // 1 grey, 3 RGB
  std::vector<uint8_t> pixels;  // width * height * channels bytes, no padding
};
