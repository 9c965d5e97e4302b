// A sparse in-memory register space that serves as a tsPortAccess, for GenApi tests that run
// without the producer.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "ArvPortDevice.h"

// Every address is readable and writable; bytes never written read as zero. Multi-byte values
// are stored little-endian, as the producer's devices do.
class tcMemoryPort {
 public:
  bool Read(uint64_t address, void* buffer, size_t size) const;
  bool Write(uint64_t address, const void* buffer, size_t size);

  // A tsPortAccess bound to this object, which must outlive it.
  tsPortAccess Access();

  void WriteUnsigned(uint64_t address, uint64_t value, size_t size);
  uint64_t ReadUnsigned(uint64_t address, size_t size) const;
  void WriteDouble(uint64_t address, double value);
  double ReadDouble(uint64_t address) const;
  // Writes `text` NUL-padded to `size` bytes.
  void WriteString(uint64_t address, const std::string& text, size_t size);

 private:
  std::map<uint64_t, uint8_t> bytes_;
};
