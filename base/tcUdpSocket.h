// Move-only IPv4 UDP socket owner; every call reports an errno value instead of throwing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/tcFileDescriptor.h"
#include "base/tsDatagram.h"
#include "base/tsIoResult.h"
#include "base/tsScatterDatagram.h"
#include "base/tsSocketAddress.h"

// Calls on a socket that is not open return EBADF without reaching the system. Receives never
// block (MSG_DONTWAIT): wait for readability with tcPoll first.
class tcUdpSocket {
 public:
  // Most datagrams one batch call moves.
  static constexpr size_t kMaxBatch = 64;

  // Creates the socket (close-on-exec); a second Open replaces it. Returns 0 or an errno.
  int Open();
  bool IsOpen() const { return fd_.IsValid(); }
  int Fd() const { return fd_.Get(); }
  void Close() { fd_.Reset(); }

  int Bind(const tsSocketAddress& local);
  int SetBroadcast(bool on);
  // SO_RCVBUF: Linux doubles the request and caps it at net.core.rmem_max.
  int SetReceiveBuffer(int bytes);
  // SO_RCVBUFFORCE: ignores the cap, needs CAP_NET_ADMIN (EPERM otherwise).
  int ForceReceiveBuffer(int bytes);
  // The receive buffer size the kernel actually granted.
  int ReceiveBufferSize(int* bytes) const;
  // IP_PKTINFO: receives report the local address each datagram arrived on.
  int SetPacketInfo(bool on);
  // IP_MTU_DISCOVER: with the do-not-fragment bit, a datagram above the path MTU fails with
  // EMSGSIZE instead of being fragmented.
  int SetDontFragment(bool on);
  int LocalAddress(tsSocketAddress* local) const;
  // On: the kernel drops every datagram for this socket before queueing it (while another
  // reader, a packet ring, takes them). Off: datagrams are queued again.
  int SetDropAll(bool on);

  tsIoResult SendTo(std::span<const std::byte> bytes, const tsSocketAddress& to) const;
  // Sends with `localAddress` as the source (an address of this host), whatever the socket
  // is bound to.
  tsIoResult SendFrom(std::span<const std::byte> bytes, const tsSocketAddress& to,
                      uint32_t localAddress) const;
  // One datagram, cut to `buffer` (the count is the bytes stored).
  tsIoResult ReceiveFrom(std::span<std::byte> buffer, tsSocketAddress* from) const;
  // As ReceiveFrom, also giving the local address the datagram arrived on (needs
  // SetPacketInfo; 0 when the kernel gave none).
  tsIoResult ReceiveWithDestination(std::span<std::byte> buffer, tsSocketAddress* from,
                                    uint32_t* localAddress) const;
  // Up to kMaxBatch datagrams in one call; the count is the number of datagrams filled.
  tsIoResult ReceiveBatch(std::span<tsDatagram> datagrams) const;
  // As ReceiveBatch, each datagram spread over its parts (a header in one place and its data
  // in another, for example).
  tsIoResult ReceiveScattered(std::span<tsScatterDatagram> datagrams) const;
  // Up to kMaxBatch datagrams in one call; the count is the number of datagrams sent.
  tsIoResult SendBatch(std::span<const tsDatagram> datagrams) const;
  // As SendBatch, for up to kMaxSegmentedBatch datagrams, with far less work per datagram: each
  // run of consecutive datagrams of one length to one peer (the run's last may be shorter)
  // goes to the kernel as one message that it cuts into those datagrams (UDP segmentation
  // offload). The datagrams on the wire are the same. The count is the number of datagrams
  // sent; a run whose datagrams exceed the path MTU with do-not-fragment set fails with EINVAL.
  tsIoResult SendSegmented(std::span<const tsDatagram> datagrams) const;
  static constexpr size_t kMaxSegmentedBatch = 512;

 private:
  int SetOption(int level, int name, int value);

  tcFileDescriptor fd_;
};
