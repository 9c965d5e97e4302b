// A memory-mapped receive ring of a packet socket (TPACKET_V3) that takes the IPv4 UDP
// datagrams to one port, arriving on any interface. The kernel copies each datagram into the ring
// as it arrives, in its receive path; the reader walks the filled blocks without a system call per
// datagram. Needs CAP_NET_RAW.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "base/tcFileDescriptor.h"

class tcPacketRing {
 public:
  // One datagram: its UDP payload and its sender (host order).
  using tcVisitor = std::function<void(std::span<const std::byte> payload, uint32_t sender)>;

  tcPacketRing() = default;
  ~tcPacketRing();
  tcPacketRing(const tcPacketRing&) = delete;
  tcPacketRing& operator=(const tcPacketRing&) = delete;

  // Opens a ring of about `bytes` (at least one block) for the datagrams to UDP port `port`.
  // Returns 0 or an errno (EPERM without the capability).
  int Open(uint16_t port, size_t bytes);
  void Close();
  bool IsOpen() const { return fd_.IsValid(); }
  // Readable (for poll) when a block is ready.
  int Fd() const { return fd_.Get(); }
  // Hands every datagram of the ready blocks to `visit` in arrival order and gives the blocks
  // back to the kernel; stops early, after the current datagram, once `more` says no (the
  // rest of the block is dropped then). Returns the number of datagrams visited.
  size_t Drain(const tcVisitor& visit, const std::function<bool()>& more);

 private:
  static constexpr size_t kBlockSize = 1 << 20;
  // A ready block is handed over after this long even when it is not full.
  static constexpr unsigned kBlockTimeoutMs = 1;

  int Configure(uint16_t port, size_t blocks);
  int Bind();
  // Visits the datagrams of block `index`; false when `more` stopped the walk.
  bool VisitBlock(size_t index, const tcVisitor& visit, const std::function<bool()>& more,
                  size_t* visited);

  tcFileDescriptor fd_;
  std::byte* ring_ = nullptr;
  size_t blocks_ = 0;
  size_t next_ = 0;  // the block the kernel fills first
};
