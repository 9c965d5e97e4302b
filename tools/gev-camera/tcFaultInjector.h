// Turns the packets of a frame into what the network delivers under the configured faults:
// losses, duplicates and reordering, drawn from one seeded generator in sending order.
#pragma once

#include <random>
#include <span>
#include <vector>

#include "base/tsDatagram.h"
#include "tsFaultOptions.h"

class tcFaultInjector {
 public:
  explicit tcFaultInjector(const tsFaultOptions& options)
      : options_(options), random_(options.seed) {}

  // The packets of one frame (leader first, trailer last, packet id = index) as sent.
  std::vector<tsDatagram> Frame(std::span<const tsDatagram> packets);
  // Whether one resent packet is sent.
  bool KeepResent();

 private:
  bool Chance(double ratio);

  tsFaultOptions options_;
  std::mt19937_64 random_;
};
