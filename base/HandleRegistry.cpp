// HandleRegistry: an ordered map under its own mutex, with pin counts per object. A thread's
// own pins are remembered so that an owner that destroys an object from inside a call on it
// does not wait for itself.
#include "base/HandleRegistry.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <vector>

#include "base/tcHandlePin.h"
#include "base/tcMutex.h"

namespace {

struct tsEntry {
  HandleKind kind;
  uint32_t pins = 0;
  bool leaving = false;
};

struct tsRegistry {
  tcMutex mutex;
  std::condition_variable_any unpinned;
  std::map<uintptr_t, tsEntry> entries GENTL_GUARDED_BY(mutex);
};

tsRegistry& Registry() {
  static tsRegistry registry;
  return registry;
}

// The objects this thread holds pins on, one element per pin.
thread_local std::vector<uintptr_t> tPinned;

uintptr_t Key(const void* object) {
  return reinterpret_cast<uintptr_t>(object);
}

uint32_t OwnPins(uintptr_t key) {
  return static_cast<uint32_t>(std::count(tPinned.begin(), tPinned.end(), key));
}

}  // namespace

void HandleRegistry::Enter(const void* object, HandleKind kind) {
  tsRegistry& registry = Registry();
  tcMutexLock lock(registry.mutex);
  tsEntry& entry = registry.entries[Key(object)];
  entry.kind = kind;
  entry.leaving = false;
}

void HandleRegistry::Leave(const void* object, const std::function<void()>& wake) {
  tsRegistry& registry = Registry();
  uintptr_t key = Key(object);
  tcMutexLock lock(registry.mutex);
  auto it = registry.entries.find(key);
  if (it == registry.entries.end()) return;
  it->second.leaving = true;
  uint32_t own = OwnPins(key);
  while (it->second.pins > own) {
    if (wake) {
      lock.unlock();
      wake();
      lock.lock();
    }
    // Re-checked every millisecond: a pinned caller may be blocked until `wake` reaches it.
    registry.unpinned.wait_for(lock, std::chrono::milliseconds(1));
  }
  registry.entries.erase(it);
}

std::optional<HandleKind> HandleRegistry::Find(const void* object) {
  tsRegistry& registry = Registry();
  tcMutexLock lock(registry.mutex);
  auto it = registry.entries.find(Key(object));
  if (it == registry.entries.end() || it->second.leaving) return std::nullopt;
  return it->second.kind;
}

tcHandlePin HandleRegistry::Pin(const void* object) {
  tsRegistry& registry = Registry();
  tcMutexLock lock(registry.mutex);
  auto it = registry.entries.find(Key(object));
  if (object == nullptr || it == registry.entries.end() || it->second.leaving) return {};
  ++it->second.pins;
  tPinned.push_back(Key(object));
  return tcHandlePin(object, it->second.kind);
}

void HandleRegistry::Unpin(const void* object) {
  tsRegistry& registry = Registry();
  uintptr_t key = Key(object);
  {
    tcMutexLock lock(registry.mutex);
    auto it = registry.entries.find(key);
    if (it != registry.entries.end()) --it->second.pins;
    auto mine = std::find(tPinned.begin(), tPinned.end(), key);
    if (mine != tPinned.end()) tPinned.erase(mine);
  }
  Registry().unpinned.notify_all();
}
