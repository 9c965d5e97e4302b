// The USB3 Vision stream's throughput against the emulated camera's own limit: first the raw
// bulk IN rate of the emulation for 5 MB frames (libusb directly, the producer's transfer plan,
// two frames in flight), then the same frames through gentl.cti as a consumer streams them:
// frames/s and MB/s as a share of that limit, the CPU share of the producer's libusb event
// thread, and the time from the trailer transfer's completion to EventGetData returning
// (p50/p99). The trailer's completion is seen by wrapping libusb_submit_transfer: this program
// exports its own, which gentl.cti's calls reach first, and which puts a timing step in front of
// the producer's completion callback for every 32-byte (trailer) transfer.
#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "GenTLLibrary.h"
#include "U3vPreload.h"
#include "tcU3vCameraBench.h"
#include "tcU3vHost.h"
#include "tcU3vRegisters.h"

namespace {

using R = tcU3vRegisters;
using tcClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr uint32_t kWidth = 2500;
constexpr uint32_t kHeight = 2000;  // Mono8: 5,000,000 bytes
constexpr uint32_t kPayload = kWidth * kHeight;
constexpr uint32_t kTransfer = kPayload & ~0x3FFu;
constexpr uint32_t kFps = 0x447A0000;  // 1000.0f
constexpr int kBuffers = 4;
constexpr auto kRun = 3s;

tsU3vCameraOptions Options() {
  tsU3vCameraOptions options;
  options.width = kWidth;
  options.height = kHeight;
  return options;
}

// Trailer completion times by block id, while the producer runs.
std::atomic<bool> gWatching{false};
libusb_transfer_cb_fn gProducerCallback = nullptr;
std::vector<tcClock::time_point> gTrailerDone(1 << 16);

void LIBUSB_CALL OnTrailerDone(libusb_transfer* transfer) {
  if (transfer->status == LIBUSB_TRANSFER_COMPLETED && transfer->actual_length >= 16) {
    uint64_t blockId = 0;
    memcpy(&blockId, transfer->buffer + 8, sizeof blockId);
    if (blockId < gTrailerDone.size()) gTrailerDone[blockId] = tcClock::now();
  }
  gProducerCallback(transfer);
}

}  // namespace

extern "C" int libusb_submit_transfer(libusb_transfer* transfer) {
  using tSubmit = int (*)(libusb_transfer*);
  static const auto next = reinterpret_cast<tSubmit>(dlsym(RTLD_NEXT, "libusb_submit_transfer"));
  if (gWatching.load() && transfer->length == 32 && transfer->callback != OnTrailerDone) {
    gProducerCallback = transfer->callback;
    transfer->callback = OnTrailerDone;
  }
  return next(transfer);
}

