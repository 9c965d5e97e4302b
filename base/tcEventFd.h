// Move-only eventfd owner: a counter another thread signals to wake a poll at once.
#pragma once

#include <cstdint>

#include "base/tcFileDescriptor.h"

class tcEventFd {
 public:
  // Returns 0 or the errno of eventfd; a second Open replaces the counter.
  int Open();
  bool IsOpen() const { return fd_.IsValid(); }
  int Fd() const { return fd_.Get(); }
  void Close() { fd_.Reset(); }

  // Adds one to the counter, making the descriptor readable. Returns 0 or an errno
  // (EBADF when not open).
  int Signal();
  // Reads and clears the counter without blocking: the number of signals since the last
  // drain, 0 when there were none or the descriptor is not open.
  uint64_t Drain();

 private:
  tcFileDescriptor fd_;
};
