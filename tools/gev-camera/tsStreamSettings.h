// A snapshot of the camera's registers that shape stream channel 0.
#pragma once

#include <cstdint>

struct tsStreamSettings {
  bool acquiring = false;    // AcquisitionStart executed and not stopped
  bool singleFrame = false;  // AcquisitionMode SingleFrame
  uint32_t source = 0;       // the camera's address (host order)
  uint32_t destination = 0;  // SCDA0
  uint16_t port = 0;         // SCP0, 0 = channel closed
  uint32_t packetSize = 0;   // SCPS0 size bits: IP and UDP headers included
  bool dontFragment = false;
  bool extendedIds = false;  // 64-bit block ids and 32-bit packet ids
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t offsetX = 0;
  uint32_t offsetY = 0;
  uint32_t pixelFormat = 0;
  uint32_t payloadSize = 0;
  float frameRate = 0;
  uint32_t packetDelay = 0;  // SCPD0: time stamp ticks (ns) between packets, 0 = back to back
};
