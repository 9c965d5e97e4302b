// tcInterfaceGEV: adapter binding, discovery passes and the device list of the GigE Vision
// interface.
#include "gev/tcInterfaceGEV.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "base/Log.h"
#include "base/Platform.h"
#include "base/tcAdapterList.h"
#include "base/tcPoll.h"
#include "gev/Gvcp.h"
#include "gev/tcDeviceGEV.h"

using namespace GenTL;

namespace {

constexpr uint32_t kBroadcast = 0xFFFFFFFF;
constexpr uint64_t kLargestTimeoutMs = 1ull << 31;
constexpr size_t kReceiveSize = 256;
// The pass's log lines carry the name of the call that runs it.
constexpr const char* kUpdateName = "tcInterfaceGEV::UpdateDeviceList";

// The discovery request id of the process: 0 is never sent.
std::atomic<uint16_t> gDiscoveryId{0};

uint16_t NextDiscoveryId() {
  uint16_t last = gDiscoveryId.load();
  while (!gDiscoveryId.compare_exchange_weak(last, gvcp::NextRequestId(last))) {
  }
  return gvcp::NextRequestId(last);
}

}  // namespace

tcInterfaceGEV::tcInterfaceGEV(tcSystem* system) : tcInterface("GEV", "GEV", system) {}

tcInterfaceGEV::~tcInterfaceGEV() {
  std::lock_guard<std::mutex> lock(updateMutex_);
  sockets_.clear();
}

void tcInterfaceGEV::SetLastDiscoveryId(uint16_t last) {
  gDiscoveryId.store(last);
}

GC_ERROR tcInterfaceGEV::GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command == INTERFACE_INFO_DISPLAYNAME || command == INTERFACE_INFO_TLTYPE) {
    return GC_ERR_NOT_IMPLEMENTED;
  }
  return tcInterface::GetInfo(command, type, buffer, size);
}

