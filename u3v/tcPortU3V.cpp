// tcPortU3V: GenCP memory access in pieces with request IDs and pending acknowledges, port
// information, and the description URL from the manifest table.
#include "u3v/tcPortU3V.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <cstring>

#include "base/ByteOrder.h"
#include "base/Log.h"
#include "base/tcWireReader.h"
#include "modules/InfoAnswer.h"
#include "modules/PortInfoTable.h"
#include "u3v/GenCP.h"
#include "u3v/U3vManifest.h"
#include "u3v/tcDeviceU3V.h"

using namespace GenTL;

namespace {

constexpr uint64_t kManufacturerName = 0x0004;
constexpr uint64_t kModelName = 0x0044;
constexpr uint64_t kMaxDeviceResponseTime = 0x01CC;
constexpr uint64_t kManifestTableAddress = 0x01D0;
constexpr uint64_t kSbrmAddress = 0x01D8;
constexpr uint64_t kMaxCommandTransferLength = 0x14;  // SBRM offsets
constexpr uint64_t kMaxAckTransferLength = 0x18;
constexpr size_t kTextFieldSize = 64;
constexpr uint32_t kResponseTimeMarginMs = 300;

unsigned char* Bytes(std::byte* data) {
  return reinterpret_cast<unsigned char*>(data);
}

// The next time-out after a PENDING_ACK that asks for `requestedMs`; false once the pending
// budget of the access is spent.
bool ExtendTimeout(uint32_t requestedMs, uint32_t* ms, uint32_t* pendingUsedMs) {
  if (*pendingUsedMs >= GenCP::kPendingBudgetMs) return false;
  uint32_t granted = std::min(requestedMs, GenCP::kPendingBudgetMs - *pendingUsedMs);
  *pendingUsedMs += granted;
  *ms = std::max<uint32_t>(granted, 1);  // 0 would mean "no time-out" to libusb
  return true;
}

}  // namespace

tcPortU3V::tcPortU3V(tcDeviceU3V* device, libusb_device_handle* handle,
                     const libusb_config_descriptor* config, unsigned char controlInterface)
    : tcPort("U3V Port"), handle_(handle), device_(device) {
  FindEndpoints(config, controlInterface);
  tcMutexLock lock(AccessMutex());
  ReadBootstrap();
}

void tcPortU3V::SetNextRequestId(uint16_t next) {
  tcMutexLock lock(AccessMutex());
  requestId_ = next;
}

void tcPortU3V::FindEndpoints(const libusb_config_descriptor* config,
                              unsigned char controlInterface) {
  if (controlInterface >= config->bNumInterfaces ||
      config->interface[controlInterface].num_altsetting < 1) {
    return;
  }
  const libusb_interface_descriptor& alt = config->interface[controlInterface].altsetting[0];
  for (int i = 0; i < std::min<int>(2, alt.bNumEndpoints); ++i) {
    const libusb_endpoint_descriptor& endpoint = alt.endpoint[i];
    if ((endpoint.bEndpointAddress & LIBUSB_ENDPOINT_IN) == 0) {
      commandEndpoint_ = endpoint.bEndpointAddress;
      GENTL_LOG(kLogInfo, "CmdEndPoint MaxPacketSize:  %d", endpoint.wMaxPacketSize);
    } else {
      responseEndpoint_ = endpoint.bEndpointAddress;
      GENTL_LOG(kLogInfo, "RSPEndPoint MaxPacketSize:  %d", endpoint.wMaxPacketSize);
    }
  }
}

GC_ERROR tcPortU3V::ReadValue(uint64_t address, size_t size, uint64_t* value) {
  std::array<std::byte, 8> bytes{};
  GC_ERROR result = Read(address, bytes.data(), &size);
  if (result == GC_ERR_SUCCESS) *value = wire::LoadLe64(bytes);
  return result;
}

