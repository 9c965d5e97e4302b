// A mutex with timed acquisition, recursive for its owning thread, reporting small result codes
// of its own: 0 success, -1 already created / timed out, -2 failure, -4 not created; Unlock by a
// thread that does not hold it returns 1.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>

class tcLock {
 public:
  static constexpr uint32_t kInfinite = 0xFFFFFFFF;

  tcLock() = default;
  virtual ~tcLock();
  tcLock(const tcLock&) = delete;
  tcLock& operator=(const tcLock&) = delete;

  int Create();
  // Waits up to `timeoutMs` milliseconds (kInfinite: no limit).
  int Lock(uint32_t timeoutMs);
  int Unlock();

 private:
  bool OwnedByCaller() const;

  std::timed_mutex mutex_;
  std::atomic<bool> created_{false};
  std::atomic<std::thread::id> owner_{};
  uint32_t depth_ = 0;  // recursion depth; touched only by the owner
};
