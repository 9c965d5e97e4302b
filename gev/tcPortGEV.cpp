// tcPortGEV: GVCP register and memory exchanges, connecting with privilege and heartbeat, the
// description URLs of the camera, and PACKETRESEND_CMD.
#include "gev/tcPortGEV.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <optional>

#include "base/Log.h"
#include "base/Platform.h"
#include "base/tcPoll.h"
#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"
#include "gev/GevBootstrap.h"
#include "gev/Gvcp.h"
#include "modules/InfoAnswer.h"
#include "modules/PortInfoTable.h"

using namespace GenTL;

namespace {

constexpr size_t kUrlSize = 512;
constexpr size_t kMaxManifestEntries = 63;

constexpr std::array<tcPortGEV::tsCapabilityName, 22> kCapabilityLabels = {{
    {0x80000000, "user_defined_name"},
    {0x40000000, "serial_number"},
    {0x20000000, "heartbeat_disable"},
    {0x10000000, "link_speed_register"},
    {0x08000000, "CCP_application_port_IP_register"},
    {0x04000000, "manifest_table"},
    {0x02000000, "test_data"},
    {0x01000000, "discovery_ACK_delay"},
    {0x00800000, "writable_discovery_ACK"},
    {0x00400000, "extended_status_code_for_1_1"},
    {0x00200000, "primary_application_switchover"},
    {0x00100000, "unconditional_ACTION"},
    {0x00080000, "IEEE1588_support"},
    {0x00040000, "extended_status_code_for_2_0"},
    {0x00020000, "scheduled_action_command"},
    {0x40, "ACTION (A)"},
    {0x20, "PENDING_ACK (PA)"},
    {0x10, "EVENTDATA (ED)"},
    {0x08, "EVENT (E)"},
    {0x04, "PACKETRESEND (PR)"},
    {0x02, "WRITEMEM (W)"},
    {0x01, "concatenation (C)"},
}};

// The process-wide capability table, filled by the first port.
std::once_flag gCapabilityOnce;
std::array<tcPortGEV::tsCapabilityName, kCapabilityLabels.size()> gCapabilityNames{};

void FillCapabilityNames() {
  std::call_once(gCapabilityOnce, [] { gCapabilityNames = kCapabilityLabels; });
}

// What the four kinds of exchange log when they go wrong. A memory write logs nothing of its
// own: its access line says that it failed.
constexpr tsGvcpExchange kReadReg = {
    .function = "tcPortGEV::ReadReg",
    .command = gvcp::kReadRegCmd,
    .answer = gvcp::kReadRegAck,
    .timeout = "Select Timeout",
    .waitFailed = "Select: %s",
    .receiveFailed = "read: %s",
    .shortReply = "Timeout or short read",
    .logRefusal = true,
};
constexpr tsGvcpExchange kWriteReg = {
    .function = "tcPortGEV::WriteReg",
    .command = gvcp::kWriteRegCmd,
    .answer = gvcp::kWriteRegAck,
    .timeout = "Timeout",
    .waitFailed = "Select: %s",
    .receiveFailed = "read: %s",
    .shortReply = "Timeout or short read",
    .logRefusal = true,
};
constexpr tsGvcpExchange kReadMem = {
    .function = "tcPortGEV::Read",
    .command = gvcp::kReadMemCmd,
    .answer = gvcp::kReadMemAck,
    .timeout = "%s",
    .waitFailed = "%s",
    .receiveFailed = "recvfrom Error: %s",
    .shortReply = "Short read? (%d)",
    .logRefusal = true,
};
constexpr tsGvcpExchange kWriteMem = {
    .function = "tcPortGEV::Write",
    .command = gvcp::kWriteMemCmd,
    .answer = gvcp::kWriteMemAck,
    .timeout = nullptr,
    .waitFailed = nullptr,
    .receiveFailed = nullptr,
    .shortReply = nullptr,
    .logRefusal = false,
};

// An error line for `function` from `format` (given `value`), unless the format is null.
template <typename T>
void LogError(const char* function, const char* format, const T& value) {
  if (format != nullptr) LogPrint(kLogError, function, format, value);
}

// A memory access must end at or below 4 GiB: GC_ERR_INVALID_ADDRESS (and *size 0, nothing to
// transfer) when it does not, else success.
GC_ERROR CheckRange(uint64_t address, size_t* size) {
  if (address + *size <= 0x100000000ull && address + *size >= address) return GC_ERR_SUCCESS;
  *size = 0;
  return GC_ERR_INVALID_ADDRESS;
}

tsSocketAddress Camera(uint32_t address) {
  return {address, tcPortGEV::kGvcpPort};
}

// A hexadecimal number of at least one digit that fits 64 bits.
std::optional<uint64_t> ParseHex(std::string_view text) {
  if (text.empty()) return std::nullopt;
  uint64_t value = 0;
  for (char c : text) {
    int digit = -1;
    if (c >= '0' && c <= '9') digit = c - '0';
    if (c >= 'a' && c <= 'f') digit = c - 'a' + 10;
    if (c >= 'A' && c <= 'F') digit = c - 'A' + 10;
    if (digit < 0 || value > (UINT64_MAX >> 4)) return std::nullopt;
    value = value << 4 | static_cast<uint64_t>(digit);
  }
  return value;
}

// "local:<file name>;<address>;<size>", both numbers hexadecimal; false when it is not.
bool ParseLocalUrl(const std::string& url, uint64_t* address, uint64_t* size) {
  if (url.size() < 6 || strncasecmp(url.c_str(), "local:", 6) != 0) return false;
  size_t last = url.rfind(';');
  if (last == std::string::npos || last < 6) return false;
  size_t first = url.rfind(';', last - 1);
  if (first == std::string::npos || first < 6) return false;
  auto parsedAddress = ParseHex(std::string_view(url).substr(first + 1, last - first - 1));
  auto parsedSize = ParseHex(std::string_view(url).substr(last + 1));
  if (!parsedAddress || !parsedSize) return false;
  *address = *parsedAddress;
  *size = *parsedSize;
  return true;
}

}  // namespace

