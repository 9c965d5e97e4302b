// libFuzzer target: the GenCP acknowledge checks and the manifest entry parser over arbitrary
// bytes. The first three bytes choose the request counter and the piece size; the rest is the
// acknowledge. A completed access must really be a matching acknowledge that carries its data.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "base/tcWireReader.h"
#include "u3v/GenCP.h"
#include "u3v/U3vManifest.h"

namespace {

void Check(bool condition) {
  if (!condition) abort();
}

struct tsHeader {
  uint16_t status;
  uint16_t command;
  uint16_t requestId;
};

tsHeader Header(std::span<const std::byte> ack) {
  tcWireReader reader(ack);
  reader.Skip(4);
  tsHeader header{};
  header.status = reader.U16Le();
  header.command = reader.U16Le();
  reader.Skip(2);
  header.requestId = reader.U16Le();
  return header;
}

using Kind = GenCP::tsAckVerdict::Kind;

void CheckRead(std::span<const std::byte> ack, uint16_t counter, size_t piece) {
  GenCP::tsAckVerdict verdict = GenCP::CheckReadAck(ack, counter, piece);
  tsHeader header = Header(ack);
  if (verdict.kind == Kind::kDone) {
    Check(ack.size() >= GenCP::kHeaderSize + piece);
    Check(header.status == 0 && header.command == GenCP::kReadMemAck);
    Check(static_cast<uint32_t>(header.requestId) + 1 == counter);
  } else if (verdict.kind == Kind::kPending) {
    Check(ack.size() >= GenCP::kPendingAckSize && header.command == GenCP::kPendingAck);
  } else {
    Check(verdict.error != GenTL::GC_ERR_SUCCESS);
  }
}

void CheckWrite(std::span<const std::byte> ack, uint16_t counter) {
  GenCP::tsAckVerdict verdict = GenCP::CheckWriteAck(ack, counter);
  tsHeader header = Header(ack);
  if (verdict.kind == Kind::kDone) {
    Check(ack.size() == GenCP::kWriteMemAckSize);
    Check(header.status == 0 && header.command == GenCP::kWriteMemAck);
    Check(static_cast<uint32_t>(header.requestId) + 1 == counter);
  } else if (verdict.kind == Kind::kPending) {
    Check(ack.size() == GenCP::kPendingAckSize && header.command == GenCP::kPendingAck);
  } else {
    Check(verdict.error != GenTL::GC_ERR_SUCCESS);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  auto counter = static_cast<uint16_t>(data[0] | data[1] << 8);
  size_t piece = GenCP::ReadPieceSize(static_cast<uint16_t>(data[2] << 4)) % 600;
  std::span<const std::byte> ack = std::as_bytes(std::span(data + 3, size - 3));
  CheckRead(ack, counter, piece);
  CheckWrite(ack, counter);
  u3v::tsManifestEntry entry;
  if (u3v::ParseFirstManifestEntry(ack, &entry)) {
    Check(ack.size() >= u3v::kManifestCountSize + 44);
    Check(entry.versionMinor <= 0xFF && entry.schemaMinor <= 0xFF);
    Check(u3v::ManifestUrl("m", "n", entry).size() < u3v::kUrlLimit);
  }
  return 0;
}
