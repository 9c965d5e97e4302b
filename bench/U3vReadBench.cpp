// Measures a 4-byte GCReadPort through the producer on an emulated USB3 Vision camera against
// the emulation's bare GenCP round trip (one READMEM sent and its acknowledge received with
// libusb directly), and what the producer's libusb event thread costs while it is idle.
//   u3v_read_bench [round trips] [idle seconds]
// Runs under the umockdev preload (re-executes itself with it). Logging stays off.
#include <dirent.h>
#include <libusb.h>
#include <time.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "GenTLLibrary.h"
#include "U3vPreload.h"
#include "tcU3vCameraBench.h"

using namespace GenTL;
using tcClock = std::chrono::steady_clock;

namespace {

constexpr uint16_t kVendor = 0x1209;
constexpr uint64_t kModelName = 0x44;

double Seconds(tcClock::duration duration) {
  return std::chrono::duration<double>(duration).count();
}

// One READMEM of 4 bytes at `address` and its acknowledge; false on any failure.
bool RoundTrip(libusb_device_handle* handle, uint16_t requestId, uint64_t address) {
  uint8_t command[24] = {0x55, 0x33, 0x56, 0x43, 0x00, 0x40, 0x00, 0x08, 0x0C, 0x00};
  memcpy(command + 10, &requestId, 2);
  memcpy(command + 12, &address, 8);
  command[22] = 4;
  int done = 0;
  if (libusb_bulk_transfer(handle, 0x01, command, sizeof command, &done, 1000) != 0) return false;
  uint8_t ack[0x200];
  return libusb_bulk_transfer(handle, 0x81, ack, sizeof ack, &done, 1000) == 0 && done == 16;
}

// Seconds per bare round trip, or a negative value on failure.
double BareRoundTrip(int count) {
  libusb_context* context = nullptr;
  if (libusb_init(&context) != 0) return -1;
  libusb_device_handle* handle = libusb_open_device_with_vid_pid(context, kVendor, 0x0001);
  double perTrip = -1;
  if (handle != nullptr && libusb_claim_interface(handle, 0) == 0) {
    bool ok = RoundTrip(handle, 0, kModelName);  // warm-up
    auto start = tcClock::now();
    for (int i = 1; ok && i <= count; ++i)
      ok = RoundTrip(handle, static_cast<uint16_t>(i), kModelName);
    if (ok) perTrip = Seconds(tcClock::now() - start) / count;
    libusb_release_interface(handle, 0);
  }
  if (handle != nullptr) libusb_close(handle);
  libusb_exit(context);
  return perTrip;
}

// CPU time of this process's thread named `name`, in seconds (from its schedstat), or -1.
double ThreadCpuSeconds(const char* name) {
  double seconds = -1;
  DIR* tasks = opendir("/proc/self/task");
  while (tasks != nullptr && seconds < 0) {
    dirent* entry = readdir(tasks);
    if (entry == nullptr) break;
    std::string base = std::string("/proc/self/task/") + entry->d_name;
    FILE* comm = fopen((base + "/comm").c_str(), "r");
    if (comm == nullptr) continue;
    char text[64] = "";
    bool match = fgets(text, sizeof text, comm) != nullptr && text == std::string(name) + "\n";
    fclose(comm);
    FILE* stat = match ? fopen((base + "/schedstat").c_str(), "r") : nullptr;
    unsigned long long ns = 0;
    if (stat != nullptr && fscanf(stat, "%llu", &ns) == 1) seconds = static_cast<double>(ns) * 1e-9;
    if (stat != nullptr) fclose(stat);
  }
  if (tasks != nullptr) closedir(tasks);
  return seconds;
}

double ProcessCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

bool Check(const char* call, GC_ERROR result) {
  if (result != GC_ERR_SUCCESS) fprintf(stderr, "%s failed with %d\n", call, result);
  return result == GC_ERR_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  EnsureUmockdevPreload(argv);
  const int count = argc > 1 ? atoi(argv[1]) : 2000;
  const double idleSeconds = argc > 2 ? atof(argv[2]) : 3.0;
  unsetenv("GENTL_DEBUG");
  tcU3vCameraBench bench;
  bench.AddCamera(tsU3vCameraOptions{});

  const double bare = BareRoundTrip(count);
  if (bare < 0) {
    fprintf(stderr, "the bare round trip failed\n");
    return 1;
  }

  GenTLLibrary lib;
  if (!lib.Open(GENTL_CTI_PATH)) {
    fprintf(stderr, "%s\n", lib.Error().c_str());
    return 1;
  }
  void *system = nullptr, *interface = nullptr, *device = nullptr, *port = nullptr;
  bool ready = Check("GCInitLib", lib.GCInitLib()) && Check("TLOpen", lib.TLOpen(&system)) &&
               Check("TLUpdateInterfaceList", lib.TLUpdateInterfaceList(system, nullptr, 0)) &&
               Check("TLOpenInterface", lib.TLOpenInterface(system, "U3V", &interface)) &&
               Check("IFUpdateDeviceList", lib.IFUpdateDeviceList(interface, nullptr, 0)) &&
               Check("IFOpenDevice",
                     lib.IFOpenDevice(interface, "U3VEMU0001", DEVICE_ACCESS_EXCLUSIVE, &device)) &&
               Check("DevGetPort", lib.DevGetPort(device, &port));
  if (!ready) return 1;
  uint32_t value = 0;
  auto start = tcClock::now();
  for (int i = 0; i < count && ready; ++i) {
    size_t size = sizeof value;
    ready = Check("GCReadPort", lib.GCReadPort(port, kModelName, &value, &size));
  }
  if (!ready) return 1;
  const double producer = Seconds(tcClock::now() - start) / count;

  const double threadBefore = ThreadCpuSeconds("gentl-u3v-event");
  const double processBefore = ProcessCpuSeconds();
  std::this_thread::sleep_for(std::chrono::duration<double>(idleSeconds));
  const double threadCpu = ThreadCpuSeconds("gentl-u3v-event") - threadBefore;
  const double processCpu = ProcessCpuSeconds() - processBefore;

  printf("round trips                      %d\n", count);
  printf("bare GenCP round trip (libusb)   %.1f us\n", bare * 1e6);
  printf("GCReadPort of 4 bytes            %.1f us\n", producer * 1e6);
  printf("ratio GCReadPort / bare          %.2f\n", producer / bare);
  printf("idle event thread, %.1f s         %.3f ms CPU (%.3f%% of a core)\n", idleSeconds,
         threadCpu * 1e3, threadCpu / idleSeconds * 100);
  printf("idle process (camera included)   %.3f ms CPU\n", processCpu * 1e3);
  lib.DevClose(device);
  lib.IFClose(interface);
  lib.TLClose(system);
  lib.GCCloseLib();
  return 0;
}
