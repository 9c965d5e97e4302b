// The emulated camera's control channel thread.
#include "tcGvcpServer.h"

#include <array>

#include "base/Platform.h"
#include "base/tcPoll.h"

namespace {

// How often an idle camera checks its heartbeat.
constexpr int kTickMs = 100;

}  // namespace

std::string tcGvcpServer::Start(uint16_t port) {
  int error = socket_.Open();
  if (!error) error = socket_.SetPacketInfo(true);
  if (!error) error = socket_.SetBroadcast(true);
  if (!error) error = socket_.Bind({0, port});
  if (!error) error = wake_.Open();
  if (!error)
    error = thread_.Start([this](const std::atomic<bool>& stop) { Run(stop); },
                          [this] { wake_.Signal(); });
  if (error) {
    socket_.Close();
    return "control channel on port " + std::to_string(port) + ": " + platform::ErrorText(error);
  }
  return {};
}

void tcGvcpServer::Stop() {
  thread_.RequestStop();
  thread_.Join();
}

void tcGvcpServer::Run(const std::atomic<bool>& stop) {
  tcPoll poll;
  size_t socketIndex = poll.Add(socket_.Fd());
  poll.Add(wake_.Fd());
  while (!stop) {
    if (!poll.Wait(kTickMs).Ok()) break;
    if (poll.Readable(socketIndex)) Answer();
    camera_.Expire(platform::MonotonicNs());
  }
}

void tcGvcpServer::Answer() {
  std::array<std::byte, 1500> datagram;
  std::array<std::byte, tcGevCamera::kMaxReply> reply;
  for (;;) {
    tsSocketAddress from;
    uint32_t local = 0;
    tsIoResult received = socket_.ReceiveWithDestination(datagram, &from, &local);
    if (!received.Ok()) return;
    size_t length = camera_.Handle(std::span(datagram).first(received.count), from, local,
                                   MaskOf(local), platform::MonotonicNs(), reply);
    if (length) socket_.SendFrom(std::span(reply).first(length), from, local);
    if (afterCommand_) afterCommand_();
  }
}

uint32_t tcGvcpServer::MaskOf(uint32_t local) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    for (const tsAdapter& adapter : adapters_.All()) {
      if (adapter.address == local) return adapter.mask;
    }
    if (attempt == 0) adapters_.Load();
  }
  return 0xFFFFFF00;
}
