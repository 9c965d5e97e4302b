// Running under the umockdev preload, which turns device-node and sysfs accesses of a process
// into accesses of the testbed named by UMOCKDEV_DIR.
#pragma once

#include <string>

inline constexpr char kUmockdevPreload[] = "libumockdev-preload.so.0";

// Whether LD_PRELOAD of this process names the umockdev preload.
bool UnderUmockdevPreload();
// LD_PRELOAD `current` (may be null) with the umockdev preload appended, so that a sanitizer
// runtime listed first stays first.
std::string PreloadWithUmockdev(const char* current);
// Re-executes this program (/proc/self/exe with `argv`) with the umockdev preload appended to
// LD_PRELOAD, unless it is already there. Returns only when it is there; exits with status 127
// when the re-exec fails.
void EnsureUmockdevPreload(char** argv);
// The same with the arguments this process was started with (/proc/self/cmdline), for use
// before main (see U3vPreloadAtStart.cpp).
void EnsureUmockdevPreload();
