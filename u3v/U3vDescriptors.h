// The USB descriptors that mark a USB3 Vision camera: the interface association of its function
// and the device info descriptor of its control interface, found in raw descriptor bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Interface association descriptor (8 bytes on the wire). bLength 0 means "none found".
struct tsIAD {
  uint8_t bLength = 0;
  uint8_t bDescriptorType = 0;
  uint8_t bFirstInterface = 0;
  uint8_t bInterfaceCount = 0;
  uint8_t bFunctionClass = 0;
  uint8_t bFunctionSubClass = 0;
  uint8_t bFunctionProtocol = 0;
  uint8_t iFunction = 0;
};
static_assert(sizeof(tsIAD) == 8);

// USB3 Vision device info descriptor (class-specific, 20 bytes as used).
struct tsU3VDID {
  uint8_t bLength = 0;
  uint8_t bDescriptorType = 0;
  uint8_t bDescriptorSubtype = 0;
  uint8_t genCpVersion[4] = {};
  uint8_t u3vVersion[4] = {};
  uint8_t iDeviceGUID = 0;
  uint8_t iVendorName = 0;
  uint8_t iModelName = 0;
  uint8_t iFamilyName = 0;
  uint8_t iDeviceVersion = 0;
  uint8_t iManufacturerInfo = 0;
  uint8_t iSerialNumber = 0;
  uint8_t iUserDefinedName = 0;
  uint8_t bmSpeedSupport = 0;
};
static_assert(sizeof(tsU3VDID) == 20);

namespace u3v {

inline constexpr uint8_t kMiscellaneousClass = 0xEF;
inline constexpr uint8_t kCommonSubClass = 0x02;
inline constexpr uint8_t kIadProtocol = 0x01;
inline constexpr uint8_t kU3vSubClass = 0x05;
inline constexpr uint8_t kControlProtocol = 0x00;
inline constexpr uint8_t kEventProtocol = 0x01;
inline constexpr uint8_t kStreamProtocol = 0x02;
inline constexpr uint8_t kIadType = 0x0B;
inline constexpr uint8_t kClassSpecificInterfaceType = 0x24;
inline constexpr uint8_t kDeviceInfoSubtype = 0x01;
inline constexpr size_t kDeviceInfoSize = sizeof(tsU3VDID);
inline constexpr char kFunctionName[] = "USB3 Vision Device";

// The first interface association descriptor in a run of descriptors (the bytes libusb leaves
// as "extra"), or one with bLength 0. A descriptor that claims less than 2 bytes or runs past
// the end ends the search.
tsIAD FindIad(std::span<const uint8_t> extra);
// The IAD of a configuration: libusb puts one that sits between the configuration header and
// the first interface into the configuration's extra bytes; some devices place it behind
// interface 0, alternate setting 0, where libusb keeps it in that interface's extra bytes.
tsIAD FindConfigurationIad(std::span<const uint8_t> configExtra,
                           std::span<const uint8_t> interface0Extra);
// Walks the class-specific descriptors of the control interface for the device info
// descriptor; logs the first three bytes of each descriptor it looks at. True when found.
bool FindDeviceInfo(std::span<const uint8_t> extra, tsU3VDID* info);

}  // namespace u3v
