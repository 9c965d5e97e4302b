// Ownership of module objects (system, interfaces, devices, streams, remote ports): the object
// leaves the handle registry, and waits for calls still running on it, before it is deleted.
#pragma once

#include <memory>
#include <utility>

#include "base/HandleRegistry.h"

struct tsRetireThenDelete {
  template <typename T>
  void operator()(T* object) const {
    HandleRegistry::Leave(object);
    delete object;
  }
};

template <typename T>
using ModuleOwner = std::unique_ptr<T, tsRetireThenDelete>;

template <typename T, typename... Args>
ModuleOwner<T> MakeModule(Args&&... args) {
  return ModuleOwner<T>(new T(std::forward<Args>(args)...));
}
