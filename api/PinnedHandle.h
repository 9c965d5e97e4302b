// Handle look-up of the exported functions: the object behind a handle is pinned for the
// duration of the call (it cannot be destroyed meanwhile), and a handle that is not a live
// object of the expected kind resolves to nothing, so the call fails cleanly.
#pragma once

#include "base/tcHandlePin.h"

template <typename T>
struct tsPinned {
  tcHandlePin pin;
  T* object = nullptr;
};

// `handle` as a T when it is a live object of `kind`; an empty result otherwise.
template <typename T>
tsPinned<T> PinAs(void* handle, HandleKind kind) {
  tcHandlePin pin = HandleRegistry::Pin(handle);
  if (!pin.Is(kind)) return {};
  return {std::move(pin), static_cast<T*>(handle)};
}
