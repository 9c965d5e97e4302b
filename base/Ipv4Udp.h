// Decoding of an IPv4 packet that carries a UDP datagram, as a packet socket hands it over
// without its link-layer header: the datagram's payload and its sender.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ipv4udp {

// Fills `payload` (inside `packet`) and `sender` (host order) and returns true for an
// unfragmented IPv4 UDP datagram whose headers fit in `packet`. A payload cut short by the
// capture is given as far as it was captured.
bool Parse(std::span<const std::byte> packet, std::span<const std::byte>* payload,
           uint32_t* sender);

}  // namespace ipv4udp
