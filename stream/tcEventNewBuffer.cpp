// tcEventNewBuffer: the two-pointer buffer entries, their information, and the output-list removal.
#include "stream/tcEventNewBuffer.h"

#include <cstring>

#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "stream/tcBuffer.h"
#include "stream/tcBufferEventData.h"
#include "stream/tcDataStream.h"

using namespace GenTL;

namespace {

constexpr size_t kEntrySize = 2 * sizeof(void*);  // buffer handle, then user pointer
constexpr size_t kIdOffset = 8;                   // EVENT_DATA_ID reads from here
constexpr size_t kValueOffset = 16;               // EVENT_DATA_VALUE reads from here
static_assert(sizeof(void*) != 8 || kEntrySize == 16, "a 64-bit entry is two 8-byte pointers");

}  // namespace

tcEventNewBuffer::tcEventNewBuffer(tcDataStream* stream)
    : tcEvent(EVENT_NEW_BUFFER), stream_(stream) {}

std::unique_lock<tcRecursiveMutex> tcEventNewBuffer::LockSource() {
  return std::unique_lock<tcRecursiveMutex>(stream_->StreamMutex());
}

void tcEventNewBuffer::AddBuffer(tcBuffer* buffer) {
  QueueEvent(std::make_unique<tcBufferEventData>(buffer, buffer->userPointer));
}

GC_ERROR tcEventNewBuffer::GetData(void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "entered, pBuffer = 0x%X, *piSize = %d", buffer,
            size != nullptr ? *size : 0);
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (buffer != nullptr && *size < kEntrySize) return GC_ERR_BUFFER_TOO_SMALL;
  *size = kEntrySize;
  // A size query has consumed the semaphore count of one entry although the entry stays
  // queued: the event protocol defines it so, and a consumer's next wait may time out.
  if (buffer == nullptr) return GC_ERR_SUCCESS;
  // A flush empties the queue but leaves the semaphore counts: those waits return
  // GC_ERR_ABORT, on purpose.
  if (dynamic_cast<const tcBufferEventData*>(Front()) == nullptr) return GC_ERR_ABORT;
  std::unique_ptr<tcEventData> entry = PopFront();
  auto* data = static_cast<tcBufferEventData*>(entry.get());
  GENTL_LOG(kLogDebug, "Returning Buffer = 0x%X, pUser = 0x%X", data->Buffer(),
            data->UserPointer());
  void* fields[2] = {data->Buffer(), data->UserPointer()};
  memcpy(buffer, fields, kEntrySize);
  stream_->RemoveFromOutput(data->Buffer());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcEventNewBuffer::GetDataInfo(const void* inBuffer, size_t inSize, int32_t command,
                                       int32_t* type, void* outBuffer, size_t* outSize) {
  if (outSize == nullptr || type == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command != EVENT_DATA_ID && command != EVENT_DATA_VALUE) return GC_ERR_NOT_AVAILABLE;
  *type = INFO_DATATYPE_PTR;
  size_t offset = command == EVENT_DATA_ID ? kIdOffset : kValueOffset;
  // The offsets are kept as they are; nothing outside the caller's block is read.
  if (inBuffer == nullptr || outBuffer == nullptr || inSize < offset + 8) {
    return GC_ERR_INVALID_PARAMETER;
  }
  memcpy(outBuffer, static_cast<const char*>(inBuffer) + offset, 8);
  return GC_ERR_SUCCESS;
}

GC_ERROR tcEventNewBuffer::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (command != EVENT_SIZE_MAX) return tcEvent::GetInfo(command, type, buffer, size);
  GENTL_LOG(kLogDebug, "%s, iInfoCmd = %d", "Event", command);
  if (size == nullptr || type == nullptr) return GC_ERR_INVALID_PARAMETER;
  *type = INFO_DATATYPE_SIZET;
  return CopyValue(kEntrySize, buffer, size);
}
