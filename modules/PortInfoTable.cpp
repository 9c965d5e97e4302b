// AnswerPortInfo: strings with their terminating zero, flags as one byte.
#include "modules/PortInfoTable.h"

#include "modules/InfoAnswer.h"

using namespace GenTL;

GC_ERROR AnswerPortInfo(const tsPortInfoTexts& texts, int32_t command, int32_t* type, void* buffer,
                        size_t* size) {
  if (type == nullptr || size == nullptr) return GC_ERR_INVALID_PARAMETER;
  const char* text = nullptr;
  int flag = -1;
  switch (command) {
    case PORT_INFO_ID:
    case PORT_INFO_MODEL:
      text = texts.id;
      break;
    case PORT_INFO_VENDOR:
      text = texts.vendor;
      break;
    case PORT_INFO_TLTYPE:
      text = texts.tlType;
      break;
    case PORT_INFO_MODULE:
      text = texts.module;
      break;
    case PORT_INFO_VERSION:
      text = texts.version;
      break;
    case PORT_INFO_PORTNAME:
      text = texts.portName;
      break;
    case PORT_INFO_LITTLE_ENDIAN:
    case PORT_INFO_ACCESS_READ:
    case PORT_INFO_ACCESS_WRITE:
      flag = 1;
      break;
    case PORT_INFO_BIG_ENDIAN:
    case PORT_INFO_ACCESS_NA:
    case PORT_INFO_ACCESS_NI:
      flag = 0;
      break;
    default:
      *type = INFO_DATATYPE_UNKNOWN;
      return GC_ERR_NOT_IMPLEMENTED;
  }
  if (text != nullptr) {
    *type = INFO_DATATYPE_STRING;
    return CopyText(text, buffer, size);
  }
  *type = INFO_DATATYPE_BOOL8;
  return CopyValue(static_cast<bool8_t>(flag), buffer, size);
}
