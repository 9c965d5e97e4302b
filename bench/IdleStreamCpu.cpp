// Measures what an idle simulated stream costs: acquisition started with no buffer queued, the
// process's CPU time over a few seconds of wall time. Loads gentl.cti as a consumer does.
//   idle_stream_cpu [seconds]      (SIMCAM_XML_FILE defaults to the source tree's camera file)
#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "GenTLLibrary.h"

using namespace GenTL;

namespace {

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
  double seconds = argc > 1 ? atof(argv[1]) : 3.0;
  setenv("SIMCAM_XML_FILE", SIMCAM_DEFAULT_XML, 0);
  GenTLLibrary lib;
  if (!lib.Open(GENTL_CTI_PATH)) {
    fprintf(stderr, "%s\n", lib.Error().c_str());
    return 1;
  }
  void *system = nullptr, *interface = nullptr, *device = nullptr, *stream = nullptr;
  bool ready = Check("GCInitLib", lib.GCInitLib()) && Check("TLOpen", lib.TLOpen(&system)) &&
               Check("TLUpdateInterfaceList", lib.TLUpdateInterfaceList(system, nullptr, 0)) &&
               Check("TLOpenInterface", lib.TLOpenInterface(system, "Simulated", &interface)) &&
               Check("IFUpdateDeviceList", lib.IFUpdateDeviceList(interface, nullptr, 0)) &&
               Check("IFOpenDevice",
                     lib.IFOpenDevice(interface, "SimCam", DEVICE_ACCESS_EXCLUSIVE, &device)) &&
               Check("DevOpenDataStream", lib.DevOpenDataStream(device, "Stream0", &stream)) &&
               Check("DSStartAcquisition", lib.DSStartAcquisition(stream, 0, GENTL_INFINITE));
  if (!ready) return 1;
  double cpuBefore = ProcessCpuSeconds();
  auto wallBefore = std::chrono::steady_clock::now();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  double cpu = ProcessCpuSeconds() - cpuBefore;
  double wall =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
  lib.DSStopAcquisition(stream, 0);
  lib.GCCloseLib();
  printf("idle simulated stream, no buffer queued: %.4f s CPU in %.2f s wall (%.3f%% of a core)\n",
         cpu, wall, 100.0 * cpu / wall);
  return 0;
}
