// Builds the emulated camera's USB descriptors: a SuperSpeed device with one configuration whose
// USB3 Vision function is announced by an interface association descriptor.
#include "U3vDescriptors.h"

namespace {

constexpr uint8_t kInterfaceCount = 3;

void Put16(std::vector<uint8_t>& out, uint16_t value) {
  out.push_back(static_cast<uint8_t>(value));
  out.push_back(static_cast<uint8_t>(value >> 8));
}

void PutInterface(std::vector<uint8_t>& out, uint8_t number, uint8_t endpoints, uint8_t protocol) {
  out.insert(out.end(), {9, 0x04, number, 0, endpoints, 0xEF, 0x05, protocol, 0});
}

// A bulk endpoint with its SuperSpeed companion (which libusb keeps in the endpoint's extra).
void PutEndpoint(std::vector<uint8_t>& out, uint8_t address) {
  out.insert(out.end(), {7, 0x05, address, 0x02});
  Put16(out, 1024);
  out.push_back(0);
  out.insert(out.end(), {6, 0x30, 0, 0, 0, 0});
}

// The USB3 Vision device info descriptor: versions 1.0 (minor, then major) and string indexes.
void PutInfoDescriptor(std::vector<uint8_t>& out) {
  out.insert(out.end(), {20, 0x24, 0x01, 0, 0, 1, 0, 0, 0, 1, 0});
  for (uint8_t index = kStringGuid; index < kStringCount; ++index)
    out.push_back(index);
  out.push_back(0x08);  // SuperSpeed
}

}  // namespace

std::vector<uint8_t> U3vDeviceDescriptor(const tsU3vCameraOptions& options) {
  std::vector<uint8_t> out = {18, 0x01};
  Put16(out, 0x0300);
  out.insert(out.end(), {options.deviceClass, options.deviceSubClass, options.deviceProtocol, 9});
  Put16(out, options.vendorId);
  Put16(out, options.productId);
  Put16(out, 0x0100);
  out.insert(out.end(), {kStringManufacturer, kStringProduct, kStringSerial, 1});
  return out;
}

std::vector<uint8_t> U3vConfigDescriptor(const tsU3vCameraOptions& options) {
  const uint8_t interfaces = static_cast<uint8_t>(1 + options.extraInterfaces);
  std::vector<uint8_t> out = {9, 0x02, 0, 0, interfaces, 1, 0, 0x80, 0x32};
  if (options.iad) {
    out.insert(out.end(), {8, 0x0B, 0, interfaces, options.iadClass, options.iadSubClass,
                           options.iadProtocol, kStringFunction});
  }
  PutInterface(out, 0, 2, 0x00);
  if (options.infoDescriptor) PutInfoDescriptor(out);
  PutEndpoint(out, kU3vCommandEndpoint);
  PutEndpoint(out, kU3vAckEndpoint);
  const uint8_t extraEndpoints[kInterfaceCount - 1] = {kU3vEventEndpoint, kU3vStreamEndpoint};
  for (uint8_t i = 1; i < interfaces; ++i) {
    PutInterface(out, i, 1, i);
    PutEndpoint(out, extraEndpoints[i - 1]);
  }
  out[2] = static_cast<uint8_t>(out.size());
  out[3] = static_cast<uint8_t>(out.size() >> 8);
  return out;
}

std::string U3vString(const tsU3vCameraOptions& options, uint8_t index) {
  switch (index) {
    case kStringManufacturer:
    case kStringVendorName:
      return options.vendor;
    case kStringProduct:
    case kStringModelName:
      return options.model;
    case kStringSerial:
    case kStringSerialNumber:
      return options.serial;
    case kStringFunction:
      return options.functionName;
    case kStringGuid:
      return options.guid;
    case kStringFamilyName:
      return options.family;
    case kStringDeviceVersion:
      return options.deviceVersion;
    case kStringManufacturerInfo:
      return options.manufacturerInfo;
    case kStringUserName:
      return options.userName;
    default:
      return "";
  }
}

std::vector<uint8_t> U3vStringDescriptor(const tsU3vCameraOptions& options, uint8_t index) {
  if (index == 0) return {4, 0x03, 0x09, 0x04};
  std::vector<uint8_t> out = {0, 0x03};
  for (char c : U3vString(options, index))
    Put16(out, static_cast<uint8_t>(c));
  out[0] = static_cast<uint8_t>(out.size());
  return out;
}
