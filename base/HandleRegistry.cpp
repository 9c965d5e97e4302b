// HandleRegistry: an ordered map under its own mutex, with the pins of each object and the
// threads holding them, so that an owner that destroys an object from inside a call on it does
// not wait for itself. (No thread_local: dynamic TLS of a library loaded with dlopen trips
// LeakSanitizer's thread scan.)
#include "base/HandleRegistry.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <thread>
#include <vector>

#include "base/tcHandlePin.h"
#include "base/tcMutex.h"

namespace {

struct tsEntry {
  HandleKind kind;
  std::vector<std::thread::id> pinnedBy;  // one element per pin
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

uintptr_t Key(const void* object) {
  return reinterpret_cast<uintptr_t>(object);
}

// Pins held by threads other than the caller.
bool PinnedByOthers(const tsEntry& entry) {
  return std::any_of(entry.pinnedBy.begin(), entry.pinnedBy.end(),
                     [](std::thread::id id) { return id != std::this_thread::get_id(); });
}

}  // namespace

void HandleRegistry::Enter(const void* object, HandleKind kind) {
  tsRegistry& registry = Registry();
  tcMutexLock lock(registry.mutex);
  tsEntry& entry = registry.entries[Key(object)];
  entry.kind = kind;
  entry.leaving = false;
}

void HandleRegistry::Leave(const void* object) {
  tsRegistry& registry = Registry();
  uintptr_t key = Key(object);
  tcMutexLock lock(registry.mutex);
  auto it = registry.entries.find(key);
  if (it == registry.entries.end()) return;
  it->second.leaving = true;
  while (PinnedByOthers(it->second))
    registry.unpinned.wait(lock);
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
  it->second.pinnedBy.push_back(std::this_thread::get_id());
  return tcHandlePin(object, it->second.kind);
}

void HandleRegistry::Unpin(const void* object) {
  tsRegistry& registry = Registry();
  uintptr_t key = Key(object);
  {
    tcMutexLock lock(registry.mutex);
    auto it = registry.entries.find(key);
    if (it != registry.entries.end()) {
      std::vector<std::thread::id>& pinnedBy = it->second.pinnedBy;
      auto mine = std::find(pinnedBy.begin(), pinnedBy.end(), std::this_thread::get_id());
      if (mine != pinnedBy.end()) pinnedBy.erase(mine);
    }
  }
  Registry().unpinned.notify_all();
}
