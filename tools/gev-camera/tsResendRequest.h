// A PACKETRESEND command as the stream needs it: which block, which packets.
#pragma once

#include <cstdint>

struct tsResendRequest {
  bool extendedIds = false;  // the block id is 64-bit (else the 16-bit one)
  uint64_t blockId = 0;
  uint32_t firstPacket = 0;
  uint32_t lastPacket = 0;
};
