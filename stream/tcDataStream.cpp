// tcDataStream: buffer announcement and queueing, flushing, delivery, stream information,
// stream registers and description.
#include "stream/tcDataStream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "base/HandleRegistry.h"
#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "modules/tcDescriptionBuilder.h"
#include "stream/tcBuffer.h"
#include "stream/tcEventNewBuffer.h"

using namespace GenTL;

namespace {

constexpr tsModulePortIdentity kStreamPort = {
    "tcDataStream",
    "StreamPort",
    "DataStream",
    "StreamPort",
    "Stream Port",
    "The GenICam port through which the Data Stream module is accessed.",
    "vantora_datastream_",
    true,
    true};

using Lock = tcMutexLock<tcRecursiveMutex>;

}  // namespace

tcDataStream::tcDataStream(std::string id, std::string tlType, tcDevice* parent, int index)
    : tcModulePort(std::move(id), kStreamPort),
      tlType_(std::move(tlType)),
      parent_(parent),
      index_(index) {
  GENTL_LOG(kLogDebug, "%s, this = 0x%X", Name(), this);
  HandleRegistry::Enter(this, HandleKind::kDataStream);
  // A stop request reaches an acquisition thread waiting for a buffer at once.
  acquisition_.SetWake([this] {
    Lock lock(lock_);
    inputQueued_.notify_all();
  });
}

tcDataStream::~tcDataStream() {
  // The transport has stopped its thread already; the wake hook uses this stream's lock, which
  // goes before the thread owner does.
  acquisition_.Stop();
  acquisition_.SetWake({});
  FlushQueue(ACQ_QUEUE_ALL_DISCARD);
  DestroyEvent();
  DestroyBuffers();
  HandleRegistry::Leave(this);
}

void tcDataStream::DestroyBuffers() {
  Lock lock(lock_);
  announced_.clear();
}

void tcDataStream::DestroyEvent() {
  std::unique_ptr<tcEventNewBuffer> event;
  {
    Lock lock(lock_);
    event = std::move(event_);
  }
  if (event != nullptr) event->Retire();
}