GC_ERROR tcInterfaceGEV::Open() {
  std::lock_guard<std::mutex> lock(updateMutex_);
  sockets_.clear();
  tcAdapterList adapters;
  if (adapters.Load() != 0) {
    GENTL_LOG(kLogError, "Problem enumerating NICs");
    return GC_ERR_SUCCESS;
  }
  for (const tsAdapter& adapter : adapters.All()) {
    if (!adapter.Usable()) continue;
    tcUdpSocket socket;
    int error = socket.Open();
    if (error != 0) {
      GENTL_LOG(kLogWarning, "Invalid socket, error: %s", platform::ErrorText(error));
      continue;
    }
    GENTL_LOG(kLogInfo, "Binding to address %s (%wS) (type = %d)",
              tsSocketAddress::Text(adapter.address), adapter.name, adapter.type);
    if ((error = socket.Bind({adapter.address, 0})) != 0) {
      GENTL_LOG(kLogWarning, "Failed to bind socket, error: %s", platform::ErrorText(error));
      continue;
    }
    if ((error = socket.SetBroadcast(true)) != 0) {
      GENTL_LOG(kLogWarning, "Failed to set socket options, error: %s", platform::ErrorText(error));
      continue;
    }
    sockets_.push_back(std::move(socket));
  }
  GENTL_LOG(kLogInfo, "mcBCast size: %d", sockets_.size());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcInterfaceGEV::UpdateDeviceList(bool8_t* changed, uint64_t timeout) {
  if (changed != nullptr) *changed = false;
  if (timeout >= kLargestTimeoutMs) timeout = kDefaultTimeoutMs;
  std::lock_guard<std::mutex> lock(updateMutex_);
  MarkListUpdated();
  uint16_t requestId = NextDiscoveryId();
  for (tcDeviceGEV* device : listed_)
    device->seen = 0;
  SendDiscovery(requestId);
  bool added = Collect(requestId, timeout);
  bool removed = RemoveSilent();
  if (changed != nullptr) *changed = added || removed;
  return GC_ERR_SUCCESS;
}

void tcInterfaceGEV::SendDiscovery(uint16_t requestId) {
  std::array<std::byte, gvcp::kHeaderSize> command{};
  gvcp::WriteCommandHeader(command, gvcp::kAckRequired, gvcp::kDiscoveryCmd, 0, requestId);
  for (const tcUdpSocket& socket : sockets_) {
    tsIoResult sent = socket.SendTo(command, {kBroadcast, gvcp::kPort});
    if (!sent.Ok()) LogPrint(kLogWarning, kUpdateName, "%s", sent.ErrorText());
  }
}

bool tcInterfaceGEV::Collect(uint16_t requestId, uint64_t timeoutMs) {
  tcPoll poll;
  for (const tcUdpSocket& socket : sockets_)
    poll.Add(socket.Fd());
  bool added = false;
  const uint64_t start = platform::MonotonicNs();
  for (;;) {
    uint64_t elapsedMs = (platform::MonotonicNs() - start) / 1000000;
    int remaining = static_cast<int>(elapsedMs >= timeoutMs ? 0 : timeoutMs - elapsedMs);
    tsIoResult ready = poll.Wait(remaining);
    if (!ready.Ok()) {
      LogPrint(kLogWarning, kUpdateName, "select() error %s", ready.ErrorText());
      break;
    }
    for (size_t index = 0; index < poll.Size() && ready.count > 0; ++index) {
      if (poll.Readable(index)) added = Receive(index, requestId) || added;
    }
    if ((platform::MonotonicNs() - start) / 1000000 >= timeoutMs) break;
  }
  return added;
}

bool tcInterfaceGEV::Receive(size_t index, uint16_t requestId) {
  std::array<std::byte, kReceiveSize> datagram{};
  tsSocketAddress from;
  tsIoResult got = sockets_[index].ReceiveFrom(datagram, &from);
  if (!got.Ok()) {
    LogPrint(kLogWarning, kUpdateName, "recfrom() error: %s", got.ErrorText());
    return false;
  }
  gvcp::tsAckHeader ack;
  tcDeviceGEV::tsRecord record{};
  switch (gvcp::CheckDiscoveryAck(std::span(datagram).first(got.count), requestId, &ack, record)) {
    case gvcp::DiscoveryVerdict::kSmall:
      LogPrint(kLogInfo, kUpdateName, "Small packet received size = %d", got.count);
      return false;
    case gvcp::DiscoveryVerdict::kUnexpected:
      LogPrint(kLogInfo, kUpdateName, "Unexpected packet received (0x%x,0x%x), (%d,%d) (%d,%d)",
               ack.status, ack.answer, ack.ackId, requestId, ack.length,
               gvcp::kDiscoveryRecordSize);
      return false;
    case gvcp::DiscoveryVerdict::kGood:
      break;
  }
  for (tcDeviceGEV* device : listed_) {
    if (!device->SameCamera(record)) continue;
    ++device->seen;
    return false;
  }
  return AddCamera(record, index);
}

bool tcInterfaceGEV::AddCamera(const tcDeviceGEV::tsRecord& record, size_t socketIndex) {
  tsSocketAddress local;
  sockets_[socketIndex].LocalAddress(&local);
  std::string id = tcDeviceGEV::DeviceId(record);
  auto* device = static_cast<tcDeviceGEV*>(ReviveDevice(id));
  if (device != nullptr) device->Rediscovered(record, local.address);
  if (device == nullptr) {
    auto made = MakeModule<tcDeviceGEV>(record, id, this, local.address);
    device = made.get();
    AddDevice(std::move(made));
  }
  device->seen = 1;
  listed_.push_back(device);
  return true;
}

bool tcInterfaceGEV::RemoveSilent() {
  bool removed = false;
  for (auto it = listed_.begin(); it != listed_.end();) {
    if ((*it)->seen != 0) {
      ++it;
      continue;
    }
    std::string id = (*it)->Name();
    it = listed_.erase(it);
    RetireDevice(id);
    removed = true;
  }
  return removed;
}
