// What one emulated USB3 Vision camera is: USB identity, descriptors, GenCP limits and the
// faults it shows on demand.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct tsU3vCameraOptions {
  // USB identity. 0x1209 is the vendor id of the pid.codes open registry.
  uint16_t vendorId = 0x1209;
  uint16_t productId = 0x0001;
  uint8_t deviceClass = 0xEF;  // miscellaneous device using interface association
  uint8_t deviceSubClass = 0x02;
  uint8_t deviceProtocol = 0x01;
  bool iad = true;  // the interface association descriptor is present
  uint8_t iadClass = 0xEF;
  uint8_t iadSubClass = 0x05;
  uint8_t iadProtocol = 0x00;
  std::string functionName = "USB3 Vision Device";  // the IAD's iFunction string
  bool infoDescriptor = true;  // the USB3 Vision device info descriptor is present
  // Interfaces after the control interface: 0 = control only, 1 = + event, 2 = + stream.
  int extraInterfaces = 2;

  // Identity as the info descriptor's strings and the ABRM show it.
  std::string guid = "U3VEMU0001";
  std::string vendor = "GenTL Project";
  std::string model = "U3V-Emulator";
  std::string family = "Emulators";
  std::string deviceVersion = "1.0";
  std::string manufacturerInfo = "USB3 Vision camera emulator";
  std::string serial = "U3V0001";
  std::string userName = "";

  // GenCP limits as the SBRM reports them.
  uint32_t maxCommandLength = 0x200;
  uint32_t maxAckLength = 0x200;
  uint32_t maxResponseTimeMs = 200;  // ABRM 0x1CC
  // Entries of the manifest table: 0, 1 or several (every entry describes the same file).
  int manifestEntries = 1;

  // The next `pendingAcks` commands are answered first with a PENDING_ACK that announces
  // `pendingTimeoutMs`, then, `pendingDelayMs` later, with the real acknowledge.
  int pendingAcks = 0;
  uint16_t pendingTimeoutMs = 1000;
  uint32_t pendingDelayMs = 100;
  // Accesses covering one of these addresses are answered with its GenCP status.
  std::vector<std::pair<uint64_t, uint16_t>> refusals;

  // Sensor and stream.
  uint32_t width = 640;
  uint32_t height = 480;
  uint32_t requiredLeaderSize = 52;
  uint32_t requiredTrailerSize = 32;
  // Frames flow while the SIRM enables the stream and acquisition runs; true starts the camera
  // acquiring, as if AcquisitionStart had been executed.
  bool acquiring = false;
};
