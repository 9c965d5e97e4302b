// Operating-system services behind one small interface: clocks now; paths, sockets and
// adapters join as the code that needs them arrives.
#pragma once

#include <cstdint>

namespace platform {

// Monotonic clock in nanoseconds (never jumps; used for call timing and frame pacing).
uint64_t MonotonicNs();

// Wall-clock time in nanoseconds since the Unix epoch (used for time stamps).
uint64_t WallClockNs();

}  // namespace platform
