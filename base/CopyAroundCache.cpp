// CopyAroundCache: SSE2 streaming stores on x86-64 (every such processor has them), memcpy
// elsewhere and for short copies.
#include "base/CopyAroundCache.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// Below this a plain copy is as fast and keeps the lines for whoever reads them next.
constexpr size_t kMinStreamed = 1024;

}  // namespace

void CopyAroundCache(void* destination, const void* source, size_t size) {
#if defined(__SSE2__)
  if (size >= kMinStreamed) {
    auto* to = static_cast<std::byte*>(destination);
    const auto* from = static_cast<const std::byte*>(source);
    // The head up to a 16-byte boundary of the destination, copied plainly.
    size_t head = (16 - reinterpret_cast<uintptr_t>(to) % 16) % 16;
    std::memcpy(to, from, head);
    size_t blocks = (size - head) / 16;
    for (size_t i = 0; i < blocks; ++i) {
      __m128i value = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + head) + i);
      _mm_stream_si128(reinterpret_cast<__m128i*>(to + head) + i, value);
    }
    size_t done = head + blocks * 16;
    std::memcpy(to + done, from + done, size - done);
    _mm_sfence();
    return;
  }
#endif
  std::memcpy(destination, source, size);
}