tcPortGEV::tcPortGEV(std::string name) : tcPort(std::move(name)) {
  FillCapabilityNames();
  if (getenv("GENTL_SHOW_BSR") != nullptr) gevbootstrap::LogMap();
}

tcPortGEV::~tcPortGEV() {
  if (connected_.load()) {
    uint32_t zero = htonl(0);
    GC_ERROR result = WriteReg(gvcp::kControlChannelPrivilege, &zero);
    GENTL_LOG(kLogInfo, "Release control register: %d", result);
  }
  heartbeat_.RequestStop();
  heartbeat_.Join();
}

std::span<const tcPortGEV::tsCapabilityName> tcPortGEV::CapabilityNames() {
  FillCapabilityNames();
  return gCapabilityNames;
}

uint16_t tcPortGEV::NextRequestId() {
  uint16_t last = requestId_.load();
  while (!requestId_.compare_exchange_weak(last, gvcp::NextRequestId(last))) {
  }
  return gvcp::NextRequestId(last);
}

GC_ERROR tcPortGEV::Connect(uint32_t cameraAddress, uint32_t localAddress) {
  tcMutexLock lock(AccessMutex());
  if (connected_.load()) return GC_ERR_RESOURCE_IN_USE;
  cameraAddress_.store(cameraAddress);
  localAddress_.store(localAddress);
  for (tcUdpSocket* socket : {&socket_, &resendSocket_}) {
    int error = socket->Open();
    if (error == 0) error = socket->Bind({localAddress, 0});
    if (error != 0) {
      GENTL_LOG(kLogError, "Invalid socket, error: %s", platform::ErrorText(error));
      socket_.Close();
      resendSocket_.Close();
      return GC_ERR_IO;
    }
  }
  connected_.store(true);
  uint32_t value = 0;
  ReadRegLocked(gvcp::kGvcpCapability, &value);
  capability_.store(ntohl(value));
  for (const tsCapabilityName& entry : gCapabilityNames) {
    if ((Capability() & entry.mask) != 0) GENTL_LOG(kLogDebug, "Capability: %s", entry.name);
  }
  if ((Capability() & gvcp::kManifestCapability) != 0) ReadManifest();
  uint32_t control = htonl(2);
  WriteRegLocked(gvcp::kControlChannelPrivilege, &control);
  uint32_t timeout = htonl(kHeartbeatTimeoutMs);
  GC_ERROR result = WriteRegLocked(gvcp::kHeartbeatTimeout, &timeout);
  heartbeat_.Start([this](const std::atomic<bool>& stop) { HeartBeatThread(stop); },
                   [this] {
                     std::lock_guard<std::mutex> wake(heartbeatMutex_);
                     heartbeatWake_.notify_all();
                   });
  return result;
}

