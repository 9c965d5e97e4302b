// The simulated camera's data stream: a frame thread that paces itself by the camera's frame
// period, fills the consumer's buffers region by region and delivers them with new-buffer
// events.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "stream/tcDataStream.h"

class tcDataStreamSIM : public tcDataStream {
 public:
  tcDataStreamSIM(std::string id, tcDevice* parent);
  ~tcDataStreamSIM() override;

  GenTL::GC_ERROR Close() override;
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR StartAcquisition(int32_t startFlags, uint64_t numToAcquire) override;
  GenTL::GC_ERROR StopAcquisition(int32_t stopFlags) override;

 protected:
  void BufferQueued(tcBuffer*) override {}

 private:
  void AcquistionThread(uint64_t frameBudget);
  // Runs one pass over the enabled regions; false when stop was requested meanwhile.
  bool AcquireFrame(class tcDeviceSIM* device, uint64_t timestampNs);
  bool WaitForInputBuffer();
  void SleepUntil(uint64_t deadlineNs);

  std::atomic<bool> stop_{true};
  std::thread thread_;
  std::mutex wakeMutex_;
  std::condition_variable wake_;  // ends the wait for the next period when stop is requested
};
