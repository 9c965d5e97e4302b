// libFuzzer target: the simulated camera's loader and register access over arbitrary camera
// files. A file must load or be refused with an exception, never crash, hang or allocate
// without bound.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "sim/tcDeviceSIM.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  int file = memfd_create("camera", 0);
  if (file < 0) return 0;
  if (write(file, data, size) == static_cast<ssize_t>(size)) {
    try {
      tcDeviceSIM device("/proc/self/fd/" + std::to_string(file), nullptr);
      device.GetPayloadSize();
      device.EnabledRegions();
      uint8_t bytes[16];
      for (uint64_t address : {0x0ULL, 0x10ULL, 0x1000ULL, 0x3000ULL, 0x100000ULL}) {
        for (size_t length : {1, 4, 8, 16}) {
          device.ReadRegisters(address, bytes, length);
          device.WriteRegisters(address + 1, bytes, length);
        }
      }
    } catch (const std::exception&) {
      // A refused file is a valid outcome.
    }
  }
  close(file);
  return 0;
}
