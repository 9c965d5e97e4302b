// Which module a command acts on: the system, an interface, a device, a data stream or the
// remote device, with the IDs that lead to it.
#pragma once

#include <string>
#include <string_view>

#include "tcArguments.h"

struct tsModuleChoice {
  enum class teLevel { kSystem, kInterface, kDevice, kStream, kRemote };

  teLevel level = teLevel::kSystem;
  std::string interfaceId = "Simulated";
  std::string deviceId;  // empty: the interface's first device
  std::string streamId;  // empty: the device's first data stream
};

// The module that --interface, --device, --stream and --remote name: the deepest one given,
// `unnamed` when none is. `levelWord` ("system", "interface", "device", "stream" or "remote";
// empty for none) chooses the level explicitly, the options then only giving IDs. Throws a
// usage error for other words.
tsModuleChoice ChooseModule(const tcArguments& arguments, std::string_view levelWord,
                            tsModuleChoice::teLevel unnamed = tsModuleChoice::teLevel::kSystem);

// Whether `word` is one of system, interface, device, stream and remote.
bool IsModuleWord(std::string_view word);

// "system module", "interface Simulated", "device SimCam", ...
std::string ModuleName(const tsModuleChoice& choice);
