// libFuzzer target: GVSP packets (leader, payload, trailer, both id forms) through the header
// decoder and the frame assembler. The input is a sequence of packets, each preceded by its
// length (one byte, modulo 64, plus 4 * the next byte); the first byte picks the packet size.
// No packet may read or write outside its bytes or a buffer, and every buffer must stay in
// exactly one place.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "gev/tcGvspAssembler.h"
#include "support/FakeAssemblerTarget.h"

namespace {

constexpr uint32_t kCamera = 0x0A000001;

void Check(bool condition) {
  if (!condition) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  std::span<const std::byte> input = std::as_bytes(std::span(data, size));
  uint16_t packetSize = static_cast<uint16_t>(40 + std::to_integer<uint8_t>(input[0]));
  input = input.subspan(1);
  tcFakeAssemblerTarget target(3, 600);
  {
    tcGvspAssembler assembler(target, {packetSize, true, kCamera, 1000});
    while (input.size() >= 2) {
      size_t length =
          std::to_integer<size_t>(input[0]) % 64 + 4 * std::to_integer<size_t>(input[1]);
      input = input.subspan(2);
      length = std::min(length, input.size());
      tsGvspPacket packet;
      if (tsGvspPacket::Parse(input.first(length), &packet) == tsGvspPacket::tcResult::kOk) {
        Check(packet.headerLength + packet.data.size() == length);
      }
      assembler.HandlePacket(input.first(length), kCamera);
      input = input.subspan(length);
      Check(assembler.InProgressCount() <= tcGvspAssembler::kMaxInProgress);
      Check(target.input.size() + target.output.size() + assembler.InProgressCount() == 3);
    }
  }
  Check(target.input.size() + target.output.size() == 3);
  return 0;
}
