// gentl-tool list: the interfaces and the devices of the Simulated interface and of the one
// named with --interface.
#pragma once

#include <string>

#include "tcArguments.h"
#include "tcInfoPrinter.h"
#include "tcProducer.h"

class tcListCommand {
 public:
  // Throws a usage error for arguments that do not belong to the command.
  explicit tcListCommand(const tcArguments& arguments);
  int Run();

 private:
  void PrintInterface(tcProducer& producer, tcInfoPrinter& info, const std::string& id,
                      bool search);

  const tcArguments& arguments_;
};
