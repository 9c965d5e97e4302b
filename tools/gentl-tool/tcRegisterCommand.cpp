// Reading and writing port registers of any size, printed as numbers or hex dumps.
#include "tcRegisterCommand.h"

#include <cstdio>

#include "Numbers.h"
#include "tcPortAccess.h"
#include "tcProducer.h"
#include "tcSession.h"
#include "tcToolError.h"

namespace {

bool IsNumberSize(size_t size) {
  return size == 1 || size == 2 || size == 4 || size == 8;
}

constexpr uint64_t kMaxSize = 64 * 1024 * 1024;

}  // namespace

tcRegisterCommand::tcRegisterCommand(const tcArguments& arguments, bool write)
    : arguments_(arguments), write_(write) {
  if (write) {
    arguments.Check({"--interface", "--device", "--stream", "--remote", "--size"}, 2, 2,
                    "ADDRESS and VALUE");
  } else {
    arguments.Check({"--interface", "--device", "--stream", "--remote", "--size"}, 1, 1, "ADDRESS");
  }
  address_ = ParseNumber(arguments.Positional()[0], "ADDRESS");
  const uint64_t size = arguments.Number("--size", 0);
  if (arguments.Has("--size") && (size == 0 || size > kMaxSize)) {
    throw UsageError("--size must be 1 to " + std::to_string(kMaxSize) + " bytes.");
  }
  if (write) {
    bytes_ = ValueBytes(arguments.Positional()[1], size);
    size_ = bytes_.size();
  } else {
    size_ = size == 0 ? 4 : size;
  }
}

std::vector<uint8_t> tcRegisterCommand::ValueBytes(const std::string& value, size_t size) {
  const bool looksLikeBytes = value.find(':') != std::string::npos;
  if (!looksLikeBytes && (size == 0 || IsNumberSize(size))) {
    return LittleEndianBytes(ParseNumber(value, "VALUE"), size == 0 ? 4 : size);
  }
  std::vector<uint8_t> bytes = ParseHexBytes(value, "VALUE");
  if (size != 0 && bytes.size() != size) {
    throw UsageError("VALUE has " + std::to_string(bytes.size()) + " bytes, --size says " +
                     std::to_string(size) + ".");
  }
  return bytes;
}

void tcRegisterCommand::PrintValue(uint64_t address, const std::vector<uint8_t>& bytes) {
  if (!IsNumberSize(bytes.size())) {
    fputs(HexDump(address, bytes).c_str(), stdout);
    return;
  }
  const uint64_t value = LittleEndian(bytes);
  printf("%s: %s (%llu)\n", Hex(address, 8).c_str(),
         Hex(value, static_cast<int>(bytes.size() * 2)).c_str(),
         static_cast<unsigned long long>(value));
}

int tcRegisterCommand::Run() {
  tsModuleChoice choice = ChooseModule(arguments_, "");
  tcProducer producer(arguments_.Value("--cti"));
  tcSession session(producer);
  tcPortAccess port(producer, session.OpenPort(choice));
  if (!write_) {
    PrintValue(address_, port.Read(address_, size_));
    return 0;
  }
  port.Write(address_, bytes_);
  printf("Wrote %zu %s at %s of the %s; it reads back:\n", bytes_.size(),
         bytes_.size() == 1 ? "byte" : "bytes", Hex(address_, 8).c_str(),
         ModuleName(choice).c_str());
  try {
    PrintValue(address_, port.Read(address_, bytes_.size()));
  } catch (const tcToolError& error) {
    printf("  (%s)\n", error.what());
  }
  return 0;
}
