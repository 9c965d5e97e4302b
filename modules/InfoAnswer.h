// Copying typed answers of the GenTL information calls into the caller's buffer.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

#include "GenTL.h"

// The shared rule for strings and fixed-size values: a null buffer asks for the size; a
// buffer smaller than the value gives GC_ERR_BUFFER_TOO_SMALL. *size becomes the value's size
// in every case. A null size pointer is GC_ERR_INVALID_PARAMETER.
inline GenTL::GC_ERROR CopyAnswer(const void* value, size_t valueSize, void* buffer, size_t* size) {
  if (size == nullptr) return GenTL::GC_ERR_INVALID_PARAMETER;
  bool fits = buffer == nullptr || *size >= valueSize;
  *size = valueSize;
  if (!fits) return GenTL::GC_ERR_BUFFER_TOO_SMALL;
  if (buffer != nullptr) memcpy(buffer, value, valueSize);
  return GenTL::GC_ERR_SUCCESS;
}

inline GenTL::GC_ERROR CopyText(const std::string& text, void* buffer, size_t* size) {
  return CopyAnswer(text.c_str(), text.size() + 1, buffer, size);
}

template <typename T>
GenTL::GC_ERROR CopyValue(const T& value, void* buffer, size_t* size) {
  return CopyAnswer(&value, sizeof value, buffer, size);
}
