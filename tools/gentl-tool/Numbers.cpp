// Number and byte-string parsing and formatting for the command line and the output.
#include "Numbers.h"

#include <cctype>
#include <charconv>
#include <cstdio>

#include "tcToolError.h"

namespace {

tcToolError BadNumber(std::string_view text, std::string_view what, std::string_view expected) {
  return UsageError(std::string(what) + " must be " + std::string(expected) + ", not \"" +
                    std::string(text) + "\".");
}

bool HasHexPrefix(std::string_view text) {
  return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

uint64_t ParseNumber(std::string_view text, std::string_view what) {
  int base = 10;
  std::string_view digits = text;
  if (HasHexPrefix(text)) {
    base = 16;
    digits.remove_prefix(2);
  }
  uint64_t value = 0;
  const char* end = digits.data() + digits.size();
  auto [stop, error] = std::from_chars(digits.data(), end, value, base);
  if (digits.empty() || error != std::errc() || stop != end) {
    const char* expected = error == std::errc::result_out_of_range
                               ? "a number that fits in 64 bits"
                               : "a decimal or 0x-hexadecimal number";
    throw BadNumber(text, what, expected);
  }
  return value;
}

std::vector<uint8_t> ParseHexBytes(std::string_view text, std::string_view what) {
  std::string_view digits = HasHexPrefix(text) ? text.substr(2) : text;
  std::vector<uint8_t> bytes;
  int high = -1;
  for (char c : digits) {
    if ((c == ':' || c == ' ') && high < 0) continue;
    const int digit = HexDigit(c);
    if (digit < 0) throw BadNumber(text, what, "hexadecimal digit pairs such as de:ad:be:ef");
    if (high < 0) {
      high = digit;
    } else {
      bytes.push_back(static_cast<uint8_t>(high << 4 | digit));
      high = -1;
    }
  }
  if (high >= 0 || bytes.empty()) {
    throw BadNumber(text, what, "hexadecimal digit pairs such as de:ad:be:ef");
  }
  return bytes;
}

std::string Hex(uint64_t value, int digits) {
  char text[32];
  snprintf(text, sizeof text, "0x%0*llX", digits, static_cast<unsigned long long>(value));
  return text;
}

uint64_t LittleEndian(const std::vector<uint8_t>& bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i-- > 0;)
    value = value << 8 | bytes[i];
  return value;
}

std::vector<uint8_t> LittleEndianBytes(uint64_t value, size_t size) {
  if (size < 8 && (value >> (8 * size)) != 0) {
    throw UsageError("VALUE " + std::to_string(value) + " does not fit in " + std::to_string(size) +
                     (size == 1 ? " byte." : " bytes."));
  }
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<uint8_t>(value >> (8 * i));
  return bytes;
}

std::string HexDump(uint64_t address, const std::vector<uint8_t>& bytes) {
  std::string out;
  for (size_t line = 0; line < bytes.size(); line += 16) {
    out += Hex(address + line, 8) + " ";
    std::string text;
    for (size_t i = line; i < line + 16; ++i) {
      char byte[4] = "   ";
      if (i < bytes.size()) {
        snprintf(byte, sizeof byte, " %02x", bytes[i]);
        text += std::isprint(bytes[i]) ? static_cast<char>(bytes[i]) : '.';
      }
      out += byte;
    }
    out += "  |" + text + "|\n";
  }
  return out;
}
