// A poll(2) set: waits until descriptors are readable (POLLIN), with a time-out.
#pragma once

#include <poll.h>

#include <cstddef>
#include <vector>

#include "base/tsIoResult.h"

// Descriptors of any value fit (no fd_set limit). A thread that must stop at once adds a
// tcEventFd next to its sockets; signalling it ends the wait.
class tcPoll {
 public:
  // Adds `fd` for readability and returns its index in the set.
  size_t Add(int fd);
  size_t Size() const { return fds_.size(); }
  // Waits up to `timeoutMs` (negative: without limit; 0: just looks). An interrupted wait goes
  // on for the time left. The count is the number of ready descriptors (0 on time-out).
  tsIoResult Wait(int timeoutMs);
  // Whether descriptor `index` was readable (or in error or hung up, so that a read reports
  // why) after the last Wait.
  bool Readable(size_t index) const;

 private:
  std::vector<pollfd> fds_;
};
