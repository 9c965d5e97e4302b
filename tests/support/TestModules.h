// Test-only subclasses of the module bases: an interface whose discovery is scripted, a device
// with scripted open results and named streams, and a stream whose "transport" delivers
// buffers on command.
#pragma once

#include <string>
#include <vector>

#include "base/Log.h"
#include "modules/tcDevice.h"
#include "modules/tcInterface.h"
#include "stream/tcBuffer.h"
#include "stream/tcDataStream.h"

class tcTestStream : public tcDataStream {
 public:
  tcTestStream(std::string id, tcDevice* parent)
      : tcDataStream(std::move(id), "Custom", parent, 0) {}
  ~tcTestStream() override { StopAcquisition(0); }

  // Delivers up to `count` buffers from the input list; returns how many were delivered.
  int Deliver(int count, size_t filled = 0, bool image = true) {
    int delivered = 0;
    for (; delivered < count; ++delivered) {
      tcBufferLease buffer = TakeInputBuffer();
      if (!buffer) break;
      buffer->sizeFilled = filled;
      buffer->frameId = started_.load();
      DeliverBuffer(std::move(buffer), image);
    }
    return delivered;
  }
  // Takes a buffer and gives it up again, as a transport does with an incomplete frame.
  bool TakeAndDrop() { return static_cast<bool>(TakeInputBuffer()); }
  void SetPayloadSize(size_t size) { payloadSize_.store(size); }

  std::vector<tcBuffer*> queuedWhileAcquiring;
  bool refuseBuffers = false;
  int starts = 0;
  int stops = 0;

 protected:
  GenTL::GC_ERROR OnStartAcquisition(int32_t, uint64_t) override {
    ++starts;
    return GenTL::GC_ERR_SUCCESS;
  }
  void OnStopAcquisition(int32_t) override { ++stops; }
  void BufferQueued(tcBuffer* buffer) override { queuedWhileAcquiring.push_back(buffer); }
  std::unique_ptr<tcBuffer> AllocBuffer(void* memory, uint64_t size, void* user,
                                        bool owned) override {
    if (refuseBuffers) return nullptr;
    return tcDataStream::AllocBuffer(memory, size, user, owned);
  }
};

class tcTestDevice : public tcDevice {
 public:
  tcTestDevice(std::string id, tcInterface* parent, std::vector<std::string> streamIds = {})
      : tcDevice(std::move(id), parent) {
    for (std::string& stream : streamIds) {
      streams_.push_back(MakeModule<tcTestStream>(std::move(stream), this));
    }
    vendor_ = "Vendor";
    model_ = "Model";
    tlType_ = "Custom";
    displayName_ = "Display";
    accessStatus_ = GenTL::DEVICE_ACCESS_STATUS_READWRITE;
    serialNumber_ = "42";
    userDefinedName_ = "User";
    version_ = "1.0";
  }

  GenTL::GC_ERROR Open(int32_t flags) override {
    openFlags.push_back(flags);
    GenTL::GC_ERROR result =
        openResults.empty() ? GenTL::GC_ERR_SUCCESS : openResults[openFlags.size() - 1];
    tcMutexLock lock(stateMutex_);
    if (result == GenTL::GC_ERR_SUCCESS) open_ = true;
    return result;
  }
  GenTL::GC_ERROR Close() override {
    tcMutexLock lock(stateMutex_);
    open_ = false;
    return GenTL::GC_ERR_SUCCESS;
  }
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override {
    ++infoCalls;
    if (failInfo) return GenTL::GC_ERR_ERROR;
    return tcDevice::GetInfo(command, type, buffer, size);
  }

  tcTestStream* Stream(size_t index) { return static_cast<tcTestStream*>(streams_[index].get()); }
  void SetVendor(std::string vendor) { vendor_ = std::move(vendor); }

  std::vector<int32_t> openFlags;
  std::vector<GenTL::GC_ERROR> openResults;
  int infoCalls = 0;
  bool failInfo = false;
};

class tcTestInterface : public tcInterface {
 public:
  explicit tcTestInterface(std::vector<std::string> discoverable = {})
      : tcInterface("TestIF", "Custom", nullptr), discoverable_(std::move(discoverable)) {}

  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override {
    updateTimeouts.push_back(timeout);
    size_t before = DeviceCount();
    for (std::string& id : discoverable_) {
      ModuleOwner<tcTestDevice> device = MakeModule<tcTestDevice>(id, this);
      made_.push_back(device.get());
      AddDevice(std::move(device));
    }
    discoverable_.clear();
    MarkListUpdated();
    if (changed != nullptr) *changed = DeviceCount() != before;
    return GenTL::GC_ERR_SUCCESS;
  }

  // The devices in the order they were made (retired ones included).
  tcTestDevice* Device(size_t index) { return made_[index]; }
  void Discover(std::string id) { discoverable_.push_back(std::move(id)); }
  using tcInterface::RetireDevice;
  using tcInterface::ReviveDevice;

  std::vector<uint64_t> updateTimeouts;

 private:
  std::vector<std::string> discoverable_;
  std::vector<tcTestDevice*> made_;
};

// The log text written since `total` (LogRingTotal() taken before the action).
inline std::string LogSince(uint64_t total) {
  std::string text(LogRingTotal() - total, '\0');
  size_t offset = total % kLogRingSize;
  size_t size = text.size();
  LogRingRead(offset, text.data(), &size);
  if (size < text.size()) {
    size_t rest = text.size() - size;
    LogRingRead(0, text.data() + size, &rest);
  }
  return text;
}
