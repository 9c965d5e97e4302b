// The GigE Vision control protocol of the emulated camera.
#include "tcGevCamera.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"

namespace {

constexpr uint8_t kKey = 0x42;
constexpr uint8_t kAcknowledgeFlag = 0x01;
constexpr uint8_t kExtendedIdFlag = 0x10;
constexpr size_t kMaxQueuedResends = 256;
constexpr uint16_t kDiscovery = 0x0002;
constexpr uint16_t kPacketResend = 0x0040;
constexpr uint16_t kReadReg = 0x0080;
constexpr uint16_t kWriteReg = 0x0082;
constexpr uint16_t kReadMem = 0x0084;
constexpr uint16_t kWriteMem = 0x0086;
constexpr uint16_t kNotImplemented = 0x8001;
constexpr uint16_t kInvalidParameter = 0x8002;
constexpr uint16_t kAccessDenied = 0x8006;
constexpr uint16_t kInvalidHeader = 0x800E;
constexpr size_t kRecordSize = 248;
constexpr size_t kMaxMemory = 536;
constexpr size_t kMaxRegisters = kMaxMemory / 4;
constexpr uint32_t kExclusive = 0x1;
constexpr uint32_t kControl = 0x2;

void Header(tcWireWriter& writer, uint16_t status, uint16_t answer, uint16_t length, uint16_t id) {
  writer.U16Be(status);
  writer.U16Be(answer);
  writer.U16Be(length);
  writer.U16Be(id);
}

}  // namespace

struct tcGevCamera::tsCommand {
  tsSocketAddress from;
  uint16_t code = 0;
  uint16_t id = 0;
  uint8_t flags = 0;
  uint64_t nowNs = 0;
  std::span<const std::byte> payload;
};

tcGevCamera::tcGevCamera(const tsGevCameraOptions& options)
    : options_(options), registers_(options) {}

size_t tcGevCamera::Handle(std::span<const std::byte> datagram, const tsSocketAddress& from,
                           uint32_t local, uint32_t localMask, uint64_t nowNs,
                           std::span<std::byte> reply) {
  tcWireReader reader(datagram);
  uint8_t key = reader.U8();
  uint8_t flags = reader.U8();
  tsCommand command;
  command.from = from;
  command.nowNs = nowNs;
  command.flags = flags;
  command.code = reader.U16Be();
  uint16_t length = reader.U16Be();
  command.id = reader.U16Be();
  if (reader.Failed() || key != kKey) return 0;  // not GVCP: no answer at all
  std::lock_guard<std::mutex> lock(mutex_);
  ExpireLocked(nowNs);
  if (IsOwner(from)) ownerSeenNs_ = nowNs;
  bool complete = length <= reader.Remaining();
  command.payload = datagram.subspan(reader.Position(), complete ? length : 0);
  // The camera has the address the command reached it on.
  registers_.Set(tcGevRegisters::kCurrentIp, local);
  registers_.Set(tcGevRegisters::kCurrentMask, localMask);
  if (command.code == kDiscovery) {
    return options_.silent ? 0 : Discovery(command, local, reply);
  }
  if (flags & kAcknowledgeFlag) return Execute(command, complete, reply);
  // Executed all the same, without an acknowledge.
  std::array<std::byte, kMaxReply> discard;
  Execute(command, complete, discard);
  return 0;
}

size_t tcGevCamera::Execute(const tsCommand& command, bool complete, std::span<std::byte> reply) {
  tcWireWriter writer(reply);
  if (!complete) {
    Header(writer, kInvalidHeader, command.code + 1, 0, command.id);
    return writer.Position();
  }
  switch (command.code) {
    case kReadReg:
      return ReadRegisters(command, reply);
    case kWriteReg:
      return WriteRegisters(command, reply);
    case kReadMem:
      return ReadMemory(command, reply);
    case kWriteMem:
      return WriteMemory(command, reply);
    case kPacketResend:
      QueueResend(command);
      return 0;  // never acknowledged
    default:
      Header(writer, kNotImplemented, command.code + 1, 0, command.id);
      return writer.Position();
  }
}

