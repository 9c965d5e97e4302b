// The USB descriptors of an emulated USB3 Vision camera, as sysfs and GET_DESCRIPTOR give them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tsU3vCameraOptions.h"

// Endpoint addresses of the camera's bulk endpoints.
inline constexpr uint8_t kU3vCommandEndpoint = 0x01;
inline constexpr uint8_t kU3vAckEndpoint = 0x81;
inline constexpr uint8_t kU3vEventEndpoint = 0x82;
inline constexpr uint8_t kU3vStreamEndpoint = 0x83;

// String descriptor indexes (0 is the language list).
enum eU3vString : uint8_t {
  kStringManufacturer = 1,
  kStringProduct,
  kStringSerial,
  kStringFunction,
  kStringGuid,
  kStringVendorName,
  kStringModelName,
  kStringFamilyName,
  kStringDeviceVersion,
  kStringManufacturerInfo,
  kStringSerialNumber,
  kStringUserName,
  kStringCount
};

// The 18-byte device descriptor.
std::vector<uint8_t> U3vDeviceDescriptor(const tsU3vCameraOptions& options);
// Configuration 1 with everything behind it: IAD, interfaces, info descriptor, endpoints.
std::vector<uint8_t> U3vConfigDescriptor(const tsU3vCameraOptions& options);
// The text of string descriptor `index` (1 .. kStringCount - 1); empty for others.
std::string U3vString(const tsU3vCameraOptions& options, uint8_t index);
// String descriptor `index` as GET_DESCRIPTOR returns it (UTF-16LE; index 0: US English).
std::vector<uint8_t> U3vStringDescriptor(const tsU3vCameraOptions& options, uint8_t index);
