// The PORT_INFO table every port answers the same way, from its own identity texts.
#pragma once

#include <cstddef>
#include <cstdint>

#include "GenTL.h"

struct tsPortInfoTexts {
  const char* id;  // PORT_INFO_ID and PORT_INFO_MODEL
  const char* vendor;
  const char* tlType;
  const char* module;
  const char* version;
  const char* portName;
};

// Answers PORT_INFO commands 0..12 of a little-endian, readable and writable port; any other
// command sets the type to UNKNOWN and gives GC_ERR_NOT_IMPLEMENTED (the caller logs it).
GenTL::GC_ERROR AnswerPortInfo(const tsPortInfoTexts& texts, int32_t command, int32_t* type,
                               void* buffer, size_t* size);