size_t tcGevCamera::Discovery(const tsCommand& command, uint32_t local,
                              std::span<std::byte> reply) {
  // Without a configured MAC the camera takes a locally administered one derived from its
  // address.
  uint64_t mac = options_.mac ? options_.mac : 0x024756000000ull | (local & 0xFFFFFF);
  registers_.Set(tcGevRegisters::kMacHigh, static_cast<uint32_t>(mac >> 32) & 0xFFFF);
  registers_.Set(tcGevRegisters::kMacLow, static_cast<uint32_t>(mac));
  tcWireWriter writer(reply);
  Header(writer, 0, kDiscovery + 1, kRecordSize, command.id);
  std::array<std::byte, kRecordSize> record;
  registers_.Read(0, record);
  writer.Bytes(record);
  return writer.Failed() ? 0 : writer.Position();
}

uint16_t tcGevCamera::CheckRead(const tsCommand& command) const {
  bool exclusiveElsewhere = owner_.address != 0 && !IsOwner(command.from) &&
                            (registers_.Get(tcGevRegisters::kPrivilege) & kExclusive);
  return exclusiveElsewhere ? kAccessDenied : 0;
}

uint16_t tcGevCamera::CheckWrite(const tsCommand& command, uint32_t address) const {
  if (address == tcGevRegisters::kPrivilege) return 0;
  return IsOwner(command.from) ? 0 : kAccessDenied;
}

size_t tcGevCamera::ReadRegisters(const tsCommand& command, std::span<std::byte> reply) {
  size_t count = command.payload.size() / 4;
  tcWireWriter writer(reply);
  if (count == 0 || count > kMaxRegisters || command.payload.size() % 4 != 0) {
    Header(writer, kInvalidHeader, kReadReg + 1, 0, command.id);
    return writer.Position();
  }
  // Every register gets a value word (0 once one failed), so the status always arrives with
  // the full length.
  std::array<uint32_t, kMaxRegisters> values{};
  uint16_t status = CheckRead(command);
  tcWireReader reader(command.payload);
  for (size_t i = 0; i < count && status == 0; ++i) {
    uint32_t address = reader.U32Be();
    status = Refusal(address, 4);
    if (status == 0) status = registers_.ReadRegister(address, &values[i]);
  }
  Header(writer, status, kReadReg + 1, static_cast<uint16_t>(4 * count), command.id);
  for (size_t i = 0; i < count; ++i)
    writer.U32Be(values[i]);
  return writer.Position();
}

size_t tcGevCamera::WriteRegisters(const tsCommand& command, std::span<std::byte> reply) {
  size_t count = command.payload.size() / 8;
  tcWireWriter writer(reply);
  if (count == 0 || count > kMaxRegisters / 2 || command.payload.size() % 8 != 0) {
    Header(writer, kInvalidHeader, kWriteReg + 1, 0, command.id);
    return writer.Position();
  }
  tcWireReader reader(command.payload);
  uint16_t status = 0;
  uint16_t written = 0;
  for (; written < count; ++written) {
    uint32_t address = reader.U32Be();
    uint32_t value = reader.U32Be();
    status = WriteRegister(command, address, value);
    if (status) break;
  }
  Header(writer, status, kWriteReg + 1, 4, command.id);
  writer.U16Be(0);
  writer.U16Be(written);
  return writer.Position();
}

uint16_t tcGevCamera::Refusal(uint32_t address, size_t length) const {
  for (const auto& [refused, status] : options_.refusals) {
    if (refused >= address && refused - address < length) return status;
  }
  return 0;
}

