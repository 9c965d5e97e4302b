// Library identity: strings, encoding and the GenTL version this producer implements.
#include "api/LibraryInfo.h"

#include <cstdint>
#include <cstring>

#include "base/Log.h"

using namespace GenTL;

namespace {

struct tsInfoValue {
  INFO_DATATYPE type;
  const void* data;
  size_t size;
};

constexpr int32_t kCharEncoding = TL_CHAR_ENCODING_ASCII;
constexpr uint32_t kGenTLMajor = 1;
constexpr uint32_t kGenTLMinor = 5;

tsInfoValue Text(const char* text) {
  return {INFO_DATATYPE_STRING, text, strlen(text) + 1};
}

bool LookUp(TL_INFO_CMD command, tsInfoValue* value) {
  switch (command) {
    case TL_INFO_ID:
      *value = Text("vantora/gentl.dll");
      return true;
    case TL_INFO_VENDOR:
      *value = Text("Vantora LLC");
      return true;
    case TL_INFO_MODEL:
      *value = Text("GenTL for U3V");
      return true;
    case TL_INFO_VERSION:
      *value = Text("Version 1.00.00");
      return true;
    case TL_INFO_TLTYPE:
      *value = Text("Mixed");
      return true;
    case TL_INFO_NAME:
      *value = Text("gentl.dll");
      return true;
    case TL_INFO_PATHNAME:
      *value = Text("gentl.dll");
      return true;
    case TL_INFO_DISPLAYNAME:
      *value = Text("Vantora GenTL Library");
      return true;
    case TL_INFO_CHAR_ENCODING:
      *value = {INFO_DATATYPE_INT32, &kCharEncoding, 4};
      return true;
    case TL_INFO_GENTL_VER_MAJOR:
      *value = {INFO_DATATYPE_UINT32, &kGenTLMajor, 4};
      return true;
    case TL_INFO_GENTL_VER_MINOR:
      *value = {INFO_DATATYPE_UINT32, &kGenTLMinor, 4};
      return true;
    default:
      return false;
  }
}

}  // namespace

GC_ERROR LibraryInfo(const char* signature, TL_INFO_CMD command, INFO_DATATYPE* type, void* buffer,
                     size_t* size) {
  tsInfoValue value;
  if (!LookUp(command, &value)) {
    LogPrintFrom(kLogWarning, signature, "iInfoCmd = %d (Request Not Implemented)", command);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  if (type != nullptr) *type = value.type;
  if (size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (buffer == nullptr) {
    *size = value.size;
    return GC_ERR_SUCCESS;
  }
  if (*size < value.size) return GC_ERR_BUFFER_TOO_SMALL;
  memcpy(buffer, value.data, value.size);
  *size = value.size;
  return GC_ERR_SUCCESS;
}
