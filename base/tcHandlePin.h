// A pin on a registered module object: while it is held, the object's owner waits before
// destroying it (see HandleRegistry).
#pragma once

#include <optional>

#include "base/HandleRegistry.h"

class tcHandlePin {
 public:
  tcHandlePin() = default;
  tcHandlePin(const void* object, HandleKind kind) : object_(object), kind_(kind) {}
  ~tcHandlePin() { Release(); }
  tcHandlePin(tcHandlePin&& other) noexcept : object_(other.object_), kind_(other.kind_) {
    other.object_ = nullptr;
  }
  tcHandlePin& operator=(tcHandlePin&& other) noexcept;
  tcHandlePin(const tcHandlePin&) = delete;
  tcHandlePin& operator=(const tcHandlePin&) = delete;

  // The kind of the pinned object; empty when nothing is pinned.
  std::optional<HandleKind> Kind() const {
    return object_ != nullptr ? std::optional<HandleKind>(kind_) : std::nullopt;
  }
  bool Is(HandleKind kind) const { return object_ != nullptr && kind_ == kind; }

 private:
  void Release();

  const void* object_ = nullptr;
  HandleKind kind_ = HandleKind::kPort;
};