uint16_t tcGevCamera::WriteRegister(const tsCommand& command, uint32_t address, uint32_t value) {
  if (uint16_t status = CheckWrite(command, address)) return status;
  if (uint16_t status = Refusal(address, 4)) return status;
  if (address == tcGevRegisters::kPrivilege) return WritePrivilege(command, value);
  return registers_.WriteRegister(address, value);
}

uint16_t tcGevCamera::WritePrivilege(const tsCommand& command, uint32_t value) {
  if (owner_.address != 0 && !IsOwner(command.from)) return kAccessDenied;
  if (uint16_t status = registers_.WriteRegister(tcGevRegisters::kPrivilege, value)) {
    return status;
  }
  bool held = value & (kExclusive | kControl);
  owner_ = held ? command.from : tsSocketAddress{};
  ownerSeenNs_ = command.nowNs;
  if (!held) Release();
  return 0;
}

size_t tcGevCamera::ReadMemory(const tsCommand& command, std::span<std::byte> reply) {
  tcWireReader reader(command.payload);
  uint32_t address = reader.U32Be();
  reader.Skip(2);
  uint16_t count = reader.U16Be();
  tcWireWriter writer(reply);
  if (reader.Failed() || reader.Remaining() != 0) {
    Header(writer, kInvalidHeader, kReadMem + 1, 0, command.id);
    return writer.Position();
  }
  uint16_t status = CheckRead(command);
  if (status == 0 && (count == 0 || count > kMaxMemory || count % 4 != 0)) {
    status = kInvalidParameter;
    count = 0;
  }
  if (status == 0 && address % 4 != 0) status = tcGevRegisters::kBadAlignment;
  if (status == 0) status = Refusal(address, count);
  std::array<std::byte, kMaxMemory> data{};
  std::span<std::byte> chunk = std::span(data).first(count);
  if (status == 0) status = registers_.Read(address, chunk);
  if (status) std::fill(chunk.begin(), chunk.end(), std::byte{0});
  // The data always has the length asked for, so the status arrives with a full acknowledge.
  Header(writer, status, kReadMem + 1, static_cast<uint16_t>(4 + count), command.id);
  writer.U32Be(address);
  writer.Bytes(chunk);
  return writer.Position();
}

size_t tcGevCamera::WriteMemory(const tsCommand& command, std::span<std::byte> reply) {
  tcWireReader reader(command.payload);
  uint32_t address = reader.U32Be();
  std::span<const std::byte> data = command.payload.subspan(reader.Position());
  tcWireWriter writer(reply);
  uint16_t status = 0;
  if (reader.Failed() || data.empty() || data.size() > kMaxMemory) {
    status = kInvalidParameter;
  } else if (address % 4 != 0) {
    status = tcGevRegisters::kBadAlignment;
  } else if (address == tcGevRegisters::kPrivilege && data.size() == 4) {
    tcWireReader value(data);
    status = WriteRegister(command, address, value.U32Be());
  } else {
    status = CheckWrite(command, address);
    if (status == 0) status = Refusal(address, data.size());
    if (status == 0) status = registers_.Write(address, data);
  }
  Header(writer, status, kWriteMem + 1, 4, command.id);
  writer.U16Be(0);
  writer.U16Be(status ? 0 : static_cast<uint16_t>(data.size()));
  return writer.Position();
}

void tcGevCamera::Expire(uint64_t nowNs) {
  std::lock_guard<std::mutex> lock(mutex_);
  ExpireLocked(nowNs);
}

void tcGevCamera::ExpireLocked(uint64_t nowNs) {
  if (owner_.address == 0) return;
  uint32_t timeoutMs = registers_.Get(tcGevRegisters::kHeartbeatTimeout);
  if (options_.heartbeatCapMs != 0) timeoutMs = std::min(timeoutMs, options_.heartbeatCapMs);
  uint64_t timeoutNs = uint64_t{timeoutMs} * 1000000;
  if (nowNs - ownerSeenNs_ <= timeoutNs) return;
  owner_ = {};
  Release();
}

