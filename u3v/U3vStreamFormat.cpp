// The transfer plan of a payload size, and the leader and trailer parsers.
#include "u3v/U3vStreamFormat.h"

#include "base/tcWireReader.h"

namespace u3v {

tsTransferPlan MakeTransferPlan(uint64_t payload) {
  tsTransferPlan plan;
  if (payload >= kMaxTransferSize) {
    plan.size = kMaxTransferSize;
    plan.count = static_cast<uint32_t>(payload >> 23);
    plan.final1 = static_cast<uint32_t>(payload & 0x7FFC00);
    plan.final2 = static_cast<uint32_t>(payload & 0x3FF);
  } else {
    plan.size = static_cast<uint32_t>(payload & ~uint64_t{0x3FF});
    plan.count = 1;  // also when the size is 0
    plan.final1 = static_cast<uint32_t>(payload & 0x3FF);
    plan.final1External = plan.final1 != 0;
  }
  return plan;
}

bool ParseLeader(std::span<const uint8_t> bytes, tsLeader* out) {
  if (bytes.size() < kLeaderMinSize) return false;
  tcWireReader reader(bytes);
  if (reader.U32Le() != kLeaderMagic) return false;
  tsLeader leader;
  reader.Skip(2);
  leader.size = reader.U16Le();
  leader.blockId = reader.U64Le();
  reader.Skip(2);
  leader.payloadType = reader.U16Le();
  leader.timestamp = reader.U64Le();
  leader.pixelFormat = reader.U32Le();
  leader.sizeX = reader.U32Le();
  leader.sizeY = reader.U32Le();
  leader.offsetX = reader.U32Le();
  leader.offsetY = reader.U32Le();
  leader.paddingX = reader.U16Le();
  *out = leader;
  return true;
}

bool ParseTrailer(std::span<const uint8_t> bytes, tsTrailer* out) {
  if (bytes.size() < kTrailerMinSize) return false;
  tcWireReader reader(bytes);
  if (reader.U32Le() != kTrailerMagic) return false;
  tsTrailer trailer;
  reader.Skip(2);
  trailer.size = reader.U16Le();
  trailer.blockId = reader.U64Le();
  trailer.status = reader.U16Le();
  reader.Skip(2);
  trailer.validPayloadSize = reader.U64Le();
  trailer.sizeY = reader.U32Le();
  *out = trailer;
  return true;
}

}  // namespace u3v
