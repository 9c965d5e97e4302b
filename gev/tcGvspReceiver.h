// Moves GVSP datagrams from the stream socket to the assembler in batches. The data packets
// expected next (the newest frame's, after the highest packet it has) are received straight
// into their places in the frame's buffer, so most payload is copied once, by the kernel.
// Every other datagram, and every one that was not what its place expected, is received or
// gathered whole and treated as usual. Either way the assembler sees each datagram in
// arrival order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/tcUdpSocket.h"
#include "base/tsScatterDatagram.h"
#include "gev/tsGvspPacket.h"

class tcBufferGEV;
class tcGvspAssembler;

class tcGvspReceiver {
 public:
  // The largest datagram read; longer ones are cut.
  static constexpr size_t kMaxPacket = 10000;
  static constexpr size_t kBatch = tcUdpSocket::kMaxBatch;

  tcGvspReceiver(tcGvspAssembler& assembler, uint32_t cameraAddress);

  // One batch from `socket`, handed to the assembler until it has completed `frameLimit`
  // frames. The count is the number of datagrams received.
  tsIoResult Receive(const tcUdpSocket& socket, uint64_t frameLimit);
  // The last batch took as many datagrams as it had room for: more may be waiting.
  bool Filled() const { return filled_; }
  // Data packets that arrived in their places, and all datagrams, since construction.
  uint64_t PlacedCount() const { return placed_; }
  uint64_t ReceivedCount() const { return received_; }

 private:
  // Where slot `index` expects a data packet: which frame, block and packet, and its place.
  struct tsExpectation {
    tcBufferGEV* frame = nullptr;  // null: nothing expected, the slot receives whole datagrams
    uint64_t blockId = 0;
    uint32_t packetId = 0;
    std::span<std::byte> place;
  };

  // Sets the slots up for the next batch and returns its size.
  size_t Expect();
  // True when datagram `index` is the data packet its slot expected; `packet` is then its
  // decoded header with its data in place.
  bool IsExpected(size_t index, tsGvspPacket* packet) const;
  // Puts the parts of datagram `index` together in its staging room; returns the datagram.
  std::span<const std::byte> Gather(size_t index);
  std::span<std::byte> Staging(size_t index);

  tcGvspAssembler& assembler_;
  uint32_t cameraAddress_;
  std::vector<std::byte> staging_;  // kMaxPacket bytes per slot
  std::array<std::array<std::byte, tsGvspPacket::kExtendedHeader>, kBatch> headers_{};
  std::array<tsExpectation, kBatch> expected_;
  std::array<tsScatterDatagram, kBatch> datagrams_;
  bool filled_ = false;
  bool framesStarting_ = true;  // the last batch that expected nothing started a frame
  uint64_t placed_ = 0;
  uint64_t received_ = 0;
};