namespace {

struct tsRawLoad {
  uint64_t bytes = 0;
  uint64_t frames = 0;
  bool stopping = false;
  int inFlight = 0;
};

void LIBUSB_CALL OnRawTransfer(libusb_transfer* transfer) {
  auto* load = static_cast<tsRawLoad*>(transfer->user_data);
  load->bytes += static_cast<uint64_t>(transfer->actual_length);
  if (transfer->length == 32 && transfer->actual_length == 32) ++load->frames;
  if (load->stopping || transfer->status != LIBUSB_TRANSFER_COMPLETED ||
      libusb_submit_transfer(transfer) != 0) {
    --load->inFlight;
  }
}

// Bytes per second the emulation delivers with the producer's plan: leader, one transfer of the
// whole KiBs, one final of 1024 and the trailer, as many frames in flight as the producer has.
double RawLimit(double* framesPerSecond) {
  tcU3vCameraBench bench;
  bench.AddCamera(Options());
  tcU3vHost host;
  if (!host.Open() || libusb_claim_interface(host.Handle(), 2) != 0) return 0;
  for (auto [address, value] : {std::pair{R::kFrameRate, kFps},
                                {R::kSiMaxLeaderSize, 52u},
                                {R::kSiMaxTrailerSize, 32u},
                                {R::kSiPayloadTransferSize, kTransfer},
                                {R::kSiPayloadTransferCount, 1u},
                                {R::kSiFinalTransfer1Size, 1024u},
                                {R::kSiFinalTransfer2Size, 0u},
                                {R::kAcquisitionStart, 1u}}) {
    host.WriteMem32(address, value);
  }
  tsRawLoad load;
  const int sizes[] = {52, static_cast<int>(kTransfer), 1024, 32};
  std::vector<std::vector<uint8_t>> buffers;
  std::vector<libusb_transfer*> transfers;
  for (int frame = 0; frame < kBuffers; ++frame) {
    for (int size : sizes) {
      buffers.emplace_back(static_cast<size_t>(size));
      transfers.push_back(libusb_alloc_transfer(0));
      libusb_fill_bulk_transfer(transfers.back(), host.Handle(), 0x83, buffers.back().data(), size,
                                OnRawTransfer, &load, 0);
      if (libusb_submit_transfer(transfers.back()) == 0) ++load.inFlight;
    }
  }
  host.WriteMem32(R::kSiControl, 1);
  timeval tick{0, 10000};
  auto start = tcClock::now();
  while (tcClock::now() - start < kRun)
    libusb_handle_events_timeout(host.Context(), &tick);
  const double seconds = std::chrono::duration<double>(tcClock::now() - start).count();
  const double rate = static_cast<double>(load.bytes) / seconds;
  *framesPerSecond = static_cast<double>(load.frames) / seconds;
  load.stopping = true;
  for (libusb_transfer* transfer : transfers)
    libusb_cancel_transfer(transfer);
  auto deadline = tcClock::now() + 2s;
  while (load.inFlight > 0 && tcClock::now() < deadline)
    libusb_handle_events_timeout(host.Context(), &tick);
  for (libusb_transfer* transfer : transfers)
    libusb_free_transfer(transfer);
  return rate;
}

// CPU seconds (user + system) of this process's thread named `name`, or -1.
double ThreadCpuSeconds(const std::string& name) {
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) return -1;
  double seconds = -1;
  while (dirent* entry = readdir(tasks)) {
    std::string task = std::string("/proc/self/task/") + entry->d_name;
    std::string comm;
    std::getline(std::ifstream(task + "/comm"), comm);
    if (comm != name) continue;
    std::string stat;
    std::getline(std::ifstream(task + "/stat"), stat);
    std::string fields = stat.substr(stat.rfind(')') + 2);
    std::vector<std::string> parts;
    size_t position = 0;
    while (position < fields.size()) {
      size_t end = fields.find(' ', position);
      if (end == std::string::npos) end = fields.size();
      parts.push_back(fields.substr(position, end - position));
      position = end + 1;
    }
    // utime and stime are fields 14 and 15 of the stat line, 12 and 13 after the name.
    seconds = static_cast<double>(std::stoull(parts[11]) + std::stoull(parts[12])) /
              static_cast<double>(sysconf(_SC_CLK_TCK));
  }
  closedir(tasks);
  return seconds;
}

double Percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1, static_cast<size_t>(share * values.size()))];
}

struct tsProducerRun {
  double bytesPerSecond = 0;
  double framesPerSecond = 0;
  double eventThreadShare = 0;
  uint64_t incomplete = 0;
  std::vector<double> latencyUs;
};

