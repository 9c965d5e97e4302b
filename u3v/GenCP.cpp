// GenCP commands, acknowledge checks and status mapping.
#include "u3v/GenCP.h"

#include "base/Log.h"
#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"

using namespace GenTL;

namespace GenCP {

namespace {

constexpr uint16_t kMinimumTransferLength = 32;

uint16_t PieceSize(uint16_t maxLength, uint16_t overhead) {
  auto piece = static_cast<uint16_t>(maxLength - overhead);
  if (piece % 4 != 0) piece = static_cast<uint16_t>((piece - 4) & ~3u);
  return piece;
}

void WriteHeader(tcWireWriter& writer, uint16_t command, uint16_t scdLength, uint16_t requestId) {
  writer.U32Le(kPrefix);
  writer.U16Le(kFlagAckRequested);
  writer.U16Le(command);
  writer.U16Le(scdLength);
  writer.U16Le(requestId);
}

struct tsAckHeader {
  uint16_t status;
  uint16_t command;
  uint16_t requestId;
};

tsAckHeader ReadHeader(std::span<const std::byte> ack) {
  tcWireReader reader(ack);
  reader.Skip(4);  // the prefix is not checked
  tsAckHeader header{};
  header.status = reader.U16Le();
  header.command = reader.U16Le();
  reader.Skip(2);  // nor the SCD length
  header.requestId = reader.U16Le();
  return header;
}

// The request id check: the acknowledge echoes the counter before its increment, compared in
// 32 bits, so the request sent as 0xFFFF (counter now 0) never matches.
bool RequestIdMatches(uint16_t ackId, uint16_t counter) {
  return static_cast<uint32_t>(ackId) == static_cast<uint32_t>(counter) - 1;
}

uint16_t PendingTimeout(std::span<const std::byte> ack) {
  tcWireReader reader(ack.subspan(14));
  return reader.U16Le();
}

tsAckVerdict Failed(GC_ERROR error) {
  return {tsAckVerdict::Kind::kFailed, error, 0};
}

}  // namespace

bool checkGenCpError(int code, const char* text) {
  if (code == 0) return true;
  GENTL_LOG(kLogError, "%s: Error = %X", text != nullptr ? text : "", code);
  return false;
}

uint16_t ReadPieceSize(uint16_t maxAckLength) {
  return PieceSize(maxAckLength, kReadAckOverhead);
}

uint16_t WritePieceSize(uint16_t maxCommandLength) {
  return PieceSize(maxCommandLength, kWriteMemHeaderSize);
}

uint16_t TransferLengthFromRegister(uint32_t value) {
  if (value > 0x10000) return 0;
  auto length = static_cast<uint16_t>(value);
  if (length != 0 && length < kMinimumTransferLength) return kDefaultTransferLength;
  return length;
}

void BuildReadMem(std::span<std::byte, kReadMemCmdSize> out, uint16_t requestId, uint64_t address,
                  uint16_t length) {
  tcWireWriter writer(out);
  WriteHeader(writer, kReadMemCmd, 12, requestId);
  writer.U64Le(address);
  writer.U16Le(0);
  writer.U16Le(length);
}

size_t BuildWriteMem(std::span<std::byte> out, uint16_t requestId, uint64_t address,
                     std::span<const std::byte> data) {
  tcWireWriter writer(out);
  WriteHeader(writer, kWriteMemCmd, static_cast<uint16_t>(data.size() + 8), requestId);
  writer.U64Le(address);
  writer.Bytes(data);
  return writer.Failed() ? 0 : writer.Position();
}

tsAckVerdict CheckReadAck(std::span<const std::byte> ack, uint16_t counter, size_t pieceSize) {
  if (ack.size() < 8) return Failed(GC_ERR_IO);
  tsAckHeader header = ReadHeader(ack);
  if (header.command == kPendingAck) {
    if (ack.size() < kPendingAckSize) return Failed(GC_ERR_IO);
    return {tsAckVerdict::Kind::kPending, GC_ERR_SUCCESS, PendingTimeout(ack)};
  }
  if (header.command != kReadMemAck) return Failed(GC_ERR_IO);
  if (ack.size() < kHeaderSize || !RequestIdMatches(header.requestId, counter)) {
    return Failed(GC_ERR_IO);
  }
  if (header.status != 0) return Failed(StatusToError(header.status, false));
  if (ack.size() - kHeaderSize < pieceSize) return Failed(GC_ERR_IO);
  return {tsAckVerdict::Kind::kDone, GC_ERR_SUCCESS, 0};
}

tsAckVerdict CheckWriteAck(std::span<const std::byte> ack, uint16_t counter) {
  if (ack.size() != kWriteMemAckSize) return Failed(GC_ERR_IO);
  tsAckHeader header = ReadHeader(ack);
  if (header.command == kPendingAck) {
    return {tsAckVerdict::Kind::kPending, GC_ERR_SUCCESS, PendingTimeout(ack)};
  }
  if (header.command != kWriteMemAck || !RequestIdMatches(header.requestId, counter)) {
    return Failed(GC_ERR_IO);
  }
  if (header.status != 0) return Failed(StatusToError(header.status, true));
  return {tsAckVerdict::Kind::kDone, GC_ERR_SUCCESS, 0};
}

GC_ERROR StatusToError(uint16_t status, bool write) {
  switch (status) {
    case 0x8001:
      return GC_ERR_NOT_IMPLEMENTED;
    case 0x8002:
      return write ? GC_ERR_INVALID_PARAMETER : GC_ERR_IO;
    case 0x8003:
      return GC_ERR_INVALID_ADDRESS;
    case 0x8004:
      return write ? GC_ERR_ACCESS_DENIED : GC_ERR_IO;
    case 0x8006:
      return GC_ERR_ACCESS_DENIED;
    case 0x800B:
      return GC_ERR_TIMEOUT;
    default:
      return GC_ERR_IO;
  }
}

}  // namespace GenCP