void tcPortGEV::ReadManifest() {
  std::array<uint8_t, 512> table{};
  if (ReadMem(gvcp::kManifestTable, table.data(), 8) != GC_ERR_SUCCESS) return;
  tcWireReader header(std::span<const uint8_t>(table).first(8));
  size_t count = header.U32Be() & 63;
  if (count == 0) return;
  count = std::min(count, kMaxManifestEntries);
  if (ReadMem(gvcp::kManifestTable + 8, table.data() + 8, count * 8) != GC_ERR_SUCCESS) return;
  tcWireReader entries(std::span<const uint8_t>(table).subspan(8, count * 8));
  for (size_t i = 0; i < count; ++i) {
    uint32_t version = entries.U32Be();
    manifest_.push_back({version, entries.U32Be()});
  }
  hasManifest_ = true;
}

void tcPortGEV::HeartBeatThread(const std::atomic<bool>& stopRequested) {
  for (;;) {
    {
      std::unique_lock<std::mutex> wait(heartbeatMutex_);
      auto deadline =
          std::chrono::steady_clock::now() + std::chrono::milliseconds(kHeartbeatPeriodMs);
      if (heartbeatWake_.wait_until(wait, deadline, [&] { return stopRequested.load(); })) break;
    }
    uint32_t value = 0;
    GC_ERROR result = ReadReg(gvcp::kControlChannelPrivilege, &value);
    if (result != GC_ERR_SUCCESS) {
      LogPrint(kLogWarning, "tcPortGEV::HeartBeatThread", "Heartbeat error: %d", result);
    }
  }
}

void tcPortGEV::DrainStale() {
  std::array<std::byte, 64> scratch;
  tsSocketAddress from;
  while (socket_.ReceiveFrom(scratch, &from).Ok()) {
  }
}

bool tcPortGEV::SendCommand(const char* function, std::span<const std::byte> command) {
  tsIoResult sent = socket_.SendTo(command, Camera(CameraAddress()));
  if (!sent.Ok()) {
    LogPrint(kLogError, function, "sendto Error: %s", sent.ErrorText());
    return false;
  }
  if (sent.count != command.size()) {
    LogPrint(kLogError, function, "Short Send : %d,%d", sent.count, command.size());
    return false;
  }
  return true;
}

tcPortGEV::Reply tcPortGEV::ReceiveReply(std::span<std::byte> buffer, size_t* received,
                                         int* error) {
  tcPoll poll;
  poll.Add(socket_.Fd());
  tsIoResult ready = poll.Wait(kReplyTimeoutMs);
  *error = ready.error;
  if (!ready.Ok()) return Reply::kWaitFailed;
  if (ready.count == 0) return Reply::kTimeout;
  tsSocketAddress from;
  tsIoResult got = socket_.ReceiveFrom(buffer, &from);
  *error = got.error;
  *received = got.count;
  return got.Ok() ? Reply::kReceived : Reply::kReceiveFailed;
}

GC_ERROR tcPortGEV::ReadReg(uint64_t address, uint32_t* bigEndianValue) {
  tcMutexLock lock(AccessMutex());
  return ReadRegLocked(address, bigEndianValue);
}

GC_ERROR tcPortGEV::WriteReg(uint64_t address, uint32_t* bigEndianValue) {
  tcMutexLock lock(AccessMutex());
  return WriteRegLocked(address, bigEndianValue);
}

