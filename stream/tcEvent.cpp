// tcEvent: queueing, waiting with time-out, kill, flush, retirement and event information.
#include "stream/tcEvent.h"

#include <chrono>
#include <thread>

#include "base/HandleRegistry.h"
#include "base/Log.h"
#include "modules/InfoAnswer.h"

using namespace GenTL;

tcEvent::tcEvent(int32_t eventType) : eventType_(eventType) {
  lock_.Create();
  available_.Create(0);
  GENTL_LOG(kLogDebug, "%s, this = 0x%X", "Event", this);
  HandleRegistry::Enter(this, HandleKind::kEvent);
}

tcEvent::~tcEvent() {
  HandleRegistry::Leave(this);
}

GC_ERROR tcEvent::QueueEvent(std::unique_ptr<tcEventData> data) {
  const void* entry = data.get();
  lock_.Lock(tcLock::kInfinite);
  queue_.push_back(std::move(data));
  lock_.Unlock();
  GENTL_LOG(kLogDebug, "pData: 0x%p, type: 0xd\n", entry);
  available_.Post();
  fired_.fetch_add(1, std::memory_order_relaxed);
  return GC_ERR_SUCCESS;
}

GC_ERROR tcEvent::Kill() {
  killed_.store(true);
  available_.Post();
  return GC_ERR_SUCCESS;
}

GC_ERROR tcEvent::Flush() {
  lock_.Lock(tcLock::kInfinite);
  queue_.clear();
  lock_.Unlock();
  return GC_ERR_SUCCESS;
}

std::unique_ptr<tcEventData> tcEvent::PopFront() {
  if (queue_.empty()) return nullptr;
  std::unique_ptr<tcEventData> front = std::move(queue_.front());
  queue_.pop_front();
  return front;
}

const tcEventData* tcEvent::Front() const {
  return queue_.empty() ? nullptr : queue_.front().get();
}

GC_ERROR tcEvent::GetData(void* buffer, size_t* size, uint64_t timeoutMs) {
  const char* self = __PRETTY_FUNCTION__;
  LogPrintFrom(kLogDebug, self, "pBuffer: 0x%p, piSize: 0x%X, *piSize = %llu, iTimeout: %llu ms",
               buffer, size, size != nullptr ? *size : 0, timeoutMs);
  uint32_t wait = static_cast<uint32_t>(timeoutMs);
  if (timeoutMs > 0xFFFFFFFFULL) {
    wait = tcCountingSem::kInfinite;
    LogPrintFrom(kLogError, self,
                 "iTimeout cast exceeded 32bits, limiting to uint32_t::max. iTimeout: %ull ms",
                 static_cast<uint32_t>(timeoutMs));
  }
  struct tsWaiter {
    std::atomic<int>& count;
    explicit tsWaiter(std::atomic<int>& c) : count(c) { ++count; }
    ~tsWaiter() { --count; }
  } waiter(waiters_);
  if (retiring_.load()) return GC_ERR_ABORT;
  int waited = available_.Wait(wait);
  if (killed_.exchange(false)) return GC_ERR_ABORT;
  if (retiring_.load()) return GC_ERR_ABORT;
  if (waited != 0) return GC_ERR_TIMEOUT;
  std::unique_lock<tcRecursiveMutex> source = LockSource();
  if (retiring_.load()) return GC_ERR_ABORT;
  lock_.Lock(tcLock::kInfinite);
  GC_ERROR result = GetData(buffer, size);
  lock_.Unlock();
  return result;
}

void tcEvent::Retire() {
  retiring_.store(true);
  // Every waiter returns GC_ERR_ABORT; a call that comes later sees the flag before it waits.
  while (waiters_.load() > 0) {
    available_.Post();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  // Then the calls still running through the event's handle end before it goes.
  HandleRegistry::Leave(this);
}

GC_ERROR tcEvent::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "%s, iInfoCmd = %d", "Event", command);
  if (size == nullptr || type == nullptr) return GC_ERR_INVALID_PARAMETER;
  switch (command) {
    case EVENT_EVENT_TYPE:
      *type = INFO_DATATYPE_INT32;
      return CopyValue(eventType_, buffer, size);
    case EVENT_NUM_IN_QUEUE: {
      *type = INFO_DATATYPE_SIZET;
      lock_.Lock(tcLock::kInfinite);
      size_t count = queue_.size();
      lock_.Unlock();
      return CopyValue(count, buffer, size);
    }
    case EVENT_NUM_FIRED:
      *type = INFO_DATATYPE_UINT64;
      return CopyValue(fired_.load(std::memory_order_relaxed), buffer, size);
    case EVENT_SIZE_MAX:
    case EVENT_INFO_DATA_SIZE_MAX:
      *type = INFO_DATATYPE_SIZET;
      return GC_ERR_NOT_AVAILABLE;
    default:
      return GC_ERR_NOT_AVAILABLE;
  }
}
