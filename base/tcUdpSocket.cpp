// Move-only IPv4 UDP socket owner.
#include "base/tcUdpSocket.h"

#include <arpa/inet.h>
#include <errno.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

sockaddr_in ToSockaddr(const tsSocketAddress& address) {
  sockaddr_in in{};
  in.sin_family = AF_INET;
  in.sin_addr.s_addr = htonl(address.address);
  in.sin_port = htons(address.port);
  return in;
}

tsSocketAddress FromSockaddr(const sockaddr_in& in) {
  return {ntohl(in.sin_addr.s_addr), ntohs(in.sin_port)};
}

tsIoResult FromCount(ssize_t count) {
  return count < 0 ? tsIoResult::Failure(errno) : tsIoResult::Success(static_cast<size_t>(count));
}

// Room for one IP_PKTINFO control message.
union tuPacketInfoControl {
  cmsghdr align;
  char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
};

// A one-buffer message to or from `address` with room for an IP_PKTINFO control record.
msghdr PacketInfoMessage(sockaddr_in* address, iovec* vector, tuPacketInfoControl* control) {
  msghdr message{};
  message.msg_name = address;
  message.msg_namelen = sizeof *address;
  message.msg_iov = vector;
  message.msg_iovlen = 1;
  message.msg_control = control->bytes;
  message.msg_controllen = sizeof control->bytes;
  return message;
}

// The messages of a batch send: one datagram (a buffer and maybe a tail) and one peer each.
struct tsBatch {
  explicit tsBatch(std::span<const tsDatagram> datagrams)
      : count(std::min(datagrams.size(), tcUdpSocket::kMaxBatch)) {
    for (size_t i = 0; i < count; ++i) {
      const tsDatagram& datagram = datagrams[i];
      iovec* parts = &vectors[2 * i];
      parts[0] = {datagram.buffer.data(), datagram.buffer.size()};
      parts[1] = {const_cast<std::byte*>(datagram.tail.data()), datagram.tail.size()};
      messages[i].msg_hdr.msg_iov = parts;
      messages[i].msg_hdr.msg_iovlen = datagram.tail.empty() ? 1 : 2;
      messages[i].msg_hdr.msg_name = &peers[i];
      messages[i].msg_hdr.msg_namelen = sizeof peers[i];
    }
  }

  size_t count;
  std::array<mmsghdr, tcUdpSocket::kMaxBatch> messages{};
  std::array<iovec, 2 * tcUdpSocket::kMaxBatch> vectors{};
  std::array<sockaddr_in, tcUdpSocket::kMaxBatch> peers{};
};

// The messages of a scattered receive: up to three parts and one peer each.
struct tsScatterBatch {
  explicit tsScatterBatch(std::span<const tsScatterDatagram> datagrams)
      : count(std::min(datagrams.size(), tcUdpSocket::kMaxBatch)) {
    for (size_t i = 0; i < count; ++i) {
      iovec* parts = &vectors[tsScatterDatagram::kMaxParts * i];
      size_t used = 0;
      for (std::span<std::byte> part : datagrams[i].parts) {
        if (!part.empty()) parts[used++] = {part.data(), part.size()};
      }
      messages[i].msg_hdr.msg_iov = parts;
      messages[i].msg_hdr.msg_iovlen = used;
      messages[i].msg_hdr.msg_name = &peers[i];
      messages[i].msg_hdr.msg_namelen = sizeof peers[i];
    }
  }

  size_t count;
  std::array<mmsghdr, tcUdpSocket::kMaxBatch> messages{};
  std::array<iovec, tsScatterDatagram::kMaxParts * tcUdpSocket::kMaxBatch> vectors{};
  std::array<sockaddr_in, tcUdpSocket::kMaxBatch> peers{};
};

size_t Length(const tsDatagram& datagram) {
  return datagram.buffer.size() + datagram.tail.size();
}

// Room for one UDP_SEGMENT control message.
union tuSegmentControl {
  cmsghdr align;
  char bytes[CMSG_SPACE(sizeof(uint16_t))];
};

// The messages of a segmented send: each a run of datagrams of one length to one peer, which
// the kernel cuts at that length.
class tcSegmentedBatch {
 public:
  // Segments the kernel takes in one message, and the bytes (below the 16-bit UDP length).
  static constexpr size_t kMaxRun = 64;
  static constexpr size_t kMaxRunBytes = 65000;

  explicit tcSegmentedBatch(std::span<const tsDatagram> datagrams) {
    size_t first = 0;
    size_t limit = std::min(datagrams.size(), tcUdpSocket::kMaxSegmentedBatch);
    while (first < limit && messageCount < tcUdpSocket::kMaxBatch) {
      size_t run = RunLength(datagrams.subspan(first, limit - first));
      AddMessage(datagrams.subspan(first, run));
      first += run;
    }
  }

  // The datagrams carried by the first `messages` messages.
  size_t Datagrams(size_t messages) const {
    size_t total = 0;
    for (size_t i = 0; i < messages; ++i)
      total += runs_[i];
    return total;
  }