GC_ERROR tcPortGEV::Exchange(const tsGvcpExchange& kind, std::span<std::byte> command,
                             size_t minimum, std::span<std::byte> reply,
                             gvcp::AckVerdict* verdict) {
  *verdict = gvcp::AckVerdict::kShort;
  DrainStale();
  uint16_t id = NextRequestId();
  gvcp::WriteCommandHeader(command, gvcp::kAckRequired, kind.command,
                           static_cast<uint16_t>(command.size() - gvcp::kHeaderSize), id);
  if (!SendCommand(kind.function, command)) return GC_ERR_IO;
  size_t received = 0;
  int error = 0;
  Reply how = ReceiveReply(reply, &received, &error);
  if (how != Reply::kReceived) {
    LogMissingReply(kind, how, error);
    return GC_ERR_IO;
  }
  gvcp::tsAckHeader ack;
  *verdict = gvcp::CheckAck(reply.first(received), id, kind.answer, minimum, &ack);
  if (*verdict == gvcp::AckVerdict::kShort) {
    LogError(kind.function, kind.shortReply, received);
    return GC_ERR_IO;
  }
  if (kind.logRefusal) LogRefusal(kind.function, *verdict, id, ack);
  return gvcp::StatusResult(ack.status);
}

void tcPortGEV::LogMissingReply(const tsGvcpExchange& kind, Reply how, int error) {
  switch (how) {
    case Reply::kTimeout:
      LogError(kind.function, kind.timeout, platform::ErrorText(ETIMEDOUT));
      break;
    case Reply::kWaitFailed:
      LogError(kind.function, kind.waitFailed, platform::ErrorText(error));
      break;
    case Reply::kReceiveFailed:
      LogError(kind.function, kind.receiveFailed, platform::ErrorText(error));
      break;
    case Reply::kReceived:
      break;
  }
}

void tcPortGEV::LogAccess(const char* function, GC_ERROR result, uint64_t address, size_t size) {
  LogPrint(result == GC_ERR_SUCCESS ? kLogVerbose : kLogWarning, function,
           "Addr: 0x%08X - %d bytes", address, size);
}

GC_ERROR tcPortGEV::ReadRegLocked(uint64_t address, uint32_t* bigEndianValue) {
  std::array<std::byte, 12> command{};
  tcWireWriter(std::span(command).subspan(8)).U32Be(static_cast<uint32_t>(address));
  std::array<std::byte, 64> reply{};
  gvcp::AckVerdict verdict;
  GC_ERROR result = Exchange(kReadReg, command, 12, reply, &verdict);
  if (verdict != gvcp::AckVerdict::kShort) memcpy(bigEndianValue, reply.data() + 8, 4);
  LogAccess(kReadReg.function, result, address, 4);
  return result;
}

GC_ERROR tcPortGEV::WriteRegLocked(uint64_t address, uint32_t* bigEndianValue) {
  std::array<std::byte, 16> command{};
  tcWireWriter(std::span(command).subspan(8)).U32Be(static_cast<uint32_t>(address));
  memcpy(command.data() + 12, bigEndianValue, 4);
  std::array<std::byte, 64> reply{};
  gvcp::AckVerdict verdict;
  GC_ERROR result = Exchange(kWriteReg, command, 8, reply, &verdict);
  LogAccess(kWriteReg.function, result, address, 4);
  return result;
}

GC_ERROR tcPortGEV::Read(uint64_t address, void* buffer, size_t* size) {
  if (*size == 4) {
    uint32_t value = 0;
    GC_ERROR result = ReadRegLocked(address, &value);
    memcpy(buffer, &value, 4);
    return result;
  }
  return ReadMem(address, static_cast<uint8_t*>(buffer), *size);
}

GC_ERROR tcPortGEV::Write(uint64_t address, const void* buffer, size_t* size) {
  if (*size == 4) {
    uint32_t value = 0;
    memcpy(&value, buffer, 4);
    return WriteRegLocked(address, &value);
  }
  return WriteMem(address, static_cast<const uint8_t*>(buffer), *size);
}

GC_ERROR tcPortGEV::ReadMem(uint64_t address, uint8_t* buffer, size_t size) {
  GC_ERROR result = CheckRange(address, &size);
  bool stop = false;
  for (size_t done = 0; done < size && !stop;) {
    size_t chunk = std::min(size - done, kMemoryChunk);
    result = ReadChunk(static_cast<uint32_t>(address + done), buffer + done, chunk, &stop);
    done += chunk;
  }
  LogAccess(kReadMem.function, result, address, size);
  return result;
}

