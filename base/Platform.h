// Operating-system services behind one small interface: clocks, paths and error texts; the
// descriptor, socket, thread, poll and adapter owners have their own files in base/.
#pragma once

#include <cstdint>

namespace platform {

// Monotonic clock in nanoseconds (never jumps; used for call timing and frame pacing).
uint64_t MonotonicNs();

// Wall-clock time in nanoseconds since the Unix epoch (used for time stamps).
uint64_t WallClockNs();

}  // namespace platform

#include <string>

namespace platform {

// The absolute form of `path` (relative paths are taken from the current directory).
std::string AbsolutePath(const std::string& path);

// A "file:///" URL of an absolute path, every byte outside the unreserved characters and "/"
// percent-encoded; empty when the URL would not fit `limit` bytes with its terminating zero.
std::string FileUrlFromPath(const std::string& absolutePath, size_t limit);

}  // namespace platform

namespace platform {

// The system's text for an errno value ("Bad file descriptor"); safe from any thread.
std::string ErrorText(int error);

}  // namespace platform
