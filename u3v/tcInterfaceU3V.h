// The USB3 Vision interface: one interface for all USB buses of the host. It owns the libusb
// context and finds the cameras by a three-stage match; a camera is known by its GUID.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "base/tcMutex.h"
#include "modules/tcInterface.h"
#include "u3v/UsbOwners.h"

class tcInterfaceU3V : public tcInterface {
 public:
  explicit tcInterfaceU3V(tcSystem* system);

  // Creates the libusb context on the first open; counts every open.
  GenTL::GC_ERROR Open() override;
  // Counts the close; the one that balances the last open lets the context go.
  GenTL::GC_ERROR Close() override;
  // Walks the USB devices; the time-out is not used (enumeration does not wait).
  GenTL::GC_ERROR UpdateDeviceList(GenTL::bool8_t* changed, uint64_t timeout) override;

  // The libusb context while the interface is open, else null. Open devices hold it too.
  tUsbContext Context();
  // The USB3 Vision match of `device`: accepted vendor (unless `vendors` is null), device class
  // 0xEF/0x02/0x01, configuration 0 with an IAD of 0xEF/0x05/0x00, and a function string of
  // "USB3 Vision Device". On success `candidate` holds the open device.
  static bool Match(libusb_device* device, const std::vector<uint16_t>* vendors,
                    tsCandidateU3V* candidate);

 private:
  static bool MatchDeviceDescriptor(libusb_device* device, const std::vector<uint16_t>* vendors);
  static bool MatchFunction(libusb_device* device, tsCandidateU3V* candidate);
  static bool MatchFunctionName(libusb_device* device, tsCandidateU3V* candidate);
  // The IDs of the listed devices, in list order.
  std::vector<std::string> ListedIds();
  // Lists one matched camera; `ids` and `seen` track the list during the walk.
  void TakeCamera(tsCandidateU3V& candidate, std::vector<std::string>& ids, std::vector<bool>& seen,
                  bool* changed);

  tcMutex contextMutex_;
  tUsbContext context_ GENTL_GUARDED_BY(contextMutex_);
  std::atomic<int32_t> openCount_{0};
  tcMutex updateMutex_;  // one device-list walk at a time
};
