// The usbdevfs side of one emulated USB device: answers the ioctls libusb sends through the
// umockdev preload (capabilities, configuration, interface claims, URB submit, reap and discard,
// halt clearing) and keeps the device node, a FIFO, full while no URB is reapable and empty while
// one is, so that a poll for POLLOUT means "reap me" and an idle host does not spin.
#pragma once

#include <glib-object.h>
#include <umockdev.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tcU3vCamera.h"

class tcUsbdevfsDevice {
 public:
  // Serves `camera` at the device node `nodePath` (a FIFO is put in its place).
  tcUsbdevfsDevice(tcU3vCamera& camera, const std::string& nodePath);
  ~tcUsbdevfsDevice();
  tcUsbdevfsDevice(const tcUsbdevfsDevice&) = delete;
  tcUsbdevfsDevice& operator=(const tcUsbdevfsDevice&) = delete;

  UMockdevIoctlBase* Handler() const { return handler_; }
  // Returns once no ioctl is being handled. After the testbed has detached the handler, this
  // orders the last ioctl before what follows (the testbed's own synchronisation is invisible
  // to ThreadSanitizer).
  void Settle();
  // Surprise removal: URBs in flight complete with -ESHUTDOWN, every later ioctl fails with
  // ENODEV.
  void Unplug();
  // The endpoint stalls: its URB in flight, and every URB after it until CLEAR_HALT, completes
  // with -EPIPE.
  void Halt(uint8_t endpoint);
  // Serves what the camera has for the URBs waiting on its IN endpoints.
  void Pump();
  // URBs waiting on IN endpoints, for tests.
  size_t UrbsInFlight() const;

 private:
  struct tsUrb {
    UMockdevIoctlClient* client;  // referenced
    UMockdevIoctlData* urb;       // referenced; the client's struct usbdevfs_urb
    UMockdevIoctlData* buffer;    // child of urb, or null for a zero-length URB
  };
  static gboolean OnIoctl(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, gpointer self);
  void HandleIoctl(UMockdevIoctlClient* client);
  // Keeps `current` and drops the URBs of clients that have closed the device node, as the
  // kernel kills the URBs of a closed file.
  void ForgetVanished(UMockdevIoctlClient* current);
  template <typename tfWhich>
  static void Drop(std::deque<tsUrb>& urbs, tfWhich which);
  static void Release(tsUrb& urb);
  int Dispatch(UMockdevIoctlClient* client, gulong request);
  int GetCapabilities(UMockdevIoctlClient* client);
  int SubmitUrb(UMockdevIoctlClient* client);
  int ReapUrb(UMockdevIoctlClient* client);
  int DiscardUrb(UMockdevIoctlClient* client);
  int ClearHalt(UMockdevIoctlClient* client);
  void ControlTransfer(tsUrb& urb);
  // Makes `urb` reapable with `status` and `actual` bytes transferred (copied from `data` if
  // given).
  void Complete(tsUrb urb, int status, size_t actual, const uint8_t* data);
  void PumpLocked();
  void MakeReapable(tsUrb urb);
  void FillFifo();
  void DrainFifo();

  tcU3vCamera& camera_;
  UMockdevIoctlBase* handler_;
  int fifo_ = -1;
  std::atomic<bool> ready_{false};
  mutable std::mutex mutex_;
  std::map<UMockdevIoctlClient*, UMockdevIoctlClient*> clients_;  // each with a reference
  std::map<uint8_t, std::deque<tsUrb>> waiting_;  // IN URBs by endpoint, oldest first
  std::deque<tsUrb> reapable_;
  std::set<uint8_t> halted_;
  bool unplugged_ = false;
  // References to drop once the ioctl is complete: umockdev copies resolved memory back to the
  // client on completion, from objects that must still exist then.
  std::vector<gpointer> held_;
};
