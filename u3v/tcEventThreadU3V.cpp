// tcEventThreadU3V: start, user count and join under one process-wide mutex.
#include "u3v/tcEventThreadU3V.h"

#include <pthread.h>

#include <atomic>
#include <stdexcept>

#include "base/Log.h"
#include "base/tcMutex.h"
#include "base/tcThread.h"

namespace {

// Every completion wakes the wait at once, and so does a stop request (the stop hook interrupts
// libusb's event handling), so the wait can be long: idle, the thread wakes once a second.
constexpr timeval kEventWait = {1, 0};

// The thread is declared after the context it runs on, so that at unload it is joined first.
struct tsEventThreadState {
  tcMutex mutex;  // start, user count changes and join
  std::atomic<int32_t> users{0};
  tUsbContext context GENTL_GUARDED_BY(mutex);
  tcThread thread GENTL_GUARDED_BY(mutex);
};

tsEventThreadState& State() {
  static tsEventThreadState state;
  return state;
}

// Pumps libusb events until the last user has left (the completion callbacks of the streams
// run here).
void EventLoop(libusb_context* context, const std::atomic<int32_t>& users,
               const std::atomic<bool>& stop) {
  pthread_setname_np(pthread_self(), tcEventThreadU3V::kThreadName);
  while (users.load() != 0 && !stop.load()) {
    timeval timeout = kEventWait;
    libusb_handle_events_timeout(context, &timeout);
  }
}

}  // namespace

void tcEventThreadU3V::Enter(tUsbContext context) {
  tsEventThreadState& state = State();
  tcMutexLock lock(state.mutex);
  if (++state.users != 1) return;
  state.context = std::move(context);
  libusb_context* raw = state.context.get();
  int result = state.thread.Start(
      [raw, &users = state.users](const std::atomic<bool>& stop) { EventLoop(raw, users, stop); },
      [raw] { libusb_interrupt_event_handler(raw); });
  if (result != 0) throw std::runtime_error("the libusb event thread cannot be started");
  GENTL_LOG(kLogDebug, "libusb event thread started");
}

void tcEventThreadU3V::Leave() {
  tsEventThreadState& state = State();
  tcMutexLock lock(state.mutex);
  if (--state.users != 0) return;
  state.thread = tcThread();  // stops (its hook wakes libusb) and joins it, context still alive
  state.context.reset();
  GENTL_LOG(kLogDebug, "libusb event thread stopped");
}

int32_t tcEventThreadU3V::Users() {
  return State().users.load();
}
