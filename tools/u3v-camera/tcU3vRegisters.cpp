// The emulated camera's memory map, initialised from its options.
#include "tcU3vRegisters.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "U3vCameraXml.h"
#include "sim/PixelFormat.h"

namespace {

constexpr size_t kTextField = 64;
constexpr uint32_t kMono8 = 0x01080001;
constexpr uint32_t kLastTestPattern = 3;
}  // namespace

tcU3vRegisters::tcU3vRegisters(const tsU3vCameraOptions& options)
    : xml_(U3vCameraXml(options)), registers_(kFeaturesEnd, 0) {
  readable_ = {
      {0, kAbrmEnd},
      {kSbrm, kSbrmEnd},
      {kSirm, kSirmEnd},
      {kEirm, kEirmEnd},
      {kManifest, kManifest + 8 + kManifestEntrySize * std::max(options.manifestEntries, 0)},
      {kFeatures, kFeaturesEnd},
      {kXml, kXml + xml_.size()}};
  writable_ = {{kUserDefinedName, kUserDefinedName + kTextField},
               {kDeviceConfiguration, kDeviceConfiguration + 8},
               {kHeartbeatTimeout, kHeartbeatTimeout + 8},
               {kTimestampLatch, kTimestampLatch + 4},
               {kAccessPrivilege, kAccessPrivilege + 4},
               {kU3vConfiguration, kU3vConfiguration + 8},
               {kSiControl, kSiControl + 4},
               {kSiMaxLeaderSize, kSirmEnd},
               {kEiControl, kEiControl + 4},
               {kEiTestControl, kEiTestControl + 4},
               {kWidth, kPayloadSize},
               {kAcquisitionMode, kSensorWidth}};
  Set(kGenCpVersion, 0x00010000);  // 1.0: major in the upper half
  SetText(kManufacturerName, options.vendor);
  SetText(kModelName, options.model);
  SetText(kFamilyName, options.family);
  SetText(kDeviceVersion, options.deviceVersion);
  SetText(kManufacturerInfo, options.manufacturerInfo);
  SetText(kSerialNumber, options.serial);
  SetText(kUserDefinedName, options.userName);
  // Capabilities: user-defined name (bit 0), family name (bit 8), SBRM (bit 9), manifest
  // table (bit 11) when there is one.
  Set(kDeviceCapability,
      (1u << 0) | (1u << 8) | (1u << 9) | (options.manifestEntries > 0 ? 1u << 11 : 0), 8);
  Set(kMaxResponseTime, options.maxResponseTimeMs);
  Set(kManifestAddress, kManifest, 8);
  Set(kSbrmAddress, kSbrm, 8);
  Set(kHeartbeatTimeout, 3000);
  Set(kTimestampIncrement, 1, 8);        // nanoseconds
  Set(kProtocolEndianness, 0xFFFFFFFF);  // little-endian
  Set(kImplementationEndianness, 0xFFFFFFFF);
  Set(kU3vVersion, 0x00010000);
  Set(kU3vCapability, 0x3, 8);  // SIRM and EIRM available
  Set(kMaxCommandLength, options.maxCommandLength);
  Set(kMaxAckLength, options.maxAckLength);
  Set(kStreamChannels, options.extraInterfaces >= 2 ? 1 : 0);
  Set(kSirmAddress, kSirm, 8);
  Set(kSirmLength, kSirmEnd - kSirm);
  Set(kEirmAddress, kEirm, 8);
  Set(kEirmLength, kEirmEnd - kEirm);
  Set(kCurrentSpeed, 0x08);  // SuperSpeed
  Set(kSiInfo, 3u << 24);    // payload alignment 8 bytes
  Set(kSiRequiredLeaderSize, options.requiredLeaderSize);
  Set(kSiRequiredTrailerSize, options.requiredTrailerSize);
  Set(kEiMaxTransferLength, 0x200);
  FillManifest(options.manifestEntries);
  Set(kSensorWidth, options.width);
  Set(kSensorHeight, options.height);
  Set(kWidth, options.width);
  Set(kHeight, options.height);
  Set(kPixelFormat, kMono8);
  Set(kTestPattern, 1);
  Set(kFrameRate, std::bit_cast<uint32_t>(30.0f));
  Set(kAcquisitionActive, options.acquiring ? 1 : 0);
  UpdatePayloadSize();
}

// Every entry names the description: version 1.0.0, schema 1.0, uncompressed XML, device file.
void tcU3vRegisters::FillManifest(int entries) {
  Set(kManifest, static_cast<uint64_t>(std::max(entries, 0)), 8);
  for (int i = 0; i < entries; ++i) {
    uint64_t entry = kManifest + 8 + kManifestEntrySize * i;
    Set(entry + 0, 0x01000000);
    Set(entry + 4, 0x01000000);
    Set(entry + 8, kXml, 8);
    Set(entry + 16, xml_.size(), 8);
  }
}

bool tcU3vRegisters::Covered(const std::vector<tsRange>& ranges, uint64_t address, size_t size) {
  return std::any_of(ranges.begin(), ranges.end(), [&](const tsRange& range) {
    return address >= range.begin && address <= range.end && size <= range.end - address;
  });
}

uint16_t tcU3vRegisters::Read(uint64_t address, std::span<uint8_t> out) const {
  if (!Covered(readable_, address, out.size())) return kInvalidAddress;
  if (address >= kXml)
    std::memcpy(out.data(), xml_.data() + (address - kXml), out.size());
  else if (!out.empty())
    std::memcpy(out.data(), At(address), out.size());
  return 0;
}

uint16_t tcU3vRegisters::Write(uint64_t address, std::span<const uint8_t> bytes) {
  if (!Covered(readable_, address, bytes.size())) return kInvalidAddress;
  if (!Covered(writable_, address, bytes.size())) return kWriteProtect;
  if (address >= kFeatures && bytes.size() == 4) {
    uint32_t value = 0;
    std::memcpy(&value, bytes.data(), 4);
    if (uint16_t status = CheckFeature(address, value)) return status;
  }
  if (!bytes.empty()) std::memcpy(At(address), bytes.data(), bytes.size());
  if (address >= kFeatures) UpdatePayloadSize();
  return 0;
}

uint16_t tcU3vRegisters::CheckFeature(uint64_t address, uint32_t value) const {
  auto get = [this](uint64_t at) { return Get(at); };
  return Accepts(address, value, get, kLastTestPattern) ? 0 : kInvalidParameter;
}

void tcU3vRegisters::UpdatePayloadSize() {
  const tsPixelFormat* format = FindPixelFormat(static_cast<uint32_t>(Get(kPixelFormat)));
  uint64_t bytes = format ? ImageBytes(*format, static_cast<uint32_t>(Get(kWidth)),
                                       static_cast<uint32_t>(Get(kHeight)))
                          : 0;
  Set(kPayloadSize, bytes);
  Set(kSiRequiredPayloadSize, bytes, 8);
}

uint64_t tcU3vRegisters::Get(uint64_t address, size_t size) const {
  uint64_t value = 0;
  std::memcpy(&value, At(address), size);
  return value;
}

void tcU3vRegisters::Set(uint64_t address, uint64_t value, size_t size) {
  std::memcpy(At(address), &value, size);
}

uint8_t* tcU3vRegisters::At(uint64_t address) {
  return registers_.data() + address;
}

const uint8_t* tcU3vRegisters::At(uint64_t address) const {
  return registers_.data() + address;
}

void tcU3vRegisters::SetText(uint64_t address, const std::string& text) {
  std::memset(At(address), 0, kTextField);
  std::memcpy(At(address), text.data(), std::min(text.size(), kTextField - 1));
}
