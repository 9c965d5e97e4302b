// GVCP acknowledge parsing, command headers and the status mapping.
#include "gev/Gvcp.h"

#include <algorithm>

#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"

using namespace GenTL;

namespace gvcp {

bool ParseAckHeader(std::span<const std::byte> datagram, tsAckHeader* header) {
  tcWireReader reader(datagram);
  header->status = reader.U16Be();
  header->answer = reader.U16Be();
  header->length = reader.U16Be();
  header->ackId = reader.U16Be();
  return !reader.Failed();
}

void WriteCommandHeader(std::span<std::byte> out, uint8_t flags, uint16_t command,
                        uint16_t payloadLength, uint16_t requestId) {
  tcWireWriter writer(out);
  writer.U8(kKey);
  writer.U8(flags);
  writer.U16Be(command);
  writer.U16Be(payloadLength);
  writer.U16Be(requestId);
}

AckVerdict CheckAck(std::span<const std::byte> reply, uint16_t requestId, uint16_t answer,
                    size_t minimum, tsAckHeader* header) {
  if (!ParseAckHeader(reply, header) || reply.size() < minimum) return AckVerdict::kShort;
  if (header->ackId != requestId) return AckVerdict::kMismatch;
  if (header->status != 0) return AckVerdict::kFailed;
  if (header->answer != answer) return AckVerdict::kUnexpectedAnswer;
  return AckVerdict::kGood;
}

DiscoveryVerdict CheckDiscoveryAck(std::span<const std::byte> datagram, uint16_t requestId,
                                   tsAckHeader* header,
                                   std::span<uint8_t, kDiscoveryRecordSize> record) {
  if (!ParseAckHeader(datagram, header)) return DiscoveryVerdict::kSmall;
  bool good = header->status == 0 && header->answer == kDiscoveryAck &&
              header->ackId == requestId && header->length == kDiscoveryRecordSize &&
              datagram.size() >= kHeaderSize + kDiscoveryRecordSize;
  if (!good) return DiscoveryVerdict::kUnexpected;
  auto payload = datagram.subspan(kHeaderSize, kDiscoveryRecordSize);
  std::transform(payload.begin(), payload.end(), record.begin(),
                 [](std::byte b) { return static_cast<uint8_t>(b); });
  return DiscoveryVerdict::kGood;
}

GC_ERROR StatusResult(uint16_t status) {
  switch (status) {
    case 0x0000:
    case 0x0100:
      return GC_ERR_SUCCESS;
    case 0x8001:
      return GC_ERR_NOT_IMPLEMENTED;
    case 0x8002:
    case 0x8005:
      return GC_ERR_INVALID_PARAMETER;
    case 0x8003:
      return GC_ERR_INVALID_ADDRESS;
    case 0x8004:
    case 0x8006:
      return GC_ERR_ACCESS_DENIED;
    case 0x8007:
      return GC_ERR_BUSY;
    case 0x800C:
      return GC_ERR_RESOURCE_EXHAUSTED;
    case 0x800D:
      return GC_ERR_BUFFER_TOO_SMALL;
    case 0x800E:
      return GC_ERR_INVALID_VALUE;
    case 0x8016:
      return GC_ERR_TIMEOUT;
    default:
      return GC_ERR_ERROR;
  }
}

}  // namespace gvcp
