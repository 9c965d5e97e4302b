// A poll(2) set for readability.
#include "base/tcPoll.h"

#include <errno.h>

#include <algorithm>

#include "base/Platform.h"

size_t tcPoll::Add(int fd) {
  fds_.push_back({fd, POLLIN, 0});
  return fds_.size() - 1;
}

tsIoResult tcPoll::Wait(int timeoutMs) {
  for (pollfd& fd : fds_)
    fd.revents = 0;
  uint64_t deadline =
      platform::MonotonicNs() + static_cast<uint64_t>(std::max(timeoutMs, 0)) * 1000000;
  int remaining = timeoutMs;
  for (;;) {
    int ready = poll(fds_.data(), fds_.size(), remaining);
    if (ready >= 0) return tsIoResult::Success(static_cast<size_t>(ready));
    if (errno != EINTR) return tsIoResult::Failure(errno);
    if (timeoutMs < 0) continue;
    uint64_t now = platform::MonotonicNs();
    // Rounded up so a wait never ends before its time-out.
    remaining = now >= deadline ? 0 : static_cast<int>((deadline - now + 999999) / 1000000);
  }
}

bool tcPoll::Readable(size_t index) const {
  return index < fds_.size() && (fds_[index].revents & (POLLIN | POLLERR | POLLHUP));
}
