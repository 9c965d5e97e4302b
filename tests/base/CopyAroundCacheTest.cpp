// The cache-avoiding copy gives the same bytes as memcpy for every size and alignment, and
// writes nothing outside the destination.
#include "base/CopyAroundCache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

TEST(CopyAroundCache, CopiesExactlyTheBytesAtAnyAlignment) {
  std::vector<uint8_t> source(9000);
  for (size_t i = 0; i < source.size(); ++i)
    source[i] = uint8_t(i * 7 + 3);
  for (size_t size : {0u, 1u, 15u, 1023u, 1024u, 1025u, 4096u, 8156u, 8999u}) {
    for (size_t toOffset = 0; toOffset < 17; ++toOffset) {
      size_t fromOffset = (toOffset * 5) % 16;
      if (fromOffset + size > source.size()) continue;
      std::vector<uint8_t> destination(size + 64, 0xEE);
      CopyAroundCache(destination.data() + 16 + toOffset % 16, source.data() + fromOffset, size);
      SCOPED_TRACE("size " + std::to_string(size) + ", offset " + std::to_string(toOffset));
      size_t start = 16 + toOffset % 16;
      for (size_t i = 0; i < destination.size(); ++i) {
        bool inside = i >= start && i < start + size;
        uint8_t expected = inside ? source[fromOffset + i - start] : 0xEE;
        ASSERT_EQ(destination[i], expected) << "byte " << i;
      }
    }
  }
}

}  // namespace
