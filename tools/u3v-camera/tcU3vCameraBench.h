// A umockdev testbed in the calling process with emulated USB3 Vision cameras on it: libusb
// in this process (run under the umockdev preload, see U3vPreload.h) and in children that
// inherit UMOCKDEV_DIR and the preload sees them as USB devices. The ioctls run on the testbed's
// own thread; cameras can be added, unplugged and given faults from any thread.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tcU3vCamera.h"
#include "tsU3vCameraOptions.h"

typedef struct _UMockdevTestbed UMockdevTestbed;
class tcUsbdevfsDevice;

class tcU3vCameraBench {
 public:
  // Creates the testbed; from now on UMOCKDEV_DIR points to it in this process.
  tcU3vCameraBench();
  ~tcU3vCameraBench();
  tcU3vCameraBench(const tcU3vCameraBench&) = delete;
  tcU3vCameraBench& operator=(const tcU3vCameraBench&) = delete;

  // Plugs in a camera on bus 1 (device numbers 2, 3, ... in order) and returns its index.
  size_t AddCamera(const tsU3vCameraOptions& options);
  size_t Count() const;
  tcU3vCamera& Camera(size_t index);
  // Surprise removal: URBs in flight complete with -ESHUTDOWN, later ioctls fail with ENODEV,
  // and the device leaves sysfs with a "remove" uevent.
  void Unplug(size_t index);
  // The streaming endpoint stalls until the host clears the halt.
  void HaltStream(size_t index);
  // IN URBs the camera has not answered yet.
  size_t UrbsInFlight(size_t index) const;
  // Device node ("/dev/bus/usb/001/002") and sysfs path ("/sys/devices/1-2") as the host sees them.
  std::string DeviceNode(size_t index) const;
  std::string SysPath(size_t index) const;

 private:
  struct tsPlugged;
  std::string AddSysfsDevice(const tsU3vCameraOptions& options, int number);

  UMockdevTestbed* testbed_;
  std::string root_;
  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<tsPlugged>> cameras_;
};
