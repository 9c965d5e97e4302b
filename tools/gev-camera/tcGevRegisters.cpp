// The emulated camera's memory and its access rules.
#include "tcGevRegisters.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "GevCameraXml.h"
#include "base/ByteOrder.h"

namespace {

struct tsRange {
  uint32_t begin;
  uint32_t end;  // one past the last byte
};

constexpr uint32_t kMemorySize = 0x30000;
constexpr uint32_t kLastTestPattern = 2;

// Bootstrap blocks that exist (the rest of 0x0000-0xFFFF answers "invalid address").
constexpr std::array<tsRange, 7> kBootstrap = {{{0x0000, 0x0100},
                                                {0x0200, 0x0604},
                                                {0x064C, 0x0674},
                                                {0x0900, 0x0974},
                                                {0x0A00, 0x0A18},
                                                {0x0B00, 0x0B20},
                                                {0x0D00, 0x0D30}}};

constexpr std::array<tsRange, 12> kWritable = {{
    {tcGevRegisters::kUserName, tcGevRegisters::kUserName + 16},
    {tcGevRegisters::kHeartbeatTimeout, tcGevRegisters::kHeartbeatTimeout + 4},
    {0x0944, 0x0948},  // timestamp control
    {tcGevRegisters::kGvcpConfig, tcGevRegisters::kGvcpConfig + 4},
    {tcGevRegisters::kGvspConfig, tcGevRegisters::kGvspConfig + 4},
    {tcGevRegisters::kPrivilege, tcGevRegisters::kPrivilege + 4},
    {0x0B00, 0x0B04},  // message channel port
    {0x0B10, 0x0B1C},  // message channel destination, timeout, retries
    {tcGevRegisters::kStreamPort, tcGevRegisters::kPacketDelay + 4},
    {tcGevRegisters::kStreamDestination, tcGevRegisters::kStreamDestination + 4},
    {tcGevRegisters::kWidth, tcGevRegisters::kPayloadSize},
    {tcGevRegisters::kAcquisitionMode, tcGevRegisters::kSensorWidth},
}};

bool Inside(const tsRange& range, uint32_t address, size_t length) {
  return address >= range.begin && address <= range.end && length <= range.end - address;
}

uint32_t BitsPerPixel(uint32_t pixelFormat) {
  return (pixelFormat >> 16) & 0xFF;
}

}  // namespace

tcGevRegisters::tcGevRegisters(const tsGevCameraOptions& options)
    : memory_(kMemorySize), xml_(GevCameraXml(options)), manifest_(options.manifest) {
  Set(kVersion, uint32_t{options.versionMajor} << 16 | options.versionMinor);
  Set(kDeviceMode, 0x80000001);  // big-endian, transmitter, UTF-8
  Set(kMacHigh, static_cast<uint32_t>(options.mac >> 32) & 0xFFFF);
  Set(kMacLow, static_cast<uint32_t>(options.mac));
  Set(0x0010, 0x00000007);  // persistent IP, DHCP and link-local supported
  Set(0x0014, 0x00000006);  // DHCP and link-local enabled
  SetText(0x0048, options.vendor, 32);
  SetText(0x0068, options.model, 32);
  SetText(0x0088, options.deviceVersion, 32);
  SetText(0x00A8, options.manufacturerInfo, 48);
  SetText(0x00D8, options.serial, 16);
  SetText(kUserName, options.userName, 16);
  char url[64];
  snprintf(url, sizeof url, "Local:gev-camera.xml;%X;%zX", kXml, xml_.size());
  SetText(kFirstUrl, url, 512);
  Set(0x0600, 1);      // one network interface
  Set(0x0670, 10000);  // link speed, Mb/s
  Set(0x0904, 1);      // one stream channel
  bool extended = options.versionMajor >= 2 && options.extendedIds;
  Set(kGvspCapability, 0x80000000u | (extended ? 0x40000000u : 0));
  // User-defined name, serial number, WRITEMEM; packet resend with the extended status codes
  // it needs, and the manifest, when asked for.
  Set(kGvcpCapability,
      0xC0000002u | (options.manifest ? 0x04000000u : 0) | (options.resend ? 0x00400004u : 0));
  Set(kHeartbeatTimeout, 3000);
  Set(kTickFrequencyLow - 4, static_cast<uint32_t>(options.tickFrequency >> 32));
  Set(kTickFrequencyLow, static_cast<uint32_t>(options.tickFrequency));
  Set(kPacketSize, 0x40000000u | 1500);  // do not fragment, 1500 bytes
  Set(0x0D20, 0x80000000u);              // big and little endian payload
  if (manifest_) {
    // One entry, counted in both places readers look: the top and the low 6 bits of the first
    // header word, and the second word.
    Set(kManifest, 1u << 26 | 1u);
    Set(kManifest + 4, 1);
    // File version 1.0.0, schema 1.1, in the bit positions the manifest word uses.
    Set(kManifest + 8, 1u | 1u << 18 | 1u << 24);
    Set(kManifest + 12, kFirstUrl);
  }
  Set(kWidth, options.width);
  Set(kHeight, options.height);
  Set(kPixelFormat, 0x01080001);
  Set(kSensorWidth, options.width);
  Set(kSensorHeight, options.height);
  float rate = 10.0f;
  uint32_t rateBits;
  std::memcpy(&rateBits, &rate, sizeof rateBits);
  Set(kFrameRate, rateBits);
  std::memcpy(memory_.data() + kXml, xml_.data(), xml_.size());
  UpdatePayloadSize();
}

