// Owner of a stream's acquisition thread, shared by every transport: start with a handshake,
// stop = request + wake + join, a stop-aware sleep. Stop may be called from any thread; on the
// acquisition thread itself it only requests the stop (a thread cannot join itself), and the
// next Stop from another thread, or the destructor, joins.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <thread>

#include "base/tcMutex.h"

class tcAcquisitionThread {
 public:
  tcAcquisitionThread() = default;
  ~tcAcquisitionThread();
  tcAcquisitionThread(const tcAcquisitionThread&) = delete;
  tcAcquisitionThread& operator=(const tcAcquisitionThread&) = delete;

  // Called by Stop after the request, so that a thread blocked elsewhere (on a buffer, a
  // socket) sees it at once.
  void SetWake(std::function<void()> wake);
  // Runs `body` on a new thread and returns once that thread has started. The previous thread,
  // if any, must have been stopped.
  void Start(std::function<void()> body);
  // Requests the stop, wakes the thread and joins it. True when a thread was joined.
  bool Stop();
  // A thread was started and not joined yet (it may have ended by itself).
  bool Running() const;
  bool StopRequested() const { return stop_.load(std::memory_order_acquire); }
  bool OnAcquisitionThread() const;
  // Sleeps until the monotonic clock reaches `deadlineNs` or stop is requested; false when
  // stop was requested.
  bool SleepUntil(uint64_t deadlineNs);

 private:
  mutable tcMutex mutex_;
  std::function<void()> wake_ GENTL_GUARDED_BY(mutex_);
  std::thread thread_ GENTL_GUARDED_BY(mutex_);
  std::atomic<bool> stop_{false};
  std::atomic<std::thread::id> id_{};
  std::condition_variable_any stopped_;  // ends SleepUntil early
};
