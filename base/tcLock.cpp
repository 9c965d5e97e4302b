// tcLock on the standard library: a timed mutex plus owner tracking for recursion.
#include "base/tcLock.h"

#include <chrono>

tcLock::~tcLock() {
  if (!created_.load()) return;
  // Never tear down a mutex that another thread still holds.
  Lock(kInfinite);
  created_.store(false);
  owner_.store(std::thread::id());
  depth_ = 0;
  mutex_.unlock();
}

int tcLock::Create() {
  bool expected = false;
  return created_.compare_exchange_strong(expected, true) ? 0 : -1;
}

bool tcLock::OwnedByCaller() const {
  return owner_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

int tcLock::Lock(uint32_t timeoutMs) {
  if (!created_.load()) return -4;
  if (OwnedByCaller()) {
    ++depth_;
    return 0;
  }
  if (timeoutMs == kInfinite) {
    mutex_.lock();
  } else if (!mutex_.try_lock_for(std::chrono::milliseconds(timeoutMs))) {
    return -1;
  }
  owner_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  depth_ = 1;
  return 0;
}

int tcLock::Unlock() {
  if (!created_.load()) return -4;
  if (!OwnedByCaller()) return 1;
  if (--depth_ == 0) {
    owner_.store(std::thread::id(), std::memory_order_relaxed);
    mutex_.unlock();
  }
  return 0;
}
