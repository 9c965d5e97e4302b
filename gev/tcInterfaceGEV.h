// The GigE Vision interface: one UDP socket per usable IPv4 adapter, and discovery by
// broadcasting DISCOVERY_CMD on all of them.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "base/tcUdpSocket.h"
#include "gev/tcDeviceGEV.h"
#include "modules/tcInterface.h"

class tcInterfaceGEV : public tcInterface {
 public:
  explicit tcInterfaceGEV(tcSystem* system);
  ~tcInterfaceGEV() override;

  // Answers the interface ID only; display name and TL type are not offered.
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  // Binds one broadcast socket per usable adapter; adapters that fail are logged and skipped.
  GenTL::GC_ERROR Open() override;
  // One discovery pass of `timeout` ms (500 ms when it is 2^31 or more). A camera that does
  // not answer leaves the list in this very pass. Always succeeds.
  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override;

  // The next pass (of any GigE Vision interface in the process) uses the id after `last`.
  static void SetLastDiscoveryId(uint16_t last);

 protected:
  uint64_t DefaultUpdateTimeout() const override { return kDefaultTimeoutMs; }

 private:
  static constexpr uint64_t kDefaultTimeoutMs = 500;

  void SendDiscovery(uint16_t requestId);
  // Collects acknowledgements until `timeoutMs` has passed; true when the list changed.
  bool Collect(uint16_t requestId, uint64_t timeoutMs);
  // Handles one datagram waiting on socket `index`; true when it added a device.
  bool Receive(size_t index, uint16_t requestId);
  // Lists the camera of `record` (found on socket `socketIndex`): the retired object of the
  // same camera when there is one, else a new device.
  bool AddCamera(const tcDeviceGEV::tsRecord& record, size_t socketIndex);
  // Removes the cameras that did not answer this pass; true when there were any.
  bool RemoveSilent();

  std::vector<tcUdpSocket> sockets_;
  std::mutex updateMutex_;            // one pass at a time; guards listed_ and the seen counters
  std::vector<tcDeviceGEV*> listed_;  // the base's device list, as GigE Vision devices
};
