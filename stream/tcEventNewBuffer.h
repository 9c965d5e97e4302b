// The NEW_BUFFER event of a data stream: one entry per delivered buffer; taking an entry hands
// the buffer to the consumer and removes it from the stream's output list.
#pragma once

#include "stream/tcEvent.h"

class tcBuffer;
class tcDataStream;

class tcEventNewBuffer : public tcEvent {
 public:
  explicit tcEventNewBuffer(tcDataStream* stream);

  using tcEvent::GetData;
  GenTL::GC_ERROR GetData(void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetDataInfo(const void* inBuffer, size_t inSize, int32_t command, int32_t* type,
                              void* outBuffer, size_t* outSize) override;
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;

  // Queues the entry for a delivered buffer.
  void AddBuffer(tcBuffer* buffer);

 protected:
  std::unique_lock<tcRecursiveMutex> LockSource() override;

 private:
  tcDataStream* stream_;
};
