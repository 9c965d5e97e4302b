// Owner of a stream's acquisition thread, shared by every transport and built on the base
// thread owner: start with a handshake, stop = request + wake + join, a stop-aware sleep. Stop
// may be called from any thread; on the acquisition thread itself it only requests the stop (a
// thread cannot join itself), and the next Stop from another thread, or the destructor, joins.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>

#include "base/tcMutex.h"
#include "base/tcThread.h"

class tcAcquisitionThread {
 public:
  tcAcquisitionThread() = default;
  ~tcAcquisitionThread();
  tcAcquisitionThread(const tcAcquisitionThread&) = delete;
  tcAcquisitionThread& operator=(const tcAcquisitionThread&) = delete;

  // Called by Stop after the request, so that a thread blocked elsewhere (on a buffer, a
  // socket) sees it at once.
  void SetWake(std::function<void()> wake);
  // Runs `body` on a new thread and returns once that thread runs; the previous thread must
  // have been stopped. A thread the system refuses is fatal (std::system_error).
  void Start(std::function<void()> body);
  // Requests the stop, wakes the thread and joins it. True when a thread was joined.
  bool Stop();
  // A thread was started and not joined yet (it may have ended by itself).
  bool Running() const { return thread_.Joinable(); }
  bool StopRequested() const { return thread_.StopRequested(); }
  bool OnAcquisitionThread() const { return thread_.IsCurrent(); }
  // Sleeps until the monotonic clock reaches `deadlineNs` or stop is requested; false when
  // stop was requested.
  bool SleepUntil(uint64_t deadlineNs);

 private:
  // The stop hook: ends a SleepUntil, then runs the wake hook.
  void Wake();

  tcMutex mutex_;
  std::function<void()> wake_ GENTL_GUARDED_BY(mutex_);
  std::condition_variable_any stopped_;  // with mutex_: ends SleepUntil early
  tcThread thread_;
};
