// One datagram of a scattered batch receive: the datagram's bytes fill its parts in order.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "base/tsSocketAddress.h"

struct tsScatterDatagram {
  static constexpr size_t kMaxParts = 3;
  // Room for the datagram, filled part after part; empty parts take nothing. A datagram longer
  // than all parts together is cut.
  std::array<std::span<std::byte>, kMaxParts> parts;
  // Bytes received.
  size_t length = 0;
  tsSocketAddress peer;
};
