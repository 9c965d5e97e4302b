// The one thread of the process that drives libusb's asynchronous transfers for every open
// USB3 Vision device: the first device open starts it, the last close stops it.
#pragma once

#include <cstdint>

#include "u3v/UsbOwners.h"

class tcEventThreadU3V {
 public:
  // Counts a user in; the first user starts the thread on `context`.
  static void Enter(tUsbContext context);
  // Counts a user out; the last one stops the thread and waits for it to end.
  static void Leave();
  static int32_t Users();

  // The thread's name, as the system shows it.
  static constexpr char kThreadName[] = "gentl-u3v-event";
};
