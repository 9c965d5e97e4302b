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
    "tcDataStream", "StreamPort", "DataStream", "StreamPort", "vantora_datastream_", true, true};

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

void tcDataStream::ReturnToInput(tcBuffer* buffer) {
  Lock lock(lock_);
  input_.push_front(buffer);
  inputQueued_.notify_all();
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

enum : uint64_t {
  kAnnouncedBufferCount = 0x10000,
  kDeliveredFrameCount = 0x10010,
  kLostFrameCount = 0x10020,
  kInputBufferCount = 0x10030,
  kOutputBufferCount = 0x10040,
  kStartedFrameCount = 0x10050,
  kPayloadSize = 0x10060,
  kIsGrabbing = 0x10070,
};

GC_ERROR ReadRegister(uint64_t value, size_t width, void* buffer, size_t* size) {
  if (*size < width) return GC_ERR_BUFFER_TOO_SMALL;
  memcpy(buffer, &value, width);  // little-endian host
  *size = width;
  return GC_ERR_SUCCESS;
}

}  // namespace

GC_ERROR tcDataStream::Read(uint64_t address, void* buffer, size_t* size) {
  if (ReadDescription(address, buffer, *size)) return GC_ERR_SUCCESS;
  Lock lock(lock_);
  switch (address) {
    case kAnnouncedBufferCount:
      return ReadRegister(announced_.size(), 4, buffer, size);
    case kDeliveredFrameCount:
      return ReadRegister(delivered_.load(), 8, buffer, size);
    case kLostFrameCount:
      return ReadRegister(underrun_.load(), 8, buffer, size);
    case kInputBufferCount:
      return ReadRegister(input_.size(), 4, buffer, size);
    case kOutputBufferCount:
    case kPayloadSize:  // reads the output-queue count, as the register map defines it
      return ReadRegister(output_.size(), 4, buffer, size);
    case kStartedFrameCount:
      return ReadRegister(started_.load(), 8, buffer, size);
    case kIsGrabbing:
      return ReadRegister(grabbing_.load() ? 1 : 0, 4, buffer, size);
    default:
      return GC_ERR_ACCESS_DENIED;
  }
}

GC_ERROR tcDataStream::Write(uint64_t, const void*, size_t*) {
  return GC_ERR_ACCESS_DENIED;
}

namespace {

tsRegisterNode Counter(const char* name, uint64_t address, uint32_t length) {
  return {name, address, length, "RO", {}, true};
}

void DumpToFile(const std::string& streamId, const std::string& xml) {
  if (getenv("GENTL_DUMP_XML_TO_FILE") == nullptr) return;
  std::ofstream(streamId + "_datastream.xml", std::ios::binary) << xml;
}

}  // namespace

