// tcAcquisitionThread: start handshake, stop request, wake, join and the stop-aware sleep.
#include "stream/tcAcquisitionThread.h"

#include <algorithm>
#include <chrono>

#include "base/Platform.h"

namespace {

constexpr uint64_t kLongestSleepNs = 864000000000000ULL;  // one sleep is capped at 8.64e14 ns

}  // namespace

tcAcquisitionThread::~tcAcquisitionThread() {
  Stop();
}

void tcAcquisitionThread::SetWake(std::function<void()> wake) {
  tcMutexLock lock(mutex_);
  wake_ = std::move(wake);
}

void tcAcquisitionThread::Start(std::function<void()> body) {
  tcMutexLock lock(mutex_);
  stop_.store(false, std::memory_order_release);
  bool started = false;
  std::condition_variable_any running;
  thread_ = std::thread([&, body = std::move(body)] {
    {
      // Notified under the lock: Start cannot return (and `running` cannot go) before this
      // block has ended.
      tcMutexLock handshake(mutex_);
      id_.store(std::this_thread::get_id());
      started = true;
      running.notify_one();
    }
    body();
  });
  while (!started)
    running.wait(lock);
}

bool tcAcquisitionThread::Stop() {
  tcMutexLock lock(mutex_);
  if (!thread_.joinable()) return false;
  stop_.store(true, std::memory_order_release);
  std::function<void()> wake = wake_;
  stopped_.notify_all();
  if (OnAcquisitionThread()) return false;
  std::thread thread = std::move(thread_);
  lock.unlock();
  if (wake) wake();
  thread.join();
  id_.store(std::thread::id());
  return true;
}

bool tcAcquisitionThread::Running() const {
  tcMutexLock lock(mutex_);
  return thread_.joinable();
}

bool tcAcquisitionThread::OnAcquisitionThread() const {
  return id_.load() == std::this_thread::get_id();
}

bool tcAcquisitionThread::SleepUntil(uint64_t deadlineNs) {
  tcMutexLock lock(mutex_);
  for (uint64_t now = platform::MonotonicNs(); now < deadlineNs && !StopRequested();
       now = platform::MonotonicNs()) {
    uint64_t remaining = std::min(deadlineNs - now, kLongestSleepNs);
    stopped_.wait_for(lock, std::chrono::nanoseconds(remaining));
  }
  return !StopRequested();
}
