// The USB3 Vision stream on the wire: how a payload is cut into bulk transfers, and the image
// leader and trailer that frame it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace u3v {

inline constexpr uint32_t kLeaderMagic = 0x4C563355;   // "U3VL"
inline constexpr uint32_t kTrailerMagic = 0x54563355;  // "U3VT"
inline constexpr uint32_t kLeaderMinSize = 52;
inline constexpr uint32_t kTrailerMinSize = 32;
inline constexpr uint32_t kMaxTransferSize = 0x800000;
// Final transfers are always requested whole, so that a short packet ends them.
inline constexpr uint32_t kFinalTransferSize = 1024;

// How one frame's payload is received: `count` transfers of `size` bytes, then up to two final
// transfers. A final transfer 1 that is external lands in the buffer's scratch block.
struct tsTransferPlan {
  uint32_t leaderSize = 0;
  uint32_t trailerSize = 0;
  uint32_t size = 0;
  uint32_t count = 0;
  uint32_t final1 = 0;
  uint32_t final2 = 0;
  bool final1External = false;

  bool operator==(const tsTransferPlan&) const = default;
};

// Payload sizes whose transfer count fits its 32 bits (below 2^55 bytes).
inline constexpr uint64_t kPlannablePayloads = uint64_t{1} << 55;

// The transfer sizes for a payload of `payload` bytes, below kPlannablePayloads (leader and
// trailer sizes stay 0).
tsTransferPlan MakeTransferPlan(uint64_t payload);

// The image leader's fields as the buffer information uses them.
struct tsLeader {
  uint16_t size = 0;
  uint64_t blockId = 0;
  uint16_t payloadType = 0;
  uint64_t timestamp = 0;
  uint32_t pixelFormat = 0;
  uint32_t sizeX = 0;
  uint32_t sizeY = 0;
  uint32_t offsetX = 0;
  uint32_t offsetY = 0;
  uint16_t paddingX = 0;
};

struct tsTrailer {
  uint16_t size = 0;
  uint64_t blockId = 0;
  uint16_t status = 0;
  uint64_t validPayloadSize = 0;
  uint32_t sizeY = 0;
};

// False (and `out` untouched) unless `bytes` holds at least the minimum size and starts with the
// magic.
bool ParseLeader(std::span<const uint8_t> bytes, tsLeader* out);
bool ParseTrailer(std::span<const uint8_t> bytes, tsTrailer* out);

}  // namespace u3v
