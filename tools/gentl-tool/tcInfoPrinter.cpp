// Module, port and URL information: the calls, the value formatting and the labels.
#include "tcInfoPrinter.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "GenTLErrors.h"
#include "Numbers.h"

using namespace GenTL;

namespace {

const std::vector<const char*> kLibraryNames = {"ID",
                                                "Vendor",
                                                "Model",
                                                "Version",
                                                "TL type",
                                                "File name",
                                                "Path name",
                                                "Display name",
                                                "Char encoding",
                                                "GenTL version major",
                                                "GenTL version minor"};
const std::vector<const char*> kInterfaceNames = {"ID", "Display name", "TL type"};
const std::vector<const char*> kDeviceNames = {"ID",
                                               "Vendor",
                                               "Model",
                                               "TL type",
                                               "Display name",
                                               "Access status",
                                               "User-defined name",
                                               "Serial number",
                                               "Version",
                                               "Timestamp frequency"};
const std::vector<const char*> kStreamNames = {"ID",
                                               "Delivered",
                                               "Underrun (lost)",
                                               "Announced",
                                               "Queued",
                                               "Awaiting delivery",
                                               "Started",
                                               "Payload size",
                                               "Is grabbing",
                                               "Defines payload size",
                                               "TL type",
                                               "Chunks max",
                                               "Buffers to announce (min)",
                                               "Buffer alignment"};
const std::vector<const char*> kPortNames = {
    "ID",         "Vendor",   "Model",    "TL type",       "Module",          "Little endian",
    "Big endian", "Readable", "Writable", "Not available", "Not implemented", "Version",
    "Port name"};
const std::vector<const char*> kUrlNames = {"URL",
                                            "Schema version major",
                                            "Schema version minor",
                                            "File version major",
                                            "File version minor",
                                            "File version subminor",
                                            "File SHA1",
                                            "Register address",
                                            "File size",
                                            "Scheme",
                                            "File name"};

template <typename T>
T Load(const std::vector<uint8_t>& bytes) {
  T value{};
  memcpy(&value, bytes.data(), std::min(sizeof value, bytes.size()));
  return value;
}

std::string Decimal(int64_t value) {
  return std::to_string(value);
}

std::string JoinStrings(const std::vector<uint8_t>& bytes) {
  std::string out;
  std::string current;
  for (uint8_t byte : bytes) {
    if (byte != 0) {
      current += static_cast<char>(byte);
      continue;
    }
    if (!current.empty()) out += (out.empty() ? "" : ", ") + current;
    current.clear();
  }
  if (!current.empty()) out += (out.empty() ? "" : ", ") + current;
  return out;
}

std::string HexBytes(const std::vector<uint8_t>& bytes) {
  std::string out;
  for (uint8_t byte : bytes) {
    char text[4];
    snprintf(text, sizeof text, "%02x", byte);
    out += text;
  }
  return out;
}

}  // namespace

tcInfoPrinter::tsAnswer tcInfoPrinter::Ask(const tQuery& query) {
  tsAnswer answer;
  answer.bytes.resize(1024);
  size_t size = answer.bytes.size();
  answer.code = query(&answer.type, answer.bytes.data(), &size);
  if (answer.code == GC_ERR_BUFFER_TOO_SMALL) {
    // Ask for the size, then for the value.
    size = 0;
    answer.code = query(&answer.type, nullptr, &size);
    if (answer.code != GC_ERR_SUCCESS) return answer;
    answer.bytes.resize(size);
    answer.code = query(&answer.type, answer.bytes.data(), &size);
  }
  answer.bytes.resize(answer.code == GC_ERR_SUCCESS ? std::min(size, answer.bytes.size()) : 0);
  return answer;
}

