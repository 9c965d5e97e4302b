// tcPortSIM: register access, URL information and port information of the simulated camera.
#include "sim/tcPortSIM.h"

#include "base/Log.h"
#include "base/Platform.h"
#include "modules/InfoAnswer.h"
#include "modules/PortInfoTable.h"
#include "sim/tcDeviceSIM.h"

using namespace GenTL;

namespace {

constexpr size_t kUrlLimit = 256;  // the URL and the file name fit 256 bytes

}  // namespace

tcPortSIM::tcPortSIM(tcDeviceSIM* device) : tcPort("SimCamPort"), device_(device) {}

GC_ERROR tcPortSIM::Read(uint64_t address, void* buffer, size_t* size) {
  GENTL_LOG(kLogDebug, "%s, addr = 0x%X, size = %d", Name(), address, *size);
  tcMutexLock registers(device_->RegistersMutex());
  return device_->ReadRegisters(address, buffer, *size);
}

GC_ERROR tcPortSIM::Write(uint64_t address, const void* buffer, size_t* size) {
  tcMutexLock registers(device_->RegistersMutex());
  return device_->WriteRegisters(address, buffer, *size);
}

GC_ERROR tcPortSIM::GetNumPortURLs(uint32_t* count) {
  GENTL_LOG(kLogDebug, "%s, piNumURLs = 0x%X", Name(), count);
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = 1;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcPortSIM::GetPortURL(char* url, size_t* size) {
  int32_t type = INFO_DATATYPE_UNKNOWN;
  return GetPortURLInfo(0, URL_INFO_URL, &type, url, size);
}

GC_ERROR tcPortSIM::GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                   size_t* size) {
  if (index != 0) return GC_ERR_INVALID_INDEX;
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (device_ == nullptr) return GC_ERR_ERROR;
  switch (command) {
    case URL_INFO_URL: {
      *type = INFO_DATATYPE_STRING;
      std::string url = platform::FileUrlFromPath(device_->XmlPath(), kUrlLimit);
      if (url.empty()) return CopyAnswer("", 0, buffer, size);
      GENTL_LOG(kLogDebug, "URL = %s", url);
      return CopyText(url, buffer, size);
    }
    case URL_INFO_FILENAME: {
      *type = INFO_DATATYPE_STRING;
      return CopyText(device_->XmlPath().substr(0, kUrlLimit - 1), buffer, size);
    }
    case URL_INFO_FILE_SHA1_HASH:
      *type = INFO_DATATYPE_BUFFER;
      return CopyAnswer("", 0, buffer, size);
    case URL_INFO_FILE_REGISTER_ADDRESS:
    case URL_INFO_FILE_SIZE:
      *type = INFO_DATATYPE_UINT64;
      return CopyAnswer("", 0, buffer, size);
    case URL_INFO_SCHEMA_VER_MAJOR:
    case URL_INFO_SCHEMA_VER_MINOR:
    case URL_INFO_FILE_VER_MAJOR:
    case URL_INFO_FILE_VER_MINOR:
    case URL_INFO_FILE_VER_SUBMINOR:
    case URL_INFO_SCHEME:
      *type = INFO_DATATYPE_INT32;
      return CopyAnswer("", 0, buffer, size);
    default:
      return GC_ERR_NOT_IMPLEMENTED;
  }
}

GC_ERROR tcPortSIM::GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  const tsPortInfoTexts texts = {"SimCamPort", "Vantora LLC", "Custom",
                                 "TLDevice",   "2.9.0.102",   "Device"};
  GC_ERROR result = AnswerPortInfo(texts, command, type, buffer, size);
  if (result == GC_ERR_NOT_IMPLEMENTED) {
    GENTL_LOG(kLogWarning, "%s, iInfoCmd = %d (Request Not Implemented)", Name(), command);
  }
  return result;
}
