// The emulated USB3 Vision camera's memory: ABRM, SBRM, SIRM, EIRM, the manifest table, its own
// feature registers and its GenApi description, all little-endian, with which bytes exist and
// which may be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tcFeatureRegisters.h"
#include "tsU3vCameraOptions.h"

// The camera's own registers lie in the feature block at 0x50000.
class tcU3vRegisters : public tcFeatureRegisters<uint64_t, 0x50000> {
 public:
  // ABRM registers.
  static constexpr uint64_t kGenCpVersion = 0x0000;
  static constexpr uint64_t kManufacturerName = 0x0004;
  static constexpr uint64_t kModelName = 0x0044;
  static constexpr uint64_t kFamilyName = 0x0084;
  static constexpr uint64_t kDeviceVersion = 0x00C4;
  static constexpr uint64_t kManufacturerInfo = 0x0104;
  static constexpr uint64_t kSerialNumber = 0x0144;
  static constexpr uint64_t kUserDefinedName = 0x0184;
  static constexpr uint64_t kDeviceCapability = 0x01C4;
  static constexpr uint64_t kMaxResponseTime = 0x01CC;
  static constexpr uint64_t kManifestAddress = 0x01D0;
  static constexpr uint64_t kSbrmAddress = 0x01D8;
  static constexpr uint64_t kDeviceConfiguration = 0x01E0;
  static constexpr uint64_t kHeartbeatTimeout = 0x01E8;
  static constexpr uint64_t kMessageChannelId = 0x01EC;
  static constexpr uint64_t kTimestamp = 0x01F0;
  static constexpr uint64_t kTimestampLatch = 0x01F8;
  static constexpr uint64_t kTimestampIncrement = 0x01FC;
  static constexpr uint64_t kAccessPrivilege = 0x0204;
  static constexpr uint64_t kProtocolEndianness = 0x0208;
  static constexpr uint64_t kImplementationEndianness = 0x020C;
  static constexpr uint64_t kAbrmEnd = 0x0250;
  // SBRM and its registers.
  static constexpr uint64_t kSbrm = 0x10000;
  static constexpr uint64_t kU3vVersion = kSbrm + 0x00;
  static constexpr uint64_t kU3vCapability = kSbrm + 0x04;
  static constexpr uint64_t kU3vConfiguration = kSbrm + 0x0C;
  static constexpr uint64_t kMaxCommandLength = kSbrm + 0x14;
  static constexpr uint64_t kMaxAckLength = kSbrm + 0x18;
  static constexpr uint64_t kStreamChannels = kSbrm + 0x1C;
  static constexpr uint64_t kSirmAddress = kSbrm + 0x20;
  static constexpr uint64_t kSirmLength = kSbrm + 0x28;
  static constexpr uint64_t kEirmAddress = kSbrm + 0x2C;
  static constexpr uint64_t kEirmLength = kSbrm + 0x34;
  static constexpr uint64_t kIidc2Address = kSbrm + 0x38;
  static constexpr uint64_t kCurrentSpeed = kSbrm + 0x40;
  static constexpr uint64_t kSbrmEnd = kSbrm + 0x44;
  // SIRM and its registers.
  static constexpr uint64_t kSirm = 0x20000;
  static constexpr uint64_t kSiInfo = kSirm + 0x00;
  static constexpr uint64_t kSiControl = kSirm + 0x04;
  static constexpr uint64_t kSiRequiredPayloadSize = kSirm + 0x08;
  static constexpr uint64_t kSiRequiredLeaderSize = kSirm + 0x10;
  static constexpr uint64_t kSiRequiredTrailerSize = kSirm + 0x14;
  static constexpr uint64_t kSiMaxLeaderSize = kSirm + 0x18;
  static constexpr uint64_t kSiPayloadTransferSize = kSirm + 0x1C;
  static constexpr uint64_t kSiPayloadTransferCount = kSirm + 0x20;
  static constexpr uint64_t kSiFinalTransfer1Size = kSirm + 0x24;
  static constexpr uint64_t kSiFinalTransfer2Size = kSirm + 0x28;
  static constexpr uint64_t kSiMaxTrailerSize = kSirm + 0x2C;
  static constexpr uint64_t kSirmEnd = kSirm + 0x30;
  // EIRM.
  static constexpr uint64_t kEirm = 0x30000;
  static constexpr uint64_t kEiControl = kEirm + 0x00;
  static constexpr uint64_t kEiMaxTransferLength = kEirm + 0x04;
  static constexpr uint64_t kEiTestControl = kEirm + 0x08;
  static constexpr uint64_t kEirmEnd = kEirm + 0x0C;
  // Manifest table: entry count, then 64-byte entries.
  static constexpr uint64_t kManifest = 0x40000;
  static constexpr size_t kManifestEntrySize = 64;
  // The GenApi description.
  static constexpr uint64_t kXml = 0x100000;

  // Results of an access: 0 or a GenCP status.
  static constexpr uint16_t kInvalidParameter = 0x8002;
  static constexpr uint16_t kInvalidAddress = 0x8003;
  static constexpr uint16_t kWriteProtect = 0x8004;

  explicit tcU3vRegisters(const tsU3vCameraOptions& options);

  // Every byte of [address, address + size) must exist.
  uint16_t Read(uint64_t address, std::span<uint8_t> out) const;
  // Every byte must be writable; values of the feature registers are checked.
  uint16_t Write(uint64_t address, std::span<const uint8_t> bytes);
  // Direct access for the camera itself (no checks).
  uint64_t Get(uint64_t address, size_t size = 4) const;
  void Set(uint64_t address, uint64_t value, size_t size = 4);
  const std::string& Xml() const { return xml_; }

 private:
  struct tsRange {
    uint64_t begin;
    uint64_t end;
  };
  static bool Covered(const std::vector<tsRange>& ranges, uint64_t address, size_t size);
  uint8_t* At(uint64_t address);
  const uint8_t* At(uint64_t address) const;
  void SetText(uint64_t address, const std::string& text);
  void FillManifest(int entries);
  uint16_t CheckFeature(uint64_t address, uint32_t value) const;
  void UpdatePayloadSize();

  std::string xml_;
  std::vector<tsRange> readable_;
  std::vector<tsRange> writable_;
  std::vector<uint8_t> registers_;  // ABRM .. features, addressed from 0
};
