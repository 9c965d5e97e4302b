// One datagram of a batch send or receive: its bytes, its length and its peer.
#pragma once

#include <cstddef>
#include <span>

#include "base/tsSocketAddress.h"

struct tsDatagram {
  // Receive: room for the datagram. Send: the bytes to send (followed by `tail`).
  std::span<std::byte> buffer;
  // Receive: bytes received (a longer datagram is cut to the buffer).
  size_t length = 0;
  // Receive: the sender. Send: the destination.
  tsSocketAddress peer;
  // Send: bytes that follow `buffer` in the same datagram (a payload kept elsewhere, so that
  // it is not copied); may be empty. Receive: unused.
  std::span<const std::byte> tail;
};
