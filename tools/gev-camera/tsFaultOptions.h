// Faults the emulated camera injects into its stream, reproducible from a seed.
#pragma once

#include <cstdint>

struct tsFaultOptions {
  uint64_t seed = 1;
  double dataLoss = 0;         // share of payload packets lost on first transmission
  double markerLoss = 0;       // share of leaders and trailers lost
  double resentLoss = 0;       // share of resent packets lost
  double duplicates = 0;       // share of packets sent twice
  uint32_t reorderWindow = 0;  // packets shuffled within windows of this many (0, 1: none)
  int64_t dropPacketId = -1;   // this packet id is dropped from every frame (-1: none)
};
