// tcBufferGEV: per-frame packet bookkeeping, leader and trailer decoding, the missing check.
#include "gev/tcBufferGEV.h"

#include <algorithm>
#include <cstring>

#include "base/CopyAroundCache.h"
#include "base/tcWireReader.h"

namespace {

constexpr uint32_t kIpUdpHeaders = 28;

// Ticks to nanoseconds without the overflow of a 64-bit product.
uint64_t TicksToNs(uint64_t ticks, uint64_t frequency) {
  if (frequency == 0) return 0;
  return static_cast<uint64_t>(static_cast<unsigned __int128>(ticks) * 1000000000u / frequency);
}

}  // namespace

tcBufferGEV::tcBufferGEV(tcDataStream* stream, void* memory, size_t size, void* userPointer,
                         bool owned)
    : tcBuffer(stream, memory, size, userPointer, owned, "GEV") {}

void tcBufferGEV::Reset(uint16_t packetSize, bool standardIds) {
  headerLength = standardIds ? 8 : 20;
  payloadPerPacket =
      packetSize > kIpUdpHeaders + headerLength ? packetSize - kIpUdpHeaders - headerLength : 0;
  size_t slots = payloadPerPacket == 0 ? 0 : (size + payloadPerPacket - 1) / payloadPerPacket;
  received.assign(slots, 0);
  bytesWritten = 0;
  receivedCount = 0;
  highestStoredId = 0;
  expectedCount = 0;
  overflow = false;
  resendRequested = false;
  incomplete = true;
  trailerReserved = 0;
  trailerPayloadType = 0;
  trailerSizeY = 0;
}

void tcBufferGEV::ParseLeader(std::span<const std::byte> leader) {
  tcWireReader reader(leader);
  fieldInfo = reader.U8();
  leaderFlags = reader.U8();
  leaderPayloadType = reader.U16Be();
  uint64_t ticks = uint64_t{reader.U32Be()} << 32;
  ticks |= reader.U32Be();
  pixelFormat = reader.U32Be();
  pixelFormatValid = true;
  sizeX = reader.U32Be();
  sizeY = reader.U32Be();
  offsetX = reader.U32Be();
  offsetY = reader.U32Be();
  lineEndGap = reader.U16Be();
  imageEndGap = reader.U16Be();
  timestamp = ticks;
  timestampNs = TicksToNs(ticks, timestampFrequency);
  pixelFormatNamespace = GenTL::PIXELFORMAT_NAMESPACE_PFNC_32BIT;
  payloadType = leaderPayloadType;
  width = sizeX;
  height = sizeY;
  xOffset = offsetX;
  yOffset = offsetY;
  xPadding = lineEndGap;
  yPadding = imageEndGap;
  frameId = blockId;
  imageOffset = 0;
}

void tcBufferGEV::ParseTrailer(std::span<const std::byte> trailer) {
  tcWireReader reader(trailer);
  trailerReserved = reader.U16Be();
  trailerPayloadType = reader.U16Be();
  trailerSizeY = reader.U32Be();
}

tcBufferGEV::tcStore tcBufferGEV::StorePacket(uint32_t packetId, std::span<const std::byte> data) {
  // Packet id 0 is the leader's: a data packet carrying it would start one packet before the
  // buffer, so its offset wraps to a huge value and it is refused as an overflow.
  uint64_t offset = (uint64_t{packetId} - 1) * payloadPerPacket;
  if (packetId == 0 || offset > size || data.size() > size - offset) {
    overflow = true;
    return tcStore::kOverflow;
  }
  std::byte* place = static_cast<std::byte*>(memory) + offset;
  if (place != data.data()) CopyAroundCache(place, data.data(), data.size());
  if (packetId > received.size() || received[packetId - 1] != 0) return tcStore::kCopied;
  received[packetId - 1] = 1;
  highestStoredId = std::max(highestStoredId, packetId);
  bytesWritten += data.size();
  ++receivedCount;
  return tcStore::kStored;
}

std::span<std::byte> tcBufferGEV::PacketPlace(uint32_t packetId) const {
  uint64_t offset = (uint64_t{packetId} - 1) * payloadPerPacket;
  if (packetId == 0 || offset >= size) return {};
  return {static_cast<std::byte*>(memory) + offset,
          static_cast<size_t>(std::min<uint64_t>(payloadPerPacket, size - offset))};
}

int tcBufferGEV::CheckMissing(uint32_t count, std::vector<uint32_t>* missing) const {
  missing->clear();
  if (count == 0) count = expectedCount;
  if (count == 0) return -2;
  if (count > received.size()) return -1;
  for (uint32_t id = 1; id <= count; ++id) {
    if (received[id - 1] != 0) continue;
    if (missing->size() == kMaxMissing) return 1;
    missing->push_back(id);
  }
  return 0;
}

void tcBufferGEV::Complete() {
  incomplete = false;
  sizeFilled = bytesWritten;
  newData = true;
}