GC_ERROR tcPortGEV::ReadChunk(uint32_t address, uint8_t* buffer, size_t size, bool* stop) {
  uint16_t count = static_cast<uint16_t>((size + 3) & ~size_t{3});
  std::array<std::byte, 16> command{};
  tcWireWriter writer{std::span(command).subspan(8)};
  writer.U32Be(address);
  writer.U16Be(0);
  writer.U16Be(count);
  std::array<std::byte, 12 + kMemoryChunk + 4> reply{};
  gvcp::AckVerdict verdict;
  GC_ERROR result = Exchange(kReadMem, command, 12u + count, reply, &verdict);
  *stop = verdict != gvcp::AckVerdict::kGood;
  if (!*stop) memcpy(buffer, reply.data() + 12, size);
  return result;
}

GC_ERROR tcPortGEV::WriteMem(uint64_t address, const uint8_t* buffer, size_t size) {
  GC_ERROR result = CheckRange(address, &size);
  bool stop = false;
  for (size_t done = 0; done < size && !stop;) {
    size_t chunk = std::min(size - done, kMemoryChunk);
    result = WriteChunk(static_cast<uint32_t>(address + done), buffer + done, chunk, &stop);
    done += chunk;
  }
  LogAccess(kWriteMem.function, result, address, size);
  return result;
}

GC_ERROR tcPortGEV::WriteChunk(uint32_t address, const uint8_t* buffer, size_t size, bool* stop) {
  std::array<std::byte, 12 + kMemoryChunk> command{};
  tcWireWriter(std::span(command).subspan(8)).U32Be(address);
  memcpy(command.data() + 12, buffer, size);
  std::array<std::byte, 64> reply{};
  gvcp::AckVerdict verdict;
  GC_ERROR result = Exchange(kWriteMem, std::span(command).first(12 + size), 8, reply, &verdict);
  *stop = verdict != gvcp::AckVerdict::kGood;
  return result;
}

void tcPortGEV::LogRefusal(const char* function, gvcp::AckVerdict verdict, uint16_t requestId,
                           const gvcp::tsAckHeader& ack) {
  switch (verdict) {
    case gvcp::AckVerdict::kMismatch:
      LogPrint(kLogError, function, "Request/Response mismatch %d/%d", requestId, ack.ackId);
      break;
    case gvcp::AckVerdict::kFailed:
      LogPrint(kLogError, function, "Request %d failed, 0x%X", requestId, ack.status);
      break;
    case gvcp::AckVerdict::kUnexpectedAnswer:
      LogPrint(kLogError, function, "Unexpected Response Code 0x%X", ack.answer);
      break;
    default:
      break;
  }
}

GC_ERROR tcPortGEV::SendPacketResend(uint64_t blockId, bool extendedIds,
                                     const std::vector<uint32_t>& missingPacketIds) {
  std::lock_guard<std::mutex> lock(resendMutex_);
  const tsSocketAddress camera = Camera(CameraAddress());
  for (size_t first = 0; first < missingPacketIds.size();) {
    size_t last = first;
    while (last + 1 < missingPacketIds.size() &&
           missingPacketIds[last + 1] == missingPacketIds[last] + 1) {
      ++last;
    }
    std::array<std::byte, 28> command{};
    uint16_t length = extendedIds ? 20 : 12;
    gvcp::WriteCommandHeader(command, extendedIds ? gvcp::kExtendedIds : 0, gvcp::kPacketResendCmd,
                             length, NextRequestId());
    tcWireWriter writer{std::span(command).subspan(8)};
    writer.U16Be(0);  // stream channel 0
    writer.U16Be(extendedIds ? 0 : static_cast<uint16_t>(blockId));
    writer.U32Be(missingPacketIds[first]);
    writer.U32Be(missingPacketIds[last]);
    if (extendedIds) writer.U64Be(blockId);
    auto bytes = std::span(command).first(8 + length);
    tsIoResult sent = resendSocket_.SendTo(bytes, camera);
    if (!sent.Ok() || sent.count != bytes.size()) sent = resendSocket_.SendTo(bytes, camera);
    if (!sent.Ok() || sent.count != bytes.size()) return GC_ERR_IO;
    first = last + 1;
  }
  return GC_ERR_SUCCESS;
}

