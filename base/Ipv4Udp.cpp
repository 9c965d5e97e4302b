// IPv4 and UDP headers, read with bounds checks.
#include "base/Ipv4Udp.h"

#include <algorithm>

#include "base/tcWireReader.h"

namespace ipv4udp {

namespace {

constexpr uint8_t kUdp = 17;
constexpr uint16_t kFragmentBits = 0x3FFF;  // more-fragments flag and fragment offset
constexpr size_t kUdpHeader = 8;

}  // namespace

bool Parse(std::span<const std::byte> packet, std::span<const std::byte>* payload,
           uint32_t* sender) {
  tcWireReader ip(packet);
  uint8_t versionAndLength = ip.U8();
  size_t ipHeader = size_t{versionAndLength & 0x0Fu} * 4;
  ip.Skip(5);
  uint16_t fragment = ip.U16Be();
  ip.Skip(1);
  uint8_t protocol = ip.U8();
  ip.Skip(2);
  uint32_t source = ip.U32Be();
  if (ip.Failed() || versionAndLength >> 4 != 4 || ipHeader < 20 || protocol != kUdp ||
      (fragment & kFragmentBits) != 0 || packet.size() < ipHeader + kUdpHeader) {
    return false;
  }
  tcWireReader udp(packet.subspan(ipHeader));
  udp.Skip(4);
  uint16_t udpLength = udp.U16Be();
  if (udpLength < kUdpHeader) return false;
  std::span<const std::byte> data = packet.subspan(ipHeader + kUdpHeader);
  *payload = data.first(std::min<size_t>(data.size(), udpLength - kUdpHeader));
  *sender = source;
  return true;
}

}  // namespace ipv4udp
