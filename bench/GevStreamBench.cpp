// The GigE Vision stream's receive side against Aravis's client on the same emulator stream (a
// measurement, not a test): 2448 x 2048 Mono8 frames (5 MB) in 8192-byte packets over a veth
// pair with MTU 9000 per camera, at 1, 10 and 20 Gb/s and from four cameras at 2.5 Gb/s each.
// For each rate: frames delivered and lost by the producer (through the GenTL functions, as a
// consumer with a thread per camera) and the CPU of its process beside the consumer threads;
// then arv-camera-test-0.8 on fresh cameras (one each, all at once), frames, failures and CPU. The
// stream asks for a 64 MiB socket buffer (and packet ring) unless GENTL_GEV_RCVBUF says
// otherwise. Run as root: build/<config>/bench/gev_stream_bench [seconds] [rate ...]
// [gev-camera options], a rate being Gb/s from one camera or NxG for N cameras at G Gb/s each
// at once (default 1 10 20 4x2.5); e.g. gev_stream_bench 8 10 --loss 0.02 for 2 % of the
// payload packets lost (and resent).
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
#include <thread>
#include <utility>
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

// UDP datagrams this network namespace dropped for a full socket buffer (RcvbufErrors). Only
// the socket path can overflow one: a packet ring's own drops show as incomplete frames (or
// as resends, when the camera offers them).
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

// Camera `index` of a run (each has a serial number of its own).
std::string StartCamera(tcNetBench& bench, int index, tsBenchLink* link) {
  std::vector<std::string> command{
      GEV_CAMERA_PATH,         "--width",  std::to_string(kWidth),         "--height",
      std::to_string(kHeight), "--serial", "BENCH" + std::to_string(index)};
  command.insert(command.end(), gCameraOptions.begin(), gCameraOptions.end());
  return bench.AddCamera(command, tcNetBench::kJumboMtu, link);
}

