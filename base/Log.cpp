// Logger implementation: one-time level initialisation, line assembly on the stack, the ring
// append under its mutex and the standard-error sink.
#include "base/Log.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

std::atomic<int> gLogThreshold{INT_MAX};

namespace {

std::once_flag gLevelOnce;

std::mutex gRingMutex;
char gLogRing[kLogRingSize];
size_t gRingPosition = 0;  // guarded by gRingMutex
std::atomic<uint64_t> gRingTotal{0};

int ReadLevelFromEnvironment() {
  const char* text = getenv("GENTL_DEBUG");
  if (text == nullptr) return 0;
  long value = strtol(text, nullptr, 10);
  if (value < 0) return 0;
  return value > kLogVerbose ? kLogVerbose : static_cast<int>(value);
}

const char* LevelName(int level) {
  switch (level) {
    case kLogError:
      return "error";
    case kLogWarning:
      return "warning";
    case kLogInfo:
      return "info";
    case kLogDebug:
      return "debug";
    case kLogVerbose:
      return "verbose";
    default:
      return "unknown";
  }
}

void AppendToRing(const char* line, size_t length) {
  std::lock_guard<std::mutex> lock(gRingMutex);
  size_t first = kLogRingSize - gRingPosition;
  if (first > length) first = length;
  memcpy(gLogRing + gRingPosition, line, first);
  memcpy(gLogRing, line + first, length - first);
  gRingPosition = (gRingPosition + length) % kLogRingSize;
  gRingTotal.fetch_add(length, std::memory_order_relaxed);
}

// Builds "gentl: <level> [<function>] <message>\n" in `line`; returns its length (<= 255).
size_t AssembleLine(char* line, int level, const char* functionName, const char* format,
                    const LogArg* args, size_t argCount) {
  int prefix = snprintf(line, kLogLineSize, "gentl: %s [%s] ", LevelName(level), functionName);
  size_t p = (prefix < 0 || prefix > static_cast<int>(kLogLineSize - 1)) ? 0 : prefix;
  size_t message = FormatLogMessage(line + p, kLogLineSize - p, format, args, argCount);
  size_t length = p + message;
  if (length > kLogLineSize - 2) length = kLogLineSize - 2;
  line[length] = '\n';
  line[length + 1] = '\0';
  return length + 1;
}

}  // namespace

int LogLevel() {
  std::call_once(gLevelOnce, [] {
    gLogThreshold.store(ReadLevelFromEnvironment(), std::memory_order_relaxed);
  });
  return gLogThreshold.load(std::memory_order_relaxed);
}

void LogEmit(int level, const char* functionName, const char* format, const LogArg* args,
             size_t argCount) {
  if (level > LogLevel() || level <= 0) return;
  char line[kLogLineSize];
  size_t length = AssembleLine(line, level, functionName, format, args, argCount);
  AppendToRing(line, length);
  ssize_t ignored = write(STDERR_FILENO, line, length);
  (void)ignored;
}

void ShortFunctionName(const char* signature, char* out, size_t outSize) {
  if (outSize == 0) return;
  const char* open = strrchr(signature, '(');
  const char* end = open != nullptr ? open : signature + strlen(signature);
  const char* start = end;
  while (start > signature && start[-1] != ' ')
    --start;
  size_t length = static_cast<size_t>(end - start);
  if (length >= outSize) length = outSize - 1;
  memcpy(out, start, length);
  out[length] = '\0';
}

uint64_t LogRingTotal() {
  return gRingTotal.load(std::memory_order_relaxed);
}

void LogRingRead(uint64_t offset, void* destination, size_t* size) {
  std::lock_guard<std::mutex> lock(gRingMutex);
  size_t count = 0;
  if (offset < kLogRingSize) {
    count = kLogRingSize - offset;
    if (count > *size) count = *size;
    memcpy(destination, gLogRing + offset, count);
  }
  *size = count;
}
