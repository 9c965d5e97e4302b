// tcCountingSem on a mutex and a condition variable.
#include "base/tcCountingSem.h"

#include <chrono>

int tcCountingSem::Create(uint32_t initialCount) {
  if (initialCount > kMaximumCount) return -2;
  std::lock_guard<std::mutex> lock(mutex_);
  if (created_.load()) return -1;
  count_ = initialCount;
  created_.store(true);
  return 0;
}

int tcCountingSem::Wait(uint32_t timeoutMs) {
  if (!created_.load()) return -4;
  std::unique_lock<std::mutex> lock(mutex_);
  auto ready = [this] { return count_ > 0; };
  if (timeoutMs == kInfinite) {
    available_.wait(lock, ready);
  } else if (!available_.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready)) {
    return -1;
  }
  --count_;
  return 0;
}

int tcCountingSem::Post() {
  if (!created_.load()) return -4;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (count_ >= kMaximumCount) return 1;
    ++count_;
  }
  available_.notify_one();
  return 0;
}
