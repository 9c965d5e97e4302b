// ErrorTable rows in GenTL order; lookup is a linear scan from the first row.
#include "api/ErrorTable.h"

using namespace GenTL;

const tsErrorRow ErrorTable[kErrorTableRows] = {
    {GC_ERR_SUCCESS, "No Error"},
    {GC_ERR_ERROR, "Unknown Error"},
    {GC_ERR_NOT_INITIALIZED, "System not Initialized"},
    {GC_ERR_NOT_IMPLEMENTED, "Function not implemented"},
    {GC_ERR_RESOURCE_IN_USE, "Resource Already In Use"},
    {GC_ERR_ACCESS_DENIED, "Access was denied"},
    {GC_ERR_INVALID_HANDLE, "Invalid Handle"},
    {GC_ERR_INVALID_ID, "Invalid ID"},
    {GC_ERR_NO_DATA, "No Data"},
    {GC_ERR_INVALID_PARAMETER, "Invalid Parameter"},
    {GC_ERR_IO, "I/O Error"},
    {GC_ERR_TIMEOUT, "Timeout"},
    {GC_ERR_ABORT, "Aborted"},
    {GC_ERR_INVALID_BUFFER, "Invalid Buffer"},
    {GC_ERR_NOT_AVAILABLE, "Not Available"},
    {GC_ERR_INVALID_ADDRESS, "Invalid Address"},
    {GC_ERR_BUFFER_TOO_SMALL, "Buffer was too small"},
    {GC_ERR_INVALID_INDEX, "Invalid Index"},
    {GC_ERR_PARSING_CHUNK_DATA, "Could not parse Chunk Data"},
    {GC_ERR_INVALID_VALUE, "Invalid Value"},
    {GC_ERR_RESOURCE_EXHAUSTED, "Resource Exhausted"},
    {GC_ERR_OUT_OF_MEMORY, "Out of Memory"},
    {GC_ERR_BUSY, "Device was Busy"},
    {GC_ERR_CUSTOM_ID, "Custom ID"},
};

const tsErrorRow* FindErrorRow(GC_ERROR code) {
  for (const tsErrorRow& row : ErrorTable) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

const char* ErrorText(GC_ERROR code) {
  const tsErrorRow* row = FindErrorRow(code);
  return row != nullptr ? row->text : "Unknown Error";
}
