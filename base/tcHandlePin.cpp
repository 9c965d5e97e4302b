// tcHandlePin: release and move assignment.
#include "base/tcHandlePin.h"

tcHandlePin& tcHandlePin::operator=(tcHandlePin&& other) noexcept {
  if (this != &other) {
    Release();
    object_ = other.object_;
    kind_ = other.kind_;
    other.object_ = nullptr;
  }
  return *this;
}

void tcHandlePin::Release() {
  if (object_ != nullptr) HandleRegistry::Unpin(object_);
  object_ = nullptr;
}
