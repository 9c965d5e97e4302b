// Port register access with errors that name the call, and description retrieval.
#include "tcPortAccess.h"

#include <algorithm>

#include "Numbers.h"
#include "tcToolError.h"

using namespace GenTL;

std::vector<uint8_t> tcPortAccess::Read(uint64_t address, size_t size) {
  std::vector<uint8_t> bytes(size);
  size_t done = size;
  const GC_ERROR code = producer_.Lib().GCReadPort(port_, address, bytes.data(), &done);
  producer_.CheckQuiet("GCReadPort(" + Hex(address) + ", " + std::to_string(size) + " bytes)",
                       code);
  bytes.resize(std::min(done, size));
  return bytes;
}

void tcPortAccess::Write(uint64_t address, const std::vector<uint8_t>& bytes) {
  size_t size = bytes.size();
  const GC_ERROR code = producer_.Lib().GCWritePort(port_, address, bytes.data(), &size);
  producer_.Check("GCWritePort(" + Hex(address) + ", " + std::to_string(bytes.size()) + " bytes)",
                  code);
}

tcPortAccess::tsDescription tcPortAccess::Description() {
  std::string error;
  tsDescription description = FetchPortDescription(producer_.Lib(), port_, &error);
  if (description.text.empty()) {
    throw tcToolError("cannot fetch the port's GenApi description: " + error + ".");
  }
  return description;
}
