// What a gev-camera instance is: identity, protocol version and the capabilities it reports.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tsFaultOptions.h"

struct tsGevCameraOptions {
  std::string vendor = "GenTL Project";
  std::string model = "GEV-Emulator";
  std::string deviceVersion = "1.0";
  std::string manufacturerInfo = "GigE Vision camera emulator";
  std::string serial = "GEV0001";
  std::string userName = "";
  uint64_t mac = 0;  // 48 bits; 0 derives one from the address a command arrives on
  uint16_t versionMajor = 2;
  uint16_t versionMinor = 0;
  bool manifest = false;                // a manifest table at 0x9000
  bool resend = true;                   // PACKETRESEND offered and served
  bool extendedIds = true;              // 64-bit block ids offered in gvsp_capability
  bool silent = false;                  // no answer to discovery
  uint64_t tickFrequency = 1000000000;  // timestamp ticks per second reported (0: none)
  uint32_t heartbeatCapMs = 0;          // longest heartbeat time-out honoured (0: no cap)
  tsFaultOptions faults;
  // Accesses that cover one of these addresses are refused with its GVCP status, so that a
  // client's handling of every status can be tried.
  std::vector<std::pair<uint32_t, uint16_t>> refusals;
  uint32_t width = 640;
  uint32_t height = 480;
};
