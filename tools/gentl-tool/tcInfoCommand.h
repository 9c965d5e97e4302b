// gentl-tool info: the information of the library or of one module, and its port's.
#pragma once

#include "tcArguments.h"

class tcInfoCommand {
 public:
  // Throws a usage error for arguments that do not belong to the command.
  explicit tcInfoCommand(const tcArguments& arguments);
  int Run();

 private:
  const tcArguments& arguments_;
};
