// Move-only eventfd owner.
#include "base/tcEventFd.h"

#include <errno.h>
#include <sys/eventfd.h>
#include <unistd.h>

int tcEventFd::Open() {
  int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (fd < 0) return errno;
  fd_.Reset(fd);
  return 0;
}

int tcEventFd::Signal() {
  if (!fd_.IsValid()) return EBADF;
  uint64_t one = 1;
  // EAGAIN means the counter is at its maximum: the descriptor is readable anyway.
  if (write(fd_.Get(), &one, sizeof one) < 0 && errno != EAGAIN) return errno;
  return 0;
}

uint64_t tcEventFd::Drain() {
  if (!fd_.IsValid()) return 0;
  uint64_t count = 0;
  return read(fd_.Get(), &count, sizeof count) == sizeof count ? count : 0;
}
