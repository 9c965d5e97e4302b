// Library-level exports: initialisation, library information and the last error.
#include <cstring>

#include "GenTL.h"
#include "api/ErrorTable.h"
#include "api/Frame.h"
#include "api/LibraryInfo.h"
#include "api/ProducerState.h"
#include "modules/tcSystem.h"

namespace GenTL {

// Marks the library initialised. GC_ERR_RESOURCE_IN_USE when it already is. Any thread.
GC_ERROR GC_CALLTYPE GCInitLib() {
  return Framed(__PRETTY_FUNCTION__, kUninitialisedCall, []() -> GC_ERROR {
    bool expected = false;
    return Initialised.compare_exchange_strong(expected, true) ? GC_ERR_SUCCESS
                                                               : GC_ERR_RESOURCE_IN_USE;
  });
}

// Destroys the system (and everything below it) and clears the initialised flag (in every
// case). GC_ERR_NOT_INITIALIZED when it was clear.
GC_ERROR GC_CALLTYPE GCCloseLib() {
  return Framed(__PRETTY_FUNCTION__, kUninitialisedCall, []() -> GC_ERROR {
    if (!Initialised.load()) return GC_ERR_NOT_INITIALIZED;
    DestroySystem(nullptr);
    Initialised.store(false);
    return GC_ERR_SUCCESS;
  });
}

// Creates the system module. GC_ERR_RESOURCE_IN_USE when it exists. Ownership stays with the
// library until TLClose or GCCloseLib.
GC_ERROR GC_CALLTYPE TLOpen(TL_HANDLE* phSystem) {
  return Framed(__PRETTY_FUNCTION__, kLibraryCall,
                [&]() -> GC_ERROR { return CreateSystem(phSystem); });
}

// Destroys the system module and everything below it; the handle must be the system's.
GC_ERROR GC_CALLTYPE TLClose(TL_HANDLE hSystem) {
  return Framed(__PRETTY_FUNCTION__, kLibraryCall, [&]() -> GC_ERROR {
    if (hSystem == nullptr || !DestroySystem(hSystem)) return GC_ERR_INVALID_HANDLE;
    return GC_ERR_SUCCESS;
  });
}

// Library information (TL_INFO_CMD 0..10). A null buffer is a size query.
GC_ERROR GC_CALLTYPE GCGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE* piType, void* pBuffer,
                               size_t* piSize) {
  const char* self = __PRETTY_FUNCTION__;
  return Framed(self, kLibraryCall,
                [&]() -> GC_ERROR { return LibraryInfo(self, iInfoCmd, piType, pBuffer, piSize); });
}

// The last error of any thread with its text. Not framed: no log, LastError unchanged.
GC_ERROR GC_CALLTYPE GCGetLastError(GC_ERROR* piErrorCode, char* sErrorText, size_t* piSize) {
  if (piErrorCode == nullptr || piSize == nullptr) return GC_ERR_INVALID_PARAMETER;
  GC_ERROR code = LastError.load(std::memory_order_relaxed);
  *piErrorCode = code;
  const tsErrorRow* row = FindErrorRow(code);
  if (row == nullptr) return GC_ERR_ERROR;
  size_t length = strlen(row->text);
  // The caller's size minus one in unsigned arithmetic: a size of 0 wraps and passes.
  if (*piSize - 1 >= length && (sErrorText == nullptr || *piSize != 0)) {
    if (sErrorText != nullptr) memcpy(sErrorText, row->text, length + 1);
    *piSize = length + 1;
    return GC_ERR_SUCCESS;
  }
  *piSize = length + 1;
  return GC_ERR_BUFFER_TOO_SMALL;
}

}  // namespace GenTL