std::string tcDataStream::BuildXml() {
  tcDescriptionBuilder xml("DataStream:" + Name(), "StreamPort");
  xml.Category(xml.Group("RootCategory"),
               {"Root", "Root", "Provides the Root of the GenTL Producer Data Stream features.",
                "Provides the Root of the GenTL Producer Data Stream features.", "Beginner"},
               {"StreamInformation", "BufferHandlingControl"});
  pugi::xml_node categories = xml.Group("SubCategories");
  xml.Category(categories,
               {"StreamInformation", "Stream Information",
                "Category that contains all Stream Information features of the Data Stream module.",
                "Category that contains all Stream Information features of the Data Stream module.",
                "Beginner"},
               {"StreamID", "StreamType"});
  xml.Category(
      categories,
      {"BufferHandlingControl", "Buffer Handling Control",
       "Category that contains all Buffer Handling features of the Data Stream module.",
       "Category that contains all Buffer Handling features of the Data Stream module.",
       "Beginner"},
      {"StreamAnnouncedBufferCount", "StreamAnnounceBufferMinimum", "StreamDeliveredFrameCount",
       "StreamLostFrameCount", "StreamInputBufferCount", "StreamOutputBufferCount",
       "StreamStartedFrameCount", "PayloadSize", "StreamIsGrabbing", "StreamBufferHandlingMode",
       "StreamChunkCountMaximum", "StreamBufferAlignment"});
  pugi::xml_node information = xml.Group("StreamInformation");
  xml.ConstantString(information,
                     {"StreamID", "Stream ID", "Device unique ID for the data stream, e.g. a GUID.",
                      "Device unique ID for the data stream, e.g. a GUID.", "Beginner"},
                     Name());
  xml.ConstantEnumeration(information,
                          {"StreamType", "Stream Type", "Transport layer type of the Data Stream.",
                           "Transport layer type of the Data Stream.", "Beginner"},
                          TransportTypeEntries(), TransportTypeValue(tlType_));
  pugi::xml_node handling = xml.Group("BufferHandlingControl");
  const struct {
    tsFeatureText text;
    tsRegisterNode reg;
  } counters[] = {
      {{"StreamAnnouncedBufferCount", "Announced Buffer Count",
        "Number of announced (known) buffers on this stream.",
        "Number of announced (known) buffers on this stream.", "Expert"},
       Counter("StreamAnnouncedBufferCountReg", kAnnouncedBufferCount, 4)},
      {{"StreamDeliveredFrameCount", "Delivered Frame Count",
        "Number of delivered frames since last acquisition start.",
        "Number of delivered frames since last acquisition start.", "Expert"},
       Counter("StreamDeliveredFrameCountReg", kDeliveredFrameCount, 8)},
      {{"StreamLostFrameCount", "Lost Frame Count", "Number of lost frames due to queue underrun.",
        "Number of lost frames due to queue underrun.", "Expert"},
       Counter("StreamLostFrameCountReg", kLostFrameCount, 8)},
      {{"StreamInputBufferCount", "Input Buffer Count",
        "Number of buffers in the input buffer pool.",
        "Number of buffers in the input buffer pool.", "Expert"},
       Counter("StreamInputBufferCountReg", kInputBufferCount, 4)},
      {{"StreamOutputBufferCount", "Output Buffer Count",
        "Number of buffers in the output buffer queue.",
        "Number of buffers in the output buffer queue.", "Expert"},
       Counter("StreamOutputBufferCountReg", kOutputBufferCount, 4)},
      {{"StreamStartedFrameCount", "Started Frame Count",
        "Number of frames started in the acquisition engine.",
        "Number of frames started in the acquisition engine.", "Expert"},
       Counter("StreamStartedFrameCountReg", kStartedFrameCount, 8)},
      {{"PayloadSize", "Payload Size", "Size of the expected data in bytes.",
        "Size of the expected data in bytes.", "Expert"},
       Counter("PayloadSizeReg", kPayloadSize, 4)},
      {{"StreamIsGrabbing", "Is Grabbing",
        "Flag indicating whether the acquisition engine is started or not.",
        "Flag indicating whether the acquisition engine is started or not.", "Expert"},
       Counter("StreamIsGrabbingReg", kIsGrabbing, 4)},
  };
  for (const auto& counter : counters)
    xml.RegisterInteger(handling, counter.text, counter.reg.name);
  xml.ConstantInteger(
      handling,
      {"StreamAnnounceBufferMinimum", "Announce Buffer Minimum",
       "Minimal number of buffers to announce to enable selected acquisition mode.",
       "Minimal number of buffers to announce to enable selected acquisition mode.", "Expert"},
      1);
  xml.ConstantEnumeration(
      handling,
      {"StreamBufferHandlingMode", "Buffer Handling Mode",
       "Available buffer handling modes of this Data Stream.",
       "Available buffer handling modes of this Data Stream.", "Beginner"},
      {{"OldestFirst", "Oldest First",
        "The application always gets the buffer with the oldest image in the output buffer queue.",
        1},
       {"OldestFirstOverwrite", "Oldest First Overwrite",
        "The application always gets the buffer with the oldest image; a full output queue "
        "overwrites its oldest buffer.",
        2}},
      1);
  xml.ConstantInteger(handling,
                      {"StreamChunkCountMaximum", "Chunk Count Maximum",
                       "Maximum number of chunks to be expected in a buffer.",
                       "Maximum number of chunks to be expected in a buffer.", "Expert"},
                      0);
  xml.ConstantInteger(
      handling,
      {"StreamBufferAlignment", "Buffer Alignment",
       "Alignment size in bytes of the buffer passed to DSAnnounceBuffer.",
       "Alignment size in bytes of the buffer passed to DSAnnounceBuffer.", "Expert"},
      1, "Byte");
  pugi::xml_node registers = xml.Group("Registers");
  for (const auto& counter : counters)
    xml.IntReg(registers, counter.reg);
  xml.Port(registers, "Stream Port",
           "The GenICam port through which the Data Stream module is accessed.");
  std::string text = xml.Print();
  DumpToFile(Name(), text);
  return text;
}
