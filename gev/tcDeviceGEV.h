// The Device module of one GigE Vision camera, made from its discovery acknowledgement: its
// identity, opening (control channel with privilege and heartbeat) and the camera's timestamp
// frequency for its stream.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/ModuleOwner.h"
#include "modules/tcDevice.h"

class tcPortGEV;

class tcDeviceGEV : public tcDevice {
 public:
  // The DISCOVERY_ACK payload, kept as received (big-endian).
  static constexpr size_t kRecordSize = 248;
  using tsRecord = std::array<uint8_t, kRecordSize>;
  // Used when the camera reports no timestamp frequency.
  static constexpr uint64_t kFallbackFrequency = 1000;

  // `localAddress` (host order) is the address of the adapter that received the record.
  tcDeviceGEV(const tsRecord& record, std::string id, tcInterface* parent, uint32_t localAddress);
  ~tcDeviceGEV() override;

  // Exclusive access only: connects the control channel and reads the timestamp frequency.
  GenTL::GC_ERROR Open(int32_t openFlags) override;
  // Destroys the streams, then the port (which releases the privilege).
  GenTL::GC_ERROR Close() override;
  GenTL::GC_ERROR GetInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  tcPort* RemotePort() override;
  // The same port, typed; null while the device is closed.
  tcPortGEV* PortGEV();

  // Ticks per second of the camera's timestamps; 0 until Open.
  uint64_t TimestampFrequency() const { return frequency_.load(std::memory_order_relaxed); }
  // The camera's current IP address from the record, host order.
  uint32_t CameraAddress();
  // Host order.
  uint32_t LocalAddress();
  // The camera answered again, perhaps at another address or on another adapter: the next
  // Open uses `record` and `localAddress`.
  void Rediscovered(const tsRecord& record, uint32_t localAddress);
  // The device ID of the camera of `record`: model name, ":", serial number.
  static std::string DeviceId(const tsRecord& record);
  // True when `record` carries this camera's MAC address.
  bool SameCamera(const tsRecord& record);

  // Discovery's count of the passes the camera answered (see tcInterfaceGEV).
  uint32_t seen = 1;

 private:
  void ReadTimestampFrequency(tcPortGEV* port);
  // "Model [a.b.c.d]" of the current record.
  std::string DisplayName() GENTL_REQUIRES(stateMutex_);

  tsRecord record_ GENTL_GUARDED_BY(stateMutex_);
  uint32_t localAddress_ GENTL_GUARDED_BY(stateMutex_);
  std::atomic<uint64_t> frequency_{0};
  bool opening_ GENTL_GUARDED_BY(stateMutex_) = false;
  ModuleOwner<tcPortGEV> port_ GENTL_GUARDED_BY(stateMutex_);
};
