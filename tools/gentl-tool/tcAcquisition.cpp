// Buffer announcement, queueing, waiting for filled buffers, buffer information and clean-up.
#include "tcAcquisition.h"

using namespace GenTL;

tcAcquisition::tcAcquisition(tcProducer& producer, DS_HANDLE stream, uint32_t buffers,
                             size_t payloadSize)
    : producer_(producer), stream_(stream), payloadSize_(payloadSize) {
  GenTLLibrary& lib = producer_.Lib();
  producer_.Check("GCRegisterEvent(EVENT_NEW_BUFFER)",
                  lib.GCRegisterEvent(stream_, EVENT_NEW_BUFFER, &event_));
  for (uint32_t index = 0; index < buffers; ++index) {
    BUFFER_HANDLE buffer = nullptr;
    producer_.Check("DSAllocAndAnnounceBuffer",
                    lib.DSAllocAndAnnounceBuffer(stream_, payloadSize_, nullptr, &buffer));
    buffers_.push_back(buffer);
    producer_.Check("DSQueueBuffer", lib.DSQueueBuffer(stream_, buffer));
  }
}

tcAcquisition::~tcAcquisition() {
  GenTLLibrary& lib = producer_.Lib();
  if (started_) lib.DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT);
  lib.DSFlushQueue(stream_, ACQ_QUEUE_ALL_DISCARD);
  for (BUFFER_HANDLE buffer : buffers_)
    lib.DSRevokeBuffer(stream_, buffer, nullptr, nullptr);
  if (event_ != nullptr) lib.GCUnregisterEvent(stream_, EVENT_NEW_BUFFER);
}

void tcAcquisition::Start(uint64_t frames) {
  producer_.Check("DSStartAcquisition",
                  producer_.Lib().DSStartAcquisition(stream_, ACQ_START_FLAGS_DEFAULT, frames));
  started_ = true;
}

void tcAcquisition::Stop() {
  started_ = false;
  producer_.Check("DSStopAcquisition",
                  producer_.Lib().DSStopAcquisition(stream_, ACQ_STOP_FLAGS_DEFAULT));
}

BUFFER_HANDLE tcAcquisition::Wait(uint64_t timeoutMs) {
  EVENT_NEW_BUFFER_DATA data{};
  size_t size = sizeof data;
  const GC_ERROR code = producer_.Lib().EventGetData(event_, &data, &size, timeoutMs);
  if (code == GC_ERR_TIMEOUT) return nullptr;
  producer_.Check("EventGetData(EVENT_NEW_BUFFER)", code);
  return data.BufferHandle;
}

uint64_t tcAcquisition::StreamNumber(STREAM_INFO_CMD command, const char* call) {
  uint64_t value = 0;
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  producer_.Check(call, producer_.Lib().DSGetInfo(stream_, command, &type, &value, &size));
  return value;
}

uint64_t tcAcquisition::BufferNumber(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command,
                                     const char* call) {
  // Every number the tool asks for is little-endian in at most 8 bytes.
  uint64_t value = 0;
  size_t size = sizeof value;
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  producer_.Check(call,
                  producer_.Lib().DSGetBufferInfo(stream_, buffer, command, &type, &value, &size));
  return type == INFO_DATATYPE_BOOL8 ? value & 0xFF : value;
}

tsFrame tcAcquisition::Describe(BUFFER_HANDLE buffer) {
  tsFrame frame;
  frame.data = reinterpret_cast<const uint8_t*>(
      BufferNumber(buffer, BUFFER_INFO_BASE, "DSGetBufferInfo(BUFFER_INFO_BASE)"));
  frame.filled = BufferNumber(buffer, BUFFER_INFO_SIZE_FILLED, "DSGetBufferInfo(SIZE_FILLED)");
  frame.width =
      static_cast<uint32_t>(BufferNumber(buffer, BUFFER_INFO_WIDTH, "DSGetBufferInfo(WIDTH)"));
  frame.height =
      static_cast<uint32_t>(BufferNumber(buffer, BUFFER_INFO_HEIGHT, "DSGetBufferInfo(HEIGHT)"));
  frame.frameId = BufferNumber(buffer, BUFFER_INFO_FRAMEID, "DSGetBufferInfo(FRAMEID)");
  frame.pixelFormat = BufferNumber(buffer, BUFFER_INFO_PIXELFORMAT, "DSGetBufferInfo(PIXELFORMAT)");
  frame.incomplete =
      BufferNumber(buffer, BUFFER_INFO_IS_INCOMPLETE, "DSGetBufferInfo(IS_INCOMPLETE)") != 0;
  return frame;
}

void tcAcquisition::Requeue(BUFFER_HANDLE buffer) {
  producer_.Check("DSQueueBuffer", producer_.Lib().DSQueueBuffer(stream_, buffer));
}

uint64_t tcAcquisition::Delivered() {
  return StreamNumber(STREAM_INFO_NUM_DELIVERED, "DSGetInfo(STREAM_INFO_NUM_DELIVERED)");
}

uint64_t tcAcquisition::Lost() {
  return StreamNumber(STREAM_INFO_NUM_UNDERRUN, "DSGetInfo(STREAM_INFO_NUM_UNDERRUN)");
}