void tcPortU3V::ReadBootstrap() {
  uint64_t value = 0;
  if (ReadValue(kMaxDeviceResponseTime, 4, &value) == GC_ERR_SUCCESS) {
    responseTimeMs_ =
        static_cast<uint32_t>(std::min<uint64_t>(value + kResponseTimeMarginMs, UINT32_MAX));
  }
  GENTL_LOG(kLogInfo, "ARBM: Max Device Response Time: %d", responseTimeMs_);
  uint64_t sbrm = 0;
  if (ReadValue(kSbrmAddress, 8, &sbrm) != GC_ERR_SUCCESS) return;
  if (ReadValue(sbrm + kMaxCommandTransferLength, 4, &value) == GC_ERR_SUCCESS) {
    maxCommandLength_ = GenCP::TransferLengthFromRegister(static_cast<uint32_t>(value));
  }
  if (ReadValue(sbrm + kMaxAckTransferLength, 4, &value) == GC_ERR_SUCCESS) {
    maxAckLength_ = GenCP::TransferLengthFromRegister(static_cast<uint32_t>(value));
  }
  GENTL_LOG(kLogInfo, "SRBM: Max Command Transfer Length: %d", maxCommandLength_);
  GENTL_LOG(kLogInfo, "SRBM: Max Acknowledge Transfer Length: %d", maxAckLength_);
}

GC_ERROR tcPortU3V::Transfer(unsigned char endpoint, std::byte* data, size_t length,
                             uint32_t timeoutMs, size_t* transferred) {
  int done = 0;
  int result = libusb_bulk_transfer(handle_, endpoint, Bytes(data), static_cast<int>(length), &done,
                                    timeoutMs);
  *transferred = static_cast<size_t>(std::max(done, 0));
  if (result == LIBUSB_ERROR_TIMEOUT) return GC_ERR_TIMEOUT;
  return result == 0 ? GC_ERR_SUCCESS : GC_ERR_IO;
}

GC_ERROR tcPortU3V::Send(std::span<std::byte> command, uint32_t timeoutMs) {
  size_t sent = 0;
  GC_ERROR result = Transfer(commandEndpoint_, command.data(), command.size(), timeoutMs, &sent);
  if (result != GC_ERR_SUCCESS) return result;
  return sent == command.size() ? GC_ERR_SUCCESS : GC_ERR_IO;
}

GC_ERROR tcPortU3V::ReadPiece(uint64_t address, std::byte* out, uint16_t length,
                              tsAccessTimeout* timeout, std::vector<std::byte>& ack) {
  std::array<std::byte, GenCP::kReadMemCmdSize> command;
  GenCP::BuildReadMem(command, requestId_++, address, length);
  GC_ERROR result = Send(command, timeout->ms);
  if (result != GC_ERR_SUCCESS) return result;
  for (;;) {
    size_t received = 0;
    result = Transfer(responseEndpoint_, ack.data(), length + GenCP::kReadAckOverhead, timeout->ms,
                      &received);
    if (result != GC_ERR_SUCCESS) return result;
    std::span<const std::byte> answer(ack.data(), received);
    GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(answer, requestId_, length);
    if (verdict.kind == GenCP::tsAckVerdict::Kind::kFailed) return verdict.error;
    if (verdict.kind == GenCP::tsAckVerdict::Kind::kDone) {
      memcpy(out, ack.data() + GenCP::kHeaderSize, length);
      return GC_ERR_SUCCESS;
    }
    if (!ExtendTimeout(verdict.timeoutMs, &timeout->ms, &timeout->pendingUsedMs)) {
      return GC_ERR_TIMEOUT;
    }
  }
}

