// tcDataStreamU3V: streaming register programming, start and stop, the transfer callbacks,
// cancellation, flushing and the stream information answered from the camera.
#include "u3v/tcDataStreamU3V.h"

#include <chrono>
#include <span>

#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "u3v/GenCP.h"
#include "u3v/tcBufferU3V.h"
#include "u3v/tcPortU3V.h"

using namespace GenTL;
using Kind = tcBufferU3V::eTransferKind;

namespace {

// SIRM register offsets.
constexpr uint64_t kSiInfo = 0;
constexpr uint64_t kSiControl = 4;
constexpr uint64_t kSiRequiredPayloadSize = 8;
constexpr uint64_t kSiRequiredLeaderSize = 16;
constexpr uint64_t kSiRequiredTrailerSize = 20;
constexpr uint64_t kSiMaxLeaderSize = 24;
constexpr uint64_t kSiPayloadTransferSize = 28;
constexpr uint64_t kSiPayloadTransferCount = 32;
constexpr uint64_t kSiFinalTransfer1Size = 36;
constexpr uint64_t kSiFinalTransfer2Size = 40;
constexpr uint64_t kSiMaxTrailerSize = 44;

constexpr uint8_t kSetFeature = 3;
constexpr uint8_t kClearFeature = 1;
constexpr uint8_t kEndpointRecipient = 0x02;
constexpr unsigned kControlTimeoutMs = 1000;
// A cancelled transfer's callback is awaited this much longer than a register access.
constexpr uint32_t kCancelGraceMs = 1000;
constexpr uint64_t kPfncNamespace = PIXELFORMAT_NAMESPACE_PFNC_32BIT;
constexpr size_t kImagePayload = 1;

using Lock = tcMutexLock<tcRecursiveMutex>;

uint64_t SteadyNs() {
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                   std::chrono::steady_clock::now().time_since_epoch())
                                   .count());
}

}  // namespace

tcDataStreamU3V::tcDataStreamU3V(std::string id, tcDevice* parent, int index, tcPortU3V* port,
                                 libusb_device_handle* handle,
                                 const libusb_config_descriptor* config, uint8_t interfaceNumber)
    : tcDataStream(std::move(id), "U3V", parent, index),
      port_(port),
      handle_(handle),
      interfaceNumber_(interfaceNumber) {
  FindEndpoint(config);
  uint64_t sbrm = 0;
  size_t size = 8;
  port_->ReadPort(ABRM_SBRMADDRESS_OFFSET, &sbrm, &size);
  size = 8;
  port_->ReadPort(sbrm + SBRM_SIRMADDRESS_OFFSET, &sirm_, &size);
  GENTL_LOG(kLogDebug, "%s: SIRM at 0x%llx, endpoint 0x%02x", Name(), sirm_, endpoint_);
}

tcDataStreamU3V::~tcDataStreamU3V() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
  CancelInput();
}

void tcDataStreamU3V::FindEndpoint(const libusb_config_descriptor* config) {
  if (interfaceNumber_ >= config->bNumInterfaces) return;
  const libusb_interface& usbInterface = config->interface[interfaceNumber_];
  if (usbInterface.num_altsetting < 1) return;
  const libusb_interface_descriptor& alt = usbInterface.altsetting[0];
  for (int i = 0; i < alt.bNumEndpoints; ++i) {
    const libusb_endpoint_descriptor& endpoint = alt.endpoint[i];
    if ((endpoint.bmAttributes & 3) == LIBUSB_TRANSFER_TYPE_BULK &&
        (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_IN) != 0) {
      endpoint_ = endpoint.bEndpointAddress;
      return;
    }
  }
}

std::unique_ptr<tcBuffer> tcDataStreamU3V::AllocBuffer(void* memory, uint64_t size,
                                                       void* userPointer, bool owned) {
  auto buffer = std::make_unique<tcBufferU3V>(this, memory, size, userPointer, owned);
  GENTL_LOG(kLogDebug, "%s, hBuffer = %p", Name(), buffer.get());
  return buffer;
}

GC_ERROR tcDataStreamU3V::ReadSirm(uint64_t offset, size_t size, uint64_t* value) {
  *value = 0;
  return port_->ReadPort(sirm_ + offset, value, &size);
}

GC_ERROR tcDataStreamU3V::WriteSirm(uint64_t offset, uint32_t value) {
  size_t size = sizeof value;
  return port_->WritePort(sirm_ + offset, &value, &size);
}

