// libFuzzer target: the stream's leader and trailer parsers and the transfer plan over arbitrary
// bytes. A parsed leader or trailer must have come from enough bytes with the right magic, and
// every plan must cover exactly the payload it was made for.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

#include "u3v/U3vStreamFormat.h"

namespace {

void Check(bool condition) {
  if (!condition) abort();
}

uint32_t Magic(std::span<const uint8_t> bytes) {
  uint32_t magic = 0;
  if (bytes.size() >= 4) memcpy(&magic, bytes.data(), 4);
  return magic;
}

void CheckPlan(uint64_t payload) {
  u3v::tsTransferPlan plan = u3v::MakeTransferPlan(payload);
  Check(uint64_t{plan.size} * plan.count + plan.final1 + plan.final2 == payload);
  Check(plan.final1 <= 0x7FFC00 && plan.final2 < u3v::kFinalTransferSize);
  Check(plan.size % u3v::kFinalTransferSize == 0 && plan.count >= 1);
  Check(!plan.final1External || plan.final1 < u3v::kFinalTransferSize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::span<const uint8_t> bytes(data, size);
  u3v::tsLeader leader;
  if (u3v::ParseLeader(bytes, &leader)) {
    Check(size >= u3v::kLeaderMinSize && Magic(bytes) == u3v::kLeaderMagic);
    uint64_t blockId = 0;
    memcpy(&blockId, data + 8, 8);
    Check(leader.blockId == blockId);
  }
  u3v::tsTrailer trailer;
  if (u3v::ParseTrailer(bytes, &trailer)) {
    Check(size >= u3v::kTrailerMinSize && Magic(bytes) == u3v::kTrailerMagic);
    uint32_t sizeY = 0;
    memcpy(&sizeY, data + 28, 4);
    Check(trailer.sizeY == sizeY);
  }
  uint64_t payload = 0;
  memcpy(&payload, data, std::min(size, sizeof payload));
  // Sizes from 2^55 on would need more than 2^32 transfers; no buffer holds them, so a start
  // refuses them before any transfer is planned.
  CheckPlan((payload >> (size > 8 ? data[8] % 64 : 0)) & (u3v::kPlannablePayloads - 1));
  return 0;
}