void tcGevCamera::Release() {
  registers_.Set(tcGevRegisters::kPrivilege, 0);
  // A camera left without a controlling application stops streaming.
  registers_.Set(tcGevRegisters::kAcquisitionActive, 0);
}

bool tcGevCamera::IsOwner(const tsSocketAddress& from) const {
  return owner_.address != 0 && owner_ == from;
}

tsSocketAddress tcGevCamera::Owner() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return owner_;
}

uint32_t tcGevCamera::Privilege() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return registers_.Get(tcGevRegisters::kPrivilege);
}

uint32_t tcGevCamera::Register(uint32_t address) const {
  std::lock_guard<std::mutex> lock(mutex_);
  return registers_.Get(address);
}

tsStreamSettings tcGevCamera::StreamSettings() const {
  std::lock_guard<std::mutex> lock(mutex_);
  tsStreamSettings settings;
  settings.acquiring = registers_.Get(tcGevRegisters::kAcquisitionActive) != 0;
  settings.singleFrame = registers_.Get(tcGevRegisters::kAcquisitionMode) == 1;
  settings.source = registers_.Get(tcGevRegisters::kCurrentIp);
  settings.destination = registers_.Get(tcGevRegisters::kStreamDestination);
  settings.port = static_cast<uint16_t>(registers_.Get(tcGevRegisters::kStreamPort));
  uint32_t packetSize = registers_.Get(tcGevRegisters::kPacketSize);
  settings.packetSize = packetSize & 0xFFFF;
  settings.dontFragment = packetSize & 0x40000000;
  settings.extendedIds =
      options_.versionMajor >= 2 &&
      (registers_.Get(tcGevRegisters::kGvspConfig) & tcGevRegisters::kExtendedIds);
  settings.width = registers_.Get(tcGevRegisters::kWidth);
  settings.height = registers_.Get(tcGevRegisters::kHeight);
  settings.offsetX = registers_.Get(tcGevRegisters::kOffsetX);
  settings.offsetY = registers_.Get(tcGevRegisters::kOffsetY);
  settings.pixelFormat = registers_.Get(tcGevRegisters::kPixelFormat);
  settings.payloadSize = registers_.Get(tcGevRegisters::kPayloadSize);
  uint32_t rateBits = registers_.Get(tcGevRegisters::kFrameRate);
  std::memcpy(&settings.frameRate, &rateBits, sizeof rateBits);
  settings.packetDelay = registers_.Get(tcGevRegisters::kPacketDelay);
  return settings;
}

bool tcGevCamera::TakeTestPacket() {
  std::lock_guard<std::mutex> lock(mutex_);
  return registers_.TakeTestPacket();
}

void tcGevCamera::EndAcquisition() {
  std::lock_guard<std::mutex> lock(mutex_);
  registers_.Set(tcGevRegisters::kAcquisitionActive, 0);
}

void tcGevCamera::SetSourcePort(uint16_t port) {
  std::lock_guard<std::mutex> lock(mutex_);
  registers_.Set(tcGevRegisters::kStreamSourcePort, port);
}

void tcGevCamera::QueueResend(const tsCommand& command) {
  if (!options_.resend || resends_.size() >= kMaxQueuedResends) return;
  tcWireReader reader(command.payload);
  tsResendRequest request;
  request.extendedIds = command.flags & kExtendedIdFlag;
  reader.Skip(2);  // stream channel 0, the only one
  if (request.extendedIds) {
    reader.Skip(2);
    request.firstPacket = reader.U32Be();
    request.lastPacket = reader.U32Be();
    request.blockId = reader.U64Be();
  } else {
    request.blockId = reader.U16Be();
    request.firstPacket = reader.U32Be() & 0xFFFFFF;
    request.lastPacket = reader.U32Be() & 0xFFFFFF;
  }
  if (!reader.Failed()) resends_.push_back(request);
}

std::vector<tsResendRequest> tcGevCamera::TakeResendRequests() {
  std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(resends_, {});
}
