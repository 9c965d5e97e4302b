// Move-only owner of a file descriptor.
#include "base/tcFileDescriptor.h"

#include <unistd.h>

#include <utility>

tcFileDescriptor::~tcFileDescriptor() {
  Reset();
}

tcFileDescriptor::tcFileDescriptor(tcFileDescriptor&& other) noexcept : fd_(other.Release()) {}

tcFileDescriptor& tcFileDescriptor::operator=(tcFileDescriptor&& other) noexcept {
  if (this != &other) Reset(other.Release());
  return *this;
}

int tcFileDescriptor::Release() {
  return std::exchange(fd_, -1);
}

void tcFileDescriptor::Reset(int fd) {
  int old = std::exchange(fd_, fd < 0 ? -1 : fd);
  // Linux releases the descriptor even when close reports EINTR, so it is never retried.
  if (old >= 0 && old != fd_) close(old);
}
