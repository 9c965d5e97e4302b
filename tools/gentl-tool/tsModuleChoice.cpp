// Turning module options and an optional level word into a module choice.
#include "tsModuleChoice.h"

#include "tcToolError.h"

using teLevel = tsModuleChoice::teLevel;

namespace {

teLevel LevelOfWord(std::string_view word) {
  if (word == "system") return teLevel::kSystem;
  if (word == "interface") return teLevel::kInterface;
  if (word == "device") return teLevel::kDevice;
  if (word == "stream") return teLevel::kStream;
  if (word == "remote") return teLevel::kRemote;
  throw UsageError("unknown module \"" + std::string(word) +
                   "\"; use system, interface, device, stream or remote.");
}

}  // namespace

bool IsModuleWord(std::string_view word) {
  return word == "system" || word == "interface" || word == "device" || word == "stream" ||
         word == "remote";
}

tsModuleChoice ChooseModule(const tcArguments& arguments, std::string_view levelWord,
                            teLevel unnamed) {
  tsModuleChoice choice;
  choice.level = unnamed;
  choice.interfaceId = arguments.Value("--interface", "Simulated");
  choice.deviceId = arguments.Value("--device");
  choice.streamId = arguments.Value("--stream");
  if (arguments.Has("--interface")) choice.level = teLevel::kInterface;
  if (arguments.Has("--device")) choice.level = teLevel::kDevice;
  if (arguments.Has("--stream")) choice.level = teLevel::kStream;
  if (arguments.Has("--remote")) {
    if (arguments.Has("--stream")) throw UsageError("--remote and --stream exclude each other.");
    choice.level = teLevel::kRemote;
  }
  if (!levelWord.empty()) choice.level = LevelOfWord(levelWord);
  return choice;
}

std::string ModuleName(const tsModuleChoice& choice) {
  switch (choice.level) {
    case teLevel::kSystem:
      return "system module";
    case teLevel::kInterface:
      return "interface " + choice.interfaceId;
    case teLevel::kDevice:
      return "device " + choice.deviceId;
    case teLevel::kStream:
      return "data stream " + choice.streamId;
    case teLevel::kRemote:
      return "remote device " + choice.deviceId;
  }
  return "module";
}