GC_ERROR tcPortU3V::Read(uint64_t address, void* buffer, size_t* size) {
  if (buffer == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto start = std::chrono::steady_clock::now();
  const uint16_t pieceSize = GenCP::ReadPieceSize(maxAckLength_);
  std::vector<std::byte> ack(size_t{pieceSize} + GenCP::kReadAckOverhead);
  tsAccessTimeout timeout{responseTimeMs_};
  auto* out = static_cast<std::byte*>(buffer);
  GC_ERROR result = GC_ERR_SUCCESS;
  for (size_t done = 0; done < *size && result == GC_ERR_SUCCESS;) {
    auto piece = static_cast<uint16_t>(std::min<size_t>(*size - done, pieceSize));
    result = ReadPiece(address + done, out + done, piece, &timeout, ack);
    done += piece;
  }
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                  start)
                .count();
  GENTL_LOG(kLogDebug, "[0x%X, 0x%X] returned %d in %lu ms", address, *size, result, ms);
  return result;
}

GC_ERROR tcPortU3V::WritePiece(uint64_t address, std::span<const std::byte> data,
                               tsAccessTimeout* timeout, std::vector<std::byte>& command) {
  size_t length = GenCP::BuildWriteMem(command, requestId_++, address, data);
  GC_ERROR result = Send(std::span(command).first(length), timeout->ms);
  if (result != GC_ERR_SUCCESS) return result;
  for (;;) {
    std::array<std::byte, GenCP::kWriteMemAckSize> ack{};
    size_t received = 0;
    result = Transfer(responseEndpoint_, ack.data(), ack.size(), timeout->ms, &received);
    if (result != GC_ERR_SUCCESS) return result;
    GenCP::tsAckVerdict verdict = GenCP::CheckWriteAck(std::span(ack).first(received), requestId_);
    if (verdict.kind == GenCP::tsAckVerdict::Kind::kFailed) return verdict.error;
    if (verdict.kind == GenCP::tsAckVerdict::Kind::kDone) return GC_ERR_SUCCESS;
    if (!ExtendTimeout(verdict.timeoutMs, &timeout->ms, &timeout->pendingUsedMs)) {
      return GC_ERR_TIMEOUT;
    }
  }
}

GC_ERROR tcPortU3V::Write(uint64_t address, const void* buffer, size_t* size) {
  if (buffer == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  auto start = std::chrono::steady_clock::now();
  const uint16_t pieceSize = GenCP::WritePieceSize(maxCommandLength_);
  std::vector<std::byte> command(std::min<size_t>(pieceSize, *size) + GenCP::kWriteMemHeaderSize);
  tsAccessTimeout timeout{responseTimeMs_};
  std::span<const std::byte> data(static_cast<const std::byte*>(buffer), *size);
  GC_ERROR result = GC_ERR_SUCCESS;
  for (size_t done = 0; done < *size && result == GC_ERR_SUCCESS;) {
    size_t piece = std::min<size_t>(*size - done, pieceSize);
    result = WritePiece(address + done, data.subspan(done, piece), &timeout, command);
    done += piece;
  }
  auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                  start)
                .count();
  GENTL_LOG(kLogDebug, "[0x%X, 0x%X] returned %d in %lu ms", address, *size, result, ms);
  return result;
}

GC_ERROR tcPortU3V::GetNumPortURLs(uint32_t* count) {
  GENTL_LOG(kLogDebug, "%s, piNumURLs = 0x%X", device_->Name(), count);
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = 1;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcPortU3V::GetPortURL(char* url, size_t* size) {
  int32_t type = INFO_DATATYPE_UNKNOWN;
  return GetPortURLInfo(0, URL_INFO_URL, &type, url, size);
}

GC_ERROR tcPortU3V::GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  const tsPortInfoTexts texts = {"U3V Port", "Vantora LLC", "U3V",
                                 "TLDevice", "2.9.0.102",   "Device"};
  GC_ERROR result = AnswerPortInfo(texts, command, type, buffer, size);
  if (result == GC_ERR_NOT_IMPLEMENTED) {
    GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", "tcPortU3V", command);
  }
  return result;
}

