// Bounds-checked writer of packet bytes into a fixed buffer.
#include "base/tcWireWriter.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/ByteOrder.h"

std::span<std::byte> tcWireWriter::Take(size_t count) {
  // Written as a subtraction: position_ <= size always holds, so this cannot wrap.
  if (failed_ || count > buffer_.size() - position_) {
    failed_ = true;
    return {};
  }
  std::span<std::byte> taken = buffer_.subspan(position_, count);
  position_ += count;
  return taken;
}

template <size_t N>
std::span<std::byte, N> tcWireWriter::TakeFixed() {
  static_assert(N <= sizeof scratch_);
  std::span<std::byte> taken = Take(N);
  return taken.empty() ? std::span<std::byte, N>(scratch_.data(), N)
                       : std::span<std::byte, N>(taken.data(), N);
}

void tcWireWriter::U8(uint8_t value) {
  TakeFixed<1>()[0] = std::byte{value};
}

void tcWireWriter::U16Be(uint16_t value) {
  wire::StoreBe16(TakeFixed<2>(), value);
}

void tcWireWriter::U32Be(uint32_t value) {
  wire::StoreBe32(TakeFixed<4>(), value);
}

void tcWireWriter::U64Be(uint64_t value) {
  wire::StoreBe64(TakeFixed<8>(), value);
}

void tcWireWriter::U16Le(uint16_t value) {
  wire::StoreLe16(TakeFixed<2>(), value);
}

void tcWireWriter::U32Le(uint32_t value) {
  wire::StoreLe32(TakeFixed<4>(), value);
}

void tcWireWriter::U64Le(uint64_t value) {
  wire::StoreLe64(TakeFixed<8>(), value);
}

void tcWireWriter::Zeros(size_t count) {
  std::span<std::byte> taken = Take(count);
  std::fill(taken.begin(), taken.end(), std::byte{0});
}

void tcWireWriter::Bytes(std::span<const std::byte> bytes) {
  std::span<std::byte> taken = Take(bytes.size());
  if (!taken.empty()) std::memcpy(taken.data(), bytes.data(), bytes.size());
}

void tcWireWriter::Text(std::string_view text, size_t fieldSize) {
  std::span<std::byte> field = Take(fieldSize);
  if (field.empty()) return;
  size_t length = std::min(text.size(), fieldSize);
  std::memcpy(field.data(), text.data(), length);
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(length), field.end(), std::byte{0});
}
