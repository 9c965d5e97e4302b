// A thread that makes one blocking call, and the check that it sleeps in the kernel on a futex
// inside a given object (read from /proc/self/task/<tid>/syscall), so that a test wakes a
// thread it has seen waiting instead of guessing how long the thread needs to get there.
#pragma once

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

class WaitingThread {
 public:
  explicit WaitingThread(std::function<int32_t()> call)
      : thread_([this, call = std::move(call)] {
          tid_.store(static_cast<pid_t>(syscall(SYS_gettid)));
          result_ = call();
        }) {}
  ~WaitingThread() {
    if (thread_.joinable()) thread_.join();
  }
  WaitingThread(const WaitingThread&) = delete;
  WaitingThread& operator=(const WaitingThread&) = delete;

  // True once the thread is seen blocked in a futex wait on an address within
  // [object, object + size), such as a mutex or condition variable that the object owns;
  // false when that is not seen within `limit`.
  bool BlockedIn(const void* object, size_t size,
                 std::chrono::milliseconds limit = std::chrono::seconds(10)) const {
    auto begin = reinterpret_cast<uintptr_t>(object);
    auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
      pid_t tid = tid_.load();
      uintptr_t address = tid != 0 ? FutexWaitAddress(tid) : 0;
      if (address >= begin && address < begin + size) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  // Waits for the call to return; its result.
  int32_t Join() {
    thread_.join();
    return result_;
  }

 private:
  // The futex word the thread sleeps on, or 0 when it is not in a futex call.
  static uintptr_t FutexWaitAddress(pid_t tid) {
    std::ifstream file("/proc/self/task/" + std::to_string(tid) + "/syscall");
    long number = -1;
    std::string address;
    if (!(file >> number >> address) || number != SYS_futex) return 0;
    return static_cast<uintptr_t>(std::stoull(address, nullptr, 16));
  }

  std::atomic<pid_t> tid_{0};
  int32_t result_ = 0;
  std::thread thread_;
};