void tcDataStreamU3V::ResetEndpoint() {
  int result = libusb_control_transfer(handle_, kEndpointRecipient, kSetFeature, 0, endpoint_,
                                       nullptr, 0, kControlTimeoutMs);
  if (result < 0) {
    GENTL_LOG(kLogError, "libusb_control_transfer (set feature): %s", libusb_error_name(result));
  } else {
    libusb_control_transfer(handle_, kEndpointRecipient, kClearFeature, 0, endpoint_, nullptr, 0,
                            kControlTimeoutMs);
  }
  libusb_clear_halt(handle_, endpoint_);
}

GC_ERROR tcDataStreamU3V::ProgramSirm(u3v::tsTransferPlan* plan, uint64_t* payload) {
  uint64_t info = 0;
  uint64_t leader = 0;
  uint64_t trailer = 0;
  if (GC_ERROR r = ReadSirm(kSiInfo, 4, &info); r != GC_ERR_SUCCESS) return r;
  GENTL_LOG(kLogDebug, "Payload alignment: %u", 1u << ((info >> 24) & 0xF));
  if (GC_ERROR r = ReadSirm(kSiRequiredLeaderSize, 4, &leader); r != GC_ERR_SUCCESS) return r;
  GENTL_LOG(kLogDebug, "min_leader_size: %u", static_cast<uint32_t>(leader));
  if (leader < u3v::kLeaderMinSize) {
    leader = u3v::kLeaderMinSize;
    GENTL_LOG(kLogDebug, "min_leader_size: %u", static_cast<uint32_t>(leader));
  }
  if (GC_ERROR r = ReadSirm(kSiRequiredTrailerSize, 4, &trailer); r != GC_ERR_SUCCESS) return r;
  GENTL_LOG(kLogDebug, "min_trailer_size: %u", static_cast<uint32_t>(trailer));
  if (trailer < u3v::kTrailerMinSize) {
    trailer = u3v::kTrailerMinSize;
    GENTL_LOG(kLogDebug, "min_trailer_size: %u", static_cast<uint32_t>(trailer));
  }
  if (GC_ERROR r = WriteSirm(kSiMaxLeaderSize, static_cast<uint32_t>(leader)); r != 0) return r;
  if (GC_ERROR r = WriteSirm(kSiMaxTrailerSize, static_cast<uint32_t>(trailer)); r != 0) return r;
  GC_ERROR r = ReadSirm(kSiRequiredPayloadSize, 8, payload);
  if (!GenCP::checkGenCpError(r, "SIRM_REQ_PAYLOADSIZE_OFFSET")) return r;
  GENTL_LOG(kLogDebug, "REQ_PAYLOADSIZE_OFFSET: %llu", static_cast<unsigned long long>(*payload));
  *plan = u3v::MakeTransferPlan(*payload);
  plan->leaderSize = static_cast<uint32_t>(leader);
  plan->trailerSize = static_cast<uint32_t>(trailer);
  GENTL_LOG(kLogDebug, "xfer_size: %u, xfer_count: %u, ft1_external: %d, ft1: %u, ft2: %u",
            plan->size, plan->count, plan->final1External ? 1 : 0, plan->final1, plan->final2);
  const std::pair<uint64_t, uint32_t> writes[] = {
      {kSiPayloadTransferSize, plan->size},
      {kSiPayloadTransferCount, plan->count},
      {kSiFinalTransfer1Size, plan->final1External ? u3v::kFinalTransferSize : plan->final1},
      {kSiFinalTransfer2Size, plan->final2 > 0 ? u3v::kFinalTransferSize : 0}};
  for (const auto& [offset, value] : writes) {
    if (GC_ERROR w = WriteSirm(offset, value); w != GC_ERR_SUCCESS) return w;
  }
  return GC_ERR_SUCCESS;
}

bool tcDataStreamU3V::BuffersHold(uint64_t payload) {
  Lock lock(StreamMutex());
  void* handle = nullptr;
  for (uint32_t i = 0; GetBufferID(i, &handle) == GC_ERR_SUCCESS; ++i) {
    if (static_cast<tcBuffer*>(handle)->size < payload) return false;
  }
  return true;
}

int tcDataStreamU3V::HandOver(tcBuffer* buffer) {
  auto* u3vBuffer = static_cast<tcBufferU3V*>(buffer);
  if (!u3vBuffer->PrepareTransfers(plan_, {handle_, endpoint_, &OnTransfer})) {
    return LIBUSB_ERROR_NO_MEM;
  }
  return u3vBuffer->Submit();
}

