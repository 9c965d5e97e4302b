// The buffers and the new-buffer event of one data stream during a grab; revoked and
// unregistered again when it ends, however it ends.
#pragma once

#include <cstdint>
#include <vector>

#include "tcProducer.h"
#include "tsFrame.h"

class tcAcquisition {
 public:
  // Registers the new-buffer event and announces and queues `buffers` buffers of
  // `payloadSize` bytes.
  tcAcquisition(tcProducer& producer, GenTL::DS_HANDLE stream, uint32_t buffers,
                size_t payloadSize);
  ~tcAcquisition();
  tcAcquisition(const tcAcquisition&) = delete;
  tcAcquisition& operator=(const tcAcquisition&) = delete;

  size_t PayloadSize() const { return payloadSize_; }

  // Starts acquiring `frames` frames (GENTL_INFINITE: until Stop).
  void Start(uint64_t frames);
  void Stop();

  // The next filled buffer, or null when none arrives within `timeoutMs`.
  GenTL::BUFFER_HANDLE Wait(uint64_t timeoutMs);
  tsFrame Describe(GenTL::BUFFER_HANDLE buffer);
  void Requeue(GenTL::BUFFER_HANDLE buffer);

  // The stream's counts of delivered frames and of frames lost for want of a buffer.
  uint64_t Delivered();
  uint64_t Lost();

 private:
  uint64_t StreamNumber(GenTL::STREAM_INFO_CMD command, const char* call);
  uint64_t BufferNumber(GenTL::BUFFER_HANDLE buffer, GenTL::BUFFER_INFO_CMD command,
                        const char* call);

  tcProducer& producer_;
  GenTL::DS_HANDLE stream_;
  GenTL::EVENT_HANDLE event_ = nullptr;
  size_t payloadSize_ = 0;
  std::vector<GenTL::BUFFER_HANDLE> buffers_;
  bool started_ = false;
};