uint32_t tcPortGEV::UrlCount() const {
  return hasManifest_ ? static_cast<uint32_t>(manifest_.size()) : 2;
}

GC_ERROR tcPortGEV::GetNumPortURLs(uint32_t* count) {
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = UrlCount();
  return GC_ERR_SUCCESS;
}

GC_ERROR tcPortGEV::GetPortURL(char* url, size_t* size) {
  int32_t type = INFO_DATATYPE_UNKNOWN;
  return GetPortURLInfo(0, URL_INFO_URL, &type, url, size);
}

GC_ERROR tcPortGEV::UrlText(uint32_t index, std::string* url) {
  uint32_t address = hasManifest_ ? manifest_[index].urlAddress
                                  : (index == 0 ? gvcp::kFirstUrl : gvcp::kSecondUrl);
  std::array<char, kUrlSize + 1> text{};
  size_t size = kUrlSize;
  tcMutexLock lock(AccessMutex());
  GC_ERROR result = Read(address, text.data(), &size);
  if (result == GC_ERR_SUCCESS) url->assign(text.data());
  return result;
}

GC_ERROR tcPortGEV::GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                   size_t* size) {
  if (index >= UrlCount()) return GC_ERR_INVALID_INDEX;
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command > URL_INFO_FILENAME) return GC_ERR_NOT_IMPLEMENTED;
  const uint32_t word = hasManifest_ ? manifest_[index].version : 0;
  int32_t version = 0;
  switch (command) {
    case URL_INFO_URL:
    case URL_INFO_FILE_REGISTER_ADDRESS:
    case URL_INFO_FILE_SIZE: {
      std::string url;
      GC_ERROR result = UrlText(index, &url);
      if (result != GC_ERR_SUCCESS) return result;
      if (command == URL_INFO_URL) {
        *type = INFO_DATATYPE_STRING;
        return CopyText(url, buffer, size);
      }
      *type = INFO_DATATYPE_UINT64;
      uint64_t values[2] = {0, 0};
      if (!ParseLocalUrl(url, &values[0], &values[1])) return GC_ERR_NOT_AVAILABLE;
      return CopyValue(values[command == URL_INFO_FILE_SIZE ? 1 : 0], buffer, size);
    }
    case URL_INFO_SCHEMA_VER_MAJOR:
      version = (word >> 18) & 63;
      break;
    case URL_INFO_SCHEMA_VER_MINOR:
      version = (word >> 24) & 63;
      break;
    case URL_INFO_FILE_VER_MAJOR:
      version = word & 63;
      break;
    case URL_INFO_FILE_VER_MINOR:
      version = (word >> 6) & 63;
      break;
    case URL_INFO_FILE_VER_SUBMINOR:
      version = (word >> 12) & 63;
      break;
    case URL_INFO_FILE_SHA1_HASH:
      *type = INFO_DATATYPE_BUFFER;
      return GC_ERR_NOT_AVAILABLE;
    case URL_INFO_SCHEME:
      *type = INFO_DATATYPE_INT32;
      return GC_ERR_NOT_AVAILABLE;
    default:  // URL_INFO_FILENAME
      *type = INFO_DATATYPE_STRING;
      return GC_ERR_NOT_IMPLEMENTED;
  }
  *type = INFO_DATATYPE_INT32;
  if (!hasManifest_) return GC_ERR_NOT_AVAILABLE;
  return CopyValue(version, buffer, size);
}

GC_ERROR tcPortGEV::GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command == PORT_INFO_LITTLE_ENDIAN || command == PORT_INFO_BIG_ENDIAN) {
    *type = INFO_DATATYPE_BOOL8;
    return CopyValue(static_cast<bool8_t>(command == PORT_INFO_BIG_ENDIAN), buffer, size);
  }
  const tsPortInfoTexts texts = {Name().c_str(), "Vantora LLC", "GEV", "Device", "1.1.1", "Device"};
  GC_ERROR result = AnswerPortInfo(texts, command, type, buffer, size);
  if (result == GC_ERR_NOT_IMPLEMENTED) {
    GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", Name(), command);
  }
  return result;
}
