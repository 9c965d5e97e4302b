// Builders of GVSP packets (leader, payload, trailer; standard and extended ids) for tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/tcWireWriter.h"

struct tsGvspFrameShape {
  bool extendedIds = false;
  uint16_t status = 0;
  uint32_t pixelFormat = 0x01080001;  // Mono8
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t offsetX = 0;
  uint32_t offsetY = 0;
  uint16_t paddingX = 0;
  uint16_t paddingY = 0;
  uint64_t ticks = 0;
  uint16_t payloadType = 1;
};

inline std::vector<std::byte> GvspHeader(const tsGvspFrameShape& shape, uint8_t format,
                                         uint64_t blockId, uint32_t packetId, size_t extra) {
  size_t header = shape.extendedIds ? 20 : 8;
  std::vector<std::byte> packet(header + extra);
  tcWireWriter writer(packet);
  writer.U16Be(shape.status);
  if (shape.extendedIds) {
    writer.U16Be(0);
    writer.U32Be(uint32_t{0x80u | format} << 24);
    writer.U64Be(blockId);
    writer.U32Be(packetId);
  } else {
    writer.U16Be(static_cast<uint16_t>(blockId));
    writer.U32Be(uint32_t{format} << 24 | (packetId & 0xFFFFFF));
  }
  return packet;
}

inline std::vector<std::byte> GvspLeader(const tsGvspFrameShape& shape, uint64_t blockId) {
  std::vector<std::byte> packet = GvspHeader(shape, 1, blockId, 0, 36);
  tcWireWriter writer{std::span(packet).subspan(shape.extendedIds ? 20 : 8)};
  writer.U16Be(0x0000);
  writer.U16Be(shape.payloadType);
  writer.U32Be(static_cast<uint32_t>(shape.ticks >> 32));
  writer.U32Be(static_cast<uint32_t>(shape.ticks));
  for (uint32_t v : {shape.pixelFormat, shape.width, shape.height, shape.offsetX, shape.offsetY})
    writer.U32Be(v);
  writer.U16Be(shape.paddingX);
  writer.U16Be(shape.paddingY);
  return packet;
}

// A payload packet whose bytes are (offset + i + seed) modulo 256 for its place in the frame.
inline std::vector<std::byte> GvspPayload(const tsGvspFrameShape& shape, uint64_t blockId,
                                          uint32_t packetId, size_t length, size_t offset,
                                          uint8_t seed) {
  std::vector<std::byte> packet = GvspHeader(shape, 3, blockId, packetId, length);
  size_t header = shape.extendedIds ? 20 : 8;
  for (size_t i = 0; i < length; ++i)
    packet[header + i] = std::byte((offset + i + seed) % 256);
  return packet;
}

inline std::vector<std::byte> GvspTrailer(const tsGvspFrameShape& shape, uint64_t blockId,
                                          uint32_t packetId) {
  std::vector<std::byte> packet = GvspHeader(shape, 2, blockId, packetId, 8);
  tcWireWriter writer{std::span(packet).subspan(shape.extendedIds ? 20 : 8)};
  writer.U16Be(0);
  writer.U16Be(shape.payloadType);
  writer.U32Be(shape.height);
  return packet;
}
