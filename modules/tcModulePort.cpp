// tcModulePort: description, URL, URL information, port information and registers of a module
// port.
#include "modules/tcModulePort.h"

#include <cstdio>
#include <cstring>

#include "base/Log.h"
#include "modules/InfoAnswer.h"
#include "modules/PortInfoTable.h"

using namespace GenTL;

namespace {

// "tcSystem::GetPortURLInfo" and the like, for lines logged on behalf of a module class.
struct tsMethodName {
  char text[kShortNameSize];
  tsMethodName(const char* moduleClass, const char* method) {
    snprintf(text, sizeof text, "%s::%s", moduleClass, method);
  }
};

// The type each URL_INFO command would answer with; none of them but the URL is available.
INFO_DATATYPE UrlInfoType(int32_t command) {
  switch (command) {
    case URL_INFO_FILE_SHA1_HASH:
      return INFO_DATATYPE_BUFFER;
    case URL_INFO_FILE_REGISTER_ADDRESS:
    case URL_INFO_FILE_SIZE:
      return INFO_DATATYPE_UINT64;
    case URL_INFO_FILENAME:
      return INFO_DATATYPE_STRING;
    default:
      return INFO_DATATYPE_INT32;
  }
}

}  // namespace

tcModulePort::tcModulePort(std::string name, const tsModulePortIdentity& identity)
    : tcPort(std::move(name)), identity_(identity) {}

const std::string& tcModulePort::Description() {
  tcMutexLock lock(AccessMutex());
  if (xml_.empty()) xml_ = BuildXml();
  return xml_;
}

const tcFeatureTable& tcModulePort::Features() {
  if (features_ == nullptr) {
    auto table = std::make_unique<tcFeatureTable>();
    AddFeatures(*table);
    features_ = std::move(table);
  }
  return *features_;
}

std::string tcModulePort::BuildXml() {
  return Features().Describe(std::string(identity_.module) + ":" + Name(), identity_.portName,
                             identity_.portDisplayName, identity_.portDescription);
}

GC_ERROR tcModulePort::Read(uint64_t address, void* buffer, size_t* size) {
  if (ReadDescription(address, buffer, *size)) return GC_ERR_SUCCESS;
  return Features().Read(address, buffer, size);
}

GC_ERROR tcModulePort::Write(uint64_t address, const void* buffer, size_t* size) {
  return Features().Write(address, buffer, size);
}

bool tcModulePort::ReadDescription(uint64_t address, void* buffer, size_t size) {
  if (size > xml_.size() || address > xml_.size() - size) return false;
  if (size > 0) memcpy(buffer, xml_.data() + address, size);
  return true;
}

std::string tcModulePort::Url() {
  char url[512];
  const char* name = identity_.urlNamesPort ? Name().c_str() : "";
  snprintf(url, sizeof url, "local:///%s%s.xml;%x;%zx", identity_.urlPrefix, name, 0u,
           Description().size());
  return url;
}

GC_ERROR tcModulePort::GetPortURL(char* url, size_t* size) {
  INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
  return GetPortURLInfo(0, URL_INFO_URL, &type, url, size);
}

GC_ERROR tcModulePort::GetNumPortURLs(uint32_t* count) {
  LogPrint(kLogDebug, tsMethodName(identity_.moduleClass, "GetNumPortURLs").text,
           "%s, piNumURLs = 0x%X", Name(), count);
  if (count == nullptr) return GC_ERR_INVALID_PARAMETER;
  *count = 1;
  return GC_ERR_SUCCESS;
}

GC_ERROR tcModulePort::GetPortURLInfo(uint32_t index, int32_t command, int32_t* type, void* buffer,
                                      size_t* size) {
  if (index != 0) return GC_ERR_INVALID_INDEX;
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  if (command < URL_INFO_URL || command > URL_INFO_FILENAME) return GC_ERR_NOT_IMPLEMENTED;
  if (command != URL_INFO_URL) {
    *type = UrlInfoType(command);
    return GC_ERR_NOT_IMPLEMENTED;
  }
  *type = INFO_DATATYPE_STRING;
  std::string url = Url();
  LogPrint(kLogDebug, tsMethodName(identity_.moduleClass, "GetPortURLInfo").text, "URL = %s", url);
  return CopyText(url, buffer, size);
}

GC_ERROR tcModulePort::GetPortInfo(int32_t command, int32_t* type, void* buffer, size_t* size) {
  const tsPortInfoTexts texts = {identity_.portId, "Vantora LLC", "Custom",
                                 identity_.module, "1.1.1",       identity_.portName};
  GC_ERROR result = AnswerPortInfo(texts, command, type, buffer, size);
  if (result == GC_ERR_NOT_IMPLEMENTED && identity_.warnUnknownInfo) {
    LogPrint(kLogWarning, tsMethodName(identity_.moduleClass, "GetPortInfo").text,
             "%s, iInfoCmd = %d (Request Not Implemented)", Name(), command);
  }
  return result;
}
