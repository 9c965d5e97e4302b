// The GigE Vision stream's receive side against Aravis's client on the same emulator stream (a
// measurement, not a test): 2448 x 2048 Mono8 frames (5 MB) in 8192-byte packets over a veth
// pair with MTU 9000, at 1, 10 and 20 Gb/s. For each rate: frames delivered and lost by the
// producer (through the GenTL functions, as a consumer) and the CPU of its process beside the
// consumer's own thread; then arv-camera-test-0.8 on a fresh camera, its frames, failures and
// CPU. The stream asks for a 64 MiB socket buffer unless GENTL_GEV_RCVBUF says otherwise.
// Run as root: build/<config>/bench/gev_stream_bench [seconds] [Gb/s ...] [gev-camera options],
// e.g. gev_stream_bench 8 10 --loss 0.02 for 2 % of the payload packets lost (and resent).
#include <arpa/inet.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "GenTLLibrary.h"
#include "base/tsSocketAddress.h"
#include "support/PrivateNetwork.h"
#include "tcNetBench.h"

namespace {

using namespace GenTL;

constexpr uint32_t kWidth = 2448;
constexpr uint32_t kHeight = 2048;
constexpr uint32_t kPacketSize = 8192;
constexpr int kBuffers = 16;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double CpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// CPU seconds (user and system) of process `pid` so far.
double ProcessCpu(pid_t pid) {
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

// UDP datagrams this network namespace dropped for a full socket buffer (RcvbufErrors).
long UdpReceiveBufferErrors() {
  std::ifstream file("/proc/net/snmp");
  std::string names, values;
  while (std::getline(file, names) && names.rfind("Udp:", 0) != 0) {
  }
  std::getline(file, values);
  std::istringstream nameFields(names), valueFields(values);
  std::string name, value;
  while (nameFields >> name && valueFields >> value) {
    if (name == "RcvbufErrors") return std::stol(value);
  }
  return -1;
}

float FrameRate(double gbps) {
  return static_cast<float>(gbps * 1e9 / (double(kWidth) * kHeight * 8));
}

// Payload bits of `frames` complete frames over `seconds`, in Gb/s.
double DeliveredGbps(uint64_t frames, double seconds) {
  return double(frames) * kWidth * kHeight * 8 / seconds / 1e9;
}

// Options for every gev-camera the bench starts (faults, for example).
std::vector<std::string> gCameraOptions;

std::string StartCamera(tcNetBench& bench, tsBenchLink* link) {
  std::vector<std::string> command{GEV_CAMERA_PATH, "--width", std::to_string(kWidth), "--height",
                                   std::to_string(kHeight)};
  command.insert(command.end(), gCameraOptions.begin(), gCameraOptions.end());
  return bench.AddCamera(command, tcNetBench::kJumboMtu, link);
}

// The producer's run: frames delivered, lost (started but not delivered, and skipped for lack
// of a buffer) and the CPU of every thread but this one.
struct tsProducerRun {
  bool ok = false;
  uint64_t delivered = 0;
  uint64_t incomplete = 0;
  uint64_t underrun = 0;
  double seconds = 0;
  long droppedDatagrams = 0;  // by the kernel, for a full socket buffer
  double receiveCpu = 0;
  double cameraCpu = 0;
};

GC_ERROR WriteCamera(GenTLLibrary& lib, void* port, uint64_t address, uint32_t value) {
  uint32_t wire = htonl(value);
  size_t size = 4;
  return lib.GCWritePort(port, address, &wire, &size);
}

template <typename T>
T StreamInfo(GenTLLibrary& lib, void* stream, int32_t command) {
  T value{};
  int32_t type = 0;
  size_t size = sizeof value;
  lib.DSGetInfo(stream, command, &type, &value, &size);
  return value;
}

tsProducerRun RunProducer(GenTLLibrary& lib, const tsBenchLink& link, double gbps, double seconds) {
  tsProducerRun run;
  void *system = nullptr, *interface = nullptr, *device = nullptr, *port = nullptr;
  void *stream = nullptr, *event = nullptr;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, nullptr, 0);
  lib.TLOpenInterface(system, "GEV", &interface);
  uint32_t count = 0;
  for (int pass = 0; pass < 40 && count == 0; ++pass) {
    lib.IFUpdateDeviceList(interface, nullptr, 200);
    lib.IFGetNumDevices(interface, &count);
  }
  char id[256] = "";
  size_t size = sizeof id;
  if (count == 0 || lib.IFGetDeviceID(interface, 0, id, &size) != GC_ERR_SUCCESS ||
      lib.IFOpenDevice(interface, id, DEVICE_ACCESS_EXCLUSIVE, &device) != GC_ERR_SUCCESS ||
      lib.DevGetPort(device, &port) != GC_ERR_SUCCESS ||
      lib.DevOpenDataStream(device, "Stream0", &stream) != GC_ERR_SUCCESS || stream == nullptr) {
    lib.GCCloseLib();
    return run;
  }
  float rate = FrameRate(gbps);
  uint32_t rateBits;
  std::memcpy(&rateBits, &rate, sizeof rateBits);
  WriteCamera(lib, port, 0x10028, rateBits);
  WriteCamera(lib, port, 0x0D04, 0x40000000u | kPacketSize);
  size_t payload = size_t{kWidth} * kHeight;
  for (int i = 0; i < kBuffers; ++i) {
    void* buffer = nullptr;
    lib.DSAllocAndAnnounceBuffer(stream, payload, nullptr, &buffer);
    lib.DSQueueBuffer(stream, buffer);
  }
  lib.GCRegisterEvent(stream, EVENT_NEW_BUFFER, &event);
  lib.DSStartAcquisition(stream, 0, GENTL_INFINITE);
  WriteCamera(lib, port, 0x1001C, 1);
  double start = Now();
  double cpuStart = CpuSeconds(RUSAGE_SELF) - CpuSeconds(RUSAGE_THREAD);
  double cameraStart = ProcessCpu(link.pid);
  long droppedStart = UdpReceiveBufferErrors();
  while (Now() - start < seconds) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t dataSize = sizeof data;
    if (lib.EventGetData(event, &data, &dataSize, 500) != GC_ERR_SUCCESS) continue;
    lib.DSQueueBuffer(stream, data.BufferHandle);
  }
  run.seconds = Now() - start;
  run.receiveCpu = CpuSeconds(RUSAGE_SELF) - CpuSeconds(RUSAGE_THREAD) - cpuStart;
  run.cameraCpu = ProcessCpu(link.pid) - cameraStart;
  run.droppedDatagrams = UdpReceiveBufferErrors() - droppedStart;
  WriteCamera(lib, port, 0x10020, 1);
  lib.DSStopAcquisition(stream, 0);
  uint64_t started = StreamInfo<uint64_t>(lib, stream, STREAM_INFO_NUM_STARTED);
  run.delivered = StreamInfo<uint64_t>(lib, stream, STREAM_INFO_NUM_DELIVERED);
  run.underrun = StreamInfo<uint64_t>(lib, stream, STREAM_INFO_NUM_UNDERRUN);
  run.incomplete = started - run.delivered;
  run.ok = true;
  lib.DSFlushQueue(stream, ACQ_QUEUE_ALL_DISCARD);
  lib.DSClose(stream);
  lib.DevClose(device);
  lib.GCCloseLib();
  return run;
}

