// Private network for GigE Vision tests: camera sides in forked children, each in a network
// namespace of its own, joined to the caller's namespace by a veth pair with a /30.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tsBenchLink.h"

// Everything a camera side creates lives in its namespace: when the child ends (also when the
// caller is killed, through the parent-death signal) the namespace goes, and with it both veth
// ends. Names and addresses derive from the child's PID, so several benches (and parallel
// tests sharing one namespace) never collide. Only the caller's namespace sees the host ends;
// callers run inside a namespace of their own (unshare -n), never on a real network.
class tcNetBench {
 public:
  static constexpr int kJumboMtu = 9000;

  tcNetBench() = default;
  ~tcNetBench();
  tcNetBench(const tcNetBench&) = delete;
  tcNetBench& operator=(const tcNetBench&) = delete;

  // Starts a camera side that runs `command` (argv; the program is searched in PATH) once its
  // link is up. Returns an empty text or why it failed.
  std::string AddCamera(const std::vector<std::string>& command, int mtu, tsBenchLink* link);
  // As above, running `body` in the child; its result is the child's exit status.
  std::string AddCamera(const std::function<int()>& body, int mtu, tsBenchLink* link);
  // Ends one camera side (SIGTERM, then SIGKILL after a second); returns its wait status.
  int Stop(pid_t pid);
  // Runs `ip` with `arguments` inside the namespace of camera side `pid`; true on success.
  static bool RunInCamera(pid_t pid, const std::string& arguments);
  // Runs `ip` with `arguments` in the caller's namespace; true on success.
  static bool RunHere(const std::string& arguments);
  // Empty when the caller's namespace has no usable adapter but the bench's own host ends;
  // else why the bench refuses to start there.
  static std::string Isolated();

 private:
  std::string Start(const std::function<int()>& body, int mtu, tsBenchLink* link);
  std::string Connect(const tsBenchLink& link);

  std::vector<pid_t> children_;
};
