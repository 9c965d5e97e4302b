// Standard mutexes with thread-safety annotations, and their scoped lock. The scoped lock is
// BasicLockable, so std::condition_variable_any waits on it.
#pragma once

#include <mutex>

#include "base/ThreadSafety.h"

template <typename Mutex>
class GENTL_CAPABILITY("mutex") tcMutexOf {
 public:
  void lock() GENTL_ACQUIRE() { mutex_.lock(); }
  void unlock() GENTL_RELEASE() { mutex_.unlock(); }

 private:
  Mutex mutex_;
};

using tcMutex = tcMutexOf<std::mutex>;
// For the few places that re-enter on purpose (a stream's list operations call each other).
using tcRecursiveMutex = tcMutexOf<std::recursive_mutex>;

template <typename Mutex>
class GENTL_SCOPED_CAPABILITY tcMutexLock {
 public:
  explicit tcMutexLock(Mutex& mutex) GENTL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~tcMutexLock() GENTL_RELEASE() {
    if (locked_) mutex_.unlock();
  }
  tcMutexLock(const tcMutexLock&) = delete;
  tcMutexLock& operator=(const tcMutexLock&) = delete;

  void lock() GENTL_ACQUIRE() {
    mutex_.lock();
    locked_ = true;
  }
  void unlock() GENTL_RELEASE() {
    locked_ = false;
    mutex_.unlock();
  }

 private:
  Mutex& mutex_;
  bool locked_ = true;
};

template <typename Mutex>
tcMutexLock(Mutex&) -> tcMutexLock<Mutex>;
