// One IPv4 network adapter: name, first address and mask (host order), type and state.
#pragma once

#include <cstdint>
#include <string>

struct tsAdapter {
  // Interface types, numbered as the IANA ifType values.
  static constexpr int kEthernet = 6;
  static constexpr int kLoopback = 24;
  static constexpr int kWireless = 71;
  static constexpr int kTunnel = 131;

  std::string name;
  uint32_t address = 0;
  uint32_t mask = 0;
  int type = kEthernet;
  bool up = false;

  // Up, not loopback, with an address: worth a socket.
  bool Usable() const { return up && type != kLoopback && address != 0; }
};
