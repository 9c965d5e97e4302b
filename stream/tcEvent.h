// A GenTL event: a queue of entries counted by a semaphore, so that a consumer waits in
// EventGetData without holding the queue lock. Lock order: an event source's lock (the data
// stream's) is always taken before the event's own lock, never the reverse.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

#include "GenTL.h"
#include "base/tcCountingSem.h"
#include "base/tcLock.h"
#include "base/tcMutex.h"
#include "stream/tcEventData.h"

class tcEvent {
 public:
  explicit tcEvent(int32_t eventType);
  virtual ~tcEvent();
  tcEvent(const tcEvent&) = delete;
  tcEvent& operator=(const tcEvent&) = delete;

  // The typed read of the oldest entry, called with the event's lock held.
  virtual GenTL::GC_ERROR GetData(void* buffer, size_t* size) = 0;
  virtual GenTL::GC_ERROR GetDataInfo(const void* inBuffer, size_t inSize, int32_t command,
                                      int32_t* type, void* outBuffer, size_t* outSize) = 0;
  virtual GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size);
  virtual GenTL::GC_ERROR Flush();
  // Makes exactly one pending or next wait return GC_ERR_ABORT.
  virtual GenTL::GC_ERROR Kill();
  virtual GenTL::GC_ERROR QueueEvent(std::unique_ptr<tcEventData> data);

  // EventGetData: waits up to `timeoutMs` for an entry, then reads it.
  GenTL::GC_ERROR GetData(void* buffer, size_t* size, uint64_t timeoutMs);
  // Wakes every thread waiting in GetData with GC_ERR_ABORT and returns once none is left
  // inside it; the event may then be destroyed.
  void Retire();

 protected:
  // The event source's lock, held around the typed read; none by default.
  virtual std::unique_lock<tcRecursiveMutex> LockSource() { return {}; }
  // The oldest entry, or null; called with the event's lock held.
  std::unique_ptr<tcEventData> PopFront();
  const tcEventData* Front() const;

 private:
  int32_t eventType_;
  std::atomic<uint64_t> fired_{0};
  std::deque<std::unique_ptr<tcEventData>> queue_;  // guarded by lock_
  tcLock lock_;
  tcCountingSem available_;
  std::atomic<bool> killed_{false};
  std::atomic<bool> retiring_{false};
  std::atomic<int> waiters_{0};
};
