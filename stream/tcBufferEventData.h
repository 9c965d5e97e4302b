// A new-buffer event entry: the delivered buffer and the user pointer it was announced with.
#pragma once

#include "stream/tcEventData.h"

class tcBuffer;

class tcBufferEventData : public tcEventData {
 public:
  tcBufferEventData(tcBuffer* buffer, void* userPointer)
      : buffer_(buffer), userPointer_(userPointer) {}

  tcBuffer* Buffer() const { return buffer_; }
  void* UserPointer() const { return userPointer_; }

 private:
  tcBuffer* buffer_;
  void* userPointer_;
};
