// The table of GenTL error codes with their names and texts.
#include "GenTLErrors.h"

#include <array>
#include <string_view>

namespace {

struct tsErrorEntry {
  GenTL::GC_ERROR code;
  std::string_view name;
  std::string_view text;
};

constexpr std::array<tsErrorEntry, 23> kErrors = {{
    {GenTL::GC_ERR_SUCCESS, "GC_ERR_SUCCESS", "Success"},
    {GenTL::GC_ERR_ERROR, "GC_ERR_ERROR", "Unknown error"},
    {GenTL::GC_ERR_NOT_INITIALIZED, "GC_ERR_NOT_INITIALIZED", "Module or resource not initialized"},
    {GenTL::GC_ERR_NOT_IMPLEMENTED, "GC_ERR_NOT_IMPLEMENTED", "Function not implemented"},
    {GenTL::GC_ERR_RESOURCE_IN_USE, "GC_ERR_RESOURCE_IN_USE", "Resource in use"},
    {GenTL::GC_ERR_ACCESS_DENIED, "GC_ERR_ACCESS_DENIED", "Access denied"},
    {GenTL::GC_ERR_INVALID_HANDLE, "GC_ERR_INVALID_HANDLE", "Invalid handle"},
    {GenTL::GC_ERR_INVALID_ID, "GC_ERR_INVALID_ID", "Invalid ID"},
    {GenTL::GC_ERR_NO_DATA, "GC_ERR_NO_DATA", "No data"},
    {GenTL::GC_ERR_INVALID_PARAMETER, "GC_ERR_INVALID_PARAMETER", "Invalid parameter"},
    {GenTL::GC_ERR_IO, "GC_ERR_IO", "Communication error"},
    {GenTL::GC_ERR_TIMEOUT, "GC_ERR_TIMEOUT", "Timeout"},
    {GenTL::GC_ERR_ABORT, "GC_ERR_ABORT", "Operation aborted"},
    {GenTL::GC_ERR_INVALID_BUFFER, "GC_ERR_INVALID_BUFFER", "Invalid buffer"},
    {GenTL::GC_ERR_NOT_AVAILABLE, "GC_ERR_NOT_AVAILABLE", "Not available"},
    {GenTL::GC_ERR_INVALID_ADDRESS, "GC_ERR_INVALID_ADDRESS", "Invalid address"},
    {GenTL::GC_ERR_BUFFER_TOO_SMALL, "GC_ERR_BUFFER_TOO_SMALL", "Buffer too small"},
    {GenTL::GC_ERR_INVALID_INDEX, "GC_ERR_INVALID_INDEX", "Invalid index"},
    {GenTL::GC_ERR_PARSING_CHUNK_DATA, "GC_ERR_PARSING_CHUNK_DATA", "Error parsing chunk data"},
    {GenTL::GC_ERR_INVALID_VALUE, "GC_ERR_INVALID_VALUE", "Invalid value"},
    {GenTL::GC_ERR_RESOURCE_EXHAUSTED, "GC_ERR_RESOURCE_EXHAUSTED", "Resource exhausted"},
    {GenTL::GC_ERR_OUT_OF_MEMORY, "GC_ERR_OUT_OF_MEMORY", "Out of memory"},
    {GenTL::GC_ERR_BUSY, "GC_ERR_BUSY", "Busy"},
}};

const tsErrorEntry* Find(GenTL::GC_ERROR code) {
  for (const tsErrorEntry& entry : kErrors) {
    if (entry.code == code) return &entry;
  }
  return nullptr;
}

}  // namespace

std::string ErrorName(GenTL::GC_ERROR code) {
  const tsErrorEntry* entry = Find(code);
  if (entry != nullptr) return std::string(entry->name);
  return code <= GenTL::GC_ERR_CUSTOM_ID ? "GC_ERR_CUSTOM_ID" : "GC_ERR_UNKNOWN";
}

std::string ErrorText(GenTL::GC_ERROR code) {
  const tsErrorEntry* entry = Find(code);
  if (entry != nullptr) return std::string(entry->text);
  if (code <= GenTL::GC_ERR_CUSTOM_ID) return "Producer-specific error";
  return "Unknown error code";
}
