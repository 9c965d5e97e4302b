// A sparse in-memory register space that serves as a tsPortAccess.
#include "MemoryPort.h"

#include <bit>

bool tcMemoryPort::Read(uint64_t address, void* buffer, size_t size) const {
  auto* out = static_cast<uint8_t*>(buffer);
  for (size_t i = 0; i < size; ++i) {
    auto found = bytes_.find(address + i);
    out[i] = found != bytes_.end() ? found->second : 0;
  }
  return true;
}

bool tcMemoryPort::Write(uint64_t address, const void* buffer, size_t size) {
  const auto* in = static_cast<const uint8_t*>(buffer);
  for (size_t i = 0; i < size; ++i) {
    bytes_[address + i] = in[i];
  }
  return true;
}

tsPortAccess tcMemoryPort::Access() {
  return {
      [this](uint64_t address, void* buffer, size_t size) { return Read(address, buffer, size); },
      [this](uint64_t address, const void* buffer, size_t size) {
        return Write(address, buffer, size);
      }};
}

void tcMemoryPort::WriteUnsigned(uint64_t address, uint64_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    bytes_[address + i] = static_cast<uint8_t>(value >> (8 * i));
  }
}

uint64_t tcMemoryPort::ReadUnsigned(uint64_t address, size_t size) const {
  uint8_t bytes[8] = {};
  Read(address, bytes, size);
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) {
    value |= uint64_t{bytes[i]} << (8 * i);
  }
  return value;
}

void tcMemoryPort::WriteDouble(uint64_t address, double value) {
  WriteUnsigned(address, std::bit_cast<uint64_t>(value), sizeof value);
}

double tcMemoryPort::ReadDouble(uint64_t address) const {
  return std::bit_cast<double>(ReadUnsigned(address, sizeof(double)));
}

void tcMemoryPort::WriteString(uint64_t address, const std::string& text, size_t size) {
  std::string padded = text.substr(0, size);
  padded.resize(size, '\0');
  Write(address, padded.data(), size);
}
