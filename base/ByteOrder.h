// Big-endian (GigE Vision) and little-endian (USB3 Vision) loads and stores on byte spans.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace wire {

template <std::unsigned_integral T>
constexpr T ByteSwap(T value) {
  if constexpr (sizeof(T) == 1) {
    return value;
  } else if constexpr (sizeof(T) == 2) {
    return __builtin_bswap16(value);
  } else if constexpr (sizeof(T) == 4) {
    return __builtin_bswap32(value);
  } else {
    static_assert(sizeof(T) == 8);
    return __builtin_bswap64(value);
  }
}

// Packet memory is copied, never reinterpreted: it may be unaligned and of any origin.
template <std::unsigned_integral T, std::endian kOrder>
T Load(std::span<const std::byte, sizeof(T)> bytes) {
  T value;
  std::memcpy(&value, bytes.data(), sizeof(T));
  return kOrder == std::endian::native ? value : ByteSwap(value);
}

template <std::unsigned_integral T, std::endian kOrder>
void Store(std::span<std::byte, sizeof(T)> bytes, T value) {
  if (kOrder != std::endian::native) value = ByteSwap(value);
  std::memcpy(bytes.data(), &value, sizeof(T));
}

inline uint16_t LoadBe16(std::span<const std::byte, 2> b) {
  return Load<uint16_t, std::endian::big>(b);
}
inline uint32_t LoadBe32(std::span<const std::byte, 4> b) {
  return Load<uint32_t, std::endian::big>(b);
}
inline uint64_t LoadBe64(std::span<const std::byte, 8> b) {
  return Load<uint64_t, std::endian::big>(b);
}
inline uint16_t LoadLe16(std::span<const std::byte, 2> b) {
  return Load<uint16_t, std::endian::little>(b);
}
inline uint32_t LoadLe32(std::span<const std::byte, 4> b) {
  return Load<uint32_t, std::endian::little>(b);
}
inline uint64_t LoadLe64(std::span<const std::byte, 8> b) {
  return Load<uint64_t, std::endian::little>(b);
}

inline void StoreBe16(std::span<std::byte, 2> b, uint16_t v) {
  Store<uint16_t, std::endian::big>(b, v);
}
inline void StoreBe32(std::span<std::byte, 4> b, uint32_t v) {
  Store<uint32_t, std::endian::big>(b, v);
}
inline void StoreBe64(std::span<std::byte, 8> b, uint64_t v) {
  Store<uint64_t, std::endian::big>(b, v);
}
inline void StoreLe16(std::span<std::byte, 2> b, uint16_t v) {
  Store<uint16_t, std::endian::little>(b, v);
}
inline void StoreLe32(std::span<std::byte, 4> b, uint32_t v) {
  Store<uint32_t, std::endian::little>(b, v);
}
inline void StoreLe64(std::span<std::byte, 8> b, uint64_t v) {
  Store<uint64_t, std::endian::little>(b, v);
}

}  // namespace wire
