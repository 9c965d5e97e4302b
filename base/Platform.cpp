// Linux implementation of the platform layer.
#include "base/Platform.h"

#include <time.h>

namespace platform {
namespace {

uint64_t ClockNs(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000000000ULL + static_cast<uint64_t>(ts.tv_nsec);
}

}  // namespace

uint64_t MonotonicNs() {
  return ClockNs(CLOCK_MONOTONIC);
}

uint64_t WallClockNs() {
  return ClockNs(CLOCK_REALTIME);
}

}  // namespace platform
