// The 24 GenTL result codes with the texts used in log lines and by GCGetLastError.
#pragma once

#include <cstddef>

#include "GenTL.h"

struct tsErrorRow {
  GenTL::GC_ERROR code;
  const char* text;
};

inline constexpr size_t kErrorTableRows = 24;
extern const tsErrorRow ErrorTable[kErrorTableRows];

// The row of `code`, or null when the table has none.
const tsErrorRow* FindErrorRow(GenTL::GC_ERROR code);

// The text of `code`; "Unknown Error" for a code the table does not have.
const char* ErrorText(GenTL::GC_ERROR code);
