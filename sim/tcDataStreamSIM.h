// The simulated camera's data stream: a frame thread that paces itself by the camera's frame
// period, fills the consumer's buffers region by region and delivers them with new-buffer
// events.
#pragma once

#include <cstdint>

#include "stream/tcDataStream.h"

class tcDeviceSIM;

class tcDataStreamSIM : public tcDataStream {
 public:
  tcDataStreamSIM(std::string id, tcDevice* parent);
  ~tcDataStreamSIM() override;

  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;

 protected:
  GenTL::GC_ERROR OnStartAcquisition(int32_t startFlags, uint64_t numToAcquire) override;

 private:
  void AcquistionThread(uint64_t frameBudget);
  // Runs one pass over the enabled regions; false when stop was requested meanwhile.
  bool AcquireFrame(tcDeviceSIM* device, uint64_t timestampNs);
};
