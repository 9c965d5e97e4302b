// Names and short texts of the GenTL error codes, for messages about failed calls.
#pragma once

#include <string>

#include "GenTL.h"

// "GC_ERR_INVALID_ADDRESS" for -1015; "GC_ERR_CUSTOM_ID" for producer codes
// (-10000 and below), "GC_ERR_UNKNOWN" for other codes outside the table.
std::string ErrorName(GenTL::GC_ERROR code);

// A short description such as "Invalid address"; "Unknown error code" outside the table.
std::string ErrorText(GenTL::GC_ERROR code);
