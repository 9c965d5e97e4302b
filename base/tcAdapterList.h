// The host's IPv4 adapters (getifaddrs): the first IPv4 address of each interface, typed.
#pragma once

#include <vector>

#include "base/tsAdapter.h"

class tcAdapterList {
 public:
  // Reads the adapters of the calling thread's network namespace, in the system's order.
  // Returns 0 or the errno of getifaddrs (the list is then empty).
  int Load();
  // Every interface with an IPv4 address, including the ones Usable() refuses.
  const std::vector<tsAdapter>& All() const { return adapters_; }
  std::vector<tsAdapter> Usable() const;

 private:
  std::vector<tsAdapter> adapters_;
};
