// tcPacketRing: the packet socket, its filter, the TPACKET_V3 ring and the walk over blocks.
#include "base/tcPacketRing.h"

#include <arpa/inet.h>
#include <errno.h>
#include <linux/filter.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <algorithm>
#include <iterator>

#include "base/Ipv4Udp.h"

namespace {

constexpr size_t kFrameSize = 2048;  // the ring's nominal slot; version 3 packs datagrams

// Keeps the arriving IPv4 UDP datagrams to `port` that are not fragments, whole; drops
// everything else (what this host sends among it) before it reaches the ring. The socket is
// a datagram one: offsets count from the IP header.
int AttachPortFilter(int fd, uint16_t port) {
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, uint32_t(SKF_AD_OFF + SKF_AD_PKTTYPE)),  // direction
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, PACKET_OUTGOING, 8, 0),                 //   sent: drop
      BPF_STMT(BPF_LD | BPF_B | BPF_ABS, 9),                                      // IP protocol
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, 6),  //   UDP, else drop
      BPF_STMT(BPF_LD | BPF_H | BPF_ABS, 6),                   // flags and offset
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, 0x3FFF, 4, 0),      //   a fragment: drop
      BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),                  // X = IP header length
      BPF_STMT(BPF_LD | BPF_H | BPF_IND, 2),                   // UDP destination port
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, port, 0, 1),         //   ours, else drop
      BPF_STMT(BPF_RET | BPF_K, 0x40000),                      // keep it whole
      BPF_STMT(BPF_RET | BPF_K, 0),                            // drop
  };
  sock_fprog program{static_cast<unsigned short>(std::size(code)), code};
  return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program) < 0 ? errno : 0;
}

}  // namespace

tcPacketRing::~tcPacketRing() {
  Close();
}

int tcPacketRing::Open(uint16_t port, size_t bytes) {
  Close();
  // Protocol 0: the socket receives nothing until it is bound, after its filter is in place.
  fd_.Reset(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!fd_.IsValid()) return errno;
  int error = Configure(port, std::max<size_t>(1, (bytes + kBlockSize - 1) / kBlockSize));
  if (error == 0) error = Bind();
  if (error != 0) Close();
  return error;
}

int tcPacketRing::Configure(uint16_t port, size_t blocks) {
  if (int error = AttachPortFilter(fd_.Get(), port)) return error;
  int version = TPACKET_V3;
  if (setsockopt(fd_.Get(), SOL_PACKET, PACKET_VERSION, &version, sizeof version) < 0) {
    return errno;
  }
  tpacket_req3 request{};
  request.tp_block_size = kBlockSize;
  request.tp_block_nr = static_cast<unsigned>(blocks);
  request.tp_frame_size = kFrameSize;
  request.tp_frame_nr = static_cast<unsigned>(blocks * (kBlockSize / kFrameSize));
  request.tp_retire_blk_tov = kBlockTimeoutMs;
  if (setsockopt(fd_.Get(), SOL_PACKET, PACKET_RX_RING, &request, sizeof request) < 0) {
    return errno;
  }
  void* ring = mmap(nullptr, blocks * kBlockSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd_.Get(), 0);
  if (ring == MAP_FAILED) return errno;
  ring_ = static_cast<std::byte*>(ring);
  blocks_ = blocks;
  next_ = 0;
  return 0;
}

// IPv4 on every interface: the stream socket, too, takes its datagrams from any of them.
int tcPacketRing::Bind() {
  sockaddr_ll link{};
  link.sll_family = AF_PACKET;
  link.sll_protocol = htons(ETH_P_IP);
  if (bind(fd_.Get(), reinterpret_cast<sockaddr*>(&link), sizeof link) < 0) return errno;
  return 0;
}

void tcPacketRing::Close() {
  if (ring_ != nullptr) munmap(ring_, blocks_ * kBlockSize);
  ring_ = nullptr;
  blocks_ = 0;
  fd_.Reset();
}

size_t tcPacketRing::Drain(const tcVisitor& visit, const std::function<bool()>& more) {
  size_t visited = 0;
  for (size_t walked = 0; walked < blocks_; ++walked) {
    auto* block = reinterpret_cast<tpacket_block_desc*>(ring_ + next_ * kBlockSize);
    if ((__atomic_load_n(&block->hdr.bh1.block_status, __ATOMIC_ACQUIRE) & TP_STATUS_USER) == 0) {
      break;
    }
    bool going = VisitBlock(next_, visit, more, &visited);
    __atomic_store_n(&block->hdr.bh1.block_status, TP_STATUS_KERNEL, __ATOMIC_RELEASE);
    next_ = (next_ + 1) % blocks_;
    if (!going) break;
  }
  return visited;
}

// The kernel wrote the block; its offsets are still checked against the block's bounds.
bool tcPacketRing::VisitBlock(size_t index, const tcVisitor& visit,
                              const std::function<bool()>& more, size_t* visited) {
  std::span<const std::byte> block(ring_ + index * kBlockSize, kBlockSize);
  const auto* descriptor = reinterpret_cast<const tpacket_block_desc*>(block.data());
  size_t offset = descriptor->hdr.bh1.offset_to_first_pkt;
  for (uint32_t i = 0; i < descriptor->hdr.bh1.num_pkts; ++i) {
    if (offset + sizeof(tpacket3_hdr) > block.size()) break;
    const auto* header = reinterpret_cast<const tpacket3_hdr*>(block.data() + offset);
    size_t start = offset + header->tp_net;
    if (start > block.size() || header->tp_snaplen > block.size() - start) break;
    std::span<const std::byte> payload;
    uint32_t sender = 0;
    if (ipv4udp::Parse(block.subspan(start, header->tp_snaplen), &payload, &sender)) {
      visit(payload, sender);
      ++*visited;
      if (!more()) return false;
    }
    if (header->tp_next_offset == 0) break;
    offset += header->tp_next_offset;
  }
  return true;
}