// The producer's run over every camera: frames delivered, lost (started but not delivered,
// and skipped for lack of a buffer) and the CPU of every thread but the consumer's.
struct tsProducerRun {
  bool ok = false;
  uint64_t delivered = 0;
  uint64_t incomplete = 0;
  uint64_t underrun = 0;
  uint64_t wrong = 0;  // delivered with pixels that are not the emulator's pattern
  double seconds = 0;
  long droppedDatagrams = 0;  // by the kernel, for a full socket buffer (socket path only)
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

// One camera opened through the producer, streaming into its buffers.
struct tsOpenCamera {
  void* device = nullptr;
  void* port = nullptr;
  void* stream = nullptr;
  void* event = nullptr;
};

// The device ids of `count` cameras, or fewer when discovery does not find them all.
std::vector<std::string> FindCameras(GenTLLibrary& lib, void* interface, uint32_t count) {
  uint32_t found = 0;
  for (int pass = 0; pass < 40 && found < count; ++pass) {
    lib.IFUpdateDeviceList(interface, nullptr, 200);
    lib.IFGetNumDevices(interface, &found);
  }
  std::vector<std::string> ids;
  for (uint32_t i = 0; i < found; ++i) {
    char id[256] = "";
    size_t size = sizeof id;
    if (lib.IFGetDeviceID(interface, i, id, &size) == GC_ERR_SUCCESS) ids.push_back(id);
  }
  return ids;
}

bool OpenCamera(GenTLLibrary& lib, void* interface, const std::string& id, double gbps,
                tsOpenCamera* camera) {
  if (lib.IFOpenDevice(interface, id.c_str(), DEVICE_ACCESS_EXCLUSIVE, &camera->device) !=
          GC_ERR_SUCCESS ||
      lib.DevGetPort(camera->device, &camera->port) != GC_ERR_SUCCESS ||
      lib.DevOpenDataStream(camera->device, "Stream0", &camera->stream) != GC_ERR_SUCCESS ||
      camera->stream == nullptr) {
    return false;
  }
  float rate = FrameRate(gbps);
  uint32_t rateBits;
  std::memcpy(&rateBits, &rate, sizeof rateBits);
  WriteCamera(lib, camera->port, 0x10028, rateBits);
  WriteCamera(lib, camera->port, 0x0D04, 0x40000000u | kPacketSize);
  size_t payload = size_t{kWidth} * kHeight;
  for (int i = 0; i < kBuffers; ++i) {
    void* buffer = nullptr;
    lib.DSAllocAndAnnounceBuffer(camera->stream, payload, nullptr, &buffer);
    lib.DSQueueBuffer(camera->stream, buffer);
  }
  lib.GCRegisterEvent(camera->stream, EVENT_NEW_BUFFER, &camera->event);
  return lib.DSStartAcquisition(camera->stream, 0, GENTL_INFINITE) == GC_ERR_SUCCESS;
}

template <typename T>
T BufferInfo(GenTLLibrary& lib, void* stream, void* buffer, int32_t command) {
  T value{};
  int32_t type = 0;
  size_t size = sizeof value;
  lib.DSGetBufferInfo(stream, buffer, command, &type, &value, &size);
  return value;
}

// Whether a delivered frame holds the emulator's pattern (byte i is (i + frame id) modulo
// 256), checked every 4 KiB and at the last byte: every packet (8 KiB of data) missing, stale
// or in the wrong place shows there, at a small fraction of the cost of checking every byte.
bool FrameIsCorrect(GenTLLibrary& lib, void* stream, void* buffer) {
  auto* base = BufferInfo<const uint8_t*>(lib, stream, buffer, BUFFER_INFO_BASE);
  auto frame = BufferInfo<uint64_t>(lib, stream, buffer, BUFFER_INFO_FRAMEID);
  auto filled = BufferInfo<size_t>(lib, stream, buffer, BUFFER_INFO_SIZE_FILLED);
  if (base == nullptr || filled != size_t{kWidth} * kHeight) return false;
  auto expected = [frame](size_t at) { return uint8_t(at + frame); };
  for (size_t at = 0; at < filled; at += 4096) {
    if (base[at] != expected(at)) return false;
  }
  return base[filled - 1] == expected(filled - 1);
}

// What one consumer thread saw: its CPU, and frames whose pixels were wrong.
struct tsConsumed {
  double cpu = 0;
  uint64_t wrong = 0;
};

// Checks and queues every delivered buffer again until `seconds` have passed.
tsConsumed ConsumeFor(GenTLLibrary& lib, const tsOpenCamera& camera, double start, double seconds) {
  tsConsumed consumed;
  double cpuStart = CpuSeconds(RUSAGE_THREAD);
  while (Now() - start < seconds) {
    EVENT_NEW_BUFFER_DATA data{};
    size_t dataSize = sizeof data;
    if (lib.EventGetData(camera.event, &data, &dataSize, 500) != GC_ERR_SUCCESS) continue;
    if (!FrameIsCorrect(lib, camera.stream, data.BufferHandle)) ++consumed.wrong;
    lib.DSQueueBuffer(camera.stream, data.BufferHandle);
  }
  consumed.cpu = CpuSeconds(RUSAGE_THREAD) - cpuStart;
  return consumed;
}

void CountFrames(GenTLLibrary& lib, const tsOpenCamera& camera, tsProducerRun* run) {
  lib.DSStopAcquisition(camera.stream, 0);
  uint64_t started = StreamInfo<uint64_t>(lib, camera.stream, STREAM_INFO_NUM_STARTED);
  uint64_t delivered = StreamInfo<uint64_t>(lib, camera.stream, STREAM_INFO_NUM_DELIVERED);
  run->delivered += delivered;
  run->underrun += StreamInfo<uint64_t>(lib, camera.stream, STREAM_INFO_NUM_UNDERRUN);
  run->incomplete += started - delivered;
  lib.DSFlushQueue(camera.stream, ACQ_QUEUE_ALL_DISCARD);
  lib.DSClose(camera.stream);
  lib.DevClose(camera.device);
}

tsProducerRun RunProducer(GenTLLibrary& lib, const std::vector<tsBenchLink>& links, double gbps,
                          double seconds) {
  tsProducerRun run;
  void *system = nullptr, *interface = nullptr;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, nullptr, 0);
  lib.TLOpenInterface(system, "GEV", &interface);
  std::vector<std::string> ids = FindCameras(lib, interface, uint32_t(links.size()));
  std::vector<tsOpenCamera> cameras(ids.size());
  bool opened = ids.size() == links.size();
  for (size_t i = 0; i < ids.size() && opened; ++i)
    opened = OpenCamera(lib, interface, ids[i], gbps, &cameras[i]);
  if (!opened) {
    printf("  producer: %zu of %zu cameras found, opening failed\n", ids.size(), links.size());
    lib.GCCloseLib();
    return run;
  }
  // The cameras start sending together, once every one is open and its consumer ready.
  for (const tsOpenCamera& camera : cameras)
    WriteCamera(lib, camera.port, 0x1001C, 1);
  double start = Now();
  double cpuStart = CpuSeconds(RUSAGE_SELF);
  double cameraStart = 0;
  for (const tsBenchLink& link : links)
    cameraStart += ProcessCpu(link.pid);
  long droppedStart = UdpReceiveBufferErrors();
  std::vector<tsConsumed> consumed(cameras.size());
  std::vector<std::thread> consumers;
  for (size_t i = 0; i < cameras.size(); ++i)
    consumers.emplace_back([&, i] { consumed[i] = ConsumeFor(lib, cameras[i], start, seconds); });
  for (std::thread& consumer : consumers)
    consumer.join();
  run.seconds = Now() - start;
  run.receiveCpu = CpuSeconds(RUSAGE_SELF) - cpuStart;
  for (const tsConsumed& camera : consumed) {
    run.receiveCpu -= camera.cpu;
    run.wrong += camera.wrong;
  }
  for (const tsBenchLink& link : links)
    run.cameraCpu += ProcessCpu(link.pid);
  run.cameraCpu -= cameraStart;
  run.droppedDatagrams = UdpReceiveBufferErrors() - droppedStart;
  // The cameras stop; the frames they were sending still arrive (the buffers are queued)
  // before the streams stop, so that only frames lost count as incomplete.
  for (const tsOpenCamera& camera : cameras)
    WriteCamera(lib, camera.port, 0x10020, 1);
  usleep(200000);
  for (const tsOpenCamera& camera : cameras)
    CountFrames(lib, camera, &run);
  run.ok = true;
  lib.GCCloseLib();
  return run;
}

