// The emulated camera's control channel: a thread that answers GVCP on UDP port 3956.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "base/tcAdapterList.h"
#include "base/tcEventFd.h"
#include "base/tcThread.h"
#include "base/tcUdpSocket.h"
#include "tcGevCamera.h"

// Listens on 0.0.0.0 (a socket bound to one address would not see 255.255.255.255) and
// answers each command from the address it arrived on, which is the camera's address on that
// link.
class tcGvcpServer {
 public:
  // `afterCommand` runs on the server's thread after each command the camera handled.
  tcGvcpServer(tcGevCamera& camera, std::function<void()> afterCommand)
      : camera_(camera), afterCommand_(std::move(afterCommand)) {}
  ~tcGvcpServer() { Stop(); }
  tcGvcpServer(const tcGvcpServer&) = delete;
  tcGvcpServer& operator=(const tcGvcpServer&) = delete;

  // Binds the socket and starts the thread; an empty text or why it failed.
  std::string Start(uint16_t port = tcGevCamera::kPort);
  void Stop();

 private:
  void Run(const std::atomic<bool>& stop);
  void Answer();
  uint32_t MaskOf(uint32_t local);

  tcGevCamera& camera_;
  std::function<void()> afterCommand_;
  tcUdpSocket socket_;
  tcEventFd wake_;
  tcAdapterList adapters_;  // only the thread touches it once started
  tcThread thread_;         // last: stopped first
};
