// One camera side of the network test bench: its process and the veth pair that reaches it.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

struct tsBenchLink {
  pid_t pid = -1;               // the camera side's process, alone in its network namespace
  std::string hostInterface;    // the veth end in the caller's namespace
  std::string cameraInterface;  // the veth end in the camera side's namespace
  uint32_t hostAddress = 0;     // host order, first address of the /30
  uint32_t cameraAddress = 0;   // host order, second address of the /30
  uint32_t mask = 0xFFFFFFFC;
  int mtu = 0;
};
