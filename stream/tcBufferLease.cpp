// tcBufferLease: the return of an undelivered buffer to its stream's input list.
#include "stream/tcBufferLease.h"

#include <utility>

#include "stream/tcDataStream.h"

tcBufferLease::~tcBufferLease() {
  Return();
}

tcBufferLease::tcBufferLease(tcBufferLease&& other) noexcept
    : stream_(other.stream_), buffer_(std::exchange(other.buffer_, nullptr)) {}

tcBufferLease& tcBufferLease::operator=(tcBufferLease&& other) noexcept {
  if (this != &other) {
    Return();
    stream_ = other.stream_;
    buffer_ = std::exchange(other.buffer_, nullptr);
  }
  return *this;
}

tcBuffer* tcBufferLease::Release() {
  return std::exchange(buffer_, nullptr);
}

void tcBufferLease::Return() {
  if (buffer_ != nullptr) stream_->ReturnToInput(Release());
}