// arv-camera-test-0.8 for `seconds`: its final counters and its CPU.
void RunAravis(const tsBenchLink& link, double gbps, double seconds) {
  char command[512];
  snprintf(command, sizeof command,
           "timeout -s INT %.0f stdbuf -oL arv-camera-test-0.8 -n %s -i %u -f %.3f 2>&1", seconds,
           tsSocketAddress::Text(link.cameraAddress).c_str(), kPacketSize, FrameRate(gbps));
  double cpuStart = CpuSeconds(RUSAGE_CHILDREN);
  double cameraStart = ProcessCpu(link.pid);
  FILE* pipe = popen(command, "r");
  if (pipe == nullptr) return;
  std::string report;
  char line[512];
  while (fgets(line, sizeof line, pipe) != nullptr)
    report += line;
  pclose(pipe);
  double cpu = CpuSeconds(RUSAGE_CHILDREN) - cpuStart;
  double camera = ProcessCpu(link.pid) - cameraStart;
  auto counter = [&](const char* name) -> long {
    size_t at = report.find(name);
    return at == std::string::npos ? -1 : std::atol(report.c_str() + report.find('=', at) + 1);
  };
  long completed = counter("n_completed_buffers");
  double delivered = DeliveredGbps(completed < 0 ? 0 : uint64_t(completed), seconds);
  printf(
      "  aravis:   %6ld frames complete (%.2f Gb/s), %4ld failures, %4ld underruns, %6ld resent "
      "packets; process CPU %5.1f %% (%.2f %% per delivered Gb/s); camera CPU %5.1f %%\n",
      completed, delivered, counter("n_failures"), counter("n_underruns"),
      counter("n_resent_packets"), 100 * cpu / seconds, 100 * cpu / seconds / delivered,
      100 * camera / seconds);
}

