// HandleRegistry: an ordered map under its own mutex.
#include "api/HandleRegistry.h"

#include <map>
#include <mutex>

namespace {

std::mutex& RegistryMutex() {
  static std::mutex mutex;
  return mutex;
}

std::map<uint64_t, HandleKind>& Registry() {
  static std::map<uint64_t, HandleKind> registry;
  return registry;
}

uint64_t Key(const void* object) {
  return reinterpret_cast<uintptr_t>(object);
}

}  // namespace

void HandleRegistry::Enter(const void* object, HandleKind kind) {
  std::lock_guard<std::mutex> lock(RegistryMutex());
  Registry()[Key(object)] = kind;
}

void HandleRegistry::Leave(const void* object) {
  std::lock_guard<std::mutex> lock(RegistryMutex());
  Registry().erase(Key(object));
}

std::optional<HandleKind> HandleRegistry::Find(const void* object) {
  std::lock_guard<std::mutex> lock(RegistryMutex());
  auto it = Registry().find(Key(object));
  if (it == Registry().end()) return std::nullopt;
  return it->second;
}
