// Move-only IPv4 UDP socket owner.
#include "base/tcUdpSocket.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
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

// The messages of a batch call: one buffer and one peer address each.
struct tsBatch {
  explicit tsBatch(std::span<const tsDatagram> datagrams)
      : count(std::min(datagrams.size(), tcUdpSocket::kMaxBatch)) {
    for (size_t i = 0; i < count; ++i) {
      vectors[i] = {datagrams[i].buffer.data(), datagrams[i].buffer.size()};
      messages[i].msg_hdr.msg_iov = &vectors[i];
      messages[i].msg_hdr.msg_iovlen = 1;
      messages[i].msg_hdr.msg_name = &peers[i];
      messages[i].msg_hdr.msg_namelen = sizeof peers[i];
    }
  }

  size_t count;
  std::array<mmsghdr, tcUdpSocket::kMaxBatch> messages{};
  std::array<iovec, tcUdpSocket::kMaxBatch> vectors{};
  std::array<sockaddr_in, tcUdpSocket::kMaxBatch> peers{};
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
  if (!IsOpen()) return tsIoResult::Failure(EBADF);
  tsBatch batch(datagrams);
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
