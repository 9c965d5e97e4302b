// The library's one logger: a level threshold read once from GENTL_DEBUG, lines of at most 255
// characters sent to standard error, and a copy of every line in a fixed 256 KiB ring.
#pragma once

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "base/LogFormat.h"

enum LogLevelId : int {
  kLogError = 1,
  kLogWarning = 2,
  kLogInfo = 3,
  kLogDebug = 4,
  kLogVerbose = 5,
};

inline constexpr size_t kLogRingSize = 0x40000;
inline constexpr size_t kLogLineSize = 256;
inline constexpr size_t kShortNameSize = 128;

// Threshold used by the inline level test. It starts above every level so that the first log
// call reaches LogLevel(), which reads GENTL_DEBUG once and stores the real threshold here;
// from then on a suppressed line costs one comparison.
extern std::atomic<int> gLogThreshold;

// The threshold 0..5 from GENTL_DEBUG, computed once per process.
int LogLevel();

// Formats and emits one line; callers have already passed the level test.
void LogEmit(int level, const char* functionName, const char* format, const LogArg* args,
             size_t argCount);

// Cuts the qualified name in front of the parameter list out of a compiler signature text:
// "GenTL::GC_ERROR GenTL::GCInitLib()" gives "GenTL::GCInitLib".
void ShortFunctionName(const char* signature, char* out, size_t outSize);

// The logging call: level, short function name, printf-style format and its arguments.
template <typename... Args>
void LogPrint(int level, const char* functionName, const char* format, const Args&... args) {
  if (level > gLogThreshold.load(std::memory_order_relaxed)) return;
  const LogArg list[] = {LogArg(args)..., LogArg(0)};
  LogEmit(level, functionName, format, list, sizeof...(Args));
}

// LogPrint with the short name of the enclosing function, cut out only when the line is kept.
template <typename... Args>
void LogPrintFrom(int level, const char* signature, const char* format, const Args&... args) {
  if (level > gLogThreshold.load(std::memory_order_relaxed)) return;
  char name[kShortNameSize];
  ShortFunctionName(signature, name, sizeof name);
  LogPrint(level, name, format, args...);
}

#define GENTL_LOG(level, ...) LogPrintFrom((level), __PRETTY_FUNCTION__, __VA_ARGS__)

// Running total of bytes ever appended to the ring.
uint64_t LogRingTotal();

// Copies up to *size bytes from ring position `offset` (never past the end of the area) and
// writes the number copied back to *size.
void LogRingRead(uint64_t offset, void* destination, size_t* size);
