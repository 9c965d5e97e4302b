// An IPv4 address and UDP port, both in host order.
#pragma once

#include <cstdint>
#include <string>

struct tsSocketAddress {
  uint32_t address = 0;
  uint16_t port = 0;

  bool operator==(const tsSocketAddress&) const = default;
  // Dotted-quad text of `address` ("192.168.1.2").
  static std::string Text(uint32_t address);
};
