// Bounds-checked reader of untrusted packet bytes.
#include "base/tcWireReader.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/ByteOrder.h"

std::span<const std::byte> tcWireReader::Take(size_t count) {
  // Written as a subtraction: position_ <= size always holds, so this cannot wrap.
  if (failed_ || count > data_.size() - position_) {
    failed_ = true;
    return {};
  }
  std::span<const std::byte> taken = data_.subspan(position_, count);
  position_ += count;
  return taken;
}

template <size_t N>
std::span<const std::byte, N> tcWireReader::TakeFixed() {
  static constexpr std::array<std::byte, N> kZeros{};
  std::span<const std::byte> taken = Take(N);
  return taken.empty() ? std::span<const std::byte, N>(kZeros)
                       : std::span<const std::byte, N>(taken.data(), N);
}

uint8_t tcWireReader::U8() {
  return std::to_integer<uint8_t>(TakeFixed<1>()[0]);
}

uint16_t tcWireReader::U16Be() {
  return wire::LoadBe16(TakeFixed<2>());
}

uint32_t tcWireReader::U32Be() {
  return wire::LoadBe32(TakeFixed<4>());
}

uint64_t tcWireReader::U64Be() {
  return wire::LoadBe64(TakeFixed<8>());
}

uint16_t tcWireReader::U16Le() {
  return wire::LoadLe16(TakeFixed<2>());
}

uint32_t tcWireReader::U32Le() {
  return wire::LoadLe32(TakeFixed<4>());
}

uint64_t tcWireReader::U64Le() {
  return wire::LoadLe64(TakeFixed<8>());
}

void tcWireReader::Skip(size_t count) {
  Take(count);
}

void tcWireReader::Bytes(std::span<std::byte> out) {
  std::span<const std::byte> taken = Take(out.size());
  if (taken.empty()) {
    std::fill(out.begin(), out.end(), std::byte{0});
  } else {
    std::memcpy(out.data(), taken.data(), taken.size());
  }
}

std::string tcWireReader::Text(size_t fieldSize) {
  std::span<const std::byte> field = Take(fieldSize);
  auto end = std::find(field.begin(), field.end(), std::byte{0});
  return std::string(reinterpret_cast<const char*>(field.data()),
                     static_cast<size_t>(end - field.begin()));
}
