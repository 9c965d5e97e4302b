// The emulated camera's memory: GigE Vision bootstrap registers, its own feature registers
// and its XML description, with which addresses exist and which may be written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tcFeatureRegisters.h"
#include "tsGevCameraOptions.h"

// The camera's own registers, big-endian, lie in the feature block at 0x10000.
class tcGevRegisters : public tcFeatureRegisters<uint32_t, 0x10000> {
 public:
  // Bootstrap registers the camera acts on.
  static constexpr uint32_t kVersion = 0x0000;
  static constexpr uint32_t kDeviceMode = 0x0004;
  static constexpr uint32_t kMacHigh = 0x0008;
  static constexpr uint32_t kMacLow = 0x000C;
  static constexpr uint32_t kCurrentIp = 0x0024;
  static constexpr uint32_t kCurrentMask = 0x0034;
  static constexpr uint32_t kUserName = 0x00E8;
  static constexpr uint32_t kFirstUrl = 0x0200;
  static constexpr uint32_t kSecondUrl = 0x0400;
  static constexpr uint32_t kGvspCapability = 0x092C;
  static constexpr uint32_t kGvcpCapability = 0x0934;
  static constexpr uint32_t kHeartbeatTimeout = 0x0938;
  static constexpr uint32_t kTickFrequencyLow = 0x0940;
  static constexpr uint32_t kGvcpConfig = 0x0954;
  static constexpr uint32_t kGvspConfig = 0x0960;
  static constexpr uint32_t kPrivilege = 0x0A00;
  static constexpr uint32_t kStreamPort = 0x0D00;
  static constexpr uint32_t kPacketSize = 0x0D04;
  static constexpr uint32_t kPacketDelay = 0x0D08;
  static constexpr uint32_t kStreamDestination = 0x0D18;
  static constexpr uint32_t kStreamSourcePort = 0x0D1C;
  static constexpr uint32_t kFireTestPacket = 0x80000000;
  static constexpr uint32_t kExtendedIds = 0x40000000;  // in gvsp_config
  static constexpr uint32_t kManifest = 0x9000;
  static constexpr uint32_t kXml = 0x20000;

  // Result of an access: 0 or a GVCP status.
  static constexpr uint16_t kInvalidAddress = 0x8003;
  static constexpr uint16_t kWriteProtect = 0x8004;
  static constexpr uint16_t kBadAlignment = 0x8005;
  static constexpr uint16_t kInvalidParameter = 0x8002;

  explicit tcGevRegisters(const tsGevCameraOptions& options);

  // Every byte of [address, address + length) must exist.
  uint16_t Read(uint32_t address, std::span<std::byte> out) const;
  // Every byte must be writable; values of the camera's registers are checked.
  uint16_t Write(uint32_t address, std::span<const std::byte> bytes);
  uint16_t ReadRegister(uint32_t address, uint32_t* value) const;
  uint16_t WriteRegister(uint32_t address, uint32_t value);
  // Direct access for the camera itself (no checks).
  uint32_t Get(uint32_t address) const;
  void Set(uint32_t address, uint32_t value);
  void SetText(uint32_t address, const std::string& text, size_t fieldSize);
  const std::string& Xml() const { return xml_; }
  // Whether a test packet was asked for since the last call.
  bool TakeTestPacket();

 private:
  bool Exists(uint32_t address, size_t length) const;
  bool Writable(uint32_t address, size_t length) const;
  uint16_t CheckFeature(uint32_t address, uint32_t value) const;
  void UpdatePayloadSize();

  std::vector<std::byte> memory_;
  std::string xml_;
  bool manifest_;
  bool testPacket_ = false;
};
