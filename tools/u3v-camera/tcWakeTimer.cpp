// The wake-up thread of an emulated camera.
#include "tcWakeTimer.h"

tcWakeTimer::tcWakeTimer(std::function<void()> wake)
    : wake_(std::move(wake)), thread_([this] { Run(); }) {}

tcWakeTimer::~tcWakeTimer() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void tcWakeTimer::WakeAt(tcClock::time_point when) {
  {
    std::lock_guard lock(mutex_);
    deadlines_.insert(when);
  }
  changed_.notify_all();
}

void tcWakeTimer::Run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (deadlines_.empty()) {
      changed_.wait(lock);
      continue;
    }
    auto first = *deadlines_.begin();
    if (tcClock::now() < first) {
      changed_.wait_until(lock, first);
      continue;
    }
    deadlines_.erase(deadlines_.begin());
    lock.unlock();
    wake_();
    lock.lock();
  }
}