// The receiver's CPU and the cameras', as shares of a core and per delivered Gb/s. On a veth
// the kernel's receive work up to the socket (or a packet ring) runs in the sending camera's
// context, so the sum is the whole cost of a receiver.
void PrintCpu(const char* receiver, double receiverCpu, double cameraCpu, double seconds,
              double deliveredGbps) {
  auto share = [seconds](double cpu) { return 100 * cpu / seconds; };
  printf(
      "            %s CPU %5.1f %% (%.2f %% per delivered Gb/s), camera CPU %5.1f %%, together "
      "%.2f %% per delivered Gb/s\n",
      receiver, share(receiverCpu), share(receiverCpu) / deliveredGbps, share(cameraCpu),
      share(receiverCpu + cameraCpu) / deliveredGbps);
}

// The final counters of arv-camera-test-0.8 runs, summed.
struct tsAravisRun {
  long completed = 0;
  long failures = 0;
  long underruns = 0;
  long resent = 0;
};

void AddCounters(const std::string& report, tsAravisRun* run) {
  auto counter = [&](const char* name) -> long {
    size_t at = report.find(name);
    return at == std::string::npos ? 0 : std::atol(report.c_str() + report.find('=', at) + 1);
  };
  run->completed += counter("n_completed_buffers");
  run->failures += counter("n_failures");
  run->underruns += counter("n_underruns");
  run->resent += counter("n_resent_packets");
}

