// Linux implementation of the platform layer.
#include "base/Platform.h"

#include <time.h>

namespace platform {
namespace {

uint64_t ClockNs(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<uint64_t>(ts.tv_sec) * 1000000000ULL + static_cast<uint64_t>(ts.tv_nsec);
}

}  // namespace

uint64_t MonotonicNs() {
  return ClockNs(CLOCK_MONOTONIC);
}

uint64_t WallClockNs() {
  return ClockNs(CLOCK_REALTIME);
}

}  // namespace platform

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace platform {

std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.lexically_normal().string();
}

std::string FileUrlFromPath(const std::string& absolutePath, size_t limit) {
  std::string url = "file://";
  for (unsigned char c : absolutePath) {
    if (isalnum(c) || c == '-' || c == '.' || c == '_' || c == '~' || c == '/') {
      url += static_cast<char>(c);
    } else {
      char escaped[4];
      snprintf(escaped, sizeof escaped, "%%%02X", c);
      url += escaped;
    }
  }
  return url.size() + 1 <= limit ? url : std::string();
}

}  // namespace platform

namespace platform {

std::string ErrorText(int error) {
  char buffer[256];
  // GNU strerror_r returns the text, which may or may not be in `buffer`.
  return strerror_r(error, buffer, sizeof buffer);
}

}  // namespace platform