  size_t messageCount = 0;
  std::array<mmsghdr, tcUdpSocket::kMaxBatch> messages{};

 private:
  static size_t RunLength(std::span<const tsDatagram> datagrams) {
    size_t size = Length(datagrams[0]);
    size_t run = 1;
    size_t bytes = size;
    while (run < datagrams.size() && run < kMaxRun && size > 0) {
      const tsDatagram& next = datagrams[run];
      size_t length = Length(next);
      if (next.peer != datagrams[0].peer || length > size || bytes + length > kMaxRunBytes) break;
      bytes += length;
      ++run;
      if (length < size) break;  // only the last segment of a run may be shorter
    }
    return run;
  }

  void AddMessage(std::span<const tsDatagram> run) {
    size_t index = messageCount++;
    runs_[index] = run.size();
    peers_[index] = ToSockaddr(run[0].peer);
    msghdr& header = messages[index].msg_hdr;
    header.msg_iov = &vectors_[vectorCount_];
    for (const tsDatagram& datagram : run) {
      vectors_[vectorCount_++] = {datagram.buffer.data(), datagram.buffer.size()};
      if (!datagram.tail.empty()) {
        vectors_[vectorCount_++] = {const_cast<std::byte*>(datagram.tail.data()),
                                    datagram.tail.size()};
      }
    }
    header.msg_iovlen = &vectors_[vectorCount_] - header.msg_iov;
    header.msg_name = &peers_[index];
    header.msg_namelen = sizeof peers_[index];
    if (run.size() > 1) AddSegmentSize(header, controls_[index], Length(run[0]));
  }

  static void AddSegmentSize(msghdr& header, tuSegmentControl& control, size_t size) {
    header.msg_control = control.bytes;
    header.msg_controllen = sizeof control.bytes;
    cmsghdr* record = CMSG_FIRSTHDR(&header);
    record->cmsg_level = SOL_UDP;
    record->cmsg_type = UDP_SEGMENT;
    record->cmsg_len = CMSG_LEN(sizeof(uint16_t));
    uint16_t segment = static_cast<uint16_t>(size);
    std::memcpy(CMSG_DATA(record), &segment, sizeof segment);
  }

  size_t vectorCount_ = 0;
  std::array<size_t, tcUdpSocket::kMaxBatch> runs_{};
  std::array<sockaddr_in, tcUdpSocket::kMaxBatch> peers_{};
  std::array<tuSegmentControl, tcUdpSocket::kMaxBatch> controls_{};
  std::array<iovec, 2 * tcUdpSocket::kMaxSegmentedBatch> vectors_{};
};

}  // namespace

int tcUdpSocket::Open() {
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (fd < 0) return errno;
  fd_.Reset(fd);
  return 0;
}

int tcUdpSocket::Bind(const tsSocketAddress& local) {
  if (!IsOpen()) return EBADF;
  sockaddr_in in = ToSockaddr(local);
  return bind(Fd(), reinterpret_cast<const sockaddr*>(&in), sizeof in) < 0 ? errno : 0;
}

int tcUdpSocket::SetOption(int level, int name, int value) {
  if (!IsOpen()) return EBADF;
  return setsockopt(Fd(), level, name, &value, sizeof value) < 0 ? errno : 0;
}

int tcUdpSocket::SetBroadcast(bool on) {
  return SetOption(SOL_SOCKET, SO_BROADCAST, on ? 1 : 0);
}

int tcUdpSocket::SetReceiveBuffer(int bytes) {
  return SetOption(SOL_SOCKET, SO_RCVBUF, bytes);
}

int tcUdpSocket::ForceReceiveBuffer(int bytes) {
  return SetOption(SOL_SOCKET, SO_RCVBUFFORCE, bytes);
}

int tcUdpSocket::ReceiveBufferSize(int* bytes) const {
  if (!IsOpen()) return EBADF;
  socklen_t length = sizeof *bytes;
  return getsockopt(Fd(), SOL_SOCKET, SO_RCVBUF, bytes, &length) < 0 ? errno : 0;
}

int tcUdpSocket::SetPacketInfo(bool on) {
  return SetOption(IPPROTO_IP, IP_PKTINFO, on ? 1 : 0);
}

int tcUdpSocket::SetDontFragment(bool on) {
  return SetOption(IPPROTO_IP, IP_MTU_DISCOVER, on ? IP_PMTUDISC_DO : IP_PMTUDISC_DONT);
}

int tcUdpSocket::SetDropAll(bool on) {
  if (!IsOpen()) return EBADF;
  if (!on) {
    int unused = 0;
    int result = setsockopt(Fd(), SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused);
    return result < 0 && errno != ENOENT ? errno : 0;
  }
  sock_filter dropAll = BPF_STMT(BPF_RET | BPF_K, 0);
  sock_fprog program{1, &dropAll};
  return setsockopt(Fd(), SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) < 0 ? errno : 0;
}

