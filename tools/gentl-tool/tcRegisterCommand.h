// gentl-tool read / write: register access on any module's port or the remote device's.
#pragma once

#include <cstdint>
#include <vector>

#include "tcArguments.h"

class tcRegisterCommand {
 public:
  // `write` selects the write command. Throws a usage error for bad arguments.
  tcRegisterCommand(const tcArguments& arguments, bool write);
  int Run();

  // The bytes VALUE stands for: a number written little-endian in `size` bytes (1, 2, 4 or 8;
  // 0 means 4), or hexadecimal digit pairs such as de:ad:be:ef (which must be `size` bytes
  // when size is not 0).
  static std::vector<uint8_t> ValueBytes(const std::string& value, size_t size);

 private:
  static void PrintValue(uint64_t address, const std::vector<uint8_t>& bytes);

  const tcArguments& arguments_;
  bool write_;
  uint64_t address_ = 0;
  size_t size_ = 4;
  std::vector<uint8_t> bytes_;
};