// Streams through gentl.cti for kRun, noting when each trailer transfer completes.
bool ProducerRun(tsProducerRun* result) {
  GenTLLibrary lib;
  if (!lib.Open(GENTL_CTI_PATH)) return false;
  tcU3vCameraBench bench;
  bench.AddCamera(Options());
  void* system = nullptr;
  void* interface = nullptr;
  void* device = nullptr;
  void* port = nullptr;
  void* stream = nullptr;
  void* event = nullptr;
  GenTL::bool8_t changed = 0;
  lib.GCInitLib();
  lib.TLOpen(&system);
  lib.TLUpdateInterfaceList(system, &changed, 0);
  if (lib.TLOpenInterface(system, "U3V", &interface) != 0) return false;
  lib.IFUpdateDeviceList(interface, &changed, 100);
  if (lib.IFOpenDevice(interface, "U3VEMU0001", GenTL::DEVICE_ACCESS_EXCLUSIVE, &device) != 0) {
    return false;
  }
  lib.DevGetPort(device, &port);
  auto write = [&](uint64_t address, uint32_t value) {
    size_t size = sizeof value;
    lib.GCWritePort(port, address, &value, &size);
  };
  write(R::kFrameRate, kFps);
  lib.DevOpenDataStream(device, "Stream0", &stream);
  std::vector<void*> buffers(kBuffers);
  for (void*& buffer : buffers) {
    lib.DSAllocAndAnnounceBuffer(stream, kPayload, nullptr, &buffer);
    lib.DSQueueBuffer(stream, buffer);
  }
  lib.GCRegisterEvent(stream, GenTL::EVENT_NEW_BUFFER, &event);
  gWatching.store(true);
  lib.DSStartAcquisition(stream, 0, GENTL_INFINITE);
  write(R::kAcquisitionStart, 1);
  const double cpuBefore = ThreadCpuSeconds("gentl-u3v-event");
  uint64_t frames = 0;
  auto start = tcClock::now();
  while (tcClock::now() - start < kRun) {
    GenTL::EVENT_NEW_BUFFER_DATA data{};
    size_t size = sizeof data;
    if (lib.EventGetData(event, &data, &size, 1000) != 0) break;
    auto now = tcClock::now();
    uint64_t frameId = 0;
    GenTL::bool8_t incomplete = 0;
    int32_t type = 0;
    size = sizeof frameId;
    lib.DSGetBufferInfo(stream, data.BufferHandle, GenTL::BUFFER_INFO_FRAMEID, &type, &frameId,
                        &size);
    size = sizeof incomplete;
    lib.DSGetBufferInfo(stream, data.BufferHandle, GenTL::BUFFER_INFO_IS_INCOMPLETE, &type,
                        &incomplete, &size);
    result->incomplete += incomplete;
    if (frameId < gTrailerDone.size() && gTrailerDone[frameId] != tcClock::time_point{}) {
      result->latencyUs.push_back(
          std::chrono::duration<double, std::micro>(now - gTrailerDone[frameId]).count());
    }
    ++frames;
    lib.DSQueueBuffer(stream, data.BufferHandle);
  }
  const double seconds = std::chrono::duration<double>(tcClock::now() - start).count();
  const double cpu = ThreadCpuSeconds("gentl-u3v-event") - cpuBefore;
  write(R::kAcquisitionStop, 1);
  lib.DSStopAcquisition(stream, GenTL::ACQ_STOP_FLAGS_DEFAULT);
  lib.DevClose(device);
  lib.IFClose(interface);
  lib.TLClose(system);
  lib.GCCloseLib();
  result->framesPerSecond = static_cast<double>(frames) / seconds;
  result->bytesPerSecond = result->framesPerSecond * kPayload;
  result->eventThreadShare = cpu / seconds;
  return true;
}

}  // namespace

int main(int, char** argv) {
  EnsureUmockdevPreload(argv);
  // The machine may be shared: the limit is measured before and after, and their mean used.
  double rawFps = 0;
  double rawFpsAfter = 0;
  const double rawBefore = RawLimit(&rawFps);
  tsProducerRun run;
  const bool ran = rawBefore > 0 && ProducerRun(&run);
  const double rawAfter = RawLimit(&rawFpsAfter);
  const double raw = (rawBefore + rawAfter) / 2;
  rawFps = (rawFps + rawFpsAfter) / 2;
  if (!ran || rawAfter <= 0) {
    fprintf(stderr, "u3v_stream_bench: the emulated camera could not be reached\n");
    return 1;
  }
  printf("Frames of %u bytes (%ux%u Mono8), %d buffers, %lld s each run\n", kPayload, kWidth,
         kHeight, kBuffers, static_cast<long long>(kRun.count()));
  printf("emulation's bulk limit:  %.1f frames/s, %.0f MB/s (%.0f before, %.0f after)\n", rawFps,
         raw / 1e6, rawBefore / 1e6, rawAfter / 1e6);
  printf("through gentl.cti:       %.1f frames/s, %.0f MB/s = %.0f%% of the limit\n",
         run.framesPerSecond, run.bytesPerSecond / 1e6, 100.0 * run.bytesPerSecond / raw);
  printf("incomplete frames:       %llu\n", static_cast<unsigned long long>(run.incomplete));
  printf("event thread CPU:        %.1f%% of one core\n", 100.0 * run.eventThreadShare);
  printf("trailer to EventGetData: p50 %.0f us, p99 %.0f us (%zu frames)\n",
         Percentile(run.latencyUs, 0.50), Percentile(run.latencyUs, 0.99), run.latencyUs.size());
  return 0;
}
