// tsGvspPacket: the standard (16-bit block, 24-bit packet id) and extended (64-bit block,
// 32-bit packet id) GVSP headers.
#include "gev/tsGvspPacket.h"

#include "base/tcWireReader.h"

tsGvspPacket::tcResult tsGvspPacket::Parse(std::span<const std::byte> packet, tsGvspPacket* out) {
  if (packet.size() < kStandardHeader) return tcResult::kShort;
  tcWireReader reader(packet);
  out->status = reader.U16Be();
  uint16_t blockOrFlags = reader.U16Be();
  uint8_t formatByte = reader.U8();
  out->extendedIds = (formatByte & 0x80) != 0;
  out->format = formatByte & 0x0F;
  if (!out->extendedIds) {
    out->blockId = blockOrFlags;
    out->packetId = uint32_t{reader.U8()} << 16 | reader.U16Be();
    out->headerLength = kStandardHeader;
  } else {
    if (packet.size() < kExtendedHeader) return tcResult::kShortExtended;
    reader.Skip(3);
    out->blockId = reader.U64Be();
    out->packetId = reader.U32Be();
    out->headerLength = kExtendedHeader;
  }
  out->data = packet.subspan(out->headerLength);
  return tcResult::kOk;
}
