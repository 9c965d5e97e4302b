// GVCP commands as a client sends them and acknowledges as tests take them apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "base/tcWireReader.h"
#include "base/tcWireWriter.h"

struct tsAck {
  uint16_t status = 0xFFFF;
  uint16_t answer = 0;
  uint16_t length = 0;
  uint16_t id = 0;
  std::vector<std::byte> payload;  // the bytes after the header, as received
  size_t size = 0;                 // the whole datagram

  uint32_t Word(size_t offset) const {
    tcWireReader reader(
        std::span<const std::byte>(payload).subspan(std::min(offset, payload.size())));
    return reader.U32Be();
  }
  std::string Text(size_t offset, size_t field) const {
    tcWireReader reader(
        std::span<const std::byte>(payload).subspan(std::min(offset, payload.size())));
    return reader.Text(field);
  }
};

inline tsAck ParseAck(std::span<const std::byte> datagram) {
  tsAck ack;
  tcWireReader reader(datagram);
  ack.status = reader.U16Be();
  ack.answer = reader.U16Be();
  ack.length = reader.U16Be();
  ack.id = reader.U16Be();
  if (!reader.Failed()) ack.payload.assign(datagram.begin() + 8, datagram.end());
  ack.size = datagram.size();
  return ack;
}

// A command with the acknowledge flag (unless `flags` says otherwise) and 32-bit words.
inline std::vector<std::byte> Command(uint16_t code, uint16_t id,
                                      std::initializer_list<uint32_t> words, uint8_t flags = 0x01) {
  std::vector<std::byte> bytes(8 + 4 * words.size());
  tcWireWriter writer(bytes);
  writer.U8(0x42);
  writer.U8(flags);
  writer.U16Be(code);
  writer.U16Be(static_cast<uint16_t>(4 * words.size()));
  writer.U16Be(id);
  for (uint32_t word : words)
    writer.U32Be(word);
  return bytes;
}

inline std::vector<std::byte> ReadMem(uint16_t id, uint32_t address, uint16_t count) {
  return Command(0x0084, id, {address, count});
}

inline std::vector<std::byte> WriteMem(uint16_t id, uint32_t address, const std::string& data) {
  std::vector<std::byte> bytes(12 + data.size());
  tcWireWriter writer(bytes);
  writer.U8(0x42);
  writer.U8(0x01);
  writer.U16Be(0x0086);
  writer.U16Be(static_cast<uint16_t>(4 + data.size()));
  writer.U16Be(id);
  writer.U32Be(address);
  writer.Text(data, data.size());
  return bytes;
}