void tcDataStreamU3V::BufferQueued(tcBuffer* buffer) {
  if (!planReady_) return;  // the start hands over every queued buffer itself
  if (int result = HandOver(buffer); result != 0) {
    GENTL_LOG(kLogError, "libusb_submit_transfer: %s", libusb_error_name(result));
  }
}

GC_ERROR tcDataStreamU3V::OnStartAcquisition(int32_t startFlags, uint64_t) {
  if (startFlags != 0) {
    GENTL_LOG(kLogWarning, "%s, iStartFlags = %d (Request Not Implemented)", "tcDataStreamU3V",
              startFlags);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  CancelInput();  // transfers left from an earlier acquisition would take the new frames
  ResetEndpoint();
  u3v::tsTransferPlan plan;
  uint64_t payload = 0;
  if (GC_ERROR result = ProgramSirm(&plan, &payload); result != GC_ERR_SUCCESS) return result;
  payloadSize_.store(payload);
  if (!BuffersHold(payload)) return GC_ERR_BUFFER_TOO_SMALL;
  int submitted = 0;
  {
    Lock lock(StreamMutex());
    plan_ = plan;
    planReady_ = true;
    for (tcBuffer* buffer : InputBuffers()) {
      if ((submitted = HandOver(buffer)) != 0) break;
    }
    if (submitted != 0) planReady_ = false;
  }
  if (submitted != 0) {
    GENTL_LOG(kLogError, "libusb_submit_transfer: %s", libusb_error_name(submitted));
    return submitted == LIBUSB_ERROR_NO_MEM ? GC_ERR_RESOURCE_EXHAUSTED : GC_ERR_IO;
  }
  return WriteSirm(kSiControl, 1);
}

void tcDataStreamU3V::OnStopAcquisition(int32_t) {
  {
    Lock lock(StreamMutex());
    planReady_ = false;
  }
  WriteSirm(kSiControl, 0);
}

void LIBUSB_CALL tcDataStreamU3V::OnTransfer(libusb_transfer* transfer) {
  auto* buffer = static_cast<tcBufferU3V*>(transfer->user_data);
  static_cast<tcDataStreamU3V*>(buffer->stream)->HandleCallback(buffer, transfer);
}

void tcDataStreamU3V::HandleCallback(tcBufferU3V* buffer, libusb_transfer* transfer) {
  if (transfer->status == LIBUSB_TRANSFER_CANCELLED && buffer->Cancelling()) {
    GENTL_LOG(kLogDebug, "LIBUSB_TRANSFER_CANCELLED buffer: %p releasing semaphore %p", buffer,
              buffer->Semaphore());
    buffer->TransferEnded();
    return;
  }
  switch (buffer->KindOf(transfer)) {
    case Kind::kLeader:
      OnLeader(buffer, transfer);
      buffer->TransferEnded();
      break;
    case Kind::kTrailer:
      OnTrailer(buffer, transfer);  // ends the transfer itself
      break;
    default:
      OnPayload(buffer, transfer);
      buffer->TransferEnded();
  }
}

void tcDataStreamU3V::OnLeader(tcBufferU3V* buffer, const libusb_transfer* transfer) {
  GENTL_LOG(kLogDebug, "Leader: %d", transfer->actual_length);
  if (transfer->status != LIBUSB_TRANSFER_COMPLETED) {
    GENTL_LOG(kLogError, "Transfer failed 0x%02x\n", static_cast<int>(transfer->status));
    buffer->incomplete = true;
    return;
  }
  started_.fetch_add(1);
  buffer->received = 0;
  buffer->frameInProgress = true;
  u3v::tsLeader leader;
  if (!u3v::ParseLeader(std::span(transfer->buffer, static_cast<size_t>(transfer->actual_length)),
                        &leader)) {
    buffer->incomplete = true;
    return;
  }
  buffer->leaderValid = true;
  buffer->frameId = leader.blockId;
  buffer->timestamp = leader.timestamp;
  buffer->xOffset = leader.offsetX;
  buffer->yOffset = leader.offsetY;
  buffer->width = leader.sizeX;
  buffer->height = leader.sizeY;
  buffer->pixelFormat = leader.pixelFormat;
  buffer->pixelFormatNamespace = kPfncNamespace;
  buffer->payloadType = kImagePayload;
  buffer->timestampNs = SteadyNs();
}

void tcDataStreamU3V::OnPayload(tcBufferU3V* buffer, const libusb_transfer* transfer) {
  GENTL_LOG(kLogDebug, "Payload: %d", transfer->actual_length);
  if (transfer->status != LIBUSB_TRANSFER_COMPLETED) {
    GENTL_LOG(kLogError, "Error in payload transfer, status = %d",
              static_cast<int>(transfer->status));
    buffer->incomplete = true;
    return;
  }
  auto length = static_cast<uint32_t>(transfer->actual_length);
  buffer->received += length;
  if (length < buffer->ExpectedLength(buffer->KindOf(transfer))) buffer->incomplete = true;
}

void tcDataStreamU3V::OnTrailer(tcBufferU3V* buffer, const libusb_transfer* transfer) {
  GENTL_LOG(kLogDebug, "Trailer: %d", transfer->actual_length);
  if (transfer->status != LIBUSB_TRANSFER_COMPLETED) {
    GENTL_LOG(kLogError, "Transfer trailer transfer failed 0x%02x\n",
              static_cast<int>(transfer->status));
    buffer->TransferEnded();
    return;  // the buffer stays in the input list until it is flushed
  }
  u3v::tsTrailer trailer;
  bool valid = u3v::ParseTrailer(
      std::span(transfer->buffer, static_cast<size_t>(transfer->actual_length)), &trailer);
  buffer->incomplete = buffer->incomplete || !valid || !buffer->leaderValid ||
                       trailer.status != 0 || trailer.validPayloadSize > buffer->received;
  buffer->frameDone = true;
  if (valid && trailer.sizeY < buffer->height) buffer->height = trailer.sizeY;
  buffer->frameInProgress = false;
  buffer->CopyFromScratch();
  buffer->sizeFilled = std::min<size_t>(buffer->received, buffer->size);
  buffer->newData = true;
  bool image = buffer->leaderValid;
  // From here on a cancellation may reuse the buffer; only the queue move follows.
  buffer->TransferEnded();
  if (tcBufferLease lease = TakeFromInput(buffer)) DeliverBuffer(std::move(lease), image);
}

void tcDataStreamU3V::CancelTransfer(tcBuffer* buffer) {
  auto* u3vBuffer = dynamic_cast<tcBufferU3V*>(buffer);
  if (u3vBuffer == nullptr) {
    GENTL_LOG(kLogWarning, "Failed dynamic_cast<tcBufferU3V*>");
    return;
  }
  u3vBuffer->Cancel(port_->ResponseTimeMs() + kCancelGraceMs);
}

void tcDataStreamU3V::CancelInput() {
  tcMutexLock cancel(cancelMutex_);
  std::vector<tcBuffer*> buffers;
  {
    Lock lock(StreamMutex());
    buffers = InputBuffers();
    for (tcBuffer* buffer : buffers) {
      if (auto* u3vBuffer = dynamic_cast<tcBufferU3V*>(buffer)) u3vBuffer->MarkCancelling();
    }
  }
  // The callbacks take the stream mutex: it is free while the cancellations wait.
  for (auto it = buffers.rbegin(); it != buffers.rend(); ++it)
    CancelTransfer(*it);
}

GC_ERROR tcDataStreamU3V::RevokeBuffer(void* handle, void** memory, void** userPointer) {
  tcMutexLock cancel(cancelMutex_);
  return tcDataStream::RevokeBuffer(handle, memory, userPointer);
}

GC_ERROR tcDataStreamU3V::FlushQueue(int32_t operation) {
  switch (operation) {
    case ACQ_QUEUE_INPUT_TO_OUTPUT:
    case ACQ_QUEUE_ALL_DISCARD:
      CancelInput();
      [[fallthrough]];
    case ACQ_QUEUE_OUTPUT_DISCARD:
    case ACQ_QUEUE_ALL_TO_INPUT:
    case ACQ_QUEUE_UNQUEUED_TO_INPUT:
      return tcDataStream::FlushQueue(operation);
    default:
      GENTL_LOG(kLogWarning, "%s, iOperation = %d (Request Not Implemented)", "tcDataStreamU3V",
                operation);
      return GC_ERR_NOT_IMPLEMENTED;
  }
}

GC_ERROR tcDataStreamU3V::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command == STREAM_INFO_PAYLOAD_SIZE) {
    uint64_t payload = 0;
    if (ReadSirm(kSiRequiredPayloadSize, 8, &payload) == GC_ERR_SUCCESS) {
      payloadSize_.store(payload);
      *type = INFO_DATATYPE_SIZET;
      return CopyValue(static_cast<size_t>(payload), buffer, size);
    }
  } else if (command == STREAM_INFO_BUF_ANNOUNCE_MIN) {
    *type = INFO_DATATYPE_SIZET;
    return CopyValue(size_t{1}, buffer, size);
  }
  return tcDataStream::GetInfo(command, type, buffer, size);
}