bool tcGevRegisters::Exists(uint32_t address, size_t length) const {
  if (address < 0x10000) {
    if (manifest_ && Inside({kManifest, kManifest + 0x200}, address, length)) return true;
    return std::any_of(kBootstrap.begin(), kBootstrap.end(),
                       [&](const tsRange& r) { return Inside(r, address, length); });
  }
  if (Inside({kFeatures, kFeaturesEnd}, address, length)) return true;
  // Reads of the description may run up to 3 bytes past it (counts are multiples of 4).
  return Inside({kXml, kXml + static_cast<uint32_t>((xml_.size() + 3) & ~size_t{3})}, address,
                length);
}

bool tcGevRegisters::Writable(uint32_t address, size_t length) const {
  return std::any_of(kWritable.begin(), kWritable.end(),
                     [&](const tsRange& r) { return Inside(r, address, length); });
}

uint16_t tcGevRegisters::Read(uint32_t address, std::span<std::byte> out) const {
  if (!Exists(address, out.size())) return kInvalidAddress;
  std::memcpy(out.data(), memory_.data() + address, out.size());
  return 0;
}

uint16_t tcGevRegisters::Write(uint32_t address, std::span<const std::byte> bytes) {
  if (!Exists(address, bytes.size())) return kInvalidAddress;
  if (!Writable(address, bytes.size())) return kWriteProtect;
  // The camera's own registers are written whole, through their value checks.
  if (address >= kFeatures) {
    if (address % 4 != 0 || bytes.size() % 4 != 0) return kBadAlignment;
    for (size_t at = 0; at < bytes.size(); at += 4) {
      uint32_t value = wire::LoadBe32(bytes.subspan(at).first<4>());
      if (uint16_t status = WriteRegister(address + static_cast<uint32_t>(at), value)) {
        return status;
      }
    }
    return 0;
  }
  std::memcpy(memory_.data() + address, bytes.data(), bytes.size());
  return 0;
}

uint16_t tcGevRegisters::ReadRegister(uint32_t address, uint32_t* value) const {
  if (address % 4 != 0) return kBadAlignment;
  std::array<std::byte, 4> bytes{};
  uint16_t status = Read(address, bytes);
  *value = status ? 0 : wire::LoadBe32(bytes);
  return status;
}

uint16_t tcGevRegisters::WriteRegister(uint32_t address, uint32_t value) {
  if (address % 4 != 0) return kBadAlignment;
  if (!Exists(address, 4)) return kInvalidAddress;
  if (!Writable(address, 4)) return kWriteProtect;
  if (uint16_t status = CheckFeature(address, value)) return status;
  if (address == kAcquisitionStart || address == kAcquisitionStop) {
    if (value & 1) Set(kAcquisitionActive, address == kAcquisitionStart);
    return 0;
  }
  if (address == kPacketSize) {
    // The fire-test bit clears itself; the stream sends the packet.
    testPacket_ = testPacket_ || (value & kFireTestPacket);
    value &= ~kFireTestPacket;
  }
  Set(address, value);
  if (address >= kWidth && address <= kPixelFormat) UpdatePayloadSize();
  return 0;
}

uint16_t tcGevRegisters::CheckFeature(uint32_t address, uint32_t value) const {
  if (address == kPrivilege) return value <= 7 ? 0 : kInvalidParameter;
  auto get = [this](uint32_t at) -> uint64_t { return Get(at); };
  return Accepts(address, value, get, kLastTestPattern) ? 0 : kInvalidParameter;
}

void tcGevRegisters::UpdatePayloadSize() {
  uint64_t bits = uint64_t{Get(kWidth)} * Get(kHeight) * BitsPerPixel(Get(kPixelFormat));
  Set(kPayloadSize, static_cast<uint32_t>((bits + 7) / 8));
}

bool tcGevRegisters::TakeTestPacket() {
  return std::exchange(testPacket_, false);
}

uint32_t tcGevRegisters::Get(uint32_t address) const {
  return wire::LoadBe32(std::span(memory_).subspan(address).first<4>());
}

void tcGevRegisters::Set(uint32_t address, uint32_t value) {
  wire::StoreBe32(std::span(memory_).subspan(address).first<4>(), value);
}

void tcGevRegisters::SetText(uint32_t address, const std::string& text, size_t fieldSize) {
  size_t length = std::min(text.size(), fieldSize - 1);
  std::fill_n(memory_.begin() + address, fieldSize, std::byte{0});
  std::memcpy(memory_.data() + address, text.data(), length);
}
