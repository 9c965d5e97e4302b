// A thread that calls one function at requested points in time, for events a camera owes its
// host later (delayed acknowledges, frames).
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

class tcWakeTimer {
 public:
  using tcClock = std::chrono::steady_clock;

  explicit tcWakeTimer(std::function<void()> wake);
  ~tcWakeTimer();
  tcWakeTimer(const tcWakeTimer&) = delete;
  tcWakeTimer& operator=(const tcWakeTimer&) = delete;

  // The function runs (on the timer's thread, without locks held) once `when` has passed.
  void WakeAt(tcClock::time_point when);

 private:
  void Run();

  std::function<void()> wake_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::multiset<tcClock::time_point> deadlines_;
  bool stopping_ = false;
  std::thread thread_;
};
