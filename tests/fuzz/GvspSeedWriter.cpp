// Writes the seeds of the GVSP packet fuzzer into the folder named by its argument: whole
// frames (leader, payloads, trailer) in the standard and the extended id form, and a frame
// with a resent packet, framed as the fuzzer reads its input.
#include <cstdio>
#include <string>
#include <vector>

#include "support/GvspPackets.h"

namespace {

// Appends `packet` with its length as the fuzzer decodes it (low byte modulo 64, plus 4 x).
void Append(std::vector<std::byte>& out, const std::vector<std::byte>& packet) {
  size_t quarter = packet.size() / 4;
  out.push_back(std::byte(packet.size() - 4 * quarter));
  out.push_back(std::byte(quarter));
  out.insert(out.end(), packet.begin(), packet.end());
}

bool WriteFrame(const std::string& path, tsGvspFrameShape shape, uint64_t block, bool resent) {
  size_t header = shape.extendedIds ? 20 : 8;
  size_t perPacket = 136 - 28 - header;  // packet size 136: first byte 96
  std::vector<std::byte> out{std::byte{96}};
  Append(out, GvspLeader(shape, block));
  for (uint32_t id = 1; id <= 3; ++id) {
    if (resent && id == 2) continue;
    Append(out, GvspPayload(shape, block, id, perPacket, (id - 1) * perPacket, 0));
  }
  Append(out, GvspTrailer(shape, block, 4));
  if (resent) {
    shape.status = 0x0100;
    Append(out, GvspPayload(shape, block, 2, perPacket, perPacket, 0));
  }
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  bool ok = fwrite(out.data(), 1, out.size(), file) == out.size();
  return fclose(file) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::string folder = argv[1];
  tsGvspFrameShape standard{.width = 16, .height = 16};
  tsGvspFrameShape extended{.extendedIds = true, .width = 16, .height = 16};
  bool ok = WriteFrame(folder + "/standard", standard, 7, false) &&
            WriteFrame(folder + "/extended", extended, 0x100000001ull, false) &&
            WriteFrame(folder + "/resent", standard, 9, true);
  return ok ? 0 : 1;
}
