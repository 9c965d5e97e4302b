// tcDataStreamSIM: start, stop, the frame thread and the stream information it answers itself.
#include "sim/tcDataStreamSIM.h"

#include <chrono>

#include "base/Log.h"
#include "base/Platform.h"
#include "modules/InfoAnswer.h"
#include "sim/tcDeviceSIM.h"
#include "stream/tcBuffer.h"

using namespace GenTL;

namespace {

constexpr uint64_t kLongestSleepNs = 864000000000000ULL;  // one sleep is capped at 8.64e14 ns

}  // namespace

tcDataStreamSIM::tcDataStreamSIM(std::string id, tcDevice* parent)
    : tcDataStream(std::move(id), "Custom", parent, 0) {}

tcDataStreamSIM::~tcDataStreamSIM() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
}

GC_ERROR tcDataStreamSIM::Close() {
  StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
  return tcDataStream::Close();
}

GC_ERROR tcDataStreamSIM::StartAcquisition(int32_t, uint64_t numToAcquire) {
  if (acquiring_.load() != 0) return GC_ERR_RESOURCE_IN_USE;
  if (numToAcquire == 0) return GC_ERR_INVALID_PARAMETER;
  if (!stop_.load()) StopAcquisition(ACQ_STOP_FLAGS_DEFAULT);
  stop_.store(false);
  acquiring_.exchange(1);
  grabbing_.store(true);
  thread_ = std::thread(&tcDataStreamSIM::AcquistionThread, this, numToAcquire);
  if (auto* device = dynamic_cast<tcDeviceSIM*>(Parent())) {
    device->SetAcquisitionStartTime(platform::WallClockNs());
  }
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStreamSIM::StopAcquisition(int32_t) {
  if (stop_.load()) return GC_ERR_SUCCESS;
  {
    std::lock_guard<std::mutex> lock(wakeMutex_);
    stop_.store(true);
  }
  wake_.notify_all();
  thread_.join();
  return GC_ERR_SUCCESS;
}

GC_ERROR tcDataStreamSIM::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "%s, cmd = %d, pBuffer = 0x%X", Name(), command, buffer);
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto* device = dynamic_cast<tcDeviceSIM*>(Parent());
  size_t value = 0;
  if (command == STREAM_INFO_PAYLOAD_SIZE && device != nullptr) {
    std::unique_lock<std::recursive_mutex> lock = device->LockRegisters();
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

bool tcDataStreamSIM::WaitForInputBuffer() {
  while (!HasInputBuffer()) {
    if (stop_.load()) return false;
    std::this_thread::yield();
  }
  return !stop_.load();
}

bool tcDataStreamSIM::AcquireFrame(tcDeviceSIM* device, uint64_t timestampNs) {
  std::vector<std::pair<uint32_t, tcDeviceSIM::tsRegion>> regions;
  {
    std::unique_lock<std::recursive_mutex> lock = device->LockRegisters();
    regions = device->EnabledRegions();
  }
  for (const auto& [index, region] : regions) {
    if (!WaitForInputBuffer()) return false;
    LogPrint(kLogInfo, "tcDataStreamSIM::AcquistionThread", "Region %d %dx%d%+d%+d", index,
             region.offsetX, region.offsetY, region.width, region.height);
    tcBuffer* buffer = TakeInputBuffer();
    if (buffer == nullptr) continue;
    started_.fetch_add(1);
    device->FillBuffer(buffer, region, timestampNs);
    DeliverBuffer(buffer);
    delivered_.fetch_add(1);
  }
  return !stop_.load();
}

void tcDataStreamSIM::SleepUntil(uint64_t deadlineNs) {
  std::unique_lock<std::mutex> lock(wakeMutex_);
  for (uint64_t now = platform::MonotonicNs(); now < deadlineNs && !stop_.load();
       now = platform::MonotonicNs()) {
    uint64_t remaining = std::min(deadlineNs - now, kLongestSleepNs);
    wake_.wait_for(lock, std::chrono::nanoseconds(remaining));
  }
}

void tcDataStreamSIM::AcquistionThread(uint64_t frameBudget) {
  auto* device = dynamic_cast<tcDeviceSIM*>(Parent());
  if (device != nullptr && !stop_.load()) {
    device->ResetFrameCounter();
    while (!stop_.load()) {
      uint64_t periodUs = 0;
      {
        std::unique_lock<std::recursive_mutex> lock = device->LockRegisters();
        periodUs = device->FramePeriodUs();
      }
      uint64_t deadline = platform::MonotonicNs() + periodUs * 1000;
      if (!AcquireFrame(device, platform::WallClockNs())) break;
      if (frameBudget-- == 1) break;
      SleepUntil(deadline);
    }
  }
  grabbing_.store(false);
  acquiring_.exchange(0);
}
