// A counting semaphore (maximum count 65535) with timed waits, reporting small result codes of
// its own: 0 success, -1 already created / timed out, -4 not created; Post beyond the maximum
// returns 1.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

class tcCountingSem {
 public:
  static constexpr uint32_t kInfinite = 0xFFFFFFFF;
  static constexpr uint32_t kMaximumCount = 65535;

  tcCountingSem() = default;
  virtual ~tcCountingSem() = default;
  tcCountingSem(const tcCountingSem&) = delete;
  tcCountingSem& operator=(const tcCountingSem&) = delete;

  int Create(uint32_t initialCount);
  // Takes one count, waiting up to `timeoutMs` milliseconds (kInfinite: no limit).
  int Wait(uint32_t timeoutMs);
  int Post();

 private:
  std::mutex mutex_;
  std::condition_variable available_;
  uint32_t count_ = 0;  // guarded by mutex_
  std::atomic<bool> created_{false};
};
