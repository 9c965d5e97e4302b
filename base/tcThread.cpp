// Move-only thread owner.
#include "base/tcThread.h"

#include <errno.h>

#include <system_error>

tcThread::~tcThread() {
  Finish();
}

tcThread& tcThread::operator=(tcThread&& other) noexcept {
  if (this != &other) {
    Finish();
    state_ = std::move(other.state_);
  }
  return *this;
}

void tcThread::Finish() {
  if (!state_) return;
  if (IsCurrent()) {
    // The running body shares the state, so a detached thread keeps its flag alive.
    std::lock_guard<std::mutex> lock(state_->joinMutex);
    state_->thread.detach();
    return;
  }
  RequestStop();
  Join();
}

int tcThread::Start(tfBody body, tfStopHook stopHook) {
  if (Joinable()) return EBUSY;
  auto state = std::make_shared<tsState>();
  state->stopHook = std::move(stopHook);
  // The body waits until Start is done with this owner: it may stop, join or destroy it.
  std::lock_guard<std::mutex> startGate(state->startMutex);
  try {
    state->thread = std::thread([state, body = std::move(body)] {
      state->id = std::this_thread::get_id();
      { std::lock_guard<std::mutex> started(state->startMutex); }
      body(state->stop);
    });
  } catch (const std::system_error&) {
    return EAGAIN;
  }
  state->id = state->thread.get_id();
  state_ = state;
  return 0;
}

void tcThread::RequestStop() {
  if (!state_) return;
  state_->stop = true;
  if (state_->stopHook) state_->stopHook();
}

bool tcThread::StopRequested() const {
  return state_ && state_->stop;
}

bool tcThread::Joinable() const {
  if (!state_) return false;
  std::lock_guard<std::mutex> lock(state_->joinMutex);
  return state_->thread.joinable();
}

bool tcThread::IsCurrent() const {
  return state_ && state_->id.load() == std::this_thread::get_id();
}

int tcThread::Join() {
  if (!state_) return 0;
  if (IsCurrent()) return EDEADLK;
  std::lock_guard<std::mutex> lock(state_->joinMutex);
  if (state_->thread.joinable()) state_->thread.join();
  return 0;
}
