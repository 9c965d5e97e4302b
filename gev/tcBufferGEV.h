// A GigE Vision stream buffer: besides the frame's memory and information, which data packets
// of the frame it receives have arrived, and the frame's leader and trailer fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "stream/tcBuffer.h"

class tcBufferGEV : public tcBuffer {
 public:
  // The most missing packets one check lists (and so one resend request names).
  static constexpr size_t kMaxMissing = 50;
  // Bytes of the leader and the trailer after the packet header.
  static constexpr size_t kLeaderSize = 36;
  static constexpr size_t kTrailerSize = 8;

  enum class tcStore {
    kStored,    // copied and counted
    kCopied,    // copied, not counted (packet id 0, beyond the slots, or already received)
    kOverflow,  // would end past the buffer: nothing copied, overflow flag set
  };

  tcBufferGEV(tcDataStream* stream, void* memory, size_t size, void* userPointer, bool owned);

  // Starts a new frame: `packetSize` is the GVSP packet size (IP and UDP headers included),
  // which with the id form gives each data packet's payload and so the number of slots.
  void Reset(uint16_t packetSize, bool standardIds);
  // The leader's 36 bytes after the packet header (at least that many); fills the buffer
  // information the consumer reads.
  void ParseLeader(std::span<const std::byte> leader);
  // The trailer's 8 bytes after the packet header (at least that many).
  void ParseTrailer(std::span<const std::byte> trailer);
  // Places a data packet's bytes at (packetId - 1) x the payload per packet; bytes that were
  // received straight into that place are not copied.
  tcStore StorePacket(uint32_t packetId, std::span<const std::byte> data);
  // Where the data of packet `packetId` (1 or more) of this frame belongs: payload per packet
  // bytes, fewer at the end of the buffer; empty for a packet outside the buffer.
  std::span<std::byte> PacketPlace(uint32_t packetId) const;
  // Lists the packets of 1..count not received in `missing` (count 0: the stored expected
  // count). -1: count beyond the slots; -2: no count known; 1: more than kMaxMissing missing;
  // 0 otherwise.
  int CheckMissing(uint32_t count, std::vector<uint32_t>* missing) const;
  // The frame is complete: the bytes written become the filled size.
  void Complete();

  uint64_t blockId = 0;
  std::vector<uint8_t> received;  // one flag per expected data packet, index = packet id - 1
  uint64_t bytesWritten = 0;
  uint32_t receivedCount = 0;
  uint32_t expectedCount = 0;  // from the trailer; 0 until it arrives
  uint32_t payloadPerPacket = 0;
  uint32_t headerLength = 0;     // of the frame's packets: 8 with standard ids, 20 extended
  uint32_t highestStoredId = 0;  // the highest packet id stored so far
  // Leader fields, host order.
  uint8_t fieldInfo = 0;
  uint8_t leaderFlags = 0;
  uint16_t leaderPayloadType = 0;
  bool pixelFormatValid = false;
  uint32_t sizeX = 0;
  uint32_t sizeY = 0;
  uint32_t offsetX = 0;
  uint32_t offsetY = 0;
  uint16_t lineEndGap = 0;   // the leader's padding x
  uint16_t imageEndGap = 0;  // the leader's padding y
  // Trailer fields.
  uint16_t trailerReserved = 0;
  uint16_t trailerPayloadType = 0;
  uint32_t trailerSizeY = 0;
  bool overflow = false;
  bool resendRequested = false;     // the frame's gaps were requested once already
  uint64_t timestampFrequency = 0;  // ticks per second
};
