// Queries the GenTL info functions of every module and prints their answers as labelled lines.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tcProducer.h"

class tcInfoPrinter {
 public:
  // One info call with the command already bound: (type, buffer, size) -> code.
  using tQuery = std::function<GenTL::GC_ERROR(GenTL::INFO_DATATYPE*, void*, size_t*)>;

  explicit tcInfoPrinter(tcProducer& producer) : producer_(producer) {}

  // The answer as text; nullopt when the producer does not implement or have it; throws
  // naming `call` on other failures.
  std::optional<std::string> Text(const std::string& call, const tQuery& query);
  // The answer as a number (integer types), or nullopt as for Text.
  std::optional<int64_t> Number(const std::string& call, const tQuery& query);

  void PrintLibrary();
  void PrintInterface(GenTL::IF_HANDLE interface);
  void PrintDevice(GenTL::IF_HANDLE interface, const std::string& deviceId);
  void PrintStream(GenTL::DS_HANDLE stream);
  // GCGetPortInfo 0..12 and the description URLs with their GCGetPortURLInfo answers.
  void PrintPort(GenTL::PORT_HANDLE port);

  // "ReadWrite" for 1, "OpenReadWrite" for 5, ... or the number.
  static std::string AccessStatusName(int64_t status);

 private:
  struct tsAnswer {
    GenTL::GC_ERROR code = GenTL::GC_ERR_SUCCESS;
    GenTL::INFO_DATATYPE type = GenTL::INFO_DATATYPE_UNKNOWN;
    std::vector<uint8_t> bytes;
  };

  static tsAnswer Ask(const tQuery& query);
  static std::string Format(const tsAnswer& answer);
  // Prints "  <label> <value>" for each command 0..names.size()-1; unanswered ones say why.
  void PrintTable(
      const char* title, const std::vector<const char*>& names,
      const std::function<GenTL::GC_ERROR(int32_t, GenTL::INFO_DATATYPE*, void*, size_t*)>& query,
      const std::function<std::string(int32_t, const tsAnswer&)>& decorate = {});

  tcProducer& producer_;
};
