// What the producer says about one delivered buffer.
#pragma once

#include <cstddef>
#include <cstdint>

struct tsFrame {
  const uint8_t* data = nullptr;
  size_t filled = 0;  // bytes the producer wrote
  uint32_t width = 0;
  uint32_t height = 0;
  uint64_t frameId = 0;
  uint64_t pixelFormat = 0;
  bool incomplete = false;
};
