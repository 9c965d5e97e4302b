// The device module of one USB3 Vision camera: its information from the device info
// descriptor, and while open its claimed interfaces, its control port and a place in the
// shared libusb event thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ModuleOwner.h"
#include "base/tcMutex.h"
#include "modules/tcDevice.h"
#include "u3v/U3vDescriptors.h"
#include "u3v/UsbOwners.h"

class tcInterfaceU3V;
class tcPortU3V;

class tcDeviceU3V : public tcDevice {
 public:
  // Reads the device information through `handle` (used during construction only).
  tcDeviceU3V(libusb_device_handle* handle, const tsIAD* iad,
              const libusb_config_descriptor* config, std::string guid, tcInterfaceU3V* parent);
  ~tcDeviceU3V() override;

  // The device info descriptor of the camera's control interface; false when it has none.
  static bool GetU3VDID(libusb_device_handle* handle, const tsIAD* iad,
                        const libusb_config_descriptor* config, tsU3VDID* info);
  // The camera's GUID string, empty when it cannot be read.
  static std::string GetU3VGUID(libusb_device_handle* handle, const tsIAD* iad,
                                const libusb_config_descriptor* config);

  // Exclusive access only: finds the camera again by GUID, claims its interfaces, creates the
  // control port and counts itself into the event thread.
  GenTL::GC_ERROR Open(int32_t openFlags) override;
  // Always succeeds; see the close order in the implementation.
  GenTL::GC_ERROR Close() override;
  tcPort* RemotePort() override;

 private:
  // The camera on the bus whose GUID is this device's ID, or false.
  bool FindAgain(libusb_context* context, tsCandidateU3V* match);
  // Claims the function's interfaces and creates the port (the state lock is held).
  void TakeCamera(tsCandidateU3V& match) GENTL_REQUIRES(stateMutex_);
  void Claim(uint8_t interfaceNumber) GENTL_REQUIRES(stateMutex_);

  uint8_t firstInterface_ = 0;
  uint8_t interfaceCount_ = 0;
  tcMutex transitionMutex_;  // one Open or Close at a time
  tUsbContext context_ GENTL_GUARDED_BY(stateMutex_);
  tUsbHandle handle_ GENTL_GUARDED_BY(stateMutex_);
  std::vector<uint8_t> claimed_ GENTL_GUARDED_BY(stateMutex_);
  ModuleOwner<tcPortU3V> port_ GENTL_GUARDED_BY(stateMutex_);
};
