// Parsing and printing of the numbers and byte strings that gentl-tool reads and writes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A decimal or 0x-hexadecimal unsigned number; nothing else in `text`. Throws a usage error
// that names `what` (such as "ADDRESS") when `text` is not such a number.
uint64_t ParseNumber(std::string_view text, std::string_view what);

// Hexadecimal digit pairs, optionally separated by ':' or ' ' and optionally led by "0x":
// "de:ad:be:ef" or "deadbeef" give {0xde, 0xad, 0xbe, 0xef}. Throws a usage error otherwise.
std::vector<uint8_t> ParseHexBytes(std::string_view text, std::string_view what);

// "0x" and `digits` hexadecimal digits at least, upper case: Hex(0x3a, 4) is "0x003A".
std::string Hex(uint64_t value, int digits = 1);

// The little-endian number held by 1 to 8 bytes.
uint64_t LittleEndian(const std::vector<uint8_t>& bytes);

// `size` bytes (1 to 8) of `value`, little-endian; throws a usage error when it does not fit.
std::vector<uint8_t> LittleEndianBytes(uint64_t value, size_t size);

// Lines of 16 bytes: "0x00000000  56 61 6e ...  |Van...|", the address of each line first.
std::string HexDump(uint64_t address, const std::vector<uint8_t>& bytes);
