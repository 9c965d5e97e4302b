// Moves the calling thread (and the processes and threads it starts later) into a network
// namespace of its own with the loopback up, so socket tests never reach a real network.
#pragma once

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

// Returns an empty text on success, else why it failed (the caller skips its test then).
inline std::string EnterPrivateNetwork() {
  if (unshare(CLONE_NEWNET) < 0) {
    return std::string("cannot create a network namespace: ") + strerror(errno);
  }
  int probe = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ifreq request{};
  std::strcpy(request.ifr_name, "lo");
  bool up = probe >= 0 && ioctl(probe, SIOCGIFFLAGS, &request) == 0;
  request.ifr_flags |= IFF_UP;
  up = up && ioctl(probe, SIOCSIFFLAGS, &request) == 0;
  if (probe >= 0) close(probe);
  return up ? std::string() : std::string("cannot bring the loopback up: ") + strerror(errno);
}

// Runs an iproute2 command line inside the private namespace; true when it succeeded.
inline bool RunIp(const std::string& arguments) {
  return std::system(("ip " + arguments + " >/dev/null 2>&1").c_str()) == 0;
}

#define ENTER_PRIVATE_NETWORK_OR_SKIP()      \
  do {                                       \
    std::string why = EnterPrivateNetwork(); \
    if (!why.empty()) GTEST_SKIP() << why;   \
  } while (0)