GC_ERROR tcPortU3V::LoadManifest() {
  if (!manifest_.empty()) return GC_ERR_SUCCESS;
  uint64_t tableAddress = 0;
  GC_ERROR result = ReadValue(kManifestTableAddress, 8, &tableAddress);
  if (!GenCP::checkGenCpError(result, "manifest_table_address")) return result;
  uint64_t count = 0;
  result = ReadValue(tableAddress, 8, &count);
  if (!GenCP::checkGenCpError(result, "manifest_table num entries")) return result;
  if (count == 0) return GC_ERR_NO_DATA;
  if (count > u3v::kManifestMaxEntries) return GC_ERR_INVALID_VALUE;
  std::vector<std::byte> table(count * u3v::kManifestEntrySize + u3v::kManifestCountSize);
  size_t size = table.size();
  result = Read(tableAddress, table.data(), &size);
  if (!GenCP::checkGenCpError(result, "manifest_table")) return result;
  manifest_ = std::move(table);
  return GC_ERR_SUCCESS;
}

GC_ERROR tcPortU3V::ReadText(uint64_t address, const char* what, std::string* text) {
  std::array<std::byte, kTextFieldSize> field{};
  size_t size = field.size();
  GC_ERROR result = Read(address, field.data(), &size);
  if (!GenCP::checkGenCpError(result, what)) return result;
  tcWireReader reader(field);
  *text = reader.Text(field.size());
  return GC_ERR_SUCCESS;
}

GC_ERROR tcPortU3V::AnswerUrl(void* buffer, size_t* size) {
  std::string manufacturer, model;
  GC_ERROR result = ReadText(kManufacturerName, "manufacturer_name", &manufacturer);
  if (result == GC_ERR_SUCCESS) result = ReadText(kModelName, "model_name", &model);
  if (result != GC_ERR_SUCCESS) return result;
  u3v::tsManifestEntry entry;
  u3v::ParseFirstManifestEntry(manifest_, &entry);
  return CopyText(u3v::ManifestUrl(manufacturer, model, entry), buffer, size);
}

GC_ERROR tcPortU3V::GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                   size_t* size) {
  if (index != 0) return GC_ERR_INVALID_INDEX;
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  tcMutexLock lock(AccessMutex());
  GC_ERROR result = LoadManifest();
  if (result != GC_ERR_SUCCESS) return result;
  u3v::tsManifestEntry entry;
  u3v::ParseFirstManifestEntry(manifest_, &entry);
  auto answerInt = [&](uint32_t value) {
    *type = INFO_DATATYPE_INT32;
    return CopyValue(static_cast<int32_t>(value), buffer, size);
  };
  auto answerUint64 = [&](uint64_t value) {
    *type = INFO_DATATYPE_UINT64;
    return CopyValue(value, buffer, size);
  };
  switch (command) {
    case URL_INFO_URL:
      *type = INFO_DATATYPE_STRING;
      return AnswerUrl(buffer, size);
    case URL_INFO_SCHEMA_VER_MAJOR:
      return answerInt(entry.schemaMajor);
    case URL_INFO_SCHEMA_VER_MINOR:
      return answerInt(entry.schemaMinor);
    case URL_INFO_FILE_VER_MAJOR:
      return answerInt(entry.versionMajor);
    case URL_INFO_FILE_VER_MINOR:
      return answerInt(entry.versionMinor);
    case URL_INFO_FILE_VER_SUBMINOR:
      return answerInt(entry.versionSubminor);
    case URL_INFO_FILE_SHA1_HASH:
      *type = INFO_DATATYPE_BUFFER;
      return CopyAnswer(entry.sha1.data(), entry.sha1.size(), buffer, size);
    case URL_INFO_FILE_REGISTER_ADDRESS:
      return answerUint64(entry.address);
    case URL_INFO_FILE_SIZE:
      return answerUint64(entry.size);
    case URL_INFO_SCHEME:
      return answerInt(URL_SCHEME_LOCAL);
    default:
      return GC_ERR_NOT_IMPLEMENTED;  // the file name among them: the URL has none
  }
}
