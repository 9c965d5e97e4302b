// A minimal USB3 Vision host on libusb for the emulator's tests: finds an emulated camera,
// claims its interfaces and speaks raw GenCP with it.
#pragma once

#include <libusb.h>

#include <cstdint>
#include <string>
#include <vector>

struct tsGenCpAck {
  int transferred = -1;  // bytes of the acknowledge, or the libusb error
  uint32_t prefix = 0;
  uint16_t status = 0;
  uint16_t commandId = 0;
  uint16_t scdLength = 0;
  uint16_t requestId = 0;
  std::vector<uint8_t> scd;
};

class tcU3vHost {
 public:
  tcU3vHost();
  ~tcU3vHost();
  tcU3vHost(const tcU3vHost&) = delete;
  tcU3vHost& operator=(const tcU3vHost&) = delete;

  libusb_context* Context() const { return context_; }
  // Devices of `vendorId` on the bus, in libusb's order.
  std::vector<libusb_device*> Devices(uint16_t vendorId = 0x1209);
  // Opens the `index`-th device of `vendorId` and claims interface 0; false when there is none.
  bool Open(size_t index = 0, uint16_t vendorId = 0x1209);
  // Opens the device of vendor 0x1209 with `productId` (libusb lists the newest device first).
  bool OpenProduct(uint16_t productId);
  libusb_device_handle* Handle() const { return handle_; }
  std::string String(uint8_t index);

  // One GenCP command; the acknowledge is received into `ackCapacity` bytes.
  tsGenCpAck ReadMem(uint64_t address, uint16_t length, size_t ackCapacity = 0x200);
  tsGenCpAck WriteMem(uint64_t address, const std::vector<uint8_t>& data);
  tsGenCpAck WriteMem32(uint64_t address, uint32_t value);
  // The next acknowledge alone (after a PENDING_ACK).
  tsGenCpAck ReceiveAck(size_t capacity = 0x200, unsigned timeoutMs = 2000);
  int Send(const std::vector<uint8_t>& command);
  uint64_t Read64(uint64_t address);
  uint32_t Read32(uint64_t address);

  uint16_t nextRequestId = 0x100;

 private:
  libusb_context* context_ = nullptr;
  libusb_device** list_ = nullptr;
  libusb_device_handle* handle_ = nullptr;
};
