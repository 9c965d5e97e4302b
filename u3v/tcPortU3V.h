// The remote device port of a USB3 Vision camera: register and memory access as GenCP over the
// control interface's bulk endpoints, in pieces, and the camera's description URL from its
// manifest table.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "modules/tcPort.h"
#include "u3v/UsbOwners.h"

class tcDeviceU3V;

class tcPortU3V : public tcPort {
 public:
  // Finds the control interface's endpoints and reads the camera's response time and transfer
  // lengths from its bootstrap registers. `handle` is borrowed from the device.
  tcPortU3V(tcDeviceU3V* device, libusb_device_handle* handle,
            const libusb_config_descriptor* config, unsigned char controlInterface);

  GenTL::GC_ERROR GetPortURL(char* url, size_t* size) override;
  GenTL::GC_ERROR GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) override;
  GenTL::GC_ERROR GetNumPortURLs(uint32_t* count) override;
  GenTL::GC_ERROR GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                 size_t* size) override;
  // READMEM / WRITEMEM in pieces; *size is never changed.
  GenTL::GC_ERROR Read(uint64_t address, void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR Write(uint64_t address, const void* buffer, size_t* size) override
      GENTL_REQUIRES(AccessMutex());
  // The camera's response time as this port uses it (the stream waits for cancellations by it).
  uint32_t ResponseTimeMs() const { return responseTimeMs_; }
  // Makes `next` the request id of the next command. The count starts at 0 when the port is
  // made; tests use this to reach the id's wrap in a few commands.
  void SetNextRequestId(uint16_t next);

 private:
  // The time-out of one access: the response time, extended by PENDING_ACKs up to a budget.
  struct tsAccessTimeout {
    uint32_t ms;
    uint32_t pendingUsedMs = 0;
  };

  void FindEndpoints(const libusb_config_descriptor* config, unsigned char controlInterface);
  void ReadBootstrap() GENTL_REQUIRES(AccessMutex());
  // A value of `size` (at most 8) bytes from the camera, little-endian; false on failure.
  GenTL::GC_ERROR ReadValue(uint64_t address, size_t size, uint64_t* value)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR Transfer(unsigned char endpoint, std::byte* data, size_t length,
                           uint32_t timeoutMs, size_t* transferred);
  GenTL::GC_ERROR Send(std::span<std::byte> command, uint32_t timeoutMs)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR ReadPiece(uint64_t address, std::byte* out, uint16_t length,
                            tsAccessTimeout* timeout, std::vector<std::byte>& ack)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR WritePiece(uint64_t address, std::span<const std::byte> data,
                             tsAccessTimeout* timeout, std::vector<std::byte>& command)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR LoadManifest() GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR ReadText(uint64_t address, const char* what, std::string* text)
      GENTL_REQUIRES(AccessMutex());
  GenTL::GC_ERROR AnswerUrl(void* buffer, size_t* size) GENTL_REQUIRES(AccessMutex());

  libusb_device_handle* handle_;
  unsigned char commandEndpoint_ = 0;
  unsigned char responseEndpoint_ = 0;
  uint16_t requestId_ = 0;  // guarded by the access mutex
  uint32_t responseTimeMs_ = 2000;
  uint16_t maxCommandLength_ = 0x200;
  uint16_t maxAckLength_ = 0x200;
  std::vector<std::byte> manifest_;  // guarded by the access mutex; empty until needed
  tcDeviceU3V* device_;
};
