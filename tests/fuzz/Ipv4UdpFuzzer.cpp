// libFuzzer target: an IPv4 packet as a packet ring hands it over. An accepted one must give a
// payload inside the packet, after the headers, and the sender from the IP header.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "base/Ipv4Udp.h"

namespace {

void Check(bool condition) {
  if (!condition) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::span<const std::byte> packet(reinterpret_cast<const std::byte*>(data), size);
  std::span<const std::byte> payload;
  uint32_t sender = 0;
  if (!ipv4udp::Parse(packet, &payload, &sender)) return 0;
  size_t headers = size_t{data[0] & 0x0Fu} * 4 + 8;
  Check(payload.data() == packet.data() + headers);
  Check(headers + payload.size() <= size);
  Check(sender ==
        (uint32_t{data[12]} << 24 | uint32_t{data[13]} << 16 | uint32_t{data[14]} << 8 | data[15]));
  return 0;
}
