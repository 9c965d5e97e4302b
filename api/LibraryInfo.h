// The library information table answered by GCGetInfo and TLGetInfo.
#pragma once

#include <cstddef>

#include "GenTL.h"

// Answers one TL_INFO_CMD; `signature` names the export for the not-implemented warning.
GenTL::GC_ERROR LibraryInfo(const char* signature, GenTL::TL_INFO_CMD command,
                            GenTL::INFO_DATATYPE* type, void* buffer, size_t* size);
