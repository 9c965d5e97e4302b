// gev-camera's own send rate and CPU on the network bench at target rates of 1, 10 and 20 Gb/s
// (a measurement, not a test): 4096 x 2048 Mono8 frames in 8192-byte packets over a veth pair
// with MTU 9000, received with recvmmsg into a forced 64 MiB socket buffer.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/Platform.h"
#include "base/tcPoll.h"
#include "base/tcUdpSocket.h"
#include "base/tcWireWriter.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

namespace {

constexpr uint32_t kWidth = 4096;
constexpr uint32_t kHeight = 2048;
constexpr uint32_t kPacketSize = 8192;
constexpr double kSeconds = 3.0;

uint16_t Write(const tcUdpSocket& control, const tsSocketAddress& camera, uint32_t address,
               uint32_t value) {
  static uint16_t id = 0;
  std::array<std::byte, 16> command;
  tcWireWriter writer(command);
  for (uint32_t word : {0x42010082u, 8u << 16 | ++id, address, value})
    writer.U32Be(word);
  control.SendTo(command, camera);
  tcPoll poll;
  poll.Add(control.Fd());
  std::array<std::byte, 64> reply{};
  for (int i = 0; i < 20 && poll.Wait(100).Ok(); ++i) {
    if (poll.Readable(0) && control.ReceiveFrom(reply, nullptr).count >= 12) {
      return static_cast<uint16_t>(std::to_integer<int>(reply[0]) << 8 |
                                   std::to_integer<int>(reply[1]));
    }
    control.SendTo(command, camera);
  }
  return 0xFFFF;
}

// CPU seconds (user and system) of process `pid` so far.
double CpuSeconds(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  unsigned long long user = 0, system = 0;
  for (int i = 3; i <= 15 && fields >> field; ++i) {
    if (i == 14) user = std::stoull(field);
    if (i == 15) system = std::stoull(field);
  }
  return double(user + system) / double(sysconf(_SC_CLK_TCK));
}

void Measure(double targetGbps) {
  tcNetBench bench;
  tsBenchLink link;
  std::string error =
      bench.AddCamera(std::vector<std::string>{GEV_CAMERA_PATH, "--width", std::to_string(kWidth),
                                               "--height", std::to_string(kHeight)},
                      tcNetBench::kJumboMtu, &link);
  if (!error.empty()) {
    printf("bench: %s\n", error.c_str());
    return;
  }
  tcUdpSocket control, stream;
  tsSocketAddress streamAddress;
  control.Open();
  control.Bind({link.hostAddress, 0});
  stream.Open();
  stream.Bind({link.hostAddress, 0});
  if (stream.ForceReceiveBuffer(64 << 20) != 0) stream.SetReceiveBuffer(64 << 20);
  stream.LocalAddress(&streamAddress);
  tsSocketAddress camera{link.cameraAddress, 3956};
  usleep(300000);
  double payloadBits = double(kWidth) * kHeight * 8;
  float rate = static_cast<float>(targetGbps * 1e9 / payloadBits);
  uint32_t rateBits;
  std::memcpy(&rateBits, &rate, sizeof rateBits);
  bool ok = Write(control, camera, 0x0A00, 2) == 0 && Write(control, camera, 0x0938, 60000) == 0 &&
            Write(control, camera, 0x10028, rateBits) == 0 &&
            Write(control, camera, 0x0D04, 0x40000000u | kPacketSize) == 0 &&
            Write(control, camera, 0x0D18, link.hostAddress) == 0 &&
            Write(control, camera, 0x0D00, streamAddress.port) == 0;
  if (!ok || Write(control, camera, 0x1001C, 1) != 0) {
    printf("%5.0f Gb/s: the camera refused the set-up\n", targetGbps);
    return;
  }
  std::vector<std::vector<std::byte>> storage(tcUdpSocket::kMaxBatch, std::vector<std::byte>(9000));
  std::vector<tsDatagram> batch;
  for (auto& s : storage)
    batch.push_back({s, 0, {}, {}});
  tcPoll poll;
  poll.Add(stream.Fd());
  double cpuStart = CpuSeconds(link.pid);
  uint64_t start = platform::MonotonicNs();
  uint64_t end = start + uint64_t(kSeconds * 1e9);
  uint64_t bytes = 0, packets = 0;
  while (platform::MonotonicNs() < end) {
    if (!poll.Wait(100).Ok() || !poll.Readable(0)) continue;
    tsIoResult received = stream.ReceiveBatch(batch);
    for (size_t i = 0; i < received.count; ++i)
      bytes += batch[i].length + 28;
    packets += received.count;
  }
  double seconds = double(platform::MonotonicNs() - start) / 1e9;
  double cpu = CpuSeconds(link.pid) - cpuStart;
  Write(control, camera, 0x10020, 1);
  printf(
      "target %5.1f Gb/s: received %6.2f Gb/s (IP bytes), %8.0f packets/s, camera CPU %5.1f %%\n",
      targetGbps, double(bytes) * 8 / seconds / 1e9, double(packets) / seconds,
      100 * cpu / seconds);
}

}  // namespace

int main() {
  std::string why = EnterPrivateNetwork();
  if (!why.empty()) {
    printf("gev_camera_bench: %s\n", why.c_str());
    return 1;
  }
  for (double target : {1.0, 10.0, 20.0})
    Measure(target);
  return 0;
}
