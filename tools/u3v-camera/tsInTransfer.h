// What a camera endpoint hands to one IN transfer: the bytes it sends and the transfer's status.
#pragma once

#include <cstdint>
#include <vector>

struct tsInTransfer {
  std::vector<uint8_t> bytes;
  int status = 0;  // 0, or the negative errno the transfer completes with
};
