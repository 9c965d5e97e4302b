// GigE Vision control-path figures on the network bench (a measurement, not a test): READREG
// round trips through GCReadPort against bare UDP request/reply over the same veth, and the
// time a discovery pass needs to list 1 and 8 emulated cameras.
#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "GenTLLibrary.h"
#include "base/tcPoll.h"
#include "base/tcUdpSocket.h"
#include "base/tcWireWriter.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

namespace {

constexpr int kRounds = 3000;

using tClock = std::chrono::steady_clock;

double Microseconds(tClock::duration duration) {
  return std::chrono::duration<double, std::micro>(duration).count();
}

struct tsFigures {
  double median = 0;
  double mean = 0;
  double p99 = 0;
};

tsFigures Summarise(std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  double sum = 0;
  for (double sample : samples)
    sum += sample;
  return {samples[samples.size() / 2], sum / samples.size(), samples[samples.size() * 99 / 100]};
}

// One READREG of `address` with `id` and its acknowledgement; false when none came in 300 ms.
bool BareReadReg(const tcUdpSocket& socket, uint32_t camera, uint16_t id, uint32_t address) {
  std::array<std::byte, 12> command{};
  tcWireWriter writer(command);
  for (uint32_t word : {0x42010080u, 4u << 16 | id, address})
    writer.U32Be(word);
  socket.SendTo(command, {camera, 3956});
  tcPoll poll;
  poll.Add(socket.Fd());
  std::array<std::byte, 64> reply{};
  while (poll.Wait(300).count > 0) {
    tsIoResult got = socket.ReceiveFrom(reply, nullptr);
    uint16_t ackId = static_cast<uint16_t>(std::to_integer<uint16_t>(reply[6]) << 8 |
                                           std::to_integer<uint16_t>(reply[7]));
    if (got.count >= 12 && ackId == id) return true;
  }
  return false;
}

bool WaitForCamera(const tcUdpSocket& socket, uint32_t camera) {
  for (uint16_t attempt = 1; attempt <= 100; ++attempt)
    if (BareReadReg(socket, camera, static_cast<uint16_t>(0xF000 + attempt), 0)) return true;
  return false;
}

std::string StartCameras(tcNetBench& bench, int count, std::vector<tsBenchLink>* links) {
  for (int i = 0; i < count; ++i) {
    tsBenchLink link;
    std::string error =
        bench.AddCamera({GEV_CAMERA_PATH, "--serial", "BENCH" + std::to_string(i)}, 1500, &link);
    if (!error.empty()) return error;
    tcUdpSocket probe;
    probe.Open();
    probe.Bind({link.hostAddress, 0});
    if (!WaitForCamera(probe, link.cameraAddress)) return "a camera did not start";
    links->push_back(link);
  }
  return {};
}

void RoundTrips(GenTLLibrary& lib) {
  tcNetBench bench;
  std::vector<tsBenchLink> links;
  if (std::string error = StartCameras(bench, 1, &links); !error.empty()) {
    fprintf(stderr, "bench: %s\n", error.c_str());
    return;
  }
  const tsBenchLink& link = links[0];
  void* system = nullptr;
  void* interface = nullptr;
  void* device = nullptr;
  void* port = nullptr;
  GenTL::bool8_t changed = false;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, &changed, 0);
  lib.TLOpenInterface(system, "GEV", &interface);
  lib.IFUpdateDeviceList(interface, &changed, 200);
  if (lib.IFOpenDevice(interface, "GEV-Emulator:BENCH0", GenTL::DEVICE_ACCESS_EXCLUSIVE, &device) !=
          0 ||
      lib.DevGetPort(device, &port) != 0) {
    fprintf(stderr, "cannot open the camera\n");
    return;
  }
  std::vector<double> producer;
  for (int i = 0; i < kRounds; ++i) {
    uint32_t value = 0;
    size_t size = 4;
    auto start = tClock::now();
    if (lib.GCReadPort(port, 0x0934, &value, &size) != 0) continue;
    producer.push_back(Microseconds(tClock::now() - start));
  }
  lib.GCCloseLib();

  tcUdpSocket socket;
  socket.Open();
  socket.Bind({link.hostAddress, 0});
  std::vector<double> bare;
  for (int i = 0; i < kRounds; ++i) {
    auto start = tClock::now();
    if (!BareReadReg(socket, link.cameraAddress, static_cast<uint16_t>(i % 60000 + 1), 0x0934)) {
      continue;
    }
    bare.push_back(Microseconds(tClock::now() - start));
  }
  tsFigures a = Summarise(producer);
  tsFigures b = Summarise(bare);
  printf("READREG round trip over one veth, %d rounds each (microseconds):\n", kRounds);
  printf("  GCReadPort (4 bytes)   median %7.1f  mean %7.1f  p99 %7.1f  (%zu ok)\n", a.median,
         a.mean, a.p99, producer.size());
  printf("  bare UDP request/reply median %7.1f  mean %7.1f  p99 %7.1f  (%zu ok)\n", b.median,
         b.mean, b.p99, bare.size());
  printf("  ratio of medians %.2f\n", a.median / b.median);
}

// The shortest pass time-out (ms) that lists all `count` cameras, and the pass's duration.
void DiscoveryPass(GenTLLibrary& lib, int count) {
  tcNetBench bench;
  std::vector<tsBenchLink> links;
  if (std::string error = StartCameras(bench, count, &links); !error.empty()) {
    fprintf(stderr, "bench: %s\n", error.c_str());
    return;
  }
  void* system = nullptr;
  void* interface = nullptr;
  GenTL::bool8_t changed = false;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, &changed, 0);
  lib.TLOpenInterface(system, "GEV", &interface);
  for (uint64_t timeout : {0, 1, 2, 3, 5, 10, 20, 50, 100}) {
    std::vector<double> passes;
    bool all = true;
    for (int repeat = 0; repeat < 5; ++repeat) {
      auto start = tClock::now();
      lib.IFUpdateDeviceList(interface, &changed, timeout);
      passes.push_back(Microseconds(tClock::now() - start) / 1000);
      uint32_t found = 0;
      lib.IFGetNumDevices(interface, &found);
      all = all && found == static_cast<uint32_t>(count);
    }
    tsFigures pass = Summarise(passes);
    printf("  %d camera(s), time-out %3llu ms: pass %6.2f ms (median of 5), all listed: %s\n",
           count, static_cast<unsigned long long>(timeout), pass.median, all ? "yes" : "no");
    if (all) break;
  }
  lib.GCCloseLib();
}

}  // namespace

int main() {
  if (std::string why = EnterPrivateNetwork(); !why.empty()) {
    fprintf(stderr, "%s\n", why.c_str());
    return 1;
  }
  GenTLLibrary lib;
  if (!lib.Open(GENTL_CTI_PATH)) {
    fprintf(stderr, "%s\n", lib.Error().c_str());
    return 1;
  }
  RoundTrips(lib);
  printf("Discovery pass (the pass lasts its whole time-out; the shortest that lists all):\n");
  DiscoveryPass(lib, 1);
  DiscoveryPass(lib, 8);
  return 0;
}
