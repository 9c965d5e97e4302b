// One GVSP packet's header, decoded from the UDP payload in either id form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

struct tsGvspPacket {
  static constexpr size_t kStandardHeader = 8;
  static constexpr size_t kExtendedHeader = 20;
  static constexpr uint16_t kResentStatus = 0x0100;
  static constexpr uint8_t kLeader = 1;
  static constexpr uint8_t kTrailer = 2;
  static constexpr uint8_t kPayload = 3;

  enum class tcResult {
    kOk,
    kShort,          // fewer than 8 bytes
    kShortExtended,  // the extended-id flag is set but the packet is shorter than 20 bytes
  };

  uint16_t status = 0;
  bool extendedIds = false;
  uint8_t format = 0;  // 1 leader, 2 trailer, 3 payload; others are not handled
  uint64_t blockId = 0;
  uint32_t packetId = 0;
  size_t headerLength = 0;
  std::span<const std::byte> data;  // what follows the header

  bool Resent() const { return status == kResentStatus; }
  // Decodes the header of `packet`; on failure the fields decoded so far stay as they are.
  static tcResult Parse(std::span<const std::byte> packet, tsGvspPacket* out);
};
