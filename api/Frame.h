// The uniform frame around every exported call: initialised check, the call, timing, the last
// error and one log line with the result.
#pragma once

#include <cstddef>
#include <cstdint>

#include "GenTL.h"
#include "api/ProducerState.h"
#include "base/Platform.h"

struct tsFrameStyle {
  bool checkInitialised = true;
  bool recordLastError = true;
  // A time-out is routine for calls that forward to a module operation: logged at debug level.
  bool routineTimeout = false;
};

inline constexpr tsFrameStyle kLibraryCall{};
inline constexpr tsFrameStyle kUninitialisedCall{.checkInitialised = false};
inline constexpr tsFrameStyle kForwardingCall{.routineTimeout = true};
inline constexpr tsFrameStyle kReadPortCall{.recordLastError = false};

// Register address and size reported by the port read and write calls.
struct tsRegisterAccess {
  uint64_t address;
  const size_t* size;
};

void FinishFrame(const char* signature, const tsFrameStyle& style, GenTL::GC_ERROR result,
                 uint64_t startNs, const tsRegisterAccess* access);

// Runs `operation` inside the frame. `signature` is the export's __PRETTY_FUNCTION__.
template <typename Operation>
GenTL::GC_ERROR Framed(const char* signature, const tsFrameStyle& style, Operation&& operation,
                       const tsRegisterAccess* access = nullptr) {
  uint64_t start = platform::MonotonicNs();
  GenTL::GC_ERROR result = (style.checkInitialised && !Initialised.load(std::memory_order_relaxed))
                               ? GenTL::GC_ERR_NOT_INITIALIZED
                               : operation();
  FinishFrame(signature, style, result, start, access);
  return result;
}
