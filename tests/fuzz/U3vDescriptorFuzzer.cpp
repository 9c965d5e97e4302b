// libFuzzer target: the descriptor walks over arbitrary descriptor bytes. The first byte splits
// the data into the configuration's and interface 0's extra bytes. A found IAD or device info
// descriptor must be bytes of the input that start a descriptor of the right type and length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "u3v/U3vDescriptors.h"

namespace {

void Check(bool condition) {
  if (!condition) abort();
}

// True when `bytes` holds `record` (of `size` bytes) at some position.
bool Contains(std::span<const uint8_t> bytes, const void* record, size_t size) {
  for (size_t at = 0; at + size <= bytes.size(); ++at) {
    if (memcmp(bytes.data() + at, record, size) == 0) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  std::span<const uint8_t> input(data + 1, size - 1);
  size_t split = data[0] % (input.size() + 1);
  std::span<const uint8_t> configExtra = input.first(split);
  std::span<const uint8_t> interfaceExtra = input.subspan(split);

  tsIAD iad = u3v::FindConfigurationIad(configExtra, interfaceExtra);
  if (iad.bLength != 0) {
    Check(iad.bLength >= sizeof iad && iad.bDescriptorType == u3v::kIadType);
    Check(Contains(input, &iad, sizeof iad));
  }
  tsU3VDID info;
  if (u3v::FindDeviceInfo(input, &info)) {
    Check(info.bLength >= u3v::kDeviceInfoSize);
    Check(info.bDescriptorType == u3v::kClassSpecificInterfaceType);
    Check(info.bDescriptorSubtype == u3v::kDeviceInfoSubtype);
    Check(Contains(input, &info, sizeof info));
  }
  return 0;
}