void Measure(GenTLLibrary& lib, double gbps, double seconds) {
  printf("%.0f Gb/s target (%.2f frames/s of %u x %u Mono8, %u-byte packets):\n", gbps,
         FrameRate(gbps), kWidth, kHeight, kPacketSize);
  {
    tcNetBench bench;
    tsBenchLink link;
    std::string error = StartCamera(bench, &link);
    if (!error.empty()) {
      printf("  bench: %s\n", error.c_str());
      return;
    }
    tsProducerRun run = RunProducer(lib, link, gbps, seconds);
    if (!run.ok) {
      printf("  producer: the camera could not be opened\n");
    } else {
      double delivered = DeliveredGbps(run.delivered, run.seconds);
      printf(
          "  producer: %6lu frames complete (%.2f Gb/s), %lu incomplete, %lu underruns, %ld "
          "datagrams dropped by the kernel; receive CPU %5.1f %% (%.2f %% per delivered Gb/s); "
          "camera CPU %5.1f %%\n",
          static_cast<unsigned long>(run.delivered), delivered,
          static_cast<unsigned long>(run.incomplete), static_cast<unsigned long>(run.underrun),
          run.droppedDatagrams, 100 * run.receiveCpu / run.seconds,
          100 * run.receiveCpu / run.seconds / delivered, 100 * run.cameraCpu / run.seconds);
    }
  }
  if (access("/usr/bin/arv-camera-test-0.8", X_OK) != 0) {
    printf("  aravis: arv-camera-test-0.8 (aravis-tools) is not installed\n");
    return;
  }
  tcNetBench bench;
  tsBenchLink link;
  if (StartCamera(bench, &link).empty()) {
    usleep(300000);
    RunAravis(link, gbps, seconds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  std::vector<double> rates;
  for (int i = 2; i < argc; ++i) {
    if (argv[i][0] == '-') {
      gCameraOptions.assign(argv + i, argv + argc);
      break;
    }
    rates.push_back(std::atof(argv[i]));
  }
  if (rates.empty()) rates = {1, 10, 20};
  std::string why = EnterPrivateNetwork();
  if (!why.empty()) {
    printf("gev_stream_bench: %s\n", why.c_str());
    return 1;
  }
  // A 5 MB frame arrives as one burst; the default 256 KiB socket buffer overflows at any rate.
  setenv("GENTL_GEV_RCVBUF", "67108864", 0);
  printf("GENTL_GEV_RCVBUF=%s\n", getenv("GENTL_GEV_RCVBUF"));
  GenTLLibrary lib;
  if (!lib.Open(GENTL_CTI_PATH)) {
    printf("gev_stream_bench: %s\n", lib.Error().c_str());
    return 1;
  }
  long cores = sysconf(_SC_NPROCESSORS_ONLN);
  double load[3] = {};
  getloadavg(load, 3);
  printf("%ld cores, load average %.2f at the start (the machine may be shared)\n", cores, load[0]);
  for (const std::string& option : gCameraOptions)
    printf("gev-camera option %s\n", option.c_str());
  for (double gbps : rates)
    Measure(lib, gbps, seconds);
  return 0;
}
