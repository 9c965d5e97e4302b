// Owners of libusb resources: the context (shared by the interface and the devices open on it),
// device handles, configuration descriptors and device lists.
#pragma once

#include <libusb.h>

#include <memory>

#include "u3v/U3vDescriptors.h"

struct tsUsbHandleClose {
  void operator()(libusb_device_handle* handle) const { libusb_close(handle); }
};
struct tsUsbConfigFree {
  void operator()(libusb_config_descriptor* config) const { libusb_free_config_descriptor(config); }
};
struct tsUsbDeviceListFree {
  void operator()(libusb_device** list) const { libusb_free_device_list(list, 1); }
};

// libusb_exit runs when the last holder lets go, so no device handle outlives its context.
using tUsbContext = std::shared_ptr<libusb_context>;
using tUsbHandle = std::unique_ptr<libusb_device_handle, tsUsbHandleClose>;
using tUsbConfig = std::unique_ptr<libusb_config_descriptor, tsUsbConfigFree>;
using tUsbDeviceList = std::unique_ptr<libusb_device*, tsUsbDeviceListFree>;

// A USB device that passed the USB3 Vision match: its configuration 0, the IAD of its camera
// function and an open handle.
struct tsCandidateU3V {
  tUsbConfig config;
  tsIAD iad;
  tUsbHandle handle;
};
