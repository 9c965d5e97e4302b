// Move-only thread owner: start, request stop (with a hook that wakes the body), join once.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

// The body receives the stop flag; RequestStop sets it and then runs the stop hook (for
// instance signalling the eventfd the body polls). Join may be called from any thread but
// the owned one, also concurrently; the destructor requests stop and joins, except on the owned
// thread itself, which it detaches.
class tcThread {
 public:
  using tfBody = std::function<void(const std::atomic<bool>& stopRequested)>;
  using tfStopHook = std::function<void()>;

  tcThread() = default;
  ~tcThread();
  tcThread(tcThread&&) noexcept = default;
  tcThread& operator=(tcThread&& other) noexcept;
  tcThread(const tcThread&) = delete;
  tcThread& operator=(const tcThread&) = delete;

  // Returns 0, EBUSY while a thread started before has not been joined, or EAGAIN when the
  // system refused a thread.
  int Start(tfBody body, tfStopHook stopHook = {});
  void RequestStop();
  bool StopRequested() const;
  // True from Start until Join returned.
  bool Joinable() const;
  // Returns 0 once the thread has ended (also when it was joined before or never started),
  // EDEADLK on the owned thread itself.
  int Join();
  bool IsCurrent() const;

 private:
  struct tsState {
    std::atomic<bool> stop{false};
    tfStopHook stopHook;
    std::mutex joinMutex;   // serialises joins from several threads
    std::mutex startMutex;  // held by Start until it no longer touches the owner
    std::thread thread;
    std::atomic<std::thread::id> id{};
  };

  void Finish();

  std::shared_ptr<tsState> state_;  // shared with the running body
};
