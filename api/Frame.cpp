// Completion of the frame: elapsed time, last error and the result line.
#include "api/Frame.h"

#include "api/ErrorTable.h"
#include "base/Log.h"

using namespace GenTL;

void FinishFrame(const char* signature, const tsFrameStyle& style, GC_ERROR result,
                 uint64_t startNs, const tsRegisterAccess* access) {
  uint64_t elapsedMs = (platform::MonotonicNs() - startNs) / 1000000;
  if (style.recordLastError) LastError.store(result, std::memory_order_relaxed);
  bool quiet = result == GC_ERR_SUCCESS || (result == GC_ERR_TIMEOUT && style.routineTimeout);
  int level = quiet ? kLogDebug : kLogError;
  if (access != nullptr) {
    size_t size = access->size != nullptr ? *access->size : 0;
    if (result == GC_ERR_SUCCESS) {
      LogPrintFrom(level, signature, "[0x%X, 0x%X] completed successfully in %lu ms",
                   access->address, size, elapsedMs);
    } else {
      LogPrintFrom(level, signature, "[0x%X, 0x%X] completed with code %s in %lu ms",
                   access->address, size, ErrorText(result), elapsedMs);
    }
  } else if (result == GC_ERR_SUCCESS) {
    LogPrintFrom(level, signature, "completed successfully in %lu ms", elapsedMs);
  } else {
    LogPrintFrom(level, signature, "completed with code %s in %lu ms", ErrorText(result),
                 elapsedMs);
  }
}
