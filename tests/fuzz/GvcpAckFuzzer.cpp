// libFuzzer target: a GVCP acknowledgement as a register or memory exchange receives it. The
// first input bytes choose the request id (2), the expected answer code (2) and the minimum
// length (2); the rest is the datagram. The verdict must follow the checks in their order, and
// the status must always map to a GenTL result.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
  if (size < 6) return 0;
  const uint16_t requestId = Be16(data);
  const uint16_t answer = Be16(data + 2);
  const size_t minimum = Be16(data + 4) % 600;
  std::span<const std::byte> reply(reinterpret_cast<const std::byte*>(data + 6), size - 6);
  gvcp::tsAckHeader header;
  using enum gvcp::AckVerdict;
  gvcp::AckVerdict verdict = gvcp::CheckAck(reply, requestId, answer, minimum, &header);
  if (reply.size() < gvcp::kHeaderSize || reply.size() < minimum) {
    Check(verdict == kShort);
    return 0;
  }
  const uint8_t* bytes = data + 6;
  Check(header.status == Be16(bytes) && header.answer == Be16(bytes + 2) &&
        header.length == Be16(bytes + 4) && header.ackId == Be16(bytes + 6));
  gvcp::AckVerdict expected = header.ackId != requestId ? kMismatch
                              : header.status != 0      ? kFailed
                              : header.answer != answer ? kUnexpectedAnswer
                                                        : kGood;
  Check(verdict == expected);
  GenTL::GC_ERROR result = gvcp::StatusResult(header.status);
  Check(result == 0 || (result <= -1001 && result >= -1022));
  Check((result == 0) == (header.status == 0 || header.status == 0x0100));
  return 0;
}
