// tcAcquisitionThread: start handshake, stop request, wake, join and the stop-aware sleep.
#include "stream/tcAcquisitionThread.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <system_error>

#include "base/Platform.h"

namespace {

constexpr uint64_t kLongestSleepNs = 864000000000000ULL;  // one sleep is capped at 8.64e14 ns

}  // namespace

tcAcquisitionThread::~tcAcquisitionThread() {
  Stop();
  // The thread owner's own destruction requests a stop again: the hook must not reach an owner
  // of the wake hook that may be gone by then.
  SetWake({});
}

void tcAcquisitionThread::SetWake(std::function<void()> wake) {
  tcMutexLock lock(mutex_);
  wake_ = std::move(wake);
}

void tcAcquisitionThread::Start(std::function<void()> body) {
  // The promise lives in the thread's body, so setting it never races with its destruction.
  auto running = std::make_shared<std::promise<void>>();
  std::future<void> started = running->get_future();
  int result = thread_.Start(
      [running, body = std::move(body)](const std::atomic<bool>&) {
        running->set_value();
        body();
      },
      [this] { Wake(); });
  if (result != 0) throw std::system_error(result, std::generic_category(), "acquisition thread");
  started.wait();
}

bool tcAcquisitionThread::Stop() {
  if (!thread_.Joinable()) return false;
  thread_.RequestStop();
  if (thread_.IsCurrent()) return false;
  thread_.Join();
  return true;
}

void tcAcquisitionThread::Wake() {
  std::function<void()> wake;
  {
    tcMutexLock lock(mutex_);
    wake = wake_;
    stopped_.notify_all();
  }
  if (wake) wake();
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
