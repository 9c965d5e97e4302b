// Bounds-checked reader of untrusted packet bytes whose failure flag stays set after an overrun.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// A read that does not fit what is left reads nothing, returns zeros, and marks the reader
// failed; every later read then fails too, so a parser may check Failed() once at the end.
class tcWireReader {
 public:
  explicit tcWireReader(std::span<const std::byte> data) : data_(data) {}
  explicit tcWireReader(std::span<const uint8_t> data) : data_(std::as_bytes(data)) {}

  uint8_t U8();
  uint16_t U16Be();
  uint32_t U32Be();
  uint64_t U64Be();
  uint16_t U16Le();
  uint32_t U32Le();
  uint64_t U64Le();
  void Skip(size_t count);
  // Copies `out.size()` bytes; on failure `out` is zero-filled.
  void Bytes(std::span<std::byte> out);
  // A text field of `fieldSize` bytes, cut at its first NUL (the whole field is consumed).
  std::string Text(size_t fieldSize);

  bool Failed() const { return failed_; }
  size_t Position() const { return position_; }
  size_t Remaining() const { return data_.size() - position_; }

 private:
  // The next `count` bytes, or an empty span (and the failure flag) when they do not fit.
  std::span<const std::byte> Take(size_t count);
  template <size_t N>
  std::span<const std::byte, N> TakeFixed();

  std::span<const std::byte> data_;
  size_t position_ = 0;  // never above data_.size()
  bool failed_ = false;
};