std::string tcInfoPrinter::Format(const tsAnswer& answer) {
  const std::vector<uint8_t>& bytes = answer.bytes;
  switch (answer.type) {
    case INFO_DATATYPE_STRING:
      return std::string(reinterpret_cast<const char*>(bytes.data()),
                         strnlen(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    case INFO_DATATYPE_STRINGLIST:
      return JoinStrings(bytes);
    case INFO_DATATYPE_INT16:
      return Decimal(Load<int16_t>(bytes));
    case INFO_DATATYPE_UINT16:
      return Decimal(Load<uint16_t>(bytes));
    case INFO_DATATYPE_INT32:
      return Decimal(Load<int32_t>(bytes));
    case INFO_DATATYPE_UINT32:
      return Decimal(Load<uint32_t>(bytes));
    case INFO_DATATYPE_INT64:
    case INFO_DATATYPE_PTRDIFF:
      return Decimal(Load<int64_t>(bytes));
    case INFO_DATATYPE_UINT64:
    case INFO_DATATYPE_SIZET:
      return std::to_string(Load<uint64_t>(bytes));
    case INFO_DATATYPE_FLOAT64: {
      char text[64];
      snprintf(text, sizeof text, "%g", Load<double>(bytes));
      return text;
    }
    case INFO_DATATYPE_BOOL8:
      return Load<uint8_t>(bytes) != 0 ? "true" : "false";
    case INFO_DATATYPE_PTR:
      return Hex(Load<uint64_t>(bytes));
    default:
      // A producer that leaves the type unset: numbers are the likely answer.
      if (bytes.size() == 1 || bytes.size() == 2 || bytes.size() == 4 || bytes.size() == 8) {
        return std::to_string(Load<uint64_t>(bytes));
      }
      return HexBytes(bytes);
  }
}

std::optional<std::string> tcInfoPrinter::Text(const std::string& call, const tQuery& query) {
  const tsAnswer answer = Ask(query);
  if (answer.code == GC_ERR_NOT_IMPLEMENTED || answer.code == GC_ERR_NOT_AVAILABLE) {
    return std::nullopt;
  }
  producer_.Check(call, answer.code);
  return Format(answer);
}

std::optional<int64_t> tcInfoPrinter::Number(const std::string& call, const tQuery& query) {
  const tsAnswer answer = Ask(query);
  if (answer.code == GC_ERR_NOT_IMPLEMENTED || answer.code == GC_ERR_NOT_AVAILABLE) {
    return std::nullopt;
  }
  producer_.Check(call, answer.code);
  switch (answer.type) {
    case INFO_DATATYPE_INT16:
      return Load<int16_t>(answer.bytes);
    case INFO_DATATYPE_UINT16:
      return Load<uint16_t>(answer.bytes);
    case INFO_DATATYPE_INT32:
      return Load<int32_t>(answer.bytes);
    case INFO_DATATYPE_UINT32:
      return Load<uint32_t>(answer.bytes);
    case INFO_DATATYPE_BOOL8:
      return Load<uint8_t>(answer.bytes);
    default:
      return Load<int64_t>(answer.bytes);
  }
}

std::string tcInfoPrinter::AccessStatusName(int64_t status) {
  static const char* const kNames[] = {"Unknown", "ReadWrite",     "ReadOnly",    "NoAccess",
                                       "Busy",    "OpenReadWrite", "OpenReadOnly"};
  if (status >= 0 && status < 7) return kNames[status];
  return std::to_string(status);
}

void tcInfoPrinter::PrintTable(
    const char* title, const std::vector<const char*>& names,
    const std::function<GC_ERROR(int32_t, INFO_DATATYPE*, void*, size_t*)>& query,
    const std::function<std::string(int32_t, const tsAnswer&)>& decorate) {
  printf("%s\n", title);
  for (int32_t command = 0; command < static_cast<int32_t>(names.size()); ++command) {
    const tsAnswer answer = Ask([&](INFO_DATATYPE* type, void* buffer, size_t* size) {
      return query(command, type, buffer, size);
    });
    std::string value;
    if (answer.code == GC_ERR_NOT_IMPLEMENTED) {
      value = "(not implemented)";
    } else if (answer.code == GC_ERR_NOT_AVAILABLE) {
      value = "(not available)";
    } else if (answer.code != GC_ERR_SUCCESS) {
      value = "(" + producer_.Describe(answer.code) + ")";
    } else {
      value = Format(answer);
      if (decorate) value += decorate(command, answer);
    }
    printf("  %-26s %s\n", names[command], value.c_str());
  }
}

void tcInfoPrinter::PrintLibrary() {
  GenTLLibrary& lib = producer_.Lib();
  PrintTable(
      "Library", kLibraryNames,
      [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
        return lib.GCGetInfo(command, type, buffer, size);
      },
      [](int32_t command, const tsAnswer& answer) -> std::string {
        if (command != TL_INFO_CHAR_ENCODING) return "";
        return Load<int32_t>(answer.bytes) == TL_CHAR_ENCODING_UTF8 ? " (UTF-8)" : " (ASCII)";
      });
  printf("  %-26s %s\n", "Loaded from", producer_.Path().c_str());
}

void tcInfoPrinter::PrintInterface(IF_HANDLE interface) {
  GenTLLibrary& lib = producer_.Lib();
  PrintTable("Interface", kInterfaceNames,
             [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
               return lib.IFGetInfo(interface, command, type, buffer, size);
             });
}

void tcInfoPrinter::PrintDevice(IF_HANDLE interface, const std::string& deviceId) {
  GenTLLibrary& lib = producer_.Lib();
  PrintTable(
      "Device", kDeviceNames,
      [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
        return lib.IFGetDeviceInfo(interface, deviceId.c_str(), command, type, buffer, size);
      },
      [](int32_t command, const tsAnswer& answer) -> std::string {
        if (command != DEVICE_INFO_ACCESS_STATUS) return "";
        return " (" + AccessStatusName(Load<int32_t>(answer.bytes)) + ")";
      });
}

void tcInfoPrinter::PrintStream(DS_HANDLE stream) {
  GenTLLibrary& lib = producer_.Lib();
  PrintTable("Data stream", kStreamNames,
             [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
               return lib.DSGetInfo(stream, command, type, buffer, size);
             });
}

void tcInfoPrinter::PrintPort(PORT_HANDLE port) {
  GenTLLibrary& lib = producer_.Lib();
  PrintTable("Port", kPortNames,
             [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
               return lib.GCGetPortInfo(port, command, type, buffer, size);
             });
  uint32_t urls = 0;
  producer_.Check("GCGetNumPortURLs", lib.GCGetNumPortURLs(port, &urls));
  for (uint32_t index = 0; index < urls; ++index) {
    const std::string title = "Description URL " + std::to_string(index);
    PrintTable(title.c_str(), kUrlNames,
               [&](int32_t command, INFO_DATATYPE* type, void* buffer, size_t* size) {
                 return lib.GCGetPortURLInfo(port, index, command, type, buffer, size);
               });
  }
}