GC_ERROR tcDataStream::RegisterEvent(int32_t eventId, void** event) {
  if (event == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (eventId != EVENT_NEW_BUFFER) {
    GENTL_LOG(kLogWarning, "%s, iEventID = %d (Request Not Implemented)", "tcDataStream", eventId);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  Lock lock(lock_);
  if (event_ != nullptr) return GC_ERR_RESOURCE_IN_USE;
  event_ = std::make_unique<tcEventNewBuffer>(this);
  *event = event_.get();
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::UnregisterEvent(int32_t eventId) {
  if (eventId != EVENT_NEW_BUFFER) {
    GENTL_LOG(kLogWarning, "%s, iEventID = %d (Request Not Implemented)", "tcDataStream", eventId);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  DestroyEvent();
  return GC_ERR_SUCCESS;
}

bool tcDataStream::IsOpen() {
  return open_.load();
}

GC_ERROR tcDataStream::Open() {
  open_.store(true);
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::Close() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
  FlushQueue(ACQ_QUEUE_ALL_DISCARD);
  Lock lock(lock_);
  announced_.clear();
  open_.store(false);
  return GC_ERR_SUCCESS;
}

std::unique_ptr<tcBuffer> tcDataStream::AllocBuffer(void* memory, uint64_t size, void* userPointer,
                                                    bool owned) {
  auto buffer = std::make_unique<tcBuffer>(this, memory, size, userPointer, owned, "Custom");
  GENTL_LOG(kLogDebug, "%s, hBuffer = %p", Name(), buffer.get());
  return buffer;
}

GC_ERROR tcDataStream::Announce(std::unique_ptr<tcBuffer> buffer, void** handle) {
  Lock lock(lock_);
  *handle = buffer.get();
  announced_.push_back(std::move(buffer));
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::AnnounceBuffer(void* memory, size_t size, void* userPointer, void** handle) {
  if (memory == nullptr || handle == nullptr) return GC_ERR_INVALID_PARAMETER;
  std::unique_ptr<tcBuffer> buffer = AllocBuffer(memory, size, userPointer, false);
  if (buffer == nullptr) return GC_ERR_RESOURCE_EXHAUSTED;
  return Announce(std::move(buffer), handle);
}

GC_ERROR tcDataStream::AllocAndAnnounceBuffer(size_t size, void* userPointer, void** handle) {
  if (handle == nullptr) return GC_ERR_INVALID_PARAMETER;
  void* memory = malloc(size > 0 ? size : 1);
  if (memory == nullptr) return GC_ERR_OUT_OF_MEMORY;
  // Touched now, so that the first frame into each buffer does not pay for its page faults
  // in the receive thread (at high rates that delay costs frames).
  memset(memory, 0, size);
  std::unique_ptr<tcBuffer> buffer = AllocBuffer(memory, size, userPointer, true);
  if (buffer == nullptr) {
    free(memory);
    return GC_ERR_RESOURCE_EXHAUSTED;
  }
  return Announce(std::move(buffer), handle);
}

GC_ERROR tcDataStream::GetBufferID(uint32_t index, void** handle) {
  Lock lock(lock_);
  if (index >= announced_.size()) return GC_ERR_INVALID_INDEX;
  if (handle == nullptr) return GC_ERR_INVALID_PARAMETER;
  *handle = std::next(announced_.begin(), index)->get();
  return GC_ERR_SUCCESS;
}

tcBuffer* tcDataStream::FindAnnounced(void* handle) {
  for (const auto& buffer : announced_) {
    if (buffer.get() == handle) return buffer.get();
  }
  return nullptr;
}

bool tcDataStream::InList(const std::list<tcBuffer*>& list, const tcBuffer* buffer) const {
  return std::find(list.begin(), list.end(), buffer) != list.end();
}

GC_ERROR tcDataStream::RevokeBuffer(void* handle, void** memory, void** userPointer) {
  GENTL_LOG(kLogDebug, "%s, hBuffer = %p", Name(), handle);
  Lock lock(lock_);
  tcBuffer* buffer = FindAnnounced(handle);
  if (buffer == nullptr) return GC_ERR_INVALID_HANDLE;
  // A delivered buffer still waiting for the consumer is as busy as a queued one.
  if (buffer->queued || InList(output_, buffer)) return GC_ERR_BUSY;
  if (!buffer->owned) {
    if (memory != nullptr) *memory = buffer->memory;
    if (userPointer != nullptr) *userPointer = buffer->userPointer;
  }
  announced_.remove_if([buffer](const auto& b) { return b.get() == buffer; });
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::QueueBuffer(void* handle) {
  Lock lock(lock_);
  tcBuffer* buffer = FindAnnounced(handle);
  if (buffer == nullptr) return GC_ERR_INVALID_HANDLE;
  return QueueLocked(buffer);
}

GC_ERROR tcDataStream::QueueLocked(tcBuffer* buffer) {
  if (buffer->queued) return GC_ERR_BUSY;
  buffer->queued = true;
  input_.push_back(buffer);
  inputQueued_.notify_all();
  if (acquiring_.load() != 0) BufferQueued(buffer);
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::GetParentDev(void** device) {
  if (device == nullptr) return GC_ERR_INVALID_PARAMETER;
  *device = parent_;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStream::GetBufferInfo(void* handle, int32_t command, int32_t* type, void* buffer,
                                     size_t* size) {
  GENTL_LOG(kLogDebug, "%s, hBuffer = 0x%X", Name(), handle);
  Lock lock(lock_);
  tcBuffer* found = FindAnnounced(handle);
  if (found == nullptr) {
    GENTL_LOG(kLogDebug, "%s, hBuffer not found", Name());
    return GC_ERR_INVALID_HANDLE;
  }
  return found->GetInfo(command, type, buffer, size);
}

void tcDataStream::DiscardOutput() {
  if (event_ != nullptr) event_->Flush();
  output_.clear();
}

GC_ERROR tcDataStream::FlushQueue(int32_t operation) {
  GENTL_LOG(kLogDebug, "%s, iOperation = %d", Name(), operation);
  Lock lock(lock_);
  switch (operation) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
      for (tcBuffer* buffer : input_) {
        output_.push_back(buffer);
        if (event_ != nullptr) event_->AddBuffer(buffer);
      }
      input_.clear();
      return GC_ERR_SUCCESS;
    case ACQ_QUEUE_OUTPUT_DISCARD:
      DiscardOutput();
      return GC_ERR_SUCCESS;
    case ACQ_QUEUE_ALL_TO_INPUT:
      DiscardOutput();
      for (const auto& buffer : announced_) {
        if (!InList(input_, buffer.get())) QueueLocked(buffer.get());
      }
      return GC_ERR_SUCCESS;
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
      for (const auto& buffer : announced_) {
        if (!InList(input_, buffer.get()) && !InList(output_, buffer.get())) {
          QueueLocked(buffer.get());
        }
      }
      return GC_ERR_SUCCESS;
    case ACQ_QUEUE_ALL_DISCARD:
      input_.clear();
      DiscardOutput();
      for (const auto& buffer : announced_)
        buffer->queued = false;
      return GC_ERR_SUCCESS;
    default:
      GENTL_LOG(kLogWarning, "%s, iOperation = %d (Request Not Implemented)", "tcDataStream",
                operation);
      return GC_ERR_NOT_IMPLEMENTED;
  }
}

GC_ERROR tcDataStream::StartAcquisition(int32_t startFlags, uint64_t numToAcquire) {
  tcMutexLock state(acquisitionMutex_);
  if (acquiring_.load() != 0) return GC_ERR_RESOURCE_IN_USE;
  if (numToAcquire == 0) return GC_ERR_INVALID_PARAMETER;
  acquisition_.Stop();  // a thread that ended by itself is joined first
  acquiring_.exchange(1);
  grabbing_.store(true);
  GC_ERROR result = OnStartAcquisition(startFlags, numToAcquire);
  if (result != GC_ERR_SUCCESS) {
    acquisition_.Stop();
    grabbing_.store(false);
    acquiring_.exchange(0);
  }
  return result;
}

GC_ERROR tcDataStream::StopAcquisition(int32_t stopFlags) {
  tcMutexLock state(acquisitionMutex_);
  bool running = acquisition_.Running() || acquiring_.load() != 0;
  if (running) OnStopRequested();
  acquisition_.Stop();
  if (running) OnStopAcquisition(stopFlags);
  grabbing_.store(false);
  acquiring_.exchange(0);
  return GC_ERR_SUCCESS;
}

void tcDataStream::AcquisitionEnded() {
  grabbing_.store(false);
  acquiring_.exchange(0);
}

tcBufferLease tcDataStream::TakeInputBuffer() {
  Lock lock(lock_);
  return TakeInputLocked();
}

tcBufferLease tcDataStream::TakeInputLocked() {
  if (input_.empty()) return {};
  tcBuffer* buffer = input_.front();
  input_.pop_front();
  started_.fetch_add(1);
  return tcBufferLease(this, buffer);
}

tcBufferLease tcDataStream::WaitForInputBuffer() {
  Lock lock(lock_);
  while (input_.empty() && !acquisition_.StopRequested())
    inputQueued_.wait(lock);
  if (acquisition_.StopRequested()) return {};
  return TakeInputLocked();
}

tcBufferLease tcDataStream::TakeFromInput(tcBuffer* buffer) {
  Lock lock(lock_);
  auto it = std::find(input_.begin(), input_.end(), buffer);
  if (it == input_.end()) return {};
  input_.erase(it);
  return tcBufferLease(this, buffer);
}

std::vector<tcBuffer*> tcDataStream::InputBuffers() {
  Lock lock(lock_);
  return {input_.begin(), input_.end()};
}

void tcDataStream::ReturnToInput(tcBuffer* buffer) {
  Lock lock(lock_);
  input_.push_front(buffer);
  inputQueued_.notify_all();
}

void tcDataStream::AppendToInput(tcBuffer* buffer) {
  Lock lock(lock_);
  input_.push_back(buffer);
  inputQueued_.notify_all();
}

size_t tcDataStream::QueuedCount() {
  Lock lock(lock_);
  return input_.size();
}

size_t tcDataStream::AwaitingDeliveryCount() {
  Lock lock(lock_);
  return output_.size();
}

void tcDataStream::DeliverBuffer(tcBufferLease lease, bool imagePresent) {
  tcBuffer* buffer = lease.Release();
  Lock lock(lock_);
  buffer->queued = false;
  buffer->imagePresent = imagePresent;
  output_.push_back(buffer);
  delivered_.fetch_add(1);
  if (event_ != nullptr) event_->AddBuffer(buffer);
}

void tcDataStream::RemoveFromOutput(tcBuffer* buffer) {
  Lock lock(lock_);
  auto it = std::find(output_.begin(), output_.end(), buffer);
  if (it != output_.end()) output_.erase(it);
}

GC_ERROR tcDataStream::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (size == nullptr || type == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto sizeT = [&](size_t v) {
    *type = INFO_DATATYPE_SIZET;
    return CopyValue(v, buffer, size);
  };
  auto u64 = [&](uint64_t v) {
    *type = INFO_DATATYPE_UINT64;
    return CopyValue(v, buffer, size);
  };
  auto flag = [&](bool v) {
    *type = INFO_DATATYPE_BOOL8;
    return CopyValue(static_cast<bool8_t>(v), buffer, size);
  };
  Lock lock(lock_);
  switch (command) {
    case STREAM_INFO_ID:
      *type = INFO_DATATYPE_STRING;
      return CopyText(Name(), buffer, size);
    case STREAM_INFO_NUM_DELIVERED:
      return u64(delivered_.load());
    case STREAM_INFO_NUM_UNDERRUN:
      return u64(underrun_.load());
    case STREAM_INFO_NUM_ANNOUNCED:
      return sizeT(announced_.size());
    case STREAM_INFO_NUM_QUEUED:
      return sizeT(input_.size());
    case STREAM_INFO_NUM_AWAIT_DELIVERY:
      return sizeT(output_.size());
    case STREAM_INFO_NUM_STARTED:
      return u64(started_.load());
    case STREAM_INFO_PAYLOAD_SIZE:
      return sizeT(payloadSize_.load());
    case STREAM_INFO_IS_GRABBING:
      return flag(grabbing_.load());
    case STREAM_INFO_DEFINES_PAYLOADSIZE:
      return flag(false);
    case STREAM_INFO_TLTYPE:
      *type = INFO_DATATYPE_STRING;
      return CopyText(tlType_, buffer, size);
    case STREAM_INFO_NUM_CHUNKS_MAX:
    case STREAM_INFO_BUF_ANNOUNCE_MIN:
      *type = INFO_DATATYPE_SIZET;
      return GC_ERR_NOT_AVAILABLE;
    default:
      GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", "tcDataStream",
                command);
      return GC_ERR_NOT_IMPLEMENTED;
  }
}

namespace {

// A read-only counter register of `length` bytes; a smaller read is GC_ERR_BUFFER_TOO_SMALL.
tsFeatureEntry Counter(tsFeatureText text, uint64_t address, uint32_t length,
                       std::function<uint64_t()> value) {
  return {.kind = FeatureKind::kRegisterInteger,
          .text = text,
          .address = address,
          .length = length,
          .noCache = true,
          .read = [length, value](void* buffer, size_t* size) {
            if (*size < length) return GC_ERR_BUFFER_TOO_SMALL;
            uint64_t number = value();
            memcpy(buffer, &number, length);  // little-endian host
            *size = length;
            return GC_ERR_SUCCESS;
          }};
}

void DumpToFile(const std::string& streamId, const std::string& xml) {
  if (getenv("GENTL_DUMP_XML_TO_FILE") == nullptr) return;
  std::ofstream(streamId + "_datastream.xml", std::ios::binary) << xml;
}

}  // namespace

void tcDataStream::AddFeatures(tcFeatureTable& table) {
  using enum FeatureKind;
  table.Category(
      {"Root", "Root", "Provides the Root of the GenTL Producer Data Stream features.", "Beginner"},
      {"StreamInformation", "BufferHandlingControl"});
  table.Category(
      {"StreamInformation", "Stream Information",
       "Category that contains all Stream Information features of the Data Stream module.",
       "Beginner"},
      {"StreamID", "StreamType"});
  table.Category(
      {"BufferHandlingControl", "Buffer Handling Control",
       "Category that contains all Buffer Handling features of the Data Stream module.",
       "Beginner"},
      {"StreamAnnouncedBufferCount", "StreamAnnounceBufferMinimum", "StreamDeliveredFrameCount",
       "StreamLostFrameCount", "StreamInputBufferCount", "StreamOutputBufferCount",
       "StreamStartedFrameCount", "PayloadSize", "StreamIsGrabbing", "StreamBufferHandlingMode",
       "StreamChunkCountMaximum", "StreamBufferAlignment"});

  table.Feature({.kind = kConstantString,
                 .text = {"StreamID", "Stream ID",
                          "Device unique ID for the data stream, e.g. a GUID.", "Beginner"},
                 .string = [this] { return Name(); }});
  table.Feature({.kind = kConstantEnumeration,
                 .text = {"StreamType", "Stream Type", "Transport layer type of the Data Stream.",
                          "Beginner"},
                 .number = [this] { return TransportTypeValue(tlType_); },
                 .entries = TransportTypeEntries()});

  // The lengths of the buffer lists, taken under the stream lock.
  auto announced = [this]() -> uint64_t {
    Lock lock(lock_);
    return announced_.size();
  };
  auto input = [this]() -> uint64_t {
    Lock lock(lock_);
    return input_.size();
  };
  auto output = [this]() -> uint64_t {
    Lock lock(lock_);
    return output_.size();
  };
  table.Feature(Counter({"StreamAnnouncedBufferCount", "Announced Buffer Count",
                         "Number of announced (known) buffers on this stream.", "Expert"},
                        0x10000, 4, announced));
  table.Feature(Counter({"StreamDeliveredFrameCount", "Delivered Frame Count",
                         "Number of delivered frames since last acquisition start.", "Expert"},
                        0x10010, 8, [this] { return delivered_.load(); }));
  table.Feature(Counter({"StreamLostFrameCount", "Lost Frame Count",
                         "Number of lost frames due to queue underrun.", "Expert"},
                        0x10020, 8, [this] { return underrun_.load(); }));
  table.Feature(Counter({"StreamInputBufferCount", "Input Buffer Count",
                         "Number of buffers in the input buffer pool.", "Expert"},
                        0x10030, 4, input));
  table.Feature(Counter({"StreamOutputBufferCount", "Output Buffer Count",
                         "Number of buffers in the output buffer queue.", "Expert"},
                        0x10040, 4, output));
  table.Feature(Counter({"StreamStartedFrameCount", "Started Frame Count",
                         "Number of frames started in the acquisition engine.", "Expert"},
                        0x10050, 8, [this] { return started_.load(); }));
  // PayloadSize answers the output queue count, the same value as StreamOutputBufferCount: the
  // register map defines it so, on purpose (the payload size comes from DSGetInfo).
  table.Feature(
      Counter({"PayloadSize", "Payload Size", "Size of the expected data in bytes.", "Expert"},
              0x10060, 4, output));
  table.Feature(
      Counter({"StreamIsGrabbing", "Is Grabbing",
               "Flag indicating whether the acquisition engine is started or not.", "Expert"},
              0x10070, 4, [this] { return grabbing_.load() ? 1 : 0; }));

  table.Feature({.kind = kConstantInteger,
                 .text = {"StreamAnnounceBufferMinimum", "Announce Buffer Minimum",
                          "Minimal number of buffers to announce to enable selected acquisition "
                          "mode.",
                          "Expert"},
                 .number = [] { return 1; }});
  table.Feature(
      {.kind = kConstantEnumeration,
       .text = {"StreamBufferHandlingMode", "Buffer Handling Mode",
                "Available buffer handling modes of this Data Stream.", "Beginner"},
       .number = [] { return 1; },
       .entries = {{"OldestFirst", "Oldest First",
                    "The application always gets the buffer with the oldest image in the output "
                    "buffer queue.",
                    1},
                   {"OldestFirstOverwrite", "Oldest First Overwrite",
                    "The application always gets the buffer with the oldest image; a full output "
                    "queue overwrites its oldest buffer.",
                    2}}});
  table.Feature({.kind = kConstantInteger,
                 .text = {"StreamChunkCountMaximum", "Chunk Count Maximum",
                          "Maximum number of chunks to be expected in a buffer.", "Expert"},
                 .number = [] { return 0; }});
  table.Feature(
      {.kind = kConstantInteger,
       .text = {"StreamBufferAlignment", "Buffer Alignment",
                "Alignment size in bytes of the buffer passed to DSAnnounceBuffer.", "Expert"},
       .number = [] { return 1; },
       .unit = "Byte"});
}

std::string tcDataStream::BuildXml() {
  std::string text = tcModulePort::BuildXml();
  DumpToFile(Name(), text);
  return text;
}