int tcUdpSocket::LocalAddress(tsSocketAddress* local) const {
  if (!IsOpen()) return EBADF;
  sockaddr_in in{};
  socklen_t length = sizeof in;
  if (getsockname(Fd(), reinterpret_cast<sockaddr*>(&in), &length) < 0) return errno;
  *local = FromSockaddr(in);
  return 0;
}

tsIoResult tcUdpSocket::SendTo(std::span<const std::byte> bytes, const tsSocketAddress& to) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  sockaddr_in in = ToSockaddr(to);
  return FromCount(sendto(Fd(), bytes.data(), bytes.size(), 0,
                          reinterpret_cast<const sockaddr*>(&in), sizeof in));
}

tsIoResult tcUdpSocket::SendFrom(std::span<const std::byte> bytes, const tsSocketAddress& to,
                                 uint32_t localAddress) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  sockaddr_in in = ToSockaddr(to);
  iovec vector{const_cast<std::byte*>(bytes.data()), bytes.size()};
  tuPacketInfoControl control{};
  msghdr message = PacketInfoMessage(&in, &vector, &control);
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = IPPROTO_IP;
  header->cmsg_type = IP_PKTINFO;
  header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
  in_pktinfo info{};
  info.ipi_spec_dst.s_addr = htonl(localAddress);
  std::memcpy(CMSG_DATA(header), &info, sizeof info);
  return FromCount(sendmsg(Fd(), &message, 0));
}

tsIoResult tcUdpSocket::ReceiveFrom(std::span<std::byte> buffer, tsSocketAddress* from) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  sockaddr_in in{};
  socklen_t length = sizeof in;
  tsIoResult result = FromCount(recvfrom(Fd(), buffer.data(), buffer.size(), MSG_DONTWAIT,
                                         reinterpret_cast<sockaddr*>(&in), &length));
  if (result.Ok() && from) *from = FromSockaddr(in);
  return result;
}

tsIoResult tcUdpSocket::ReceiveWithDestination(std::span<std::byte> buffer, tsSocketAddress* from,
                                               uint32_t* localAddress) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  sockaddr_in in{};
  iovec vector{buffer.data(), buffer.size()};
  tuPacketInfoControl control{};
  msghdr message = PacketInfoMessage(&in, &vector, &control);
  tsIoResult result = FromCount(recvmsg(Fd(), &message, MSG_DONTWAIT));
  if (!result.Ok()) return result;
  if (from) *from = FromSockaddr(in);
  if (localAddress) {
    *localAddress = 0;
    for (cmsghdr* h = CMSG_FIRSTHDR(&message); h; h = CMSG_NXTHDR(&message, h)) {
      if (h->cmsg_level != IPPROTO_IP || h->cmsg_type != IP_PKTINFO) continue;
      in_pktinfo info;
      std::memcpy(&info, CMSG_DATA(h), sizeof info);
      *localAddress = ntohl(info.ipi_spec_dst.s_addr);
    }
  }
  return result;
}

tsIoResult tcUdpSocket::ReceiveBatch(std::span<tsDatagram> datagrams) const {
  std::array<tsScatterDatagram, kMaxBatch> scattered;
  size_t count = std::min(datagrams.size(), kMaxBatch);
  for (size_t i = 0; i < count; ++i)
    scattered[i].parts[0] = datagrams[i].buffer;
  tsIoResult result = ReceiveScattered(std::span(scattered).first(count));
  for (size_t i = 0; i < result.count; ++i) {
    datagrams[i].length = scattered[i].length;
    datagrams[i].peer = scattered[i].peer;
  }
  return result;
}

tsIoResult tcUdpSocket::ReceiveScattered(std::span<tsScatterDatagram> datagrams) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  tsScatterBatch batch(datagrams);
  tsIoResult result = FromCount(recvmmsg(
      Fd(), batch.messages.data(), static_cast<unsigned>(batch.count), MSG_DONTWAIT, nullptr));
  for (size_t i = 0; i < result.count; ++i) {
    datagrams[i].length = batch.messages[i].msg_len;
    datagrams[i].peer = FromSockaddr(batch.peers[i]);
  }
  return result;
}

tsIoResult tcUdpSocket::SendBatch(std::span<const tsDatagram> datagrams) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  tsBatch batch(datagrams);
  for (size_t i = 0; i < batch.count; ++i)
    batch.peers[i] = ToSockaddr(datagrams[i].peer);
  return FromCount(sendmmsg(Fd(), batch.messages.data(), static_cast<unsigned>(batch.count), 0));
}

tsIoResult tcUdpSocket::SendSegmented(std::span<const tsDatagram> datagrams) const {
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  if (datagrams.empty()) return tsIoResult::Success(0);
  tcSegmentedBatch batch(datagrams);
  int sent = sendmmsg(Fd(), batch.messages.data(), static_cast<unsigned>(batch.messageCount), 0);
  if (sent < 0) return tsIoResult::Failure(errno);
  return tsIoResult::Success(batch.Datagrams(static_cast<size_t>(sent)));
}
