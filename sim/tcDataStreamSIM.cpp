// tcDataStreamSIM: start, stop, the frame thread and the stream information it answers itself.
#include "sim/tcDataStreamSIM.h"

#include "base/Log.h"
#include "base/Platform.h"
#include "modules/InfoAnswer.h"
#include "sim/tcDeviceSIM.h"
#include "stream/tcBuffer.h"

using namespace GenTL;

tcDataStreamSIM::tcDataStreamSIM(std::string id, tcDevice* parent)
    : tcDataStream(std::move(id), "Custom", parent, 0) {}

// The frame thread uses this object: it is stopped before the object goes.
tcDataStreamSIM::~tcDataStreamSIM() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
}

GC_ERROR tcDataStreamSIM::OnStartAcquisition(int32_t, uint64_t numToAcquire) {
  acquisition_.Start([this, numToAcquire] { AcquistionThread(numToAcquire); });
  if (auto* device = dynamic_cast<tcDeviceSIM*>(Parent())) {
    device->SetAcquisitionStartTime(platform::WallClockNs());
  }
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStreamSIM::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "%s, cmd = %d, pBuffer = 0x%X", Name(), command, buffer);
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto* device = dynamic_cast<tcDeviceSIM*>(Parent());
  size_t value = 0;
  if (command == STREAM_INFO_PAYLOAD_SIZE && device != nullptr) {
    tcMutexLock lock(device->RegistersMutex());
    value = device->GetPayloadSize();
    payloadSize_.store(value);
    if (value == 0) return GC_ERR_NOT_IMPLEMENTED;
  } else if (command == STREAM_INFO_BUF_ANNOUNCE_MIN || command == STREAM_INFO_BUF_ALIGNMENT) {
    value = 1;  // both numbers answer the alignment, 1 byte
  } else {
    return tcDataStream::GetInfo(command, type, buffer, size);
  }
  // The type stays as the caller passed it.
  return CopyValue(value, buffer, size);
}

bool tcDataStreamSIM::AcquireFrame(tcDeviceSIM* device, uint64_t timestampNs) {
  std::vector<std::pair<uint32_t, tcDeviceSIM::tsRegion>> regions;
  {
    tcMutexLock lock(device->RegistersMutex());
    regions = device->EnabledRegions();
  }
  for (const auto& [index, region] : regions) {
    // Sleeps until DSQueueBuffer (or a stop) signals: an idle stream costs no CPU.
    tcBufferLease buffer = WaitForInputBuffer();
    if (!buffer) return false;
    LogPrint(kLogInfo, "tcDataStreamSIM::AcquistionThread", "Region %d %dx%d%+d%+d", index,
             region.offsetX, region.offsetY, region.width, region.height);
    // A buffer that could not be filled is delivered all the same, without an image.
    bool filled = device->FillBuffer(buffer.Get(), region, timestampNs) == 0;
    DeliverBuffer(std::move(buffer), filled);
  }
  return !acquisition_.StopRequested();
}

void tcDataStreamSIM::AcquistionThread(uint64_t frameBudget) {
  auto* device = dynamic_cast<tcDeviceSIM*>(Parent());
  if (device != nullptr && !acquisition_.StopRequested()) {
    device->ResetFrameCounter();
    while (!acquisition_.StopRequested()) {
      uint64_t periodUs = 0;
      {
        tcMutexLock lock(device->RegistersMutex());
        periodUs = device->FramePeriodUs();
      }
      uint64_t deadline = platform::MonotonicNs() + periodUs * 1000;
      if (!AcquireFrame(device, platform::WallClockNs())) break;
      if (frameBudget-- == 1) break;
      acquisition_.SleepUntil(deadline);
    }
  }
  AcquisitionEnded();
}
