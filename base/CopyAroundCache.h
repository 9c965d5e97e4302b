// Copying into memory that will not be read again soon by this core (a frame buffer being
// filled packet by packet): with non-temporal stores the destination's lines are neither read
// first nor kept in the cache, which makes the copy cheaper where the processor has them.
#pragma once

#include <cstddef>

// Copies `size` bytes; the regions must not overlap. The stores are complete (fenced) on
// return.
void CopyAroundCache(void* destination, const void* source, size_t size);
