// What the GVSP packet assembler needs from its stream: buffers from the input queue, the
// output queue for complete frames, the input queue again for dropped ones, and resend
// requests to the camera. The data stream implements it; tests implement it with plain lists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

class tcBuffer;

class tcGvspAssemblerTarget {
 public:
  virtual ~tcGvspAssemblerTarget() = default;
  // The input queue's front buffer, taken out of the queue; null when the queue is empty.
  virtual tcBuffer* TakeBuffer() = 0;
  // A complete frame: to the end of the output queue, with its new-buffer event.
  virtual void CompleteBuffer(tcBuffer* buffer) = 0;
  // A frame given up (dropped, or still in progress at stop): its buffer goes back to the
  // end of the input queue.
  virtual void RequeueBuffer(tcBuffer* buffer) = 0;
  virtual size_t InputCount() = 0;
  virtual size_t OutputCount() = 0;
  // Asks the camera to send `packetIds` of block `blockId` again; no answer is awaited.
  virtual void RequestResend(uint64_t blockId, bool extendedIds,
                             std::span<const uint32_t> packetIds) = 0;
};
