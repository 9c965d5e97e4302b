// Bounds-checked writer of packet bytes into a fixed buffer; its failure flag stays set.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// A write that does not fit what is left writes nothing and marks the writer failed; every
// later write then fails too.
class tcWireWriter {
 public:
  explicit tcWireWriter(std::span<std::byte> buffer) : buffer_(buffer) {}

  void U8(uint8_t value);
  void U16Be(uint16_t value);
  void U32Be(uint32_t value);
  void U64Be(uint64_t value);
  void U16Le(uint16_t value);
  void U32Le(uint32_t value);
  void U64Le(uint64_t value);
  void Zeros(size_t count);
  void Bytes(std::span<const std::byte> bytes);
  // A text field of exactly `fieldSize` bytes: the text cut to fit, then NUL padding.
  void Text(std::string_view text, size_t fieldSize);

  bool Failed() const { return failed_; }
  size_t Position() const { return position_; }
  // The bytes written so far.
  std::span<const std::byte> Written() const { return buffer_.first(position_); }

 private:
  // The next `count` bytes of the buffer, or an empty span (and the failure flag).
  std::span<std::byte> Take(size_t count);
  template <size_t N>
  std::span<std::byte, N> TakeFixed();

  std::span<std::byte> buffer_;
  size_t position_ = 0;  // never above buffer_.size()
  bool failed_ = false;
  std::array<std::byte, 8> scratch_{};  // where a failed fixed-size write goes, unread
};
