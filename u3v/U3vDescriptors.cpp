// Descriptor walks over the raw bytes libusb keeps behind its parsed descriptors.
#include "u3v/U3vDescriptors.h"

#include <cstring>

#include "base/Log.h"

namespace u3v {

namespace {

// Byte `index` of `bytes`, 0 past the end (for logging a descriptor that is shorter).
uint8_t ByteAt(std::span<const uint8_t> bytes, size_t index) {
  return index < bytes.size() ? bytes[index] : 0;
}

}  // namespace

tsIAD FindIad(std::span<const uint8_t> extra) {
  size_t at = 0;
  while (extra.size() - at >= 2) {
    uint8_t length = extra[at];
    if (length < 2 || length > extra.size() - at) break;
    if (extra[at + 1] == kIadType && length >= sizeof(tsIAD)) {
      tsIAD iad;
      memcpy(&iad, extra.data() + at, sizeof iad);
      return iad;
    }
    at += length;
  }
  return tsIAD{};
}

tsIAD FindConfigurationIad(std::span<const uint8_t> configExtra,
                           std::span<const uint8_t> interface0Extra) {
  tsIAD iad = FindIad(configExtra);
  return iad.bLength != 0 ? iad : FindIad(interface0Extra);
}

bool FindDeviceInfo(std::span<const uint8_t> extra, tsU3VDID* info) {
  size_t at = 0;
  while (extra.size() - at >= 2) {
    std::span<const uint8_t> descriptor = extra.subspan(at);
    uint8_t length = descriptor[0];
    if (length < 2) return false;
    GENTL_LOG(kLogDebug, "ptr[0]: 0x%02X ptr[1]: 0x%02X ptr[2]: 0x%02X", descriptor[0],
              descriptor[1], ByteAt(descriptor, 2));
    bool isInfo = descriptor[1] == kClassSpecificInterfaceType &&
                  ByteAt(descriptor, 2) == kDeviceInfoSubtype && length >= kDeviceInfoSize;
    if (isInfo && descriptor.size() >= kDeviceInfoSize) {
      memcpy(info, descriptor.data(), kDeviceInfoSize);
      return true;
    }
    if (length > descriptor.size()) return false;
    at += length;
  }
  return false;
}

}  // namespace u3v