// arv-camera-test-0.8 for `seconds` on every camera at once: the summed final counters and
// the CPU of all of them.
void RunAravis(const std::vector<tsBenchLink>& links, double gbps, double seconds) {
  double cpuStart = CpuSeconds(RUSAGE_CHILDREN);
  double cameraStart = 0;
  for (const tsBenchLink& link : links)
    cameraStart += ProcessCpu(link.pid);
  std::vector<FILE*> pipes;
  for (const tsBenchLink& link : links) {
    char command[512];
    snprintf(command, sizeof command,
             "timeout -s INT %.0f stdbuf -oL arv-camera-test-0.8 -n %s -i %u -f %.3f 2>&1", seconds,
             tsSocketAddress::Text(link.cameraAddress).c_str(), kPacketSize, FrameRate(gbps));
    if (FILE* pipe = popen(command, "r")) pipes.push_back(pipe);
  }
  tsAravisRun run;
  for (FILE* pipe : pipes) {
    std::string report;
    char line[512];
    while (fgets(line, sizeof line, pipe) != nullptr)
      report += line;
    pclose(pipe);
    AddCounters(report, &run);
  }
  double cpu = CpuSeconds(RUSAGE_CHILDREN) - cpuStart;
  double camera = -cameraStart;
  for (const tsBenchLink& link : links)
    camera += ProcessCpu(link.pid);
  double delivered = DeliveredGbps(uint64_t(run.completed), seconds);
  printf(
      "  aravis:   %6ld frames complete (%.2f Gb/s), %4ld failures, %4ld underruns, %6ld resent "
      "packets;\n",
      run.completed, delivered, run.failures, run.underruns, run.resent);
  PrintCpu("process", cpu, camera, seconds, delivered);
}

// Starts `count` cameras on the bench; false (with the reason printed) when one fails.
bool StartCameras(tcNetBench& bench, int count, std::vector<tsBenchLink>* links) {
  for (int i = 0; i < count; ++i) {
    tsBenchLink link;
    std::string error = StartCamera(bench, i, &link);
    if (!error.empty()) {
      printf("  bench: %s\n", error.c_str());
      return false;
    }
    links->push_back(link);
  }
  return true;
}

void Measure(GenTLLibrary& lib, double gbps, int cameras, double seconds) {
  printf(
      "%.1f Gb/s target from %d camera(s) (%.2f frames/s each of %u x %u Mono8, %u-byte "
      "packets):\n",
      gbps * cameras, cameras, FrameRate(gbps), kWidth, kHeight, kPacketSize);
  {
    tcNetBench bench;
    std::vector<tsBenchLink> links;
    if (!StartCameras(bench, cameras, &links)) return;
    tsProducerRun run = RunProducer(lib, links, gbps, seconds);
    if (run.ok) {
      double delivered = DeliveredGbps(run.delivered, run.seconds);
      printf(
          "  producer: %6lu frames complete (%.2f Gb/s, %lu with wrong pixels), %lu incomplete, "
          "%lu underruns, %ld socket buffer overflows;\n",
          static_cast<unsigned long>(run.delivered), delivered,
          static_cast<unsigned long>(run.wrong), static_cast<unsigned long>(run.incomplete),
          static_cast<unsigned long>(run.underrun), run.droppedDatagrams);
      PrintCpu("receive", run.receiveCpu, run.cameraCpu, run.seconds, delivered);
    }
  }
  if (access("/usr/bin/arv-camera-test-0.8", X_OK) != 0) {
    printf("  aravis: arv-camera-test-0.8 (aravis-tools) is not installed\n");
    return;
  }
  tcNetBench bench;
  std::vector<tsBenchLink> links;
  if (StartCameras(bench, cameras, &links)) {
    usleep(300000);
    RunAravis(links, gbps, seconds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  double seconds = argc > 1 ? std::atof(argv[1]) : 10;
  std::vector<std::pair<int, double>> rates;  // cameras, Gb/s each
  for (int i = 2; i < argc; ++i) {
    if (argv[i][0] == '-') {
      gCameraOptions.assign(argv + i, argv + argc);
      break;
    }
    const char* times = strchr(argv[i], 'x');
    if (times != nullptr) {
      rates.emplace_back(std::atoi(argv[i]), std::atof(times + 1));
    } else {
      rates.emplace_back(1, std::atof(argv[i]));
    }
  }
  if (rates.empty()) rates = {{1, 1}, {1, 10}, {1, 20}, {4, 2.5}};
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
  for (auto [cameras, gbps] : rates)
    Measure(lib, gbps, cameras, seconds);
  return 0;
}
