// libFuzzer target: a datagram received during a discovery pass. The first two input bytes are
// the pass's request id, the rest the datagram. The verdict must agree with a plain reading of
// the header, and a good acknowledgement must hand over exactly the record's bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "gev/Gvcp.h"

namespace {

void Check(bool condition) {
  if (!condition) abort();
}

uint16_t Be16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const uint16_t requestId = Be16(data);
  std::span<const std::byte> datagram(reinterpret_cast<const std::byte*>(data + 2), size - 2);
  gvcp::tsAckHeader header;
  uint8_t record[gvcp::kDiscoveryRecordSize];
  memset(record, 0xA5, sizeof record);
  gvcp::DiscoveryVerdict verdict =
      gvcp::CheckDiscoveryAck(datagram, requestId, &header, std::span<uint8_t, 248>(record));
  const uint8_t* bytes = data + 2;
  if (datagram.size() < gvcp::kHeaderSize) {
    Check(verdict == gvcp::DiscoveryVerdict::kSmall);
    return 0;
  }
  Check(header.status == Be16(bytes) && header.answer == Be16(bytes + 2) &&
        header.length == Be16(bytes + 4) && header.ackId == Be16(bytes + 6));
  bool good = header.status == 0 && header.answer == gvcp::kDiscoveryAck &&
              header.ackId == requestId && header.length == gvcp::kDiscoveryRecordSize &&
              datagram.size() >= gvcp::kHeaderSize + gvcp::kDiscoveryRecordSize;
  Check(verdict == (good ? gvcp::DiscoveryVerdict::kGood : gvcp::DiscoveryVerdict::kUnexpected));
  if (good) Check(memcmp(record, bytes + gvcp::kHeaderSize, sizeof record) == 0);
  return 0;
}
